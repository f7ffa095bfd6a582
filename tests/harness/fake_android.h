// Android's side of the library: records what it completes and sends, and owns the clock of its timed callbacks.
#pragma once

#include <telephony/ril.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class FakeAndroid {
public:
    struct Completion {
        RIL_Token token;
        RIL_Errno error;
        std::string data;  // the bytes of the response
    };

    // The one Android of this process; its record is what RIL_Init gets.
    static FakeAndroid& instance();
    static const RIL_Env* env();
    static RIL_Token token(uintptr_t number) { return reinterpret_cast<RIL_Token>(number); }

    void reset();

    // Called on the library's thread with each completion and unsolicited response, while what it points to is valid.
    struct Observer {
        std::function<void(RIL_Token token, RIL_Errno error, const void* data, size_t length)> completed;
        std::function<void(int number, const void* data, size_t length)> told;
    };
    void set_observer(Observer observer);

    std::vector<Completion> completions();
    std::vector<int> unsolicited_numbers();

    // Number of completions with this token.
    int completed(RIL_Token token);
    // Waits for the first completion of `token`; fails the test after ten seconds.
    Completion wait_completion(RIL_Token token);

    // Moves the clock and runs on this thread what falls due, in order of time.
    void advance(int64_t milliseconds);
    size_t timers();

private:
    static void on_complete(RIL_Token token, RIL_Errno error, void* response, size_t length);
    static void on_unsolicited(int number, const void* data, size_t length);
    static void on_timed(RIL_TimedCallback callback, void* param, const struct timeval* relative);

    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<Completion> completions_;
    std::vector<int> unsolicited_;
    Observer observer_;
    std::multimap<int64_t, std::pair<RIL_TimedCallback, void*>> timers_;  // by due time in milliseconds
    int64_t now_ = 0;
};
