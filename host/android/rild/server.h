// The socket that rild offers: one client at a time, its requests to the library, the library's answers to it.
#pragma once

#include <poll.h>
#include <telephony/ril.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/android/rild/event_loop.h"
#include "host/android/rild/log.h"
#include "host/android/rild/output.h"
#include "host/android/rild/parcel.h"
#include "host/android/rild/request.h"

class Server {
public:
    // Serves the descriptors of `loop`, which as well as `log` outlives it.
    Server(EventLoop& loop, const Log& log);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Before the loop runs: listens at `path`. What a dead server left there gives way; a living one doesn't. False,
    // with errno, when that can't be done. Clients can connect from here on; they wait for start.
    bool listen(const std::string& path);
    // The loop's thread: lets clients in. The greeting, the forms and the requests all need the library's record, so
    // no client is greeted before the library has given it.
    void start(const RIL_RadioFunctions* functions);

    // Any thread, any time.
    void complete(RIL_Token token, RIL_Errno error, const void* data, size_t length);
    void unsolicited(int number, const void* data, size_t length);

private:
    // A request that the library has not completed.
    struct Pending {
        int number;
        int serial;
        unsigned generation;  // of the client that sent it
    };
    struct Client {
        int fd;
        Output output;
    };

    void collect(std::vector<pollfd>& fds);
    void ready(const pollfd& fd);
    void accept_client();
    void greet();
    void drop_client();
    void read_client();
    void dispatch();
    void dispatch_on(unsigned generation);
    void handle(const MessageCutter::Message& message);
    RIL_Token open_token(const Request& request);
    void respond(const Pending& request, RIL_Errno error, const void* data, size_t length);
    bool put_unsolicited(int number, const void* data, size_t length, ParcelWriter& parcel);
    // With lock_ held.
    bool send_locked(const std::vector<uint8_t>& message);

    EventLoop& loop_;
    const Log& log_;
    int listen_fd_ = -1;
    std::atomic<const RIL_RadioFunctions*> functions_ = nullptr;  // set once, by the loop's thread

    // Of the loop's thread.
    MessageCutter cutter_;
    bool busy_ = false;  // whole messages wait for their turn: no more is read meanwhile

    std::mutex lock_;  // never held while the library runs
    std::optional<Client> client_;
    unsigned generation_ = 0;               // counts the clients
    std::map<uintptr_t, Pending> pending_;  // by token
    uintptr_t last_token_ = 0;
    std::vector<uint8_t> nitz_;  // the last message with the time, when it found no client
};
