// A vendor library for the tests of rild: tells what it is given, line by line, and answers as it is told.
//
// Its arguments: "-f FD" names the descriptor of the other side, "-b" makes RIL_Init wait for the line "go". Lines from
// the other side are words:
//   mode WORD [N]    how requests are answered from now on: canned (data of the response's form), null, error (data,
//   and
//                    PASSWORD_INCORRECT), hold, thread, twice, short (a length too small by one), text (N letters) or
//                    park (canned, once told to "unpark")
//   release          completes what is on hold, on this thread
//   unsol N [null|short|TEXT]
//   state N          the radio state is N and Android is told
//   burst COUNT      COUNT times OEM_HOOK_RAW with 4,000 bytes
//   timer TEXT       a callback that says "timer TEXT"
//   timers           200 callbacks from four threads; says "timers ok" or what went wrong with their order
//   threads          says how many threads onRequest and the callbacks have run on
//   ping             says "pong"
#include <telephony/ril.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Held {
    int request;
    RIL_Token token;
};

const RIL_Env* s_env = nullptr;
int s_fd = -1;
std::atomic<int> s_state = RADIO_STATE_OFF;

std::mutex s_lock;  // around all that follows
// Not destroyed: the threads run while the process ends.
auto& s_changed = *new std::condition_variable;
std::string& s_mode = *new std::string("canned");
size_t s_letters = 0;
bool s_go = false;
bool s_unpark = false;
auto& s_held = *new std::vector<Held>;
auto& s_threads = *new std::set<std::thread::id>;

void say(const std::string& line) {
    if (s_fd >= 0) {
        const std::string text = line + "\n";
        [[maybe_unused]] const ssize_t result = write(s_fd, text.data(), text.size());
    }
}

bool is_one_of(int number, std::initializer_list<int> numbers) {
    for (const int n : numbers) {
        if (n == number) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// What onRequest got

std::string text_of(const char* text) {
    return text == nullptr ? "n" : "'" + std::string(text) + "'";
}

std::string hex_of(const void* bytes, size_t size) {
    std::string hex = "x";
    for (size_t i = 0; i < size; ++i) {
        char two[3];
        snprintf(two, sizeof(two), "%02x", static_cast<const unsigned char*>(bytes)[i]);
        hex += two;
    }
    return hex;
}

template <typename T>
const T& record(const void* data, size_t length, std::ostringstream& out) {
    out << (length == sizeof(T) ? "" : "of another length: ");
    return *static_cast<const T*>(data);
}

void describe_dial(const void* data, size_t length, std::ostringstream& out) {
    const auto& dial = record<RIL_Dial>(data, length, out);
    out << text_of(dial.address) << ' ' << dial.clir;
    if (const RIL_UUS_Info* uus = dial.uusInfo; uus != nullptr) {
        out << " uus " << uus->uusType << ' ' << uus->uusDcs << ' ' << uus->uusLength << ' '
            << (uus->uusData == nullptr ? "n" : hex_of(uus->uusData, static_cast<size_t>(uus->uusLength)));
    }
}

// Integers as they are, texts in quotes, n for null.
std::string describe(int request, const void* data, size_t length) {
    std::ostringstream out;
    if (is_one_of(request, {24, 29, 47, 49, 68, 69, 70, 101, 105, 107})) {
        out << text_of(static_cast<const char*>(data)) << (length == sizeof(char*) ? "" : " of another length");
    } else if (data == nullptr) {
        out << "null " << length;
    } else if (is_one_of(request, {2, 3, 4, 5, 6, 7, 8, 11, 25, 26, 27, 41, 42, 43, 44, 60, 106})) {
        out << "strings";
        for (size_t i = 0; i < length / sizeof(char*); ++i) {
            out << ' ' << text_of(static_cast<char* const*>(data)[i]);
        }
    } else if (request == RIL_REQUEST_DIAL) {
        describe_dial(data, length, out);
    } else if (request == RIL_REQUEST_SIM_IO) {
        const auto& io = record<RIL_SIM_IO_v6>(data, length, out);
        out << io.command << ' ' << io.fileid << ' ' << text_of(io.path) << ' ' << io.p1 << ' ' << io.p2 << ' ' << io.p3
            << ' ' << text_of(io.data) << ' ' << text_of(io.pin2) << ' ' << text_of(io.aidPtr);
    } else if (request == RIL_REQUEST_WRITE_SMS_TO_SIM) {
        const auto& sms = record<RIL_SMS_WriteArgs>(data, length, out);
        out << sms.status << ' ' << text_of(sms.pdu) << ' ' << text_of(sms.smsc);
    } else if (is_one_of(request, {33, 34})) {
        const auto& forward = record<RIL_CallForwardInfo>(data, length, out);
        out << forward.status << ' ' << forward.reason << ' ' << forward.serviceClass << ' ' << forward.toa << ' '
            << text_of(forward.number) << ' ' << forward.timeSeconds;
    } else if (request == RIL_REQUEST_OEM_HOOK_RAW) {
        out << hex_of(data, length);
    } else if (request == RIL_REQUEST_GSM_SET_BROADCAST_SMS_CONFIG) {
        out << "configs";
        for (size_t i = 0; i < length / sizeof(void*); ++i) {
            const auto& c = *static_cast<RIL_GSM_BroadcastSmsConfigInfo* const*>(data)[i];
            out << ' ' << c.fromServiceId << ' ' << c.toServiceId << ' ' << c.fromCodeScheme << ' ' << c.toCodeScheme
                << ' ' << int{c.selected};
        }
    } else {
        out << "ints";
        for (size_t i = 0; i < length / sizeof(int); ++i) {
            out << ' ' << static_cast<const int*>(data)[i];
        }
    }
    return out.str();
}

// ---------------------------------------------------------------------------------------------------------------------
// What it answers

char s_text[] = "canned";
char s_empty[] = "";
char s_bytes[] = {1, 2, 3, 4, -1};
char* s_strings[] = {s_text, nullptr, s_empty};
int s_ints[] = {7, -2};
RIL_UUS_Info s_uus = {static_cast<RIL_UUS_Type>(2), static_cast<RIL_UUS_DCS>(3), 5, s_bytes};
RIL_Call s_call = {RIL_CALL_INCOMING, 1, 145, 0, 1, 0, 1, 0, s_text, 2, nullptr, 3, &s_uus};
RIL_Call s_other_call = {RIL_CALL_ACTIVE, 2, 129, 1, 0, 1, 1, 0, nullptr, 0, s_empty, 0, nullptr};
RIL_Call* s_calls[] = {&s_call, &s_other_call};
RIL_SignalStrength_v6 s_signal = {{20, 99}, {-1, -2}, {-3, -4, -5}, {-6, 100, 10, 0x7FFFFFFF, 15}};
RIL_SMS_Response s_sms = {42, s_text, -1};
RIL_Data_Call_Response_v6 s_data_call = {0, -1, 5, 2, s_text, s_empty, nullptr, s_text, s_empty};
RIL_SIM_IO_Response s_sim_io = {0x90, 0, s_text};
RIL_CallForwardInfo s_forward = {1, 2, 3, 145, s_text, 20};
RIL_CallForwardInfo* s_forwards[] = {&s_forward, &s_forward};
RIL_NeighboringCell s_cell = {s_text, 31};
RIL_NeighboringCell* s_cells[] = {&s_cell};
RIL_GSM_BroadcastSmsConfigInfo s_config = {1, 2, 3, 4, 1};
RIL_GSM_BroadcastSmsConfigInfo* s_configs[] = {&s_config};
RIL_SuppSvcNotification s_notification = {1, 2, 3, 145, s_text};

RIL_CardStatus_v6 make_card() {
    RIL_CardStatus_v6 card = {RIL_CARDSTATE_PRESENT, RIL_PINSTATE_DISABLED, 0, -1, -1, 2, {}};
    card.applications[0] = {RIL_APPTYPE_USIM,
                            RIL_APPSTATE_READY,
                            RIL_PERSOSUBSTATE_UNKNOWN,
                            s_text,
                            nullptr,
                            0,
                            RIL_PINSTATE_DISABLED,
                            RIL_PINSTATE_ENABLED_NOT_VERIFIED};
    card.applications[1].app_type = RIL_APPTYPE_ISIM;
    return card;
}

std::array<RIL_CellInfo, 4> make_cells() {
    std::array<RIL_CellInfo, 4> cells = {};
    int next = 10;
    const auto fill = [&next](auto& part) {
        int values[sizeof(part) / sizeof(int)];
        for (int& value : values) {
            value = next++;
        }
        memcpy(&part, values, sizeof(part));
    };
    for (size_t i = 0; i < cells.size(); ++i) {
        cells[i].cellInfoType = static_cast<RIL_CellInfoType>(i + 1);
        cells[i].registered = i == 0 ? 1 : 0;
        cells[i].timeStampType = RIL_TIMESTAMP_TYPE_OEM_RIL;
        cells[i].timeStamp = 0x0000000500000006 + i;
    }
    fill(cells[0].CellInfo.gsm);
    fill(cells[1].CellInfo.cdma);
    fill(cells[2].CellInfo.lte);
    fill(cells[3].CellInfo.wcdma);
    return cells;
}

RIL_CardStatus_v6 s_card = make_card();
std::array<RIL_CellInfo, 4> s_cell_infos = make_cells();

struct Data {
    void* data = nullptr;
    size_t length = 0;
};

template <typename T>
Data whole(T& value) {
    return {&value, sizeof(value)};
}

// A number's data; two integers for what has none, which are not to be sent then.
Data canned_response(int request) {
    if (is_one_of(request, {20, 21, 22, 48, 98, 60})) {
        return whole(s_strings);
    }
    if (is_one_of(request, {38, 39, 51, 67, 100, 69, 105, 11})) {
        return {s_text, 4};
    }
    const std::map<int, Data> c_others = {
        {1, whole(s_card)},       {9, whole(s_calls)},        {19, whole(s_signal)}, {25, whole(s_sms)},
        {26, whole(s_sms)},       {27, whole(s_data_call)},   {28, whole(s_sim_io)}, {33, whole(s_forwards)},
        {57, whole(s_data_call)}, {59, whole(s_bytes)},       {75, whole(s_cells)},  {89, whole(s_configs)},
        {107, whole(s_sim_io)},   {109, whole(s_cell_infos)},
    };
    const auto found = c_others.find(request);
    return found != c_others.end() ? found->second : whole(s_ints);
}

Data canned_unsol(int number) {
    const std::map<int, Data> c_data = {
        {1003, {s_text, 6}},     {1004, {s_text, 6}},        {1006, whole(s_strings)},      {1008, {s_text, 6}},
        {1009, whole(s_signal)}, {1010, whole(s_data_call)}, {1011, whole(s_notification)}, {1013, {s_text, 6}},
        {1014, {s_text, 6}},     {1021, whole(s_bytes)},     {1028, whole(s_bytes)},        {1036, whole(s_cell_infos)},
    };
    const auto found = c_data.find(number);
    return found != c_data.end() ? found->second : whole(s_ints);
}

void answer(int request, RIL_Token token, const std::string& mode, size_t letters) {
    const Data canned = canned_response(request);
    if (mode == "null") {
        s_env->OnRequestComplete(token, RIL_E_SUCCESS, nullptr, 0);
    } else if (mode == "error") {
        s_env->OnRequestComplete(token, RIL_E_PASSWORD_INCORRECT, canned.data, canned.length);
    } else if (mode == "short") {
        s_env->OnRequestComplete(token, RIL_E_SUCCESS, canned.data, canned.length - 1);
    } else if (mode == "text") {
        std::string text(letters, 'a');
        s_env->OnRequestComplete(token, RIL_E_SUCCESS, text.data(), sizeof(char*));
    } else {
        for (int i = 0; i < (mode == "twice" ? 2 : 1); ++i) {
            s_env->OnRequestComplete(token, RIL_E_SUCCESS, canned.data, canned.length);
        }
    }
}

void on_request(int request, void* data, size_t length, RIL_Token token) {
    std::unique_lock hold(s_lock);
    say("request " + std::to_string(request) + " " + describe(request, data, length));
    s_threads.insert(std::this_thread::get_id());
    const std::string mode = s_mode;
    const size_t letters = s_letters;
    if (mode == "hold") {
        s_held.push_back({request, token});
        return;
    }
    if (mode == "park") {
        s_changed.wait(hold, [] { return s_unpark; });
        say("returns");
    }
    hold.unlock();
    if (mode == "thread") {
        std::thread([=] { answer(request, token, mode, letters); }).detach();
    } else {
        answer(request, token, mode, letters);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Timed callbacks

void arm(const std::string& text) {
    s_env->RequestTimedCallback(
        [](void* param) {
            auto* words = static_cast<std::string*>(param);
            say("timer " + *words);
            delete words;
            const std::lock_guard hold(s_lock);
            s_threads.insert(std::this_thread::get_id());
        },
        new std::string(text), nullptr);
}

struct Timer {
    int thread = 0;
    int turn = 0;
    std::chrono::milliseconds delay = {};
    Clock::time_point armed;
};

struct Timers {
    std::mutex lock;
    std::vector<Timer> armed;
    std::vector<const Timer*> fired;
    std::string wrong;
};
constexpr int c_threads = 4;
constexpr int c_turns = 50;
auto& s_timers = *new Timers;

void on_timer(void* param) {
    auto* timer = static_cast<Timer*>(param);
    std::unique_lock hold(s_timers.lock);
    if (Clock::now() < timer->armed + timer->delay) {
        s_timers.wrong = "too early";
    }
    for (const Timer* before : s_timers.fired) {
        // What its thread armed later, and for no shorter a delay, is due later.
        if (before->thread == timer->thread && before->turn > timer->turn && before->delay >= timer->delay) {
            s_timers.wrong = "not in due order";
        }
    }
    s_timers.fired.push_back(timer);
    const bool all = s_timers.fired.size() == s_timers.armed.size();
    hold.unlock();
    const std::lock_guard threads(s_lock);
    s_threads.insert(std::this_thread::get_id());
    if (all) {
        say("timers " + (s_timers.wrong.empty() ? "ok" : s_timers.wrong));
    }
}

void arm_timers() {
    s_timers.armed.resize(size_t{c_threads} * c_turns);
    std::vector<std::thread> threads;
    threads.reserve(c_threads);
    for (int thread = 0; thread < c_threads; ++thread) {
        threads.emplace_back([thread] {
            std::minstd_rand random(static_cast<unsigned>(thread + 1));
            for (int turn = 0; turn < c_turns; ++turn) {
                Timer& timer = s_timers.armed[static_cast<size_t>(thread * c_turns + turn)];
                timer = {thread, turn, std::chrono::milliseconds(random() % 8 * 5), Clock::now()};
                const timeval relative = {0, static_cast<suseconds_t>(timer.delay.count() * 1000)};
                s_env->RequestTimedCallback(on_timer, &timer, &relative);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// What it is told

void send_unsol(int number, const std::string& how) {
    const Data canned = canned_unsol(number);
    if (how == "null") {
        s_env->OnUnsolicitedResponse(number, nullptr, 0);
    } else if (how == "short") {
        s_env->OnUnsolicitedResponse(number, canned.data, canned.length - 1);
    } else if (how.empty()) {
        s_env->OnUnsolicitedResponse(number, canned.data, canned.length);
    } else {
        s_env->OnUnsolicitedResponse(number, how.c_str(), how.size());
    }
}

void burst(int count) {
    const std::vector<char> bytes(4000);
    for (int i = 0; i < count; ++i) {
        s_env->OnUnsolicitedResponse(RIL_UNSOL_OEM_HOOK_RAW, bytes.data(), bytes.size());
    }
}

void set_mode(std::istringstream& words) {
    const std::lock_guard hold(s_lock);
    s_letters = 0;
    words >> s_mode >> s_letters;
}

void release() {
    std::vector<Held> held;
    {
        const std::lock_guard hold(s_lock);
        held.swap(s_held);
    }
    for (const Held& request : held) {
        answer(request.request, request.token, "canned", 0);
    }
}

void obey(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    std::string text;
    int number = 0;
    words >> word;
    if (word == "mode") {
        set_mode(words);
    } else if (word == "release") {
        release();
    } else if (word == "unsol") {
        words >> number >> text;
        send_unsol(number, text);
    } else if (word == "state") {
        words >> number;
        s_state = number;
        s_env->OnUnsolicitedResponse(RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED, nullptr, 0);
    } else if (word == "burst") {
        words >> number;
        burst(number);
    } else if (word == "timer") {
        words >> text;
        arm(text);
    } else if (word == "timers") {
        arm_timers();
    } else if (word == "threads") {
        const std::lock_guard hold(s_lock);
        say("threads " + std::to_string(s_threads.size()));
    } else if (word == "ping") {
        say("pong");
    } else if (word == "go" || word == "unpark") {
        const std::lock_guard hold(s_lock);
        (word == "go" ? s_go : s_unpark) = true;
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

RIL_RadioState on_state_request() {
    return static_cast<RIL_RadioState>(s_state.load());
}

int on_supports(int) {
    return 1;
}

void on_cancel(RIL_Token) {}

const char* on_version() {
    return "fake";
}

char s_instance[10];
const RIL_RadioFunctions s_functions = {9,           s_instance, on_request, on_state_request,
                                        on_supports, on_cancel,  on_version};

}  // namespace

const RIL_RadioFunctions* RIL_Init(const RIL_Env* env, int argc, char** argv) {
    s_env = env;
    std::string arguments = "init";
    bool wait = false;
    for (int i = 1; i < argc; ++i) {
        arguments += std::string(" ") + argv[i];
        wait = wait || strcmp(argv[i], "-b") == 0;
        if (i > 1 && strcmp(argv[i - 1], "-f") == 0) {
            s_fd = atoi(argv[i]);
        }
    }
    say(arguments + (argv[argc] == nullptr ? "" : " without an end"));
    if (s_fd >= 0) {
        std::thread(listen_to_test).detach();
    }
    if (wait) {
        arm("init");
        std::unique_lock hold(s_lock);
        s_changed.wait(hold, [] { return s_go; });
    }
    return &s_functions;
}
