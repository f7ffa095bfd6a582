// A vendor library for the tests of rild: tells what it is given, line by line, and answers as it is told.
//
// Its arguments: "-f FD" names the descriptor of the other side, "-b" makes RIL_Init wait for the line "go". Lines from
// the other side are words:
//   mode WORD [N]    how requests are answered from now on: canned (a text), hold, twice, text (N letters) or park
//                    (canned, once told to "go")
//   release          completes what is on hold, on this thread
//   unsol N [TEXT]   state N      the radio state is N and Android is told
//   burst COUNT      COUNT times OEM_HOOK_RAW with 4,000 bytes
//   timer N TEXT     a callback after N milliseconds that says "timer TEXT"
//   ping             says "pong"
#include <telephony/ril.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

const RIL_Env* s_env = nullptr;
int s_fd = -1;
std::atomic<int> s_state = RADIO_STATE_OFF;

std::mutex s_lock;  // around all that follows
// Not destroyed: the threads run while the process ends.
auto& s_changed = *new std::condition_variable;
auto& s_mode = *new std::string("canned");
size_t s_letters = 0;
bool s_go = false;
auto& s_held = *new std::vector<RIL_Token>;

void say(const std::string& line) {
    const std::string text = line + "\n";
    [[maybe_unused]] const ssize_t result = write(s_fd, text.data(), text.size());
}

void complete(RIL_Token token, std::string text = "canned") {
    s_env->OnRequestComplete(token, RIL_E_SUCCESS, text.data(), text.size());
}

void on_request(int request, void* data, size_t length, RIL_Token token) {
    std::unique_lock hold(s_lock);
    say("request " + std::to_string(request) + " " +
        (request == RIL_REQUEST_SEND_USSD ? static_cast<const char*>(data) : std::to_string(length)));
    const std::string mode = s_mode;
    const size_t letters = s_letters;
    if (mode == "hold") {
        s_held.push_back(token);
        return;
    }
    if (mode == "park") {
        s_changed.wait(hold, [] { return s_go; });
        say("returns");
    }
    hold.unlock();
    complete(token, mode == "text" ? std::string(letters, 'a') : "canned");
    if (mode == "twice") {
        complete(token);
    }
}

void arm(int milliseconds, const std::string& text) {
    const timeval relative = {milliseconds / 1000, milliseconds % 1000 * 1000};
    s_env->RequestTimedCallback(
        [](void* param) {
            auto* words = static_cast<std::string*>(param);
            say("timer " + *words);
            delete words;
        },
        new std::string(text), milliseconds == 0 ? nullptr : &relative);
}

void obey(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    std::string text;
    int number = 0;
    words >> word;
    if (word == "mode") {
        const std::lock_guard hold(s_lock);
        words >> s_mode >> s_letters;
        return;
    }
    words >> number >> text;
    if (word == "release") {
        const std::lock_guard hold(s_lock);
        std::for_each(s_held.begin(), s_held.end(), [](RIL_Token token) { complete(token); });
        s_held.clear();
    } else if (word == "unsol") {
        s_env->OnUnsolicitedResponse(number, text.empty() ? nullptr : text.c_str(), text.size());
    } else if (word == "state") {
        s_state = number;
        s_env->OnUnsolicitedResponse(RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED, nullptr, 0);
    } else if (word == "burst") {
        const std::vector<char> bytes(4000);
        for (int i = 0; i < number; ++i) {
            s_env->OnUnsolicitedResponse(RIL_UNSOL_OEM_HOOK_RAW, bytes.data(), bytes.size());
        }
    } else if (word == "timer") {
        arm(number, text);
    } else if (word == "ping") {
        say("pong");
    } else {
        const std::lock_guard hold(s_lock);
        s_go = true;
        s_changed.notify_all();
    }
}

void listen_to_test() {
    FILE* file = fdopen(s_fd, "r");
    char line[8192];
    while (file != nullptr && fgets(line, sizeof(line), file) != nullptr) {
        obey(line);
    }
}

char s_instance[10];
const RIL_RadioFunctions s_functions = {9,
                                        s_instance,
                                        on_request,
                                        [] { return static_cast<RIL_RadioState>(s_state.load()); },
                                        [](int) { return 1; },
                                        [](RIL_Token) {},
                                        [] { return "fake"; }};

}  // namespace

const RIL_RadioFunctions* RIL_Init(const RIL_Env* env, int argc, char** argv) {
    s_env = env;
    std::string arguments = "init";
    bool wait = false;
    for (int i = 1; i < argc; ++i) {
        arguments += std::string(" ") + argv[i];
        wait = wait || strcmp(argv[i], "-b") == 0;
        if (strcmp(argv[i - 1], "-f") == 0) {
            s_fd = atoi(argv[i]);
        }
    }
    say(arguments + (argv[argc] == nullptr ? "" : " without an end"));
    if (s_fd >= 0) {
        std::thread(listen_to_test).detach();
    }
    if (wait) {
        arm(0, "init");
        std::unique_lock hold(s_lock);
        s_changed.wait(hold, [] { return s_go; });
    }
    return &s_functions;
}
