// The commands of the console, one line at a time.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/console/messages.h"
#include "host/console/modem_control.h"
#include "host/console/screen.h"
#include "host/console/session.h"

class Console {
public:
    explicit Console(Screen& screen, bool connects = true);  // to rild at once, or when a command needs it

    // Carries out a line and says what became of it. False when it went wrong or an expectation did not hold.
    bool run(const std::string& line);
    bool is_over() const { return over_; }  // after quit

    // Serves the sockets until `done`, at the longest for `longest`. False when `done` never came.
    bool serve(Clock::duration longest, const std::function<bool()>& done);
    // Serves the sockets until `fd` can be read.
    void serve_until_readable(int fd);
    // Waits for the answers to what was asked. False when some stay away, or some were answers to nothing.
    bool wait_for_answers();

    unsigned held() const { return held_; }
    unsigned failed() const { return failed_; }

private:
    using Words = std::vector<std::string>;
    // What a command gives: empty when all is well, or what is wrong.
    using Outcome = std::string;

    struct Command {
        const char* word;
        Outcome (Console::*run)(const Words& words, const std::string& rest);
        bool is_step;  // counts among the steps that held or failed
        const char* help;
    };
    static const Command c_commands[];

    void poll_once(Clock::duration longest, int fd, bool& readable);
    Session& session(size_t sim);
    Outcome carry_out(const std::string& line);
    Outcome ask(int request, std::string_view form, const Words& words);

    Outcome help(const Words& words, const std::string& rest);
    Outcome raw(const Words& words, const std::string& rest);
    Outcome say(const Words& words, const std::string& rest);
    Outcome forget(const Words& words, const std::string& rest);
    Outcome sleep(const Words& words, const std::string& rest);
    Outcome modem(const Words& words, const std::string& rest);
    Outcome shell(const Words& words, const std::string& rest);
    Outcome fails(const Words& words, const std::string& rest);
    Outcome sms(const Words& words, const std::string& rest);
    Outcome broadcast(const Words& words, const std::string& rest);
    Outcome ask_all(const std::optional<std::vector<MessageRequest>>& requests);
    Outcome sim_1(const Words& words, const std::string& rest);
    Outcome sim_2(const Words& words, const std::string& rest);
    Outcome quit(const Words& words, const std::string& rest);
    // card.cpp
    Outcome pin(const Words& words, const std::string& rest);
    Outcome lock(const Words& words, const std::string& rest);
    Outcome file(const Words& words, const std::string& rest);
    Outcome prefer(const Words& words, const std::string& rest);
    Outcome data(const Words& words, const std::string& rest);
    Outcome bands(const Words& words, const std::string& rest);
    std::optional<std::string> ask_card(int command, int file, const std::string& path, size_t p1, size_t p2,
                                        size_t p3);
    // packets.cpp
    Outcome ping(const Words& words, const std::string& rest);
    Outcome fetch(const Words& words, const std::string& rest);
    // toolkit.cpp
    Outcome toolkit(const Words& words, const std::string& rest);
    std::string last_command(bool is_menu);
    // expectations.cpp
    Outcome expect(const Words& words, const std::string& rest);
    Outcome wait(const Words& words, const std::string& rest);
    Outcome expect_unsol(const Words& words);
    Outcome expect_no_unsol(const Words& words);
    Outcome expect_completion(const Words& words);
    Outcome expect_balance(const Words& words);
    Outcome traffic(const Words& words, const std::string& rest);

    Screen& screen_;
    ModemControl control_;
    std::array<std::unique_ptr<Session>, 2> sessions_;
    size_t sim_ = 0;        // of the line at hand
    bool is_step_ = false;  // is what the line at hand does a step
    bool over_ = false;
    unsigned held_ = 0;
    unsigned failed_ = 0;
};
