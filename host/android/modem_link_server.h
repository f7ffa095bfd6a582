// The modem manager's half of modem_link_protocol.h, for the simulated modem.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/android/modem_link_protocol.h"

// What the modem hears. Each function may be empty. They run on the server's own thread, one at a time, and may call
// the server; they may not destroy it.
struct ModemLinkListener {
    std::function<void(int client, uint32_t code)> registered;  // `client` numbers the connections, from 1
    std::function<void(int client, uint32_t request)> request;
    std::function<void(int client)> gone;  // of a client that had registered
};

// Any thread may call. No call waits for a client: what a client doesn't read is kept for it, and one that has left
// c_modem_link_backlog events unread is hung up on.
constexpr size_t c_modem_link_backlog = 16384;

class ModemLinkServer {
public:
    // Listens at `path`; what a dead server left there gives way. Null, with errno, when that can't be done.
    static std::unique_ptr<ModemLinkServer> start(const std::string& path, ModemLinkListener listener);
    // Hangs up on every client and returns once the server's thread has ended.
    ~ModemLinkServer();
    ModemLinkServer(const ModemLinkServer&) = delete;
    ModemLinkServer& operator=(const ModemLinkServer&) = delete;

    // Sends an event to every registered client.
    void broadcast(uint32_t event);
    // Does the same and keeps the event as the modem's state: a client that registers later gets it first.
    void announce(uint32_t event);
    // Keeps no state: a client that registers gets nothing.
    void forget();
    // Sends an event to one client. False when it is gone.
    bool send(int client, uint32_t event);
    // How many clients are registered.
    size_t clients();

private:
    struct State;
    explicit ModemLinkServer(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};
