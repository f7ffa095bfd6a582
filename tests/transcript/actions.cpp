// What a line can do besides a request.
#include <cutils/properties.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "host/console/protocol.h"
#include "tests/harness/sleeps.h"
#include "tests/transcript/packets.h"
#include "tests/transcript/player.h"

namespace {

const std::map<std::string, uint32_t> c_modem_events = {
    {"down", 0xB1000000}, {"up", 0xB2000000}, {"reset", 0xB3000000}, {"shutdown", 0xB4000000}};

// The word at `index`, or what stands for one that is missing.
std::string word(const std::vector<Word>& words, size_t index, const char* missing = nullptr) {
    if (index >= words.size() && missing == nullptr) {
        fail("a word is missing");
    }
    return index < words.size() ? words[index].text : missing;
}

// All of them, a blank between each two.
std::string line(const std::vector<Word>& words) {
    std::string text = word(words, 0);
    for (size_t i = 1; i < words.size(); ++i) {
        text += ' ' + words[i].text;
    }
    return text;
}

// Waits until what is seen fits.
void expect(const std::string& wanted, const std::function<std::string()>& look) {
    std::string seen;
    const auto fitting = [&] {
        seen = on_one_line(look());
        return fits(on_one_line(wanted), seen);
    };
    if (!soon(fitting)) {
        fail("wanted: " + wanted + "\n  seen: " + seen);
    }
}

std::string property(const std::string& key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key.c_str(), value, "(unset)");
    return value;
}

// Of this thread and of those that it starts.
void give_up_network_rights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[2];
    syscall(SYS_capget, &header, rights);
    rights[0].effective &= ~(1U << CAP_NET_ADMIN);
    syscall(SYS_capset, &header, rights);
}

std::string output_of_shell(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): the transcript says what to run
    std::string text;
    for (int c = 0; (c = fgetc(pipe)) != EOF;) {
        text += static_cast<char>(c);
    }
    if (const int status = pclose(pipe); status != 0) {
        fail("  seen: status " + std::to_string(status) + " " + on_one_line(text));
    }
    return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

int32_t number(const std::string& text) {
    return static_cast<int32_t>(std::stoll(text, nullptr, 0));
}

// Values, and assignments to output parameters behind them.
void set_return(ScriptedModem& modem, const std::vector<Word>& words) {
    std::vector<int32_t> values;
    size_t next = 1;
    for (; next < words.size() && words[next].text.find('=') == std::string::npos; ++next) {
        values.push_back(number(words[next].text));
    }
    const uint32_t id = find_function_id(word(words, 0));
    if (values.size() == 1) {
        modem.set_return(id, values[0], output_of(words[0].text, texts_of(words, next)));
    } else {
        modem.set_returns(id, values);
    }
}

}  // namespace

// NOLINTBEGIN(readability-identifier-length): the player, and the words behind the action's
const std::map<std::string, Player::Action> Player::c_actions = {
    {"phone", {false, [](Player& p, const Words& w) { p.start_phone(word(w, 0), texts_of(w, 1)); }}},
    {"clock", {false, [](Player& p, const Words& w) { p.phone().android.advance(std::stoll(word(w, 0))); }}},
    {"call", {false, [](Player& p, const Words& w) { p.call(w); }}},
    {"event",
     {false,
      [](Player& p, const Words& w) {
          const std::string& event = word(w, 0);
          const auto known = c_modem_events.find(event);
          if (event == "down" || event == "up") {
              p.modem_is_up_ = event == "up" && word(w, 1, "") != "&";
              p.changed_modem();
          }
          p.phone().event(known != c_modem_events.end() ? known->second : static_cast<uint32_t>(number(event)));
      }}},
    {"daemon",
     {false,
      [](Player& p, const Words& w) {
          p.daemon_is_there_ = word(w, 0) == "start";
          p.changed_modem();
          p.daemon_is_there_ ? p.phone().modem.start() : p.phone().modem.stop();
      }}},
    {"set", {false, [](Player&, const Words& w) { property_set(word(w, 0).c_str(), word(w, 1, "").c_str()); }}},
    {"forget", {false, [](Player& p, const Words&) { p.forget(); }}},
    {"prop",
     {true, [](Player&, const Words& w) { expect(word(w, 1, "(unset)"), [&] { return property(word(w, 0)); }); }}},
    {"log",
     {true, [](Player& p,
               const Words& w) { expect("*" + line(w) + "*", [&] { return radio_log().substr(p.log_start_); }); }}},
    {"nolog",
     {true,
      [](Player& p, const Words& w) {
          if (radio_log().find(word(w, 0), p.log_start_) != std::string::npos) {
              fail("  seen: " + radio_log().substr(p.log_start_));
          }
      }}},
    {"state",
     {true,
      [](Player& p, const Words& w) {
          expect(word(w, 0), [&] { return std::string(value_name("radio", p.functions()->onStateRequest())); });
      }}},
    {"timers",
     {true, [](Player& p,
               const Words& w) { expect(word(w, 0), [&] { return std::to_string(p.phone().android.timers()); }); }}},
    {"open", {true, [](Player& p, const Words& w) { expect(word(w, 0), [&] { return std::to_string(p.open()); }); }}},
    {"asked",
     {true,
      [](Player& p, const Words& w) {
          expect(line(w), [&] {
              return std::to_string(p.phone().manager_requests) + " " + std::to_string(p.phone().last_manager_request);
          });
      }}},
    {"slept",
     {true,
      [](Player&, const Words& w) { expect(word(w, 0, "*"), [] { return std::to_string(harness_take_slept()); }); }}},
    {"return", {true, [](Player& p, const Words& w) { set_return(p.phone().modem, w); }}},
    {"silent",
     {true, [](Player& p,
               const Words& w) { p.phone().modem.set_silent(find_function_id(word(w, 0)), word(w, 1, "") != "no"); }}},
    {"unseen",
     {true,
      [](Player& p, const Words& w) {
          set_return(p.phone().modem, w);
          p.phone().modem.set_unseen(find_function_id(word(w, 0)));
      }}},
    {"answer",
     {true,
      [](Player& p, const Words& w) {
          const uint32_t id = find_function_id(word(w, 0));
          if (w.size() == 1) {
              p.phone().modem.set_answer(id, ScriptedModem::Answer());
          } else {
              constexpr uint32_t c_place = 0xAAAAAAAA;  // of the request's context
              p.phone().modem.set_answer(id, packet_of({w.begin() + 1, w.end()}, c_place, p.client_, p.sim_id_));
          }
      }}},
    {"write", {true, [](Player&, const Words& w) { std::ofstream(word(w, 0)) << word(w, 1); }}},
    {"powerless", {true, [](Player&, const Words&) { give_up_network_rights(); }}},
    {"shell",
     {true, [](Player&, const Words& w) { expect(word(w, 1, "*"), [&] { return output_of_shell(word(w, 0)); }); }}},
};
// NOLINTEND(readability-identifier-length)

void Player::call(const Words& words) {
    using Function = intptr_t (*)(intptr_t, intptr_t, intptr_t);
    static std::array<int32_t, 100> s_area;
    char buffer[PROPERTY_VALUE_MAX] = "untouched";
    std::string left = buffer;
    const auto function = reinterpret_cast<Function>(phone().symbol(word(words, 0).c_str()));
    if (function == nullptr) {
        fail("the library does not export it");
    }
    std::vector<intptr_t> arguments;
    size_t next = 1;
    for (; next < words.size() && words[next].text != "gives" && words[next].text != "leaves"; ++next) {
        const auto& [text, quoted] = words[next];
        if (quoted) {
            arguments.push_back(reinterpret_cast<intptr_t>(text.c_str()));
        } else if (const size_t colon = text.find(':'); colon != std::string::npos) {
            name_ = text.substr(0, colon);
            arguments.push_back(reinterpret_cast<intptr_t>(new_token(*find_request(text.substr(colon + 1)))));
        } else if (text[0] == '&') {
            s_area = {number(text.substr(1))};
            arguments.push_back(reinterpret_cast<intptr_t>(s_area.data()));
        } else if (text[0] == '>') {
            left = text.substr(1);
            arguments.push_back(reinterpret_cast<intptr_t>(buffer));
        } else {
            arguments.push_back(text == "null" ? 0 : number(text));
        }
    }
    arguments.resize(3);
    const intptr_t result = function(arguments[0], arguments[1], arguments[2]);
    expect(left, [&buffer] { return std::string(buffer); });
    if (next + 1 < words.size() && words[next + 1].quoted) {
        expect(words[next + 1].text, [result] { return std::string(reinterpret_cast<const char*>(result)); });
    } else if (next < words.size()) {
        const int32_t seen = words[next].text == "gives" ? static_cast<int32_t>(result) : s_area[0];
        expect(word(words, next + 1), [seen] { return std::to_string(seen); });
    }
}

Phone& Player::phone() {
    if (phone_ == nullptr) {
        fail("there is no phone yet");
    }
    return *phone_;
}

void Player::start_phone(const std::string& state, const std::vector<std::string>& arguments) {
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
    forget();
}

void Player::changed_modem() {
    is_fenced_ = false;
    may_be_away_ = modem_is_up_ && daemon_is_there_;
}

size_t Player::open() {
    const std::lock_guard lock(lock_);
    return requests_.size() - completed_.size();
}

void Player::forget() {
    pass_fence();
    take_packets();
    if (!packets_.empty()) {
        contexts_["start"] = context_of(packets_.back());
    }
    packets_.clear();
    const std::lock_guard lock(lock_);
    events_.clear();
}
