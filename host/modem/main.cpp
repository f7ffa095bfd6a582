// The simulated modem, with the RPC daemon in front of it and the modem manager beside it.
#include <getopt.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "host/modem/commands.h"
#include "host/modem/modem.h"
#include "host/modem/say.h"
#include "host/modem/scenario.h"

namespace {

constexpr int c_exit_failed = 1;
constexpr int c_exit_usage = 2;

constexpr const char* c_usage =
    "usage: modem [options]\n"
    "\n"
    "A simulated modem at the phone's own paths: the RPC daemon's sockets /data/rpc_reg, /data/rpc_send, "
    "/data/rpc_recv\n"
    "and its marker /data/rpcd/rpcd.txt, the modem manager behind libModemLink.so, and the power state file. Run it "
    "in\n"
    "the sandbox.\n"
    "\n"
    "  --script FILE      carry out the lines of FILE, each a time and a command\n"
    "  --capture FILE     write every packet to FILE, for uta-print\n"
    "  --boot-delay MS    from power to E_MODEM_UP; 50 by default\n"
    "  --latency MS       from a request to its response; 3 by default\n"
    "  --seed N           of the order in which responses and indications come; by chance unless given, 0 puts\n"
    "                     responses first\n"
    "  --no-boot          stay off until told otherwise\n"
    "  --quiet            say nothing on stderr but a seed that wasn't given\n"
    "  --help             print this\n"
    "\n"
    "Who connects to /dev/socket/modem_control sends commands as lines and gets \"ok\" or \"error ...\" for each, "
    "after\n"
    "what the command prints. A line of a script begins with a time in milliseconds, from the script's start or, with "
    "a\n"
    "+, from the end of the line before; a line that fails ends the modem with status 1. Who connects to\n"
    "/dev/socket/uta_tap gets what --capture writes.\n"
    "\n"
    "Commands:\n";

struct Options {
    Settings settings;
    std::string script;
    std::string capture;
    std::optional<uint32_t> seed;
    bool boot = true;
};

[[noreturn]] void fail(const std::string& what, int status = c_exit_failed) {
    fprintf(stderr, "modem: %s\n", what.c_str());
    exit(status);
}

uint32_t number(const char* text) {
    const auto value = parse_integer(text);
    if (!value || *value < 0) {
        fail(std::string("bad number: ") + text, c_exit_usage);
    }
    return static_cast<uint32_t>(*value);
}

Options read_options(int argc, char** argv) {
    constexpr option c_options[] = {{"script", required_argument, nullptr, 's'},
                                    {"capture", required_argument, nullptr, 'c'},
                                    {"boot-delay", required_argument, nullptr, 'b'},
                                    {"latency", required_argument, nullptr, 'l'},
                                    {"seed", required_argument, nullptr, 'e'},
                                    {"no-boot", no_argument, nullptr, 'n'},
                                    {"quiet", no_argument, nullptr, 'q'},
                                    {"help", no_argument, nullptr, 'h'},
                                    {nullptr, 0, nullptr, 0}};
    Options options;
    for (int letter = 0; (letter = getopt_long(argc, argv, "h", c_options, nullptr)) != -1;) {
        switch (letter) {
            case 's':
                options.script = optarg;
                break;
            case 'c':
                options.capture = optarg;
                break;
            case 'b':
                options.settings.boot_delay = Loop::Milliseconds(number(optarg));
                break;
            case 'l':
                options.settings.latency = Loop::Milliseconds(number(optarg));
                break;
            case 'e':
                options.seed = number(optarg);
                break;
            case 'n':
                options.boot = false;
                break;
            case 'q':
                say_nothing();
                break;
            case 'h':
                printf("%s%s\n", c_usage, Scenarios::help().c_str());
                exit(0);
            default:
                exit(c_exit_usage);
        }
    }
    if (optind != argc) {
        fail(std::string("what is ") + argv[optind] + "?", c_exit_usage);
    }
    if (options.seed) {
        options.settings.seed = *options.seed;
    } else {
        options.settings.seed = std::random_device()() >> 1 | 1;  // a positive int32_t, as --seed takes it
        fprintf(stderr, "modem: seed %u\n", options.settings.seed);
    }
    return options;
}

// A descriptor that becomes readable with the signals that end a program. Before any thread exists.
int ending_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&set, signal);
    }
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

// The exit status. Everything that the modem has put into the file tree is gone again when this returns.
int run(const Options& options, std::string& error) {
    Loop loop;
    const int signals = ending_signals();
    loop.watch(signals, POLLIN, [&loop](short) { loop.stop(); });
    Capture capture;
    if (!capture.start(loop, options.capture, c_tap_path, error)) {
        return c_exit_failed;
    }
    const std::unique_ptr<Modem> modem = Modem::start(loop, capture, options.settings, error);
    if (modem == nullptr) {
        return c_exit_failed;
    }
    Scenarios scenarios(loop, *modem);
    if (!options.script.empty() && !scenarios.load(options.script, error)) {
        return c_exit_usage;
    }
    if (!scenarios.listen()) {
        error = std::string(c_control_path) + ": " + strerror(errno);
        return c_exit_failed;
    }
    if (!modem->open(error)) {
        return c_exit_failed;
    }
    if (options.boot) {
        modem->boot();
    }
    scenarios.start_script();
    loop.run();
    return scenarios.script_failed() ? c_exit_failed : 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::string error;
    const int status = run(read_options(argc, argv), error);
    if (!error.empty()) {
        fail(error, status);
    }
    return status;
}
