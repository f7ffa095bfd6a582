// A console for the simulated phone: a client of rild's sockets and of the modem's control socket, for people and for
// scripts.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "host/console/console.h"
#include "host/console/screen.h"

namespace {

constexpr const char* c_usage =
    "usage: console [-k] [-i] [-m] [SCRIPT]\n"
    "\n"
    "Carries out the lines of SCRIPT, or of the standard input. \"help\" tells the commands.\n"
    "\n"
    "  -k  go on after a step that failed\n"
    "  -i  stay at the terminal after SCRIPT\n"
    "  -m  leave rild to another client until a command needs it\n"
    "\n"
    "Exit status: 0 when every step of a script held, 1 when one did not, 2 for wrong usage.\n";

constexpr int c_exit_failed = 1;
constexpr int c_exit_usage = 2;

struct Options {
    bool keep_going = false;
    bool stay = false;
    bool connects = true;
    const char* script = nullptr;
};

std::optional<Options> read_options(int argc, char** argv) {
    Options options;
    for (int option = 0; (option = getopt(argc, argv, "kim")) != -1;) {
        if (option == '?') {
            return {};
        }
        options.keep_going |= option == 'k';
        options.stay |= option == 'i';
        options.connects &= option != 'm';
    }
    if (argc - optind > 1) {
        return {};
    }
    options.script = argv[optind];
    return options;
}

using NextLine = std::function<std::optional<std::string>()>;

void run_script(Console& console, const NextLine& next, bool keep_going) {
    while (!console.is_over()) {
        const auto line = next();
        if (!line) {
            break;
        }
        if (!console.run(*line) && !keep_going) {
            return;
        }
    }
    console.wait_for_answers();
}

std::optional<std::string> read_line(std::istream& file) {
    std::string line;
    return std::getline(file, line) ? std::optional(line) : std::nullopt;
}

// The next line of the standard input, for which the sockets don't wait.
std::optional<std::string> read_line(Console& console, std::string& text) {
    for (;;) {
        const size_t end = text.find('\n');
        if (end != std::string::npos) {
            const std::string line = text.substr(0, end);
            text.erase(0, end + 1);
            return line;
        }
        console.serve_until_readable(STDIN_FILENO);
        char bytes[4096];
        const ssize_t got = read(STDIN_FILENO, bytes, sizeof(bytes));
        if (got <= 0) {
            return {};
        }
        text.append(bytes, static_cast<size_t>(got));
    }
}

void run_terminal(Console& console, Screen& screen) {
    std::string text;
    while (!console.is_over()) {
        screen.show_prompt();
        const auto line = read_line(console, text);
        screen.prompt_is_done();
        if (!line) {
            screen.plain("");
            return;
        }
        console.run(*line);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = read_options(argc, argv);
    if (!options) {
        std::fputs(c_usage, stderr);
        return c_exit_usage;
    }
    std::ifstream script;
    if (options->script != nullptr) {
        script.open(options->script);
        if (!script) {
            std::fprintf(stderr, "console: %s: %s\n", options->script, std::strerror(errno));
            return c_exit_usage;
        }
    }
    Screen screen(isatty(STDOUT_FILENO) != 0);
    Console console(screen, options->connects);
    const bool terminal = isatty(STDIN_FILENO) != 0;
    if (options->script != nullptr) {
        run_script(
            console, [&script] { return read_line(script); }, options->keep_going);
    } else if (!terminal) {
        run_script(
            console, [&console, text = std::string()]() mutable { return read_line(console, text); },
            options->keep_going);
    }
    const unsigned failed = console.failed();
    if (options->script != nullptr || !terminal) {
        screen.plain("");
        screen.plain(std::to_string(console.held()) + " steps held, " + std::to_string(failed) + " failed");
    }
    if (terminal && (options->script == nullptr || options->stay)) {
        run_terminal(console, screen);
        return options->script != nullptr && failed != 0 ? c_exit_failed : 0;
    }
    return failed != 0 ? c_exit_failed : 0;
}
