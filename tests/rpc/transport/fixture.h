// A test case has a process of its own, because the client registers once per process; /data is the sandbox's. The
// process replaces what would make it slow (sleeps, the deadline's clock, the registration's timeouts, of which there
// is none but where the daemon keeps silent) and what it wants to see (the log, the modem manager).
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// Runs `body` in a child process with an empty /data; its failures are the caller's.
void in_own_process(const std::function<void()>& body);

extern std::atomic<int> g_second_sleeps;         // calls of sleep()
extern std::atomic<int> g_polls_interrupted;     // calls of poll() to come that a signal ends
extern std::atomic<int64_t> g_realtime_back_ms;  // how far CLOCK_REALTIME lags: 4900 leaves 100 ms of 5 s; at first an
                                                 // hour ahead, which no busy machine uses up
extern std::atomic<uint32_t> g_meh_client;       // what registerMEH got

int times_logged(const std::string& part);
bool soon(const std::function<bool()>& condition);  // true once it holds; false after many seconds

// 02 04 size 02 04 index, context id, rest.
Bytes packet(uint32_t index, uint32_t context_id, const Bytes& rest = {});
Bytes return_of(uint32_t id, uint32_t context_id, uint32_t value);
uint32_t word_at(const Bytes& bytes, size_t offset);
Bytes operator+(Bytes left, const Bytes& right);

// One synchronous call of an empty request; the peer's value or -99.
int32_t call(uint32_t id, uint32_t context_id);

// The daemon's end of the three sockets, played by the test's own threads.
class FakeDaemon {
public:
    FakeDaemon() { listen_all(); }
    ~FakeDaemon() { die(); }
    FakeDaemon(const FakeDaemon&) = delete;
    FakeDaemon& operator=(const FakeDaemon&) = delete;

    void listen_all();
    static void put_marker();
    bool knocked() const;  // a client waits for its registration

    // Steps of a registration at which the daemon can go wrong.
    enum Step { ACCEPT_REG, REPLY, ID_ZERO, GREET_SEND, GREET_RECV, FAREWELL, DONE };
    // Plays one registration up to `last`, checking every byte. At an earlier step than DONE it closes what it
    // accepted, or keeps silent until the client gives up: so_silent() before that client begins.
    void admit(uint8_t app_id, Step last = DONE, bool silent = false);
    static void so_silent(Step last);

    Bytes read_packet();                 // one packet off the send socket; empty when the client closed
    void write(const Bytes& bytes);      // one write to the receive socket
    void hang_up(bool send, bool recv);  // closes one of the client's connections
    void die();                          // closes everything, as the end of its process does

private:
    int listener_[3] = {-1, -1, -1};
    int client_[3] = {-1, -1, -1};
};

// A process of its own with a daemon and the client registered to it as application `app_id`.
void with_client(uint8_t app_id, const std::function<void(FakeDaemon& daemon)>& body);
// A call that the daemon gets as it is and returns `value` to.
void expect_call(FakeDaemon& daemon, uint32_t id, uint32_t context_id, int32_t value);
