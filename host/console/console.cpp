#include "host/console/console.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "host/console/parcel_text.h"
#include "host/console/protocol.h"
#include "host/console/services.h"
#include "host/console/toolkit.h"
#include "host/console/words.h"

namespace {

using namespace std::chrono_literals;

constexpr const char* c_sockets[] = {"/dev/socket/rild", "/dev/socket/rild2"};
constexpr const char* c_tags[] = {"", "sim2 "};
constexpr const char* c_control_path = "/dev/socket/modem_control";
constexpr auto c_control_patience = 60s;
constexpr auto c_answer_patience = 30s;

// The modem's own commands that begin with the word which leads to its socket.
constexpr std::string_view c_modem_words[] = {"up", "down", "crash", "reset", "shutdown", "hang"};

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += text.empty() ? "" : " ";
        text += word;
    }
    return text;
}

}  // namespace

const Console::Command Console::c_commands[] = {
    {"raw", &Console::raw, false,
     "REQUEST FORM [WORD...]   any request; FORM is void, string, strings, ints, bytes or items"},
    {"pin", &Console::pin, false, "PIN [AID] | on PIN | off PIN   enters PIN1; switches it on or off"},
    {"lock", &Console::lock, false, "FACILITY [on|off [CODE]]   SC, FD, PN and others: asked, or set"},
    {"file", &Console::file, true, "ID [PATH] [is VALUE]   a file of the card, such as 6F07: all its bytes or records"},
    {"prefer", &Console::prefer, false, "gsm|umts|lte|gsm+umts|umts+lte|any   the technologies that the modem may use"},
    {"data", &Console::data, false,
     "[on APN [PROTOCOL [USER PASSWORD]] | off CID | list | why]   the registration; a data call; the last one's end"},
    {"ping", &Console::ping, true, "ADDRESS [INTERFACE]   holds if the host answers over a data call"},
    {"fetch", &Console::fetch, true, "http://ADDRESS/PATH [INTERFACE]   a page over a data call"},
    {"bands", &Console::bands, false, "[MODE]   the band modes that there are; sets one"},
    {"expect", &Console::expect, true,
     "REQUEST ERROR [SECONDS] [VALUE]   a completion; completion is any request's, any any error"},
    {"expect", &Console::expect, true, "unsol NAME [SECONDS] [VALUE]   an unsolicited response"},
    {"expect", &Console::expect, true, "no unsol NAME [SECONDS]   none in that time"},
    {"expect", &Console::expect, true,
     "traffic-balanced [SECONDS]   one answer for each request of the traffic so far"},
    {"wait", &Console::wait, true,
     "connected|completion|NAME [SECONDS]   for rild's greeting, all answers, an unsolicited response"},
    {"fails", &Console::fails, true, "COMMAND   holds if the command doesn't"},
    {"traffic", &Console::traffic, false, "on [MILLISECONDS] [REQUEST...] | off   harmless requests in the background"},
    {"modem", &Console::modem, true,
     "COMMAND   to the modem's control socket; card, network and temperature need no modem in front"},
    {"sms", &Console::sms, false, c_sms_help},
    {"broadcast", &Console::broadcast, false, c_broadcast_help},
    {"toolkit", &Console::toolkit, false, c_toolkit_help},
    {"shell", &Console::shell, true, "COMMAND   holds if its exit status is 0"},
    {"sim1", &Console::sim_1, false, "COMMAND   at the first instance, as without it"},
    {"sim2", &Console::sim_2, false, "COMMAND   at the second instance"},
    {"say", &Console::say, false, "TEXT   a headline; what came before it can't be expected any more"},
    {"forget", &Console::forget, false, "  the same without a headline"},
    {"sleep", &Console::sleep, false, "SECONDS"},
    {"help", &Console::help, false, ""},
    {"quit", &Console::quit, false, ""},
};

Console::Console(Screen& screen, bool connects) : screen_(screen), control_(c_control_path) {
    if (connects) {
        session(0);
    }
}

Session& Console::session(size_t sim) {
    if (sessions_[sim] == nullptr) {
        sessions_[sim] = std::make_unique<Session>(c_sockets[sim], c_tags[sim], screen_);
    }
    return *sessions_[sim];
}

// ---------------------------------------------------------------------------------------------------------------------
// The sockets

void Console::poll_once(Clock::duration longest, int fd, bool& readable) {
    const auto now = Clock::now();
    auto until = now + std::min<Clock::duration>(longest, 1h);
    std::vector<pollfd> fds;
    for (const auto& session : sessions_) {
        if (session != nullptr) {
            until = std::min(until, session->tick());
            session->collect(fds);
        }
    }
    control_.collect(fds);
    if (fd >= 0) {
        fds.push_back({fd, POLLIN, 0});
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(std::max(until - now, Clock::duration::zero()));
    if (poll(fds.data(), fds.size(), static_cast<int>(left.count())) <= 0) {
        return;
    }
    for (const pollfd& ready : fds) {
        if (ready.revents == 0) {
            continue;
        }
        readable = readable || (ready.fd == fd && fd >= 0);
        control_.ready(ready);
        for (const auto& session : sessions_) {
            if (session != nullptr) {
                session->ready(ready);
            }
        }
    }
}

bool Console::serve(Clock::duration longest, const std::function<bool()>& done) {
    const auto end = Clock::now() + longest;
    for (;;) {
        bool readable = false;
        poll_once(Clock::duration::zero(), -1, readable);
        const auto now = Clock::now();
        if (done()) {
            return true;
        }
        if (now >= end) {
            return false;
        }
        poll_once(end - now, -1, readable);
    }
}

void Console::serve_until_readable(int fd) {
    for (bool readable = false; !readable;) {
        poll_once(1h, fd, readable);
    }
}

bool Console::wait_for_answers() {
    const auto of_all = [this](const auto& is_good) {
        return std::all_of(sessions_.begin(), sessions_.end(),
                           [&](const auto& session) { return session == nullptr || is_good(*session); });
    };
    const bool answered = serve(
        c_answer_patience, [&] { return of_all([](const Session& session) { return session.outstanding() == 0; }); });
    const bool once = of_all([](const Session& session) { return session.strangers() == 0; });
    if (!answered || !once) {
        ++failed_;
        screen_.failed(answered ? "some answers were too many" : "some requests have no answer");
    }
    return answered && once;
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

bool Console::run(const std::string& line) {
    sim_ = 0;
    is_step_ = false;
    const Outcome outcome = carry_out(line);
    if (!outcome.empty()) {
        ++failed_;
        screen_.failed(behind(line, 0) + ": " + outcome);
    } else if (is_step_) {
        ++held_;
        screen_.held(behind(line, 0));
    }
    bool readable = false;
    poll_once(Clock::duration::zero(), -1, readable);
    return outcome.empty();
}

Console::Outcome Console::carry_out(const std::string& line) {
    const auto words = words_of(line);
    if (!words) {
        return "a quote has no end";
    }
    if (words->empty()) {
        return "";
    }
    const std::string& word = words->front();
    const Words rest(words->begin() + 1, words->end());
    for (const Command& command : c_commands) {
        if (word == command.word) {
            is_step_ = command.is_step;
            return (this->*command.run)(rest, behind(line, 1));
        }
    }
    for (const Shortcut& shortcut : shortcuts()) {
        if (word == shortcut.word) {
            return ask(shortcut.request, shortcut.form, rest);
        }
    }
    if (const auto requests = service_requests(*words)) {
        return ask_all(requests->empty() ? std::nullopt : requests);
    }
    if (word == "card" || word == "network" || word == "temperature") {
        is_step_ = true;
        return modem(*words, behind(line, 0));
    }
    return "no such command; help tells them";
}

Console::Outcome Console::ask(int request, std::string_view form, const Words& words) {
    const auto arguments = arguments_of(form, words);
    if (!arguments) {
        return "these arguments don't suit";
    }
    return session(sim_).ask(request, *arguments, joined(words)) ? "" : "not connected";
}

Console::Outcome Console::raw(const Words& words, const std::string&) {
    const auto request = words.empty() ? std::nullopt : find_request(words[0]);
    if (!request || words.size() < 2) {
        return "wants a request and a form";
    }
    return ask(*request, words[1], Words(words.begin() + 2, words.end()));
}

Console::Outcome Console::say(const Words& words, const std::string& rest) {
    screen_.headline(rest);
    return forget(words, rest);
}

Console::Outcome Console::forget(const Words&, const std::string&) {
    for (const auto& session : sessions_) {
        if (session != nullptr) {
            session->forget();
        }
    }
    return "";
}

Console::Outcome Console::sleep(const Words& words, const std::string&) {
    const auto seconds = words.size() == 1 ? seconds_of(words[0]) : std::nullopt;
    if (!seconds) {
        return "wants seconds";
    }
    serve(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds)), [] { return false; });
    return "";
}

Console::Outcome Console::modem(const Words& words, const std::string& rest) {
    const bool is_power = words.size() == 1 && std::find(std::begin(c_modem_words), std::end(c_modem_words),
                                                         words[0]) != std::end(c_modem_words);
    if (!control_.send(is_power ? "modem " + rest : rest)) {
        return "no modem listens";
    }
    Outcome outcome = "no answer";
    const auto is_answered = [this, &outcome] {
        while (const auto line = control_.line()) {
            if (*line == "ok") {
                outcome.clear();
                return true;
            }
            if (line->starts_with("error")) {
                outcome = *line;
                return true;
            }
            screen_.say("modem: " + *line);
        }
        return !control_.is_connected();
    };
    serve(c_control_patience, is_answered);
    return outcome;
}

// The sockets wait meanwhile.
Console::Outcome Console::shell(const Words&, const std::string& rest) {
    FILE* pipe = popen(rest.c_str(), "re");
    if (pipe == nullptr) {
        return "no shell";
    }
    char line[1024];
    while (std::fgets(line, sizeof(line), pipe) != nullptr) {
        line[std::strcspn(line, "\n")] = '\0';
        screen_.say(line);
    }
    const int status = pclose(pipe);
    return status == 0 ? "" : "status " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

Console::Outcome Console::fails(const Words& words, const std::string& rest) {
    const Outcome outcome = carry_out(rest);
    is_step_ = true;
    return words.empty() ? "wants a command" : outcome.empty() ? "it didn't" : "";
}

Console::Outcome Console::ask_all(const std::optional<std::vector<MessageRequest>>& requests) {
    if (!requests) {
        return "these arguments don't suit";
    }
    for (const MessageRequest& request : *requests) {
        if (Outcome outcome = ask(request.request, request.form, request.words); !outcome.empty()) {
            return outcome;
        }
    }
    return "";
}

Console::Outcome Console::sms(const Words& words, const std::string&) {
    return ask_all(message_requests(words));
}

Console::Outcome Console::broadcast(const Words& words, const std::string& rest) {
    if (const auto requests = broadcast_requests(words)) {
        return ask_all(requests);
    }
    is_step_ = true;
    return modem(words, "broadcast " + rest);
}

Console::Outcome Console::sim_1(const Words&, const std::string& rest) {
    sim_ = 0;
    return carry_out(rest);
}

Console::Outcome Console::sim_2(const Words&, const std::string& rest) {
    sim_ = 1;
    session(sim_);
    return carry_out(rest);
}

Console::Outcome Console::quit(const Words&, const std::string&) {
    over_ = true;
    return "";
}

Console::Outcome Console::help(const Words&, const std::string&) {
    for (const Shortcut& shortcut : shortcuts()) {
        const std::string words = std::string(shortcut.word) + " " + std::string(shortcut.help);
        screen_.plain("  " + words + std::string(words.size() < 28 ? 28 - words.size() : 1, ' ') +
                      request_name(shortcut.request));
    }
    for (const char* line : c_service_help) {
        screen_.plain(line);
    }
    for (const Command& command : c_commands) {
        screen_.plain(std::string("  ") + command.word + " " + command.help);
    }
    return "";
}
