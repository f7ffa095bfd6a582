// The RPC daemon: it lets clients register and moves whole packets between them and the modem. What is in a packet
// doesn't concern it.
//
// A client that sends what is no packet, hangs up, or leaves c_client_backlog bytes unread is let go; the others notice
// nothing of it.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/modem/capture.h"
#include "host/modem/loop.h"
#include "host/modem/registration.h"

constexpr const char* c_marker_folder = "/data/rpcd";
constexpr const char* c_marker = "/data/rpcd/rpcd.txt";

constexpr size_t c_client_backlog = 1U << 20;
constexpr size_t c_packet_longest = 32768;  // either way
// A client reads 32768 bytes at a time and loses a packet that it has only a part of. So never more than this is
// under way to it.
constexpr size_t c_unread_most = 32767;

// One registration of one client: no two ever are the same. The low byte is its application id.
using ClientId = uint32_t;
constexpr uint8_t app_id_of(ClientId client) {
    return static_cast<uint8_t>(client);
}

struct DaemonListener {
    std::function<void(ClientId client)> arrived;
    std::function<void(ClientId client, std::span<const uint8_t> packet)> packet;  // its header is sound
    std::function<void(ClientId client)> gone;
};

struct ClientState {
    ClientId id;
    pid_t process;
    size_t received;  // packets
    size_t sent;
    size_t waiting;  // bytes that it hasn't made room for
};

// Runs in the loop, which may not run any more once the daemon is gone.
class RpcDaemon {
public:
    // Listens; then the marker says so. Null, with the reason in `error`, when that can't be done.
    static std::unique_ptr<RpcDaemon> start(Loop& loop, Capture& capture, DaemonListener listener, std::string& error);
    // The marker goes first.
    ~RpcDaemon();
    RpcDaemon(const RpcDaemon&) = delete;
    RpcDaemon& operator=(const RpcDaemon&) = delete;

    // Never waits. A client that is gone gets nothing.
    void send(ClientId client, std::span<const uint8_t> packet);
    void hang_up(ClientId client, const std::string& why);
    std::vector<ClientState> clients() const;

private:
    struct Client {
        pid_t process = 0;
        int send = -1;
        int recv = -1;
        Bytes in;
        std::deque<Bytes> out;
        size_t out_bytes = 0;
        Loop::Milliseconds retry{0};  // pause before it is looked at again; 0 when nothing waits
        bool retrying = false;
        size_t received = 0;
        size_t sent = 0;
    };

    RpcDaemon(Loop& loop, Capture& capture, DaemonListener listener);
    void arrive(Newcomer newcomer);
    void read_send(ClientId id);
    void read_recv(ClientId id);
    void take_packets(ClientId id);
    void flush(ClientId id);
    bool has_room(ClientId id, Client& client, size_t size);
    void let_go_soon(ClientId id, const std::string& why);

    Loop& loop_;
    Capture& capture_;
    DaemonListener listener_;
    std::unique_ptr<Registration> registration_;
    std::map<ClientId, Client> clients_;
    uint32_t last_serial_ = 0;
};
