#include "host/modem/scenario.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "host/modem/commands.h"
#include "host/modem/say.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

constexpr int32_t c_expect_ms = 10000;

// The commands that a scenario carries out itself.
const std::vector<Command>& own_commands() {
    static const std::vector<Command> s_commands = {
        {"expect",
         "FUNCTION [MS]",
         "waits for a packet of the function, either way, that went by since the packet of the last expect,\n"
         "or since the scenario began; an error when there is none after MS, 10000 by default",
         {}},
        {"status", "", "prints the state of the modem, its clients and its services", {}},
        {"help", "", "prints the commands", {}},
        {"quit", "", "ends the modem", {}},
    };
    return s_commands;
}

void describe_commands(std::string& text, const std::vector<Command>& commands) {
    for (const Command& command : commands) {
        text += std::string("  ") + command.name + " " + command.usage + "\n";
        for (const char* at = command.help; *at != '\0';) {
            const std::string line(at, std::find(at, at + std::char_traits<char>::length(at), '\n'));
            text += "      " + line + "\n";
            at += line.size();
            at += *at == '\n' ? 1 : 0;
        }
    }
}

}  // namespace

std::optional<std::vector<std::string>> split_words(const std::string& line) {
    std::vector<std::string> words;
    bool quoted = false;
    bool in_word = false;
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            in_word = false;
            continue;
        }
        if (!in_word) {
            words.emplace_back();
            in_word = true;
        }
        if (quoted && c == '\\' && i + 1 < line.size()) {
            words.back() += line[++i];
        } else if (c != '"') {
            words.back() += c;
        }
    }
    return quoted ? std::nullopt : std::optional(words);
}

// --- One scenario ----------------------------------------------------------------------------------------------------

Scenario::Scenario(Scenarios& owner, std::function<void(const std::string&)> answer)
    : owner_(owner), answer_(std::move(answer)), seen_(owner.modem_.passages()) {
    owner_.all_.push_back(this);
}

Scenario::~Scenario() {
    owner_.loop_.cancel(timer_);
    std::erase(owner_.all_, this);
}

void Scenario::add(const std::string& line) {
    lines_.push_back(line);
    go_on();
}

void Scenario::go_on() {
    if (running_) {
        return;
    }
    running_ = true;
    while (!waiting() && !lines_.empty()) {
        const std::string line = lines_.front();
        lines_.pop_front();
        run(line);
    }
    running_ = false;
}

void Scenario::finish(const std::string& error) {
    answer_(error.empty() ? "ok" : "error " + error);
}

void Scenario::run(const std::string& line) {
    const auto words = split_words(line);
    if (!words) {
        finish("a quote is not closed");
        return;
    }
    if (words->empty() || words->front().starts_with('#')) {
        finish("");
        return;
    }
    const std::string& name = words->front();
    const std::vector<std::string> arguments(words->begin() + 1, words->end());
    if (name == "expect") {
        expect(arguments);
        return;
    }
    const Command* command = owner_.find(name);
    if (command != nullptr && command->run) {
        finish(command->run(owner_.modem_, arguments));
        return;
    }
    if (command == nullptr || !arguments.empty()) {
        finish(command == nullptr ? "no such command: " + name : name + " wants no arguments");
        return;
    }
    if (name == "quit") {
        owner_.loop_.stop();
    } else {
        answer_(name == "status" ? owner_.modem_.describe() : Scenarios::help());
    }
    finish("");
}

void Scenario::expect(const std::vector<std::string>& arguments) {
    const auto function = arguments.empty() ? std::nullopt : parse_function(arguments[0]);
    const auto time = arguments.size() == 2 ? parse_integer(arguments[1]) : std::optional(c_expect_ms);
    if (!function || !time || *time < 0 || arguments.size() > 2) {
        finish(arguments.empty() ? "wants a function" : "bad function or time: " + arguments.back());
        return;
    }
    expected_ = *function;
    timer_ = owner_.loop_.after(Loop::Milliseconds(*time), [this] {
        timer_ = 0;
        const uta::Function* missing = uta::find_function(uint32_t{expected_});
        finish(std::string("no ") + uta::function_name(*missing) + " came");
        go_on();
    });
    look();
}

void Scenario::look() {
    if (!waiting()) {
        return;
    }
    const auto passage = owner_.modem_.find_passage(seen_, expected_);
    if (!passage) {
        return;
    }
    seen_ = passage->number;
    owner_.loop_.cancel(timer_);
    timer_ = 0;
    finish("");
    // Not at once: this may be in the middle of what another line does.
    owner_.loop_.after(Loop::Milliseconds(0), [&owner = owner_, self = this] {
        if (std::find(owner.all_.begin(), owner.all_.end(), self) != owner.all_.end()) {
            self->go_on();
        }
    });
}

// --- All of them -----------------------------------------------------------------------------------------------------

Scenarios::Scenarios(Loop& loop, Modem& modem) : loop_(loop), modem_(modem), commands_(modem_commands()) {
    for (Service& service : modem_services()) {
        commands_.insert(commands_.end(), service.commands.begin(), service.commands.end());
    }
    commands_.insert(commands_.end(), own_commands().begin(), own_commands().end());
    modem_.on_passage = [this] {
        for (Scenario* scenario : all_) {
            scenario->look();
        }
    };
}

Scenarios::~Scenarios() {
    modem_.on_passage = {};
}

const Command* Scenarios::find(const std::string& name) const {
    const auto at = std::find_if(commands_.begin(), commands_.end(),
                                 [&name](const Command& command) { return name == command.name; });
    return at != commands_.end() ? &*at : nullptr;
}

std::string Scenarios::help() {
    std::string text;
    describe_commands(text, modem_commands());
    for (const Service& service : modem_services()) {
        describe_commands(text, service.commands);
    }
    describe_commands(text, own_commands());
    text.pop_back();
    return text;
}

bool Scenarios::listen() {
    control_ = LineServer::start(
        loop_, c_control_path,
        {.arrived =
             [this](int caller) {
                 callers_[caller] = std::make_unique<Scenario>(
                     *this, [this, caller](const std::string& answer) { control_->send(caller, answer + "\n"); });
             },
         .line = [this](int caller, const std::string& line) { callers_.at(caller)->add(line); },
         .gone = [this](int caller) { callers_.erase(caller); }});
    return control_ != nullptr;
}

// --- The script ------------------------------------------------------------------------------------------------------

bool Scenarios::load(const std::string& file, std::string& error) {
    std::ifstream in(file);
    if (!in) {
        error = file + " cannot be read";
        return false;
    }
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        const size_t end = std::min(line.find_first_of(" \t", start), line.size());
        const bool relative = line[start] == '+';
        const auto time = parse_integer(line.substr(start + (relative ? 1 : 0), end - start - (relative ? 1 : 0)));
        const size_t text = std::min(line.find_first_not_of(" \t", end), line.size());
        const auto words = split_words(line.substr(text));
        if (!time || *time < 0 || !words || words->empty() || find(words->front()) == nullptr) {
            error = file + ":" + std::to_string(number);
            error += ": wants a time in milliseconds and a command: " + line;
            return false;
        }
        script_.push_back({number, relative, Loop::Milliseconds(*time), line.substr(text)});
    }
    return true;
}

void Scenarios::start_script() {
    if (script_.empty()) {
        return;
    }
    script_start_ = Loop::Clock::now();
    script_scenario_ = std::make_unique<Scenario>(*this, [this](const std::string& answer) { script_answer(answer); });
    next_script_line();
}

void Scenarios::next_script_line() {
    if (next_line_ == script_.size()) {
        say("the script is at its end");
        return;
    }
    const ScriptLine& line = script_[next_line_];
    const auto passed = std::chrono::ceil<Loop::Milliseconds>(Loop::Clock::now() - script_start_);
    const auto delay = line.relative ? line.time : std::max(line.time - passed, Loop::Milliseconds(0));
    loop_.after(delay, [this] {
        say("script: %s", script_[next_line_].text.c_str());
        script_scenario_->add(script_[next_line_].text);
    });
}

// A line that goes wrong ends the modem: what follows builds on it.
void Scenarios::script_answer(const std::string& answer) {
    if (answer == "ok") {
        ++next_line_;
        next_script_line();
    } else if (answer.starts_with("error ")) {
        say("script, line %d: %s", script_[next_line_].number, answer.c_str());
        script_failed_ = true;
        loop_.stop();
    } else {
        std::istringstream lines(answer);
        for (std::string line; std::getline(lines, line);) {
            say("%s", line.c_str());
        }
    }
}
