// The modem's one thread: it waits for descriptors and for moments in time, and runs what was asked for then.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// All functions belong to the thread of run(), but for post(). What runs in the loop may call any of them.
class Loop {
public:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;
    using Timer = uint64_t;  // 0 for none

    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    // Runs `ready` with poll's answer each time `fd` has one of `events`, or an error. The caller keeps the descriptor
    // and forgets it before closing it.
    void watch(int fd, short events, std::function<void(short)> ready);
    void change(int fd, short events);
    void forget(int fd);

    // Runs `work` once, after `delay`. Work that is due at the same moment runs in the order it was asked for.
    Timer after(Milliseconds delay, std::function<void()> work);
    void cancel(Timer timer);

    // Runs `work` in the loop soon. Any thread.
    void post(std::function<void()> work);

    void run();
    void stop();

private:
    struct Watch {
        short events;
        std::shared_ptr<std::function<void(short)>> ready;
    };

    int timeout() const;
    void run_timers();
    void run_posted();

    std::map<int, Watch> watches_;
    std::map<std::pair<Clock::time_point, Timer>, std::function<void()>> timers_;
    Timer last_timer_ = 0;
    bool stopped_ = false;
    int wake_ = -1;  // an eventfd

    std::mutex lock_;  // of posted_
    std::vector<std::function<void()>> posted_;
};
