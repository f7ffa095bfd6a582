#include "host/modem/loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

// poll counts in an int; the loop merely turns once more.
static constexpr int c_longest_wait_ms = 1000000;

Loop::Loop() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (wake_ < 0) {
        throw std::runtime_error("no event descriptor");
    }
    watch(wake_, POLLIN, [this](short) { run_posted(); });
}

Loop::~Loop() {
    close(wake_);
}

void Loop::watch(int fd, short events, std::function<void(short)> ready) {
    watches_[fd] = {events, std::make_shared<std::function<void(short)>>(std::move(ready))};
}

void Loop::change(int fd, short events) {
    const auto at = watches_.find(fd);
    if (at != watches_.end()) {
        at->second.events = events;
    }
}

void Loop::forget(int fd) {
    watches_.erase(fd);
}

Loop::Timer Loop::after(Milliseconds delay, std::function<void()> work) {
    timers_[{Clock::now() + delay, ++last_timer_}] = std::move(work);
    return last_timer_;
}

void Loop::cancel(Timer timer) {
    std::erase_if(timers_, [timer](const auto& entry) { return entry.first.second == timer; });
}

void Loop::post(std::function<void()> work) {
    {
        const std::lock_guard guard(lock_);
        posted_.push_back(std::move(work));
    }
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = write(wake_, &one, sizeof(one));
}

void Loop::stop() {
    stopped_ = true;
}

void Loop::run_posted() {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t result = read(wake_, &count, sizeof(count));
    std::vector<std::function<void()>> work;
    {
        const std::lock_guard guard(lock_);
        work.swap(posted_);
    }
    for (const auto& run : work) {
        run();
    }
}

// Milliseconds until the next timer, rounded up so that the loop doesn't turn in vain.
int Loop::timeout() const {
    if (timers_.empty()) {
        return -1;
    }
    const auto left = std::chrono::ceil<Milliseconds>(timers_.begin()->first.first - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, c_longest_wait_ms));
}

void Loop::run_timers() {
    // What the timers arm for now runs at the next turn, so that descriptors get theirs.
    const auto now = Clock::now();
    const Timer last = last_timer_;
    while (!stopped_ && !timers_.empty()) {
        const auto at = timers_.begin();
        if (at->first.first > now || at->first.second > last) {
            return;
        }
        const auto work = std::move(at->second);
        timers_.erase(at);
        work();
    }
}

void Loop::run() {
    stopped_ = false;
    while (!stopped_) {
        std::vector<pollfd> waiting;
        waiting.reserve(watches_.size());
        for (const auto& [fd, entry] : watches_) {
            waiting.push_back({fd, entry.events, 0});
        }
        poll(waiting.data(), waiting.size(), timeout());
        run_timers();
        for (const pollfd& entry : waiting) {
            const auto at = watches_.find(entry.fd);
            if (entry.revents == 0 || stopped_ || at == watches_.end()) {
                continue;
            }
            // A descriptor that was closed and opened again in this turn is called with the old one's answer; every
            // handler here reads without blocking and finds nothing then.
            const auto ready = at->second.ready;
            (*ready)(entry.revents);
        }
    }
}
