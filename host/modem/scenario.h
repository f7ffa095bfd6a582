// Lines that tell the modem what to do, one after the other: from a script, or from a caller of the control socket.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/modem/line_server.h"
#include "host/modem/modem.h"

constexpr const char* c_control_path = "/dev/socket/modem_control";

// Splits a line into words; "..." keeps blanks together, a backslash in it takes the next character as it is. Nothing
// when a quote is not closed.
std::optional<std::vector<std::string>> split_words(const std::string& line);

class Scenarios;

// One sequence of lines. The next line waits for `expect` to be fulfilled.
class Scenario {
public:
    // `answer` gets the lines that a command prints and then "ok" or "error ...", each without its newline.
    Scenario(Scenarios& owner, std::function<void(const std::string&)> answer);
    ~Scenario();
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    void add(const std::string& line);
    bool waiting() const { return timer_ != 0; }

private:
    friend class Scenarios;
    void go_on();
    void run(const std::string& line);
    void expect(const std::vector<std::string>& arguments);
    void look();
    void finish(const std::string& error);

    Scenarios& owner_;
    std::function<void(const std::string&)> answer_;
    std::deque<std::string> lines_;
    uint64_t seen_;  // the passage that the last `expect` took, or the last one before the scenario began
    uint16_t expected_ = 0;
    Loop::Timer timer_ = 0;
    bool running_ = false;
};

// The commands, and the scenarios that are under way.
class Scenarios {
public:
    Scenarios(Loop& loop, Modem& modem);
    ~Scenarios();
    Scenarios(const Scenarios&) = delete;
    Scenarios& operator=(const Scenarios&) = delete;

    // Serves the control socket. False with errno.
    bool listen();
    // Reads a script whose lines begin with a time. False with the reason in `error`.
    bool load(const std::string& file, std::string& error);
    void start_script();
    bool script_failed() const { return script_failed_; }

    static std::string help();

private:
    friend class Scenario;
    struct ScriptLine {
        int number;
        bool relative;  // to the line before, else to the start
        Loop::Milliseconds time;
        std::string text;
    };

    void next_script_line();
    void script_answer(const std::string& answer);
    const Command* find(const std::string& name) const;

    Loop& loop_;
    Modem& modem_;
    std::vector<Command> commands_;
    std::vector<Scenario*> all_;
    std::unique_ptr<LineServer> control_;
    std::map<int, std::unique_ptr<Scenario>> callers_;
    std::vector<ScriptLine> script_;
    size_t next_line_ = 0;
    Loop::Clock::time_point script_start_;
    std::unique_ptr<Scenario> script_scenario_;
    bool script_failed_ = false;
};
