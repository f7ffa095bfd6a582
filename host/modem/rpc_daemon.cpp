#include "host/modem/rpc_daemon.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "host/modem/say.h"
#include "rpc/multi-client/rpc-stubs/ril/wire.h"

namespace {

constexpr Loop::Milliseconds c_first_retry(1);
constexpr Loop::Milliseconds c_last_retry(64);

// The size of the packet that `bytes` begin with; 0 when that takes more bytes, -1 when it is no packet.
ptrdiff_t packet_size(std::span<const uint8_t> bytes) {
    constexpr std::array<uint8_t, 2> c_number = {0x02, 0x04};
    for (const size_t at : {size_t{0}, c_rpc_header_size / 2}) {
        for (size_t i = 0; i < c_number.size() && at + i < bytes.size(); ++i) {
            if (bytes[at + i] != c_number[i]) {
                return -1;
            }
        }
    }
    if (bytes.size() < c_rpc_header_size) {
        return 0;
    }
    uint32_t index = 0;
    uint32_t size = 0;
    ExReadCursor cursor{bytes.data(), bytes.data() + bytes.size(), false};
    ExReadBufferHeader(cursor, index, size);
    return cursor.failed || size < c_rpc_header_size || size > c_packet_longest ? -1 : static_cast<ptrdiff_t>(size);
}

bool put_marker() {
    mkdir(c_marker_folder, 0777);
    const int fd = open(c_marker, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        return false;
    }
    close(fd);
    return true;
}

}  // namespace

std::unique_ptr<RpcDaemon> RpcDaemon::start(Loop& loop, Capture& capture, DaemonListener listener, std::string& error) {
    std::unique_ptr<RpcDaemon> it(new RpcDaemon(loop, capture, std::move(listener)));
    RpcDaemon* self = it.get();
    it->registration_ = Registration::start(
        loop, capture,
        {.taken =
             [self](uint8_t app_id) {
                 return std::any_of(self->clients_.begin(), self->clients_.end(),
                                    [app_id](const auto& entry) { return app_id_of(entry.first) == app_id; });
             },
         .arrived = [self](Newcomer newcomer) { self->arrive(std::move(newcomer)); }},
        error);
    if (it->registration_ == nullptr) {
        return nullptr;
    }
    unlink(c_marker);  // clients wait for it to be made
    if (!put_marker()) {
        error = std::string(c_marker) + ": " + strerror(errno);
        return nullptr;
    }
    return it;
}

RpcDaemon::RpcDaemon(Loop& loop, Capture& capture, DaemonListener listener)
    : loop_(loop), capture_(capture), listener_(std::move(listener)) {}

RpcDaemon::~RpcDaemon() {
    if (registration_ != nullptr) {
        unlink(c_marker);
    }
    for (const auto& [id, client] : clients_) {
        for (const int fd : {client.send, client.recv}) {
            loop_.forget(fd);
            close(fd);
        }
    }
}

void RpcDaemon::arrive(Newcomer newcomer) {
    const ClientId id = ++last_serial_ << 8 | newcomer.app_id;
    Client& client = clients_[id];
    client.process = newcomer.process;
    client.send = newcomer.send;
    client.recv = newcomer.recv;
    client.in = std::move(newcomer.early);
    loop_.watch(client.send, POLLIN, [this, id](short) { read_send(id); });
    loop_.watch(client.recv, POLLIN, [this, id](short) { read_recv(id); });
    say("client %u: process %d registered", newcomer.app_id, static_cast<int>(newcomer.process));
    listener_.arrived(id);
    take_packets(id);
}

void RpcDaemon::hang_up(ClientId id, const std::string& why) {
    const auto at = clients_.find(id);
    if (at == clients_.end()) {
        return;
    }
    say("client %u: let go, %s", app_id_of(id), why.c_str());
    for (const int fd : {at->second.send, at->second.recv}) {
        loop_.forget(fd);
        close(fd);
    }
    clients_.erase(at);
    listener_.gone(id);
}

// Whoever sends may be in the middle of a walk over the clients.
void RpcDaemon::let_go_soon(ClientId id, const std::string& why) {
    loop_.post([this, id, why] { hang_up(id, why); });
}

void RpcDaemon::read_send(ClientId id) {
    const auto at = clients_.find(id);
    if (at == clients_.end()) {
        return;
    }
    std::array<uint8_t, c_packet_longest> bytes;
    const ssize_t got = recv(at->second.send, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got > 0) {
        at->second.in.insert(at->second.in.end(), bytes.begin(), bytes.begin() + got);
        take_packets(id);
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        hang_up(id, at->second.in.empty() ? "it hung up" : "it hung up in the middle of a packet");
    }
}

// Nothing ever comes this way, so it is about the end of the connection.
void RpcDaemon::read_recv(ClientId id) {
    const auto at = clients_.find(id);
    if (at == clients_.end()) {
        return;
    }
    char byte = 0;
    const ssize_t got = recv(at->second.recv, &byte, sizeof(byte), MSG_DONTWAIT);
    if (got > 0) {
        hang_up(id, "it sends on its receive socket");
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        hang_up(id, "it hung up");
    } else {
        flush(id);
    }
}

// A packet may make the listener let the client go, so it is looked up anew for each.
void RpcDaemon::take_packets(ClientId id) {
    for (;;) {
        const auto at = clients_.find(id);
        if (at == clients_.end()) {
            return;
        }
        Bytes& in = at->second.in;
        const ptrdiff_t size = packet_size(in);
        if (size < 0) {
            const std::span<const uint8_t> start = std::span(in).first(std::min<size_t>(in.size(), 16));
            hang_up(id, "what it sends is no packet: " + to_hex(start));
            return;
        }
        if (size == 0 || in.size() < static_cast<size_t>(size)) {
            return;
        }
        const Bytes packet(in.begin(), in.begin() + size);
        in.erase(in.begin(), in.begin() + size);
        ++at->second.received;
        capture_.add(app_id_of(id), Channel::SEND, true, packet);
        listener_.packet(id, packet);
    }
}

void RpcDaemon::send(ClientId id, std::span<const uint8_t> packet) {
    const auto at = clients_.find(id);
    if (at == clients_.end()) {
        return;
    }
    Client& client = at->second;
    if (client.out_bytes + packet.size() > c_client_backlog) {
        let_go_soon(id, "it does not read");
        return;
    }
    client.out.emplace_back(packet.begin(), packet.end());
    client.out_bytes += packet.size();
    flush(id);
}

// Whether `size` more bytes may be under way. The kernel counts what is unread, with its own overhead; nothing wakes a
// sender when that shrinks, so this asks again after a moment.
bool RpcDaemon::has_room(ClientId id, Client& client, size_t size) {
    int unread = 0;
    if (ioctl(client.recv, SIOCOUTQ, &unread) != 0 || unread <= 0 ||
        static_cast<size_t>(unread) + size <= c_unread_most) {
        client.retry = Loop::Milliseconds(0);
        return true;
    }
    if (!client.retrying) {
        client.retrying = true;
        client.retry = std::clamp(2 * client.retry, c_first_retry, c_last_retry);
        loop_.after(client.retry, [this, id] {
            const auto at = clients_.find(id);
            if (at != clients_.end()) {
                at->second.retrying = false;
                flush(id);
            }
        });
    }
    return false;
}

void RpcDaemon::flush(ClientId id) {
    Client& client = clients_.at(id);
    while (!client.out.empty() && has_room(id, client, client.out.front().size())) {
        const Bytes& packet = client.out.front();
        // The kernel takes a packet whole or not at all.
        const ssize_t sent = ::send(client.recv, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0 && errno == EAGAIN) {
            loop_.change(client.recv, POLLIN | POLLOUT);
            return;
        }
        if (sent != static_cast<ssize_t>(packet.size())) {
            let_go_soon(id, "it cannot be sent to");
            return;
        }
        capture_.add(app_id_of(id), Channel::RECV, false, packet);
        ++client.sent;
        client.out_bytes -= packet.size();
        client.out.pop_front();
    }
    loop_.change(client.recv, POLLIN);
}

std::vector<ClientState> RpcDaemon::clients() const {
    std::vector<ClientState> states;
    for (const auto& [id, client] : clients_) {
        states.push_back({id, client.process, client.received, client.sent, client.out_bytes});
    }
    return states;
}
