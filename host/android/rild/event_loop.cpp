#include "host/android/rild/event_loop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

EventLoop::EventLoop() : wake_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (wake_fd_ < 0) {
        std::abort();
    }
}

EventLoop::~EventLoop() {
    close(wake_fd_);
}

void EventLoop::call_after(Clock::duration delay, Task task) {
    {
        const std::lock_guard hold(lock_);
        // A multimap keeps equal keys in the order of their insertion.
        tasks_.emplace(Clock::now() + delay, std::move(task));
    }
    wake();
}

void EventLoop::wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = write(wake_fd_, &one, sizeof(one));  // fails only when it's awake already
}

void EventLoop::stop() {
    stop_.store(true, std::memory_order_relaxed);
    wake();
}

void EventLoop::serve(std::function<void(std::vector<pollfd>&)> wanted, std::function<void(const pollfd&)> ready) {
    wanted_ = std::move(wanted);
    ready_ = std::move(ready);
}

// One task and one look at the descriptors in turn: neither of them keeps the other from its turn.
void EventLoop::run() {
    while (!stop_.load(std::memory_order_relaxed)) {
        run_due_task();
        wait();
    }
}

void EventLoop::run_due_task() {
    std::unique_lock hold(lock_);
    if (tasks_.empty() || tasks_.begin()->first > Clock::now()) {
        return;
    }
    const auto first = tasks_.extract(tasks_.begin());
    hold.unlock();
    first.mapped()();
}

void EventLoop::wait() {
    using namespace std::chrono;
    std::vector<pollfd> fds = {{wake_fd_, POLLIN, 0}};
    if (wanted_) {
        wanted_(fds);
    }
    timespec timeout = {};
    bool has_timeout = false;
    {
        const std::lock_guard hold(lock_);
        if (!tasks_.empty()) {
            const auto left = duration_cast<nanoseconds>(tasks_.begin()->first - Clock::now());
            const nanoseconds::rep ns = left.count() > 0 ? left.count() : 0;
            timeout.tv_sec = static_cast<time_t>(ns / nanoseconds::period::den);
            timeout.tv_nsec = static_cast<long>(ns % nanoseconds::period::den);
            has_timeout = true;
        }
    }
    if (ppoll(fds.data(), fds.size(), has_timeout ? &timeout : nullptr, nullptr) <= 0) {
        return;
    }
    if (fds[0].revents != 0) {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t result = read(wake_fd_, &count, sizeof(count));
    }
    for (size_t i = 1; i < fds.size(); ++i) {
        if (fds[i].revents != 0) {
            ready_(fds[i]);
        }
    }
}
