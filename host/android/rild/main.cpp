// Android's rild for the development machine: loads a vendor library and offers it at a socket.
#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <telephony/ril.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/android/rild/event_loop.h"
#include "host/android/rild/log.h"
#include "host/android/rild/server.h"

namespace {

constexpr const char* c_usage =
    "usage: rild -l LIBRARY [-v] [-- ARGUMENT...]\n"
    "\n"
    "Loads a vendor radio interface library and offers it at /dev/socket/rild, or at /dev/socket/rild2 (also under "
    "the\n"
    "name rild1) when the library's arguments select the second SIM with a pair such as \"--client 2\".\n"
    "\n"
    "  -l LIBRARY  the library; its RIL_Init gets the arguments behind \"--\"\n"
    "  -v          tell each request, response and unsolicited response on the standard error\n";

constexpr const char* c_socket = "/dev/socket/rild";
constexpr const char* c_second_socket = "/dev/socket/rild2";
constexpr const char* c_second_name = "/dev/socket/rild1";

struct Options {
    const char* library = nullptr;
    bool verbose = false;
    std::vector<char*> library_arguments;  // with the program's name in front and null behind
};

// What the library's threads and the one that takes signals meet. It stands until the process is gone: there is no
// unloading, and the library's threads still run while the process ends.
EventLoop* s_loop = nullptr;
Server* s_server = nullptr;

// ---------------------------------------------------------------------------------------------------------------------
// What the library is given

void on_request_complete(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    s_server->complete(token, error, response, length);
}

void on_unsolicited_response(int number, const void* data, size_t length) {
    s_server->unsolicited(number, data, length);
}

// Never in the past, and never so late that the clock's arithmetic ends.
std::chrono::nanoseconds delay_of(const timeval* relative) {
    using namespace std::chrono;
    constexpr seconds c_longest = hours(24) * 365;
    if (relative == nullptr) {
        return nanoseconds::zero();
    }
    const seconds whole = std::clamp(seconds(relative->tv_sec), -c_longest, c_longest);
    const microseconds part = std::clamp<microseconds>(microseconds(relative->tv_usec), -c_longest, c_longest);
    return std::max<nanoseconds>(whole + part, nanoseconds::zero());
}

void request_timed_callback(RIL_TimedCallback callback, void* param, const timeval* relative) {
    if (callback != nullptr) {
        s_loop->call_after(delay_of(relative), [callback, param] { callback(param); });
    }
}

constexpr RIL_Env c_env = {on_request_complete, on_unsolicited_response, request_timed_callback};

// ---------------------------------------------------------------------------------------------------------------------

[[noreturn]] void die(const std::string& what, const char* why) {
    std::fprintf(stderr, "rild: %s: %s\n", what.c_str(), why);
    // Threads of a library may run: no destructors.
    std::fflush(stderr);
    _exit(EXIT_FAILURE);
}

Options read_options(std::span<char*> arguments) {
    Options options;
    options.library_arguments = {arguments[0]};
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "-l" && i + 1 < arguments.size()) {
            options.library = arguments[++i];
        } else if (argument == "-v") {
            options.verbose = true;
        } else if (argument == "--") {
            const auto rest = arguments.subspan(i + 1);
            options.library_arguments.insert(options.library_arguments.end(), rest.begin(), rest.end());
            break;
        } else {
            options.library = nullptr;
            break;
        }
    }
    if (options.library == nullptr) {
        std::fputs(c_usage, stderr);
        exit(EXIT_FAILURE);
    }
    options.library_arguments.push_back(nullptr);
    return options;
}

// The library's own rule: of two arguments in a row of which the first begins with "--", the second selects the SIM by
// its first character. The last such pair wins.
bool selects_second_sim(std::span<char* const> arguments) {
    bool second = false;
    for (size_t i = 1; i < arguments.size(); ++i) {
        if (std::string_view(arguments[i - 1]).starts_with("--")) {
            second = arguments[i][0] == '2' || (second && arguments[i][0] != '1');
            ++i;
        }
    }
    return second;
}

using Init = decltype(&RIL_Init);

Init load(const char* library) {
    void* handle = dlopen(library, RTLD_NOW);
    if (handle == nullptr) {
        die(library, dlerror());
    }
    const auto init = reinterpret_cast<Init>(dlsym(handle, "RIL_Init"));
    if (init == nullptr) {
        die(library, dlerror());
    }
    return init;
}

void listen(bool second) {
    const char* path = second ? c_second_socket : c_socket;
    if (!s_server->listen(path)) {
        die(path, std::strerror(errno));
    }
    if (second) {
        unlink(c_second_name);
        if (symlink("rild2", c_second_name) != 0) {
            die(c_second_name, std::strerror(errno));
        }
    }
}

// A thread of their own takes the signals, whatever the others do meanwhile. Before there are others, which inherit
// what is blocked.
void end_on_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        sigwait(&signals, &signal);
        s_loop->stop();
        // A library that keeps the loop's thread in a request for good ends with the second signal.
        sigwait(&signals, &signal);
        _exit(128 + signal);
    }).detach();
}

// The loop has a thread of its own, so that callbacks which the library asks for in RIL_Init run while RIL_Init waits.
void run_loop() {
    pthread_setname_np(pthread_self(), "rild events");
    s_loop->run();
    // An orderly end of the process while the library's threads run on. The socket stays: the next rild takes it over.
    exit(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
    Options options = read_options({argv, static_cast<size_t>(argc)});
    const std::span library_arguments(options.library_arguments.data(), options.library_arguments.size() - 1);
    const bool second = selects_second_sim(library_arguments);
    const Log* log = new Log(second ? "rild2" : "rild", options.verbose);
    s_loop = new EventLoop;
    s_server = new Server(*s_loop, *log);
    end_on_signals();
    const Init init = load(options.library);
    listen(second);
    std::thread events(run_loop);
    const RIL_RadioFunctions* functions =
        init(&c_env, static_cast<int>(library_arguments.size()), library_arguments.data());
    if (functions == nullptr || functions->onRequest == nullptr || functions->onStateRequest == nullptr) {
        die(options.library, "RIL_Init gives no functions");
    }
    log->say(Log::flow, options.library, ": ", functions->getVersion != nullptr ? functions->getVersion() : "no name",
             ", version ", functions->version);
    s_loop->call_after({}, [functions] { s_server->start(functions); });
    events.join();
    return EXIT_SUCCESS;
}
