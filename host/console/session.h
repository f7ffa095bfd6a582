// A client of one rild socket: requests, and what comes back.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/console/screen.h"

using Clock = std::chrono::steady_clock;

// The error of a request whose connection ended before its answer came.
constexpr int c_lost = -1000;

struct Event {
    bool is_completion;
    int number;  // of the request or the unsolicited response
    int error;
    std::string value;   // what it carried, as text
    bool taken = false;  // by an expectation
};

// Harmless requests in the background.
struct Traffic {
    bool on = false;
    Clock::duration period = {};
    std::vector<int> requests;
    Clock::time_point next;
    uint64_t sent = 0;
    uint64_t answered = 0;
    uint64_t lost = 0;  // with their connection
    std::map<int, uint64_t> by_error;
    std::chrono::duration<double, std::milli> slowest = {};
};

// "12 ms" and the like.
std::string time_text(std::chrono::duration<double, std::milli> time);

class Session {
public:
    // `tag` stands before the session's lines.
    Session(std::string path, std::string tag, Screen& screen);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // What to poll for, what to do when something happened there, and what to do by the clock: connecting again,
    // traffic. tick gives the time at which it wants to be called next.
    void collect(std::vector<pollfd>& fds) const;
    void ready(const pollfd& fd);
    Clock::time_point tick();

    bool is_connected() const { return fd_ >= 0; }
    bool is_greeted() const { return greeted_; }

    // Sends a request; `shown` is what people read of its arguments. False when there is no connection.
    bool ask(int request, std::string_view arguments, const std::string& shown);
    size_t outstanding() const;  // without traffic

    std::deque<Event>& events() { return events_; }
    void forget();

    // Since the start: answers to what was not asked, or had been answered.
    uint64_t strangers() const { return strangers_; }
    Traffic& traffic() { return traffic_; }
    // Serials of the traffic that has no answer yet.
    std::vector<int32_t> unanswered_traffic() const;
    bool is_unanswered(int32_t serial) const { return asked_.contains(serial); }

private:
    struct Asked {
        int request;
        bool is_traffic;
        Clock::time_point when;
    };

    void connect();
    void hang_up(const std::string& why);
    void send(int request, std::string_view arguments, bool is_traffic);
    void flush();
    void take_messages();
    void take(std::string_view message);
    void take_completion(int32_t serial, std::string_view data);
    void take_unsol(int32_t number, std::string_view data);
    void count(const Asked& asked, int error);
    void add(Event event);
    void say(const std::string& text) { screen_.say(tag_ + text); }

    std::string path_;
    std::string tag_;
    Screen& screen_;
    int fd_ = -1;
    bool greeted_ = false;
    Clock::time_point next_connect_;
    std::string in_;
    std::string out_;
    int32_t serial_ = 0;
    std::map<int32_t, Asked> asked_;
    std::deque<Event> events_;
    uint64_t strangers_ = 0;
    Traffic traffic_;
};
