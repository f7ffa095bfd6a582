// Plays a case of a transcript on a phone of its own.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tests/harness/phone.h"
#include "tests/transcript/notation.h"

class Player {
public:
    Player();

    // Fails the test at the line that did not hold, and ends there.
    void play(const Case& one);

private:
    // What Android got.
    struct Event {
        std::string request;  // that it completes: its name, or that it was made in line so and so
        std::string what;     // the error's or the unsolicited response's name
        std::string text;     // its data
    };
    using Words = std::vector<Word>;
    struct Action {
        bool only_looks;  // is not done to the phone
        void (*run)(Player& player, const Words& words);
    };
    static const std::map<std::string, Action> c_actions;

    void set_returns(const std::vector<Line>& lines, size_t at);
    void act(const Line& line);
    void request(std::string text);
    RIL_Token new_token(int number);  // of the request that lines are about
    void see_packets(const Line& line);
    void answer(const Line& line);
    void see_events(const Line& line);
    void settle();
    void pass_fence();
    void wait_until_served();

    void take_packets();
    std::string text_of(const Event& event) const;
    void add_event(Event event);
    void add_completion(RIL_Token token, RIL_Errno error, const void* data, size_t length);
    const RIL_RadioFunctions* functions();

    // actions.cpp
    Phone& phone();
    void start_phone(const std::string& state, const std::vector<std::string>& arguments);
    void call(const Words& words);
    void changed_modem();
    size_t open();  // requests that are not completed
    void forget();  // what went by

    std::unique_ptr<Phone> phone_;
    uint32_t sim_id_ = 0;
    bool modem_is_up_ = false;
    bool daemon_is_there_ = false;
    std::atomic<bool> is_fenced_{false};  // a fence is on its way
    bool may_be_away_ = false;            // the library may not serve requests yet
    size_t log_start_ = 0;                // of what the last action left in the log
    int line_ = 0;

    std::deque<Bytes> packets_;  // that the modem got and no line has told
    bool any_events_ = false;
    bool any_packets_ = false;                  // in this exchange
    std::string name_;                          // of the request that lines are about
    std::map<std::string, uint32_t> contexts_;  // by the request's name
    uint32_t client_ = 0x20000100;              // context of an indication

    std::mutex lock_;  // of what is below
    std::deque<Event> events_;
    std::map<RIL_Token, std::pair<std::string, int>> requests_;  // name and number by token
    std::set<RIL_Token> completed_;
};
