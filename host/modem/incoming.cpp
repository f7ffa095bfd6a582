// A call for the phone: where the network takes it by what its subscriber has set up (3GPP TS 22.082, 22.083, 22.088),
// and what the caller meets.
#include <algorithm>

#include "host/modem/calls.h"
#include "host/modem/commands.h"
#include "host/modem/engineering.h"
#include "host/modem/gsm_text.h"
#include "host/modem/message_centre.h"
#include "host/modem/net.h"
#include "host/modem/subscriber.h"

namespace {

using namespace calls;

constexpr Loop::Milliseconds c_second_of_ringing{100};  // of a subscriber's no-reply time

std::array<std::string, c_stacks> s_met;     // what the last caller met
std::map<std::string, std::string> s_names;  // of callers, by number

void meet(uint32_t sim_id, const std::string& what) {
    s_met[sim_id] = what;
}

// Where the condition's forwarding takes the call, or what the caller meets without one.
void divert(uint32_t sim_id, subscriber::Condition condition, const char* otherwise) {
    const auto to = subscriber::diversion(sim_id, condition);
    meet(sim_id, to ? "forwarded " + to->number : otherwise);
}

bool is_engaged(const Call& call) {
    return call.state != State::INCOMING && call.state != State::RELEASING;
}

void send_name(Modem& modem, uint32_t sim_id, const Call& call) {
    const auto name = s_names.find(call.number);
    if (name == s_names.end()) {
        return;
    }
    UtaCallCsCallingNameInfoIndCbParams param{};
    const CodedText coded = code_text(name->second, sizeof(param.data));
    param.call.call_id = call.id;
    param.length = static_cast<uint16_t>(coded.octets.size());
    std::copy(coded.octets.begin(), coded.octets.end(), param.data);
    param.dcs = coded.dcs;
    modem.indicate<uta::row::UtaMsCallCsCallingNameInfoIndCb>(sim_id, &param);
}

// The call of the other stack that would have got here goes on to a number outside.
void send_on(Modem& modem, uint32_t sim_id, Call& call) {
    Call* const peer = peer_of(sim_id, call);
    call.peer = 0;
    if (peer != nullptr) {
        peer->peer = 0;
        notify(modem, 1 - sim_id, *peer, OUTGOING_CALL_FORWARDED);
        alert(modem, 1 - sim_id, *peer);
    }
}

void take_back_for_no_reply(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::INCOMING) {
        return;
    }
    if (const auto to = subscriber::diversion(sim_id, subscriber::NO_REPLY)) {
        meet(sim_id, "forwarded " + to->number);
        notify(modem, sim_id, call, INCOMING_CALL_FORWARDED);
        send_on(modem, sim_id, call);
        clear_call(modem, sim_id, call, NORMAL_CLEARING);
    }
}

std::string ring(Modem& modem, uint32_t sim_id, const std::string& number, bool is_forwarded) {
    const bool waits = std::any_of(s_stacks[sim_id].calls.begin(), s_stacks[sim_id].calls.end(), is_engaged);
    Call* call = add_call(sim_id, State::INCOMING, number);
    if (call == nullptr) {
        meet(sim_id, "busy");
        return "there are too many calls";
    }
    meet(sim_id, waits ? "waiting" : "ringing");
    ++counted(sim_id).setup_msgs;
    ++counted(sim_id).call_confirmed_msgs;
    ++counted(sim_id).alert_msgs;
    UtaCallCsIncomingCallIndCbParams param{};
    param.call.call_id = call->id;
    fill_text(param.number, call->number);
    modem.indicate<uta::row::UtaMsCallCsIncomingCallIndCb>(sim_id, &param);
    share_radio(modem, sim_id);
    send_name(modem, sim_id, *call);
    tell_group(modem, sim_id, *call);
    if (is_forwarded) {
        notify(modem, sim_id, *call, FORWARDED_CALL_INCOMING);
    }
    if (const auto to = subscriber::diversion(sim_id, subscriber::NO_REPLY)) {
        after(modem, to->seconds * c_second_of_ringing, sim_id, *call, take_back_for_no_reply);
    }
    return "";
}

std::optional<uint32_t> stack_of(const std::vector<std::string>& arguments, size_t at) {
    const auto stack = arguments.size() > at ? parse_integer(arguments[at]) : std::optional(0);
    return stack && *stack >= 0 && *stack < static_cast<int32_t>(c_stacks) && arguments.size() <= at + 1
               ? std::optional(static_cast<uint32_t>(*stack))
               : std::nullopt;
}

std::string met_command(Modem&, const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        return "wants what the last caller met";
    }
    const size_t words = arguments[0] == "forwarded" ? 2 : 1;
    const auto sim_id = stack_of(arguments, words);
    if (!sim_id) {
        return "wants ringing, waiting, busy, away, barred, or forwarded and a number";
    }
    const std::string what = words == 2 ? arguments[0] + " " + arguments[1] : arguments[0];
    return s_met[*sim_id] == what ? "" : "the last caller met: " + s_met[*sim_id];
}

std::string name_command(Modem&, const std::vector<std::string>& arguments) {
    if (arguments.size() != 2) {
        return "wants a number and a name";
    }
    s_names[arguments[0]] = arguments[1];
    return "";
}

std::string far_command(Modem& modem, const std::vector<std::string>& arguments) {
    constexpr struct {
        const char* word;
        Notification notification;
    } c_words[] = {{"holds", CALL_HELD},
                   {"retrieves", CALL_RETRIEVED},
                   {"joins", JOINED_MULTIPARTY},
                   {"deflects", INCOMING_CALL_DEFLECTED}};
    const auto id = arguments.size() > 1 ? parse_integer(arguments[1]) : std::nullopt;
    const auto sim_id = stack_of(arguments, 2);
    const auto* row = std::find_if(std::begin(c_words), std::end(c_words),
                                   [&](const auto& it) { return !arguments.empty() && arguments[0] == it.word; });
    if (!id || !sim_id || row == std::end(c_words)) {
        return "wants holds, retrieves, joins or deflects, and a call id";
    }
    const Call* call = find_call(*sim_id, static_cast<uint32_t>(*id));
    if (call == nullptr) {
        return "no such call: " + arguments[1];
    }
    notify(modem, *sim_id, *call, row->notification);
    return "";
}

std::string provide_command(Modem&, const std::vector<std::string>& arguments) {
    constexpr const char* c_usage = "wants clir on or off, or group, a number and an index";
    const std::string what = arguments.size() < 2 ? "" : arguments[0];
    const auto sim_id = stack_of(arguments, what == "group" ? 3 : 2);
    int32_t index = -1;
    if (what == "group" && arguments.size() > 2) {
        index = parse_integer(arguments[2]).value_or(-1);
    }
    if (!sim_id) {
        return c_usage;
    }
    if (what == "clir" && (arguments[1] == "on" || arguments[1] == "off")) {
        subscriber::provide_clir(*sim_id, arguments[1] == "on");
        return "";
    }
    if (index >= 0 && index <= UINT16_MAX) {
        subscriber::provide_group(*sim_id, arguments[1], static_cast<uint16_t>(index));
        return "";
    }
    return c_usage;
}

}  // namespace

namespace calls {

static std::string place_call(Modem& modem, uint32_t sim_id, const std::string& number, bool is_forwarded) {
    const bool is_engaged_stack = std::any_of(s_stacks[sim_id].calls.begin(), s_stacks[sim_id].calls.end(), is_engaged);
    const bool is_called_already = find_state(sim_id, State::INCOMING) != nullptr;
    if (subscriber::bars_incoming(sim_id, stack_roams(sim_id))) {
        meet(sim_id, "barred");
    } else if (const auto always = subscriber::diversion(sim_id, subscriber::UNCONDITIONAL)) {
        meet(sim_id, "forwarded " + always->number);
    } else if (!stack_is_registered(sim_id)) {
        divert(sim_id, subscriber::NOT_REACHABLE, "away");
        return s_met[sim_id] == "away" ? "the stack is not registered" : "";
    } else if (is_called_already || (is_engaged_stack && !subscriber::lets_wait(sim_id))) {
        divert(sim_id, subscriber::BUSY, "busy");
    } else {
        return ring(modem, sim_id, number, is_forwarded);
    }
    return "";
}

// A call is forwarded once from stack to stack.
std::string arrive(Modem& modem, uint32_t sim_id, const std::string& number, bool is_forwarded) {
    std::string error = place_call(modem, sim_id, number, is_forwarded);
    const uint32_t other = 1 - sim_id;
    if (!is_forwarded && s_met[sim_id] == std::string("forwarded ") + message_centre::c_subscribers[other]) {
        modem.later(modem.settings.latency, [&modem, other, number] { arrive(modem, other, number, true); });
    }
    return error;
}

void incoming_refused(Modem& modem, uint32_t sim_id, Call& call) {
    divert(sim_id, subscriber::BUSY, "busy");
    if (s_met[sim_id] != "busy") {
        send_on(modem, sim_id, call);
    }
}

void reach_stack(Modem& modem, uint32_t sim_id, Call& call) {
    const uint32_t other = 1 - sim_id;
    arrive(modem, other, call.is_withheld ? "" : message_centre::c_subscribers[sim_id], false);
    const std::string& met = s_met[other];
    if (met == "barred") {
        notify(modem, sim_id, call, INCOMING_CALL_BARRED);
        clear_call(modem, sim_id, call, CALL_REJECTED);
    } else if (met == "busy" || met == "away") {
        clear_call(modem, sim_id, call, met == "busy" ? USER_BUSY : OUT_OF_ORDER);
    } else if (met == "ringing" || met == "waiting") {
        Call& there = s_stacks[other].calls.back();
        call.peer = there.serial;
        there.peer = call.serial;
        if (met == "waiting") {
            notify(modem, sim_id, call, CALL_WAITING);
        }
        alert(modem, sim_id, call);
    } else {
        notify(modem, sim_id, call, OUTGOING_CALL_FORWARDED);
        alert(modem, sim_id, call);
    }
}

}  // namespace calls

Service callers_service() {
    return {.name = "callers",
            .functions = {},
            .commands = {{"met", "ringing|waiting|busy|away|barred|forwarded NUMBER [0|1]",
                          "fails unless that is what the last caller met", met_command},
                         {"name", "NUMBER NAME", "the network knows a caller's name and tells it", name_command},
                         {"far", "holds|retrieves|joins|deflects ID [0|1]", "what the far end of a call does with it",
                          far_command},
                         {"provide", "clir on|off [0|1] | group NUMBER INDEX [0|1]",
                          "the subscriber may withhold his number, or not; he and a number are in a closed user group",
                          provide_command}},
            .describe = [] { return "the last caller met: " + (s_met[0].empty() ? "nothing" : s_met[0]); }};
}
