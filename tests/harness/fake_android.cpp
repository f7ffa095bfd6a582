#include "tests/harness/fake_android.h"

#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

FakeAndroid& FakeAndroid::instance() {
    // Never destroyed: the library's threads run until the process has ended.
    static FakeAndroid& android = *new FakeAndroid;
    return android;
}

const RIL_Env* FakeAndroid::env() {
    static const RIL_Env env = {on_complete, on_unsolicited, on_timed};
    return &env;
}

void FakeAndroid::reset() {
    const std::lock_guard lock(lock_);
    std::exchange(completions_, {});  // which gives the memory back
    std::exchange(unsolicited_, {});
}

void FakeAndroid::set_observer(Observer observer) {
    const std::lock_guard lock(lock_);
    observer_ = std::move(observer);
}

std::vector<FakeAndroid::Completion> FakeAndroid::completions() {
    const std::lock_guard lock(lock_);
    return completions_;
}

std::vector<int> FakeAndroid::unsolicited_numbers() {
    const std::lock_guard lock(lock_);
    return unsolicited_;
}

int FakeAndroid::completed(RIL_Token token) {
    const std::lock_guard lock(lock_);
    return static_cast<int>(
        std::count_if(completions_.begin(), completions_.end(), [&](const Completion& c) { return c.token == token; }));
}

FakeAndroid::Completion FakeAndroid::wait_completion(RIL_Token token) {
    std::unique_lock lock(lock_);
    auto found = completions_.end();
    const bool seen = changed_.wait_for(lock, std::chrono::seconds(10), [&] {
        found = std::find_if(completions_.begin(), completions_.end(),
                             [&](const Completion& c) { return c.token == token; });
        return found != completions_.end();
    });
    if (!seen) {
        std::fprintf(stderr, "token %p was never completed\n", token);
        std::abort();
    }
    return *found;
}

void FakeAndroid::advance(int64_t milliseconds) {
    std::unique_lock lock(lock_);
    now_ += milliseconds;
    while (!timers_.empty() && timers_.begin()->first <= now_) {
        const auto [callback, param] = timers_.begin()->second;
        timers_.erase(timers_.begin());
        lock.unlock();
        callback(param);
        lock.lock();
    }
}

size_t FakeAndroid::timers() {
    const std::lock_guard lock(lock_);
    return timers_.size();
}

void FakeAndroid::on_complete(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    FakeAndroid& android = instance();
    const std::lock_guard lock(android.lock_);
    Completion completion{token, error, {}};
    if (response != nullptr) {
        completion.data.assign(static_cast<const char*>(response), length);
    }
    android.completions_.push_back(std::move(completion));
    if (android.observer_.completed) {
        android.observer_.completed(token, error, response, length);
    }
    android.changed_.notify_all();
}

void FakeAndroid::on_unsolicited(int number, const void* data, size_t length) {
    FakeAndroid& android = instance();
    const std::lock_guard lock(android.lock_);
    android.unsolicited_.push_back(number);
    if (android.observer_.told) {
        android.observer_.told(number, data, length);
    }
    android.changed_.notify_all();
}

void FakeAndroid::on_timed(RIL_TimedCallback callback, void* param, const struct timeval* relative) {
    FakeAndroid& android = instance();
    const std::lock_guard lock(android.lock_);
    const int64_t delay = relative == nullptr ? 0 : int64_t{relative->tv_sec} * 1000 + relative->tv_usec / 1000;
    android.timers_.emplace(android.now_ + delay, std::pair{callback, param});
}
