#include "tests/transcript/player.h"

#include <gtest/gtest.h>

#include <future>

#include "host/console/protocol.h"
#include "host/modem/capture_format.h"
#include "tests/harness/sleeps.h"
#include "tests/transcript/android.h"
#include "tests/transcript/packets.h"

// The library's calloc gives nothing while this is set.
static std::atomic<bool> s_no_memory{false};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool c_owns_allocator = false;  // the sanitizer does
#else
constexpr bool c_owns_allocator = true;
extern "C" void* __libc_calloc(size_t count, size_t size);  // NOLINT: glibc's name
extern "C" __attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
    return s_no_memory ? nullptr : __libc_calloc(count, size);
}
#endif

namespace {

constexpr uint32_t c_waits_for_answer = 0xFF;  // of a context id: 0 where nobody waits
constexpr std::chrono::milliseconds c_longest_request{30'000};
constexpr std::chrono::milliseconds c_let_it_wait{50};  // a request that is to wait has come so far
constexpr const char* c_any = "*";

// An indication that every part of the library lets through to Android, in the order of all others.
constexpr const char* c_fence = "NetDualSimServiceIndCb service_state=1";
constexpr const char* c_fence_seen = "<D1000000>";

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

std::string name_of(int error) {
    return error == RIL_E_SUCCESS ? "ok" : error == RIL_E_GENERIC_FAILURE ? "fail" : error_name(error);
}

// The rest of a case cannot be played here.
struct Over {};

bool continues(const Line& line) {
    const std::string& what = line.columns[0];
    return what.empty() || (what.ends_with(':') && what.find(' ') == what.npos);
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

}  // namespace

Player::Player() {
    harness_take_slept();  // has the library's sleeps take no time
    FakeAndroid::instance().set_observer({[this](RIL_Token token, RIL_Errno error, const void* data, size_t length) {
                                              add_completion(token, error, data, length);
                                          },
                                          [this](int number, const void* data, size_t length) {
                                              add_event({"", unsol_name(number), unsol_text(number, data, length)});
                                          }});
}

void Player::play(const Case& one) {
    const Line* line = nullptr;
    try {
        for (size_t i = 0; i < one.lines.size(); ++i) {
            const bool is_new = !continues(one.lines[i]);
            if (is_new && line != nullptr) {
                settle();
            }
            line = &one.lines[i];
            line_ = line->number;
            const bool has_phone = phone_ != nullptr;
            if (is_new && has_phone) {
                set_returns(one.lines, i);
            }
            act(*line);
            if (!has_phone && phone_ != nullptr) {
                set_returns(one.lines, i);
            }
            see_packets(*line);
            answer(*line);
            see_events(*line);
        }
        settle();
        phone_.reset();
    } catch (const Over&) {
    } catch (const Failure& failure) {
        std::string text;
        for (const std::string& column : line->columns) {
            text += (&column == line->columns.data() ? "" : " | ") + column;
        }
        ADD_FAILURE_AT(line->file.c_str(), line->number) << text << "\n" << failure.reason;
    }
}

// --- An exchange -----------------------------------------------------------------------------------------------------

// The returns of an exchange with all its lines: each is for the packet in the same place of its line.
void Player::set_returns(const std::vector<Line>& lines, size_t at) {
    std::map<std::string, std::vector<ScriptedModem::Return>> returns;
    std::set<std::string> told;
    for (size_t i = at; i < lines.size() && (i == at || continues(lines[i])); ++i) {
        const std::vector<std::string> packets = items_of(lines[i].columns[1]);
        std::vector<std::string> items = items_of(lines[i].columns[2]);
        std::erase_if(items, [](const std::string& item) { return !is_return(item); });
        if (items.size() > packets.size()) {
            fail("more returns than packets");
        }
        items.resize(packets.size());
        for (size_t k = 0; k < packets.size(); ++k) {
            const std::string name = first_word(packets[k]);
            returns[name].push_back(return_of(name, items[k]));
            if (!items[k].empty()) {
                told.insert(name);
            }
        }
    }
    for (const std::string& name : told) {
        phone().modem.set_next_returns(find_function_id(name), returns[name]);
    }
}

void Player::act(const Line& line) {
    std::string text = line.columns[0];
    if (continues(line)) {
        name_ = text.empty() ? name_ : take_name(text);
        return;
    }
    Words words = words_of(text);
    const auto action = c_actions.find(words[0].text);
    if (action == c_actions.end() || !action->second.only_looks) {
        log_start_ = radio_log().size();
    }
    if (action == c_actions.end()) {
        request(text);
    } else {
        words.erase(words.begin());
        action->second.run(*this, words);
    }
}

// Makes it on a thread of its own, so that one which does not come back ends the test. `&` behind it: it need not.
void Player::request(std::string text) {
    const std::string name = take_name(text);
    name_ = name.empty() ? "line " + std::to_string(line_) : name;
    std::vector<Word> words = words_of(text);
    const bool starves = words.at(0).text == "nomemory";
    if (starves) {
        words.erase(words.begin());
        if (!c_owns_allocator) {
            throw Over{};
        }
    }
    // What becomes of the data may stand in front of the request too, where a table's row is behind it.
    if (const std::string kind = words.at(0).text; words.size() > 1 && is_data_word(kind)) {
        std::swap(words[0], words[1]);
        words.resize(kind == "nodata" || kind == "hex" ? 2 : words.size());
    }
    // One that the library exports beside onRequest; its data are written as those of SIM_IO.
    using Exported = void (*)(uint32_t, void*, size_t, RIL_Token);
    const std::string what = words.at(0).text;
    const auto exported =
        what.starts_with("ril_request_") ? reinterpret_cast<Exported>(phone().symbol(what.c_str())) : nullptr;
    const std::optional<int> number = exported != nullptr ? RIL_REQUEST_SIM_IO : find_request(what);
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
    RIL_Token token = new_token(*number);
    const RIL_RadioFunctions* ril = functions();
    std::promise<void> done;
    std::future<void> is_done = done.get_future();
    std::thread([=, promise = std::move(done), number = *number, sim = sim_id_]() mutable {
        s_no_memory = starves;
        if (exported != nullptr) {
            exported(sim, arguments->data, arguments->length, token);
        } else {
            ril->onRequest(number, arguments->data, arguments->length, token);
        }
        s_no_memory = false;
        delete arguments;
        promise.set_value();
    }).detach();
    const bool came_back = is_done.wait_for(waits ? c_longest_request : c_let_it_wait) == std::future_status::ready;
    if (waits && !came_back) {
        fail("the request does not come back");
    }
}

RIL_Token Player::new_token(int number) {
    static uintptr_t s_tokens = 0x1000;
    RIL_Token token = FakeAndroid::token(++s_tokens);
    const std::lock_guard lock(lock_);
    requests_[token] = {name_, number};
    return token;
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
            client_ = context > c_waits_for_answer ? context & ~c_waits_for_answer : client_;
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
        phone().modem.send(
            packet_of(words_of(item), context == contexts_.end() ? client_ : context->second, client_, sim_id_));
    }
}

void Player::see_events(const Line& line) {
    for (const std::string& item : items_of(line.columns[3])) {
        if (item == c_any) {
            any_events_ = true;
            continue;
        }
        std::string rest = item;
        std::string request = take_name(rest);
        const std::string word = take_word(rest);
        const std::optional<int> error = find_error(word);
        const std::string what = error ? name_of(*error) : word;
        request = !request.empty() || find_unsol(what) ? request : name_;
        Event event;
        const auto is_wanted = [&] { return event.request == request && event.what == what && fits(rest, event.text); };
        do {
            const bool came = soon([this] {
                const std::lock_guard lock(lock_);
                return !events_.empty();
            });
            if (!came) {
                fail("wanted: " + item + "\n  seen: nothing");
            }
            const std::lock_guard lock(lock_);
            event = events_.front();
            events_.pop_front();
        } while (any_events_ && !is_wanted());
        if (!is_wanted()) {
            fail("wanted: " + item + "\n  seen: " + text_of(event));
        }
    }
}

std::string Player::text_of(const Event& event) const {
    const bool is_others = !event.request.empty() && event.request != name_;
    return (is_others ? event.request + ": " : "") + event.what + (event.text.empty() ? "" : " " + event.text);
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
    is_fenced_ = true;
    phone().modem.send(packet_of(words_of(c_fence), 0, client_, sim_id_));
    if (!soon([this] { return !is_fenced_; })) {
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
    event.text = on_one_line(event.text);
    const std::lock_guard lock(lock_);
    if (event.what == "OEM_HOOK_RAW" && event.text == c_fence_seen && is_fenced_) {
        is_fenced_ = false;
        return;
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
    add_event({request.first, name_of(error), response_text(request.second, data, length)});
}

// What RIL_Init gave, once it has.
const RIL_RadioFunctions* Player::functions() {
    if (!soon([this] { return phone().initialised(); })) {
        fail("RIL_Init does not return");
    }
    return phone().ril();
}
