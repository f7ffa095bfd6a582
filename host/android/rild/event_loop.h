// The event loop: one thread that waits for descriptors and runs tasks when they fall due.
#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

class EventLoop {
public:
    using Clock = std::chrono::steady_clock;
    using Task = std::function<void()>;

    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Any thread, also before run: runs `task` on the loop's thread once `delay` has passed. Tasks run in the order in
    // which they fall due, those of the same instant in the order of the calls.
    void call_after(Clock::duration delay, Task task);
    // Any thread: lets the loop look again at what it waits for.
    void wake();
    // Any thread, and any signal handler: run returns once the task or descriptor at hand is done with.
    void stop();

    // Before run. `wanted` appends the descriptors to wait for, `ready` gets those on which something happened.
    void serve(std::function<void(std::vector<pollfd>&)> wanted, std::function<void(const pollfd&)> ready);
    // Returns after stop.
    void run();

private:
    void wait();
    void run_due_task();

    int wake_fd_;
    std::atomic<bool> stop_ = false;  // any thread sets it, the loop's reads it
    std::function<void(std::vector<pollfd>&)> wanted_;
    std::function<void(const pollfd&)> ready_;
    std::mutex lock_;
    std::multimap<Clock::time_point, Task> tasks_;  // by the instant at which they fall due
};
