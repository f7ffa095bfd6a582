#include "tests/transcript/player.h"

#include <cutils/properties.h>
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <future>
#include <sstream>

#include "host/console/protocol.h"
#include "tests/harness/sleeps.h"
#include "tests/transcript/android.h"
#include "tests/transcript/packets.h"

// The library's calloc gives nothing while this is set.
static std::atomic<bool> s_no_memory{false};

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // a sanitizer owns the allocator
extern "C" void* __libc_calloc(size_t count, size_t size);           // NOLINT: glibc's name
extern "C" __attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
    return s_no_memory ? nullptr : __libc_calloc(count, size);
}
#endif

namespace {

constexpr uint32_t c_waits_for_answer = 0xFF;  // of a context id: 0 where nobody waits
constexpr std::chrono::milliseconds c_longest_request{30'000};
constexpr std::chrono::milliseconds c_let_it_wait{50};  // a request that is to wait has come so far
constexpr const char* c_any = "*";
constexpr int c_fail = RIL_E_GENERIC_FAILURE;
constexpr int c_first_unsol = RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED;

// An indication that every part of the library lets through to Android, in the order of all others.
constexpr const char* c_fence = "NetDualSimServiceIndCb service_state=1";
constexpr const char* c_fence_seen = "<D1000000>";

const std::map<std::string, uint32_t> c_modem_events = {
    {"down", 0xB1000000}, {"up", 0xB2000000}, {"reset", 0xB3000000}, {"shutdown", 0xB4000000}};

std::string read_file(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

bool fits(const std::string& pattern, const std::string& text) {
    if (pattern.find('*') == pattern.npos) {
        return pattern == text;
    }
    std::string escaped;
    for (const char c : pattern) {
        escaped += (strchr("?[]\\", c) != nullptr ? "\\" : "") + std::string(1, c);
    }
    return fnmatch(escaped.c_str(), text.c_str(), 0) == 0;
}

std::string on_one_line(std::string text) {
    for (size_t at = 0; (at = text.find('\n', at)) != text.npos;) {
        text.replace(at, 1, "\\n");
    }
    return text;
}

std::vector<std::string> items_of(const std::string& column) {
    return column.empty() ? std::vector<std::string>{} : split(column, ";");
}

std::string first_word(std::string item) {
    return take_word(item);
}

// Of a column that begins with a name for the request: `name = REQUEST`, `name: ...`, `@name ...`.
std::string take_name(std::string& text) {
    std::string rest = text;
    std::string word = take_word(rest);
    if (rest.starts_with("= ")) {
        text = rest.substr(2);
        return word;
    }
    if (word.ends_with(':')) {
        text = rest;
        word.pop_back();
        return word;
    }
    if (word.starts_with('@')) {
        text = rest;
        return word.substr(1);
    }
    return "";
}

bool continues(const Line& line) {
    const std::string& what = line.columns[0];
    return what.empty() || (what.ends_with(':') && what.find(' ') == what.npos);
}

std::vector<std::string> texts_of(const std::vector<Word>& words, size_t from) {
    std::vector<std::string> texts;
    for (size_t i = from; i < words.size(); ++i) {
        texts.push_back(words[i].text);
    }
    return texts;
}

// `return VALUE ASSIGNMENT...` or `silent`, without its first word.
ScriptedModem::Return return_of(const std::string& function, const std::string& item) {
    if (first_word(item) == "silent") {
        return {{}, {}, true};
    }
    const std::vector<Word> words = words_of(item);
    return {{words.size() > 1 ? static_cast<int32_t>(std::stol(words[1].text, nullptr, 0)) : 0},
            words.size() > 2 ? output_of(function, texts_of(words, 2)) : Bytes(),
            false};
}

bool is_return(const std::string& item) {
    const std::string word = first_word(item);
    return word == "return" || word == "silent";
}

const Word& at(const std::vector<Word>& words, size_t index) {
    if (index >= words.size()) {
        fail("a word is missing");
    }
    return words[index];
}

}  // namespace

const Player::Action Player::c_actions[] = {
    {"phone", &Player::start_phone, false},  {"clock", &Player::advance_clock, false},
    {"event", &Player::modem_event, false},  {"daemon", &Player::daemon, false},
    {"set", &Player::set_property, false},   {"prop", &Player::look_at_property, true},
    {"log", &Player::look_for_log, true},    {"nolog", &Player::look_for_no_log, true},
    {"state", &Player::look_at_state, true}, {"timers", &Player::look_at_timers, true},
    {"return", &Player::set_return, true},   {"slept", &Player::look_at_sleep, true},
    {"open", &Player::look_at_open, true},   {"silent", &Player::set_silent, true},
    {"answer", &Player::set_answer, true},   {"write", &Player::write_file, true},
    {"file", &Player::look_at_file, true},   {"shell", &Player::shell, true},
    {"unseen", &Player::set_unseen, true},   {"forget", &Player::forget, false},
};

Player::Player() {
    harness_take_slept();  // has the library's sleeps take no time
    FakeAndroid::instance().set_observer({[this](RIL_Token token, RIL_Errno error, const void* data, size_t length) {
                                              add_completion(token, error, data, length);
                                          },
                                          [this](int number, const void* data, size_t length) {
                                              add_event({false, "", number, unsol_text(number, data, length)});
                                          }});
}

void Player::play(const Case& one) {
    const Line* line = nullptr;
    try {
        for (size_t i = 0; i < one.lines.size(); ++i) {
            if (!continues(one.lines[i])) {
                if (line != nullptr) {
                    settle();
                }
                line = &one.lines[i];
                begin(one.lines, i);
            }
            line = &one.lines[i];
            line_ = line->number;
            act(*line);
            see_packets(*line);
            answer(*line);
            see_events(*line);
        }
        settle();
        phone_.reset();
    } catch (const Failure& failure) {
        std::string text;
        for (const std::string& column : line->columns) {
            text += (&column == line->columns.data() ? "" : " | ") + column;
        }
        ADD_FAILURE_AT(line->file.c_str(), line->number) << text << "\n" << failure.reason;
    }
}

// --- An exchange -----------------------------------------------------------------------------------------------------

void Player::begin(const std::vector<Line>& lines, size_t at) {
    if (phone_ != nullptr) {
        set_returns(lines, at);
    }
}

// The returns of an exchange with all its lines: each is for the packet in the same place of its line.
void Player::set_returns(const std::vector<Line>& lines, size_t at) {
    std::map<std::string, std::vector<ScriptedModem::Return>> returns;
    std::map<std::string, bool> is_told;
    for (size_t i = at; i < lines.size() && (i == at || continues(lines[i])); ++i) {
        std::vector<std::string> told;
        for (const std::string& item : items_of(lines[i].columns[2])) {
            if (is_return(item)) {
                told.push_back(item);
            }
        }
        const std::vector<std::string> packets = items_of(lines[i].columns[1]);
        for (size_t k = 0; k < packets.size(); ++k) {
            const std::string name = first_word(packets[k]);
            is_told[name] = is_told[name] || k < told.size();
            returns[name].push_back(return_of(name, k < told.size() ? told[k] : "return 0"));
        }
        if (told.size() > packets.size()) {
            fail("more returns than packets");
        }
    }
    for (const auto& [name, list] : returns) {
        if (is_told[name]) {
            phone_->modem.set_next_returns(find_function_id(name), list);
        }
    }
}

void Player::act(const Line& line) {
    std::string text = line.columns[0];
    if (continues(line)) {
        name_ = text.empty() ? name_ : take_name(text);
        return;
    }
    const std::string word = first_word(text);
    for (const Action& action : c_actions) {
        if (word == action.word) {
            if (!action.only_looks) {
                log_start_ = radio_log().size();
            }
            std::vector<Word> words = words_of(text);
            words.erase(words.begin());
            (this->*action.run)(words, text.substr(word.size()));
            return;
        }
    }
    log_start_ = radio_log().size();
    request(text);
}

// Makes it on a thread of its own, so that one which does not come back ends the test. `&` behind it: it need not.
void Player::request(std::string text) {
    const std::string name = take_name(text);
    name_ = name.empty() ? "line " + std::to_string(line_) : name;
    std::vector<Word> words = words_of(text);
    const bool starves = words.at(0).text == "nomemory";
    if (starves) {
        words.erase(words.begin());
    }
    const std::optional<int> number = find_request(words.at(0).text);
    if (!number) {
        fail("neither a request nor an action: " + words[0].text);
    }
    const bool waits = words.back().text != "&";
    words.erase(words.begin());
    if (!waits) {
        words.pop_back();
    }
    auto* arguments = new Arguments;  // the thread's
    read_words(*number, words, *arguments);
    static uintptr_t s_tokens = 0x1000;
    RIL_Token token = FakeAndroid::token(++s_tokens);
    {
        const std::lock_guard lock(lock_);
        requests_[token] = {name_, *number};
    }
    const RIL_RadioFunctions* ril = functions();
    std::promise<void> done;
    std::future<void> is_done = done.get_future();
    std::thread([=, promise = std::move(done), number = *number]() mutable {
        s_no_memory = starves;
        ril->onRequest(number, arguments->data, arguments->length, token);
        s_no_memory = false;
        delete arguments;
        promise.set_value();
    }).detach();
    const bool came_back = is_done.wait_for(waits ? c_longest_request : c_let_it_wait) == std::future_status::ready;
    if (waits && !came_back) {
        fail("the request does not come back");
    }
}

void Player::take_packets() {
    for (Bytes& packet : phone().modem.take_received()) {
        packets_.push_back(std::move(packet));
    }
}

void Player::see_packets(const Line& line) {
    for (const std::string& item : items_of(line.columns[1])) {
        if (item == c_any) {
            any_packets_ = true;
            continue;
        }
        Bytes packet;
        do {
            const bool came = soon([this] {
                take_packets();
                return !packets_.empty();
            });
            if (!came) {
                fail("wanted: " + item + "\n  seen: no packet");
            }
            packet = packets_.front();
            packets_.pop_front();
            const uint32_t context = context_of(packet);
            client_ = context & ~c_waits_for_answer;
            if ((context & c_waits_for_answer) != 0) {
                contexts_[name_] = context;
            }
        } while (any_packets_ && !is_packet(item, packet, sim_id_));
        if (!is_packet(item, packet, sim_id_)) {
            const bool is_hex = item.size() > 2 && item[2] == ' ';
            fail("wanted: " + item + "\n  seen: " + packet_text(packet, sim_id_) +
                 (is_hex ? "\n        " + to_hex(packet) : ""));
        }
    }
}

void Player::answer(const Line& line) {
    for (std::string item : items_of(line.columns[2])) {
        if (is_return(item)) {
            continue;
        }
        const std::string named = take_name(item);
        const std::string name = named.empty() ? name_ : named;
        const auto context = contexts_.find(name);
        const Bytes packet = packet_of(item, context == contexts_.end() ? client_ : context->second, client_, sim_id_);
        if (packet == packet_of(c_fence, 0, client_, sim_id_)) {
            const std::lock_guard lock(lock_);
            fences_.push_back(false);
        }
        phone().modem.send(to_hex(packet));
    }
}

void Player::see_events(const Line& line) {
    for (const std::string& item : items_of(line.columns[3])) {
        if (item == c_any) {
            any_events_ = true;
            continue;
        }
        std::string seen;
        do {
            const bool came = soon([&] {
                const std::lock_guard lock(lock_);
                return !events_.empty();
            });
            seen = came ? see_event(item) : "nothing";
        } while (any_events_ && !seen.empty() && seen != "nothing");
        if (!seen.empty()) {
            fail("wanted: " + item + "\n  seen: " + seen);
        }
    }
}

// Takes the next event; empty when it is the one that `item` describes.
std::string Player::see_event(const std::string& item) {
    Event event;
    {
        const std::lock_guard lock(lock_);
        event = events_.front();
        events_.pop_front();
    }
    std::string rest = item;
    const std::string named = take_name(rest);
    const std::string word = take_word(rest);
    const std::optional<int> error = word == "fail" ? std::optional(c_fail) : find_error(word);
    const bool is_completion = error && *error < c_first_unsol;
    const std::optional<int> number = is_completion ? error : find_unsol(word);
    if (!number) {
        fail("neither an error nor an unsolicited response: " + word);
    }
    const std::string& name = named.empty() ? name_ : named;
    const bool same = event.is_completion == is_completion && event.number == *number &&
                      (!is_completion || event.name == name) && fits(rest, event.text);
    return same ? "" : text_of(event);
}

std::string Player::text_of(const Event& event) const {
    const std::string name = event.is_completion && event.name != name_ ? event.name + ": " : "";
    const std::string number = !event.is_completion            ? unsol_name(event.number)
                               : event.number == RIL_E_SUCCESS ? "ok"
                               : event.number == c_fail        ? "fail"
                                                               : error_name(event.number);
    return name + number + (event.text.empty() ? "" : " " + event.text);
}

// Waits until the library is at rest. What happened and no line told is a failure.
void Player::settle() {
    if (phone_ == nullptr) {
        return;
    }
    if (may_be_away_) {
        wait_until_served();
    }
    pass_fence();
    take_packets();
    if (any_packets_) {
        packets_.clear();
        any_packets_ = false;
    }
    std::string left;
    for (const Bytes& packet : packets_) {
        left += "  also: " + packet_text(packet, sim_id_) + "\n";
    }
    const std::lock_guard lock(lock_);
    if (any_events_) {
        events_.clear();
        any_events_ = false;
    }
    for (const Event& event : events_) {
        left += "  also: " + text_of(event) + "\n";
    }
    if (!left.empty()) {
        fail(left);
    }
}

// What the modem sent before a fence has been handled when the fence comes out.
void Player::pass_fence() {
    if (!modem_is_up_ || !daemon_is_there_) {
        return;
    }
    size_t passed = 0;
    {
        const std::lock_guard lock(lock_);
        passed = passed_;
        fences_.push_back(true);
    }
    phone().modem.send(to_hex(packet_of(c_fence, 0, client_, sim_id_)));
    const bool came = soon([&] {
        const std::lock_guard lock(lock_);
        return passed_ != passed;
    });
    if (!came) {
        fail("the library does not come to rest");
    }
}

// Behind a start of the modem the library spoofs answers for a moment.
void Player::wait_until_served() {
    may_be_away_ = false;
    functions();
    const bool served = soon([this] {
        FakeAndroid& android = phone().android;
        RIL_Token token = phone().request(RIL_REQUEST_DEVICE_IDENTITY, nullptr, 0);
        return android.wait_completion(token).error != RIL_E_RADIO_NOT_AVAILABLE;
    });
    if (!served) {
        fail("the library serves no requests");
    }
}

void Player::add_event(Event event) {
    event.text = on_one_line(std::move(event.text));
    const std::lock_guard lock(lock_);
    if (event.number == RIL_UNSOL_OEM_HOOK_RAW && event.text == c_fence_seen && !fences_.empty()) {
        const bool is_fence = fences_.front();
        fences_.pop_front();
        if (is_fence) {
            ++passed_;
            return;
        }
    }
    events_.push_back(std::move(event));
}

void Player::add_completion(RIL_Token token, RIL_Errno error, const void* data, size_t length) {
    std::pair<std::string, int> request;
    {
        const std::lock_guard lock(lock_);
        const auto found = requests_.find(token);
        if (found == requests_.end()) {
            return;  // of the player's own
        }
        request = found->second;
        if (!completed_.insert(token).second) {
            request.first += " again";
        }
    }
    add_event({true, request.first, error, response_text(request.second, data, length)});
}

Phone& Player::phone() {
    if (phone_ == nullptr) {
        fail("there is no phone yet");
    }
    return *phone_;
}

// What RIL_Init gave, once it has.
const RIL_RadioFunctions* Player::functions() {
    if (!soon([this] { return phone().initialised(); })) {
        fail("RIL_Init does not return");
    }
    return phone().ril();
}

// --- What is done to the phone ---------------------------------------------------------------------------------------

void Player::start_phone(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string state = at(words, 0).text;
    const std::vector<std::string> arguments = texts_of(words, 1);
    sim_id_ = !arguments.empty() && arguments.back() == "2" ? 1 : 0;
    daemon_is_there_ = state != "alone";
    phone_ = std::make_unique<Phone>(arguments, daemon_is_there_);
    phone_->sim_id = static_cast<uint8_t>(sim_id_);
    if (daemon_is_there_ && !phone_->modem.wait_registered()) {
        fail("the library does not register");
    }
    if (!daemon_is_there_ || state == "new") {
        return;
    }
    if (state == "unavailable") {
        phone_->event(c_modem_events.at("up"));
        functions();
    } else {
        phone_->bring_up();
    }
    wait_until_served();
    modem_is_up_ = true;
    if (state == "on") {
        int on = 1;
        phone_->answer_mode_requests(1);
        phone_->answer(phone_->request(RIL_REQUEST_RADIO_POWER, &on, sizeof(on)));
    } else if (state != "off" && state != "unavailable") {
        fail("no such state: " + state);
    }
    phone_->leave_mode_requests_open();
    pass_fence();
    take_packets();
    contexts_["start"] = context_of(packets_.back());
    forget({}, "");
}

void Player::advance_clock(const Words& words, const std::string& rest) {
    (void)rest;
    phone().android.advance(std::stoll(at(words, 0).text));
}

// `&` behind it: the library will not serve then.
void Player::modem_event(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string& word = at(words, 0).text;
    const auto known = c_modem_events.find(word);
    if (word == "down" || word == "up") {
        modem_is_up_ = word == "up" && words.back().text != "&";
        changed_modem();
    }
    phone().event(known != c_modem_events.end() ? known->second : static_cast<uint32_t>(std::stoul(word, nullptr, 0)));
}

void Player::changed_modem() {
    const std::lock_guard lock(lock_);
    fences_.clear();
    may_be_away_ = modem_is_up_ && daemon_is_there_;
}

void Player::daemon(const Words& words, const std::string& rest) {
    (void)rest;
    daemon_is_there_ = at(words, 0).text == "start";
    changed_modem();
    if (daemon_is_there_) {
        phone().modem.start();
    } else {
        phone().modem.stop();
    }
}

void Player::set_property(const Words& words, const std::string& rest) {
    (void)rest;
    property_set(at(words, 0).text.c_str(), words.size() > 1 ? words[1].text.c_str() : "");
}

void Player::look_at_property(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string wanted = words.size() > 1 ? words[1].text : "(unset)";
    char value[PROPERTY_VALUE_MAX];
    const bool has = soon([&] {
        property_get(at(words, 0).text.c_str(), value, "(unset)");
        return fits(wanted, value);
    });
    if (!has) {
        fail("wanted: " + wanted + "\n  seen: " + value);
    }
}

void Player::look_for_log(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string& wanted = at(words, 0).text;
    if (!soon([&] { return radio_log().find(wanted, log_start_) != std::string::npos; })) {
        fail("wanted: " + wanted + "\n  seen: " + radio_log().substr(log_start_));
    }
}

void Player::look_for_no_log(const Words& words, const std::string& rest) {
    (void)rest;
    if (const std::string log = radio_log().substr(log_start_); log.find(at(words, 0).text) != std::string::npos) {
        fail("  seen: " + log);
    }
}

void Player::look_at_state(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string& word = at(words, 0).text;
    std::string state;
    const bool has = soon([&] {
        state = value_name("radio", functions()->onStateRequest());
        return state == word;
    });
    if (!has) {
        fail("wanted: " + word + "\n  seen: " + state);
    }
}

void Player::look_at_timers(const Words& words, const std::string& rest) {
    (void)rest;
    if (const size_t timers = phone().android.timers(); std::to_string(timers) != at(words, 0).text) {
        fail("  seen: " + std::to_string(timers));
    }
}

// Requests that are not completed.
void Player::look_at_open(const Words& words, const std::string& rest) {
    (void)rest;
    const std::lock_guard lock(lock_);
    if (const std::string open = std::to_string(requests_.size() - completed_.size()); open != at(words, 0).text) {
        fail("  seen: " + open);
    }
}

void Player::look_at_sleep(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string slept = std::to_string(harness_take_slept());
    if (!words.empty() && slept != words[0].text) {
        fail("  seen: " + slept);
    }
}

// --- The modem and the machine ---------------------------------------------------------------------------------------

// Values in front of assignments to output parameters.
void Player::set_return(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string& function = at(words, 0).text;
    std::vector<int32_t> values;
    size_t next = 1;
    for (; next < words.size() && words[next].text.find('=') == std::string::npos; ++next) {
        values.push_back(static_cast<int32_t>(std::stol(words[next].text, nullptr, 0)));
    }
    const uint32_t id = find_function_id(function);
    if (values.size() == 1) {
        phone().modem.set_return(id, values[0], output_of(function, texts_of(words, next)));
    } else {
        phone().modem.set_returns(id, values);
    }
}

void Player::set_silent(const Words& words, const std::string& rest) {
    (void)rest;
    phone().modem.set_silent(find_function_id(at(words, 0).text), words.size() < 2 || words[1].text != "no");
}

void Player::set_unseen(const Words& words, const std::string& rest) {
    set_return(words, rest);
    phone().modem.set_unseen(find_function_id(at(words, 0).text));
}

void Player::set_answer(const Words& words, const std::string& rest) {
    std::string item = rest;
    take_word(item);
    const uint32_t id = find_function_id(at(words, 0).text);
    if (item.empty()) {
        phone().modem.set_answer(id, ScriptedModem::Answer());
    } else {
        phone().modem.set_answer(id, to_hex(packet_of(item, 0xAAAAAAAA, client_, sim_id_)));
    }
}

void Player::write_file(const Words& words, const std::string& rest) {
    (void)rest;
    std::ofstream(at(words, 0).text) << at(words, 1).text;
}

void Player::look_at_file(const Words& words, const std::string& rest) {
    (void)rest;
    const std::string seen = read_file(at(words, 0).text);
    if (!fits(at(words, 1).text, seen)) {
        fail("wanted: " + on_one_line(words[1].text) + "\n  seen: " + on_one_line(seen));
    }
}

void Player::shell(const Words& words, const std::string& rest) {
    (void)rest;
    FILE* pipe = popen(at(words, 0).text.c_str(), "r");  // NOLINT(cert-env33-c): the transcript says what to run
    std::string seen;
    for (int c = 0; (c = fgetc(pipe)) != EOF;) {
        seen += static_cast<char>(c);
    }
    const int status = pclose(pipe);
    if (!seen.empty() && seen.back() == '\n') {
        seen.pop_back();
    }
    if (status != 0 || (words.size() > 1 && !fits(words[1].text, seen))) {
        fail("  seen: status " + std::to_string(status) + " " + on_one_line(seen));
    }
}

void Player::forget(const Words& words, const std::string& rest) {
    (void)words;
    (void)rest;
    pass_fence();
    take_packets();
    packets_.clear();
    const std::lock_guard lock(lock_);
    events_.clear();
}
