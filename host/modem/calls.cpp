#include "host/modem/calls.h"

#include <algorithm>

#include "host/modem/card.h"
#include "host/modem/engineering.h"
#include "host/modem/message_centre.h"
#include "host/modem/net.h"
#include "host/modem/packet_data.h"
#include "host/modem/subscriber.h"

namespace calls {

using Milliseconds = Loop::Milliseconds;

std::array<Stack, c_stacks> s_stacks;
static uint32_t s_last_serial;

// What a number's party does instead of answering; by the number's end.
enum class Party { ANSWERS, IS_BUSY, NEVER_ANSWERS, IS_CUT_OFF, FORWARDS, LETS_WAIT, BARS };

constexpr struct {
    const char* number_end;
    Party party;
} c_parties[] = {{"17", Party::IS_BUSY},  {"99", Party::NEVER_ANSWERS}, {"41", Party::IS_CUT_OFF},
                 {"66", Party::FORWARDS}, {"43", Party::LETS_WAIT},     {"35", Party::BARS}};

constexpr Milliseconds c_dialing_time{20};
constexpr Milliseconds c_routing_time{300};
constexpr Milliseconds c_answering_time{300};
constexpr Milliseconds c_clearing_time{30};
constexpr Milliseconds c_cut_off_time{400};
constexpr Milliseconds c_network_patience{180'000};  // T301 of 3GPP TS 24.008, table 11.4

constexpr int32_t c_name_unavailable = 2;

Call* find_call(uint32_t sim_id, uint32_t call_id) {
    for (Call& call : s_stacks[sim_id].calls) {
        if (call.id == call_id) {
            return &call;
        }
    }
    return nullptr;
}

Call* find_state(uint32_t sim_id, State state) {
    for (Call& call : s_stacks[sim_id].calls) {
        if (call.state == state) {
            return &call;
        }
    }
    return nullptr;
}

// The lowest free id, or 0 when there is none.
static uint8_t free_id(uint32_t sim_id) {
    for (uint32_t id = 1; id <= UINT8_MAX; ++id) {
        if (find_call(sim_id, id) == nullptr) {
            return static_cast<uint8_t>(id);
        }
    }
    return 0;
}

void share_radio(Modem& modem, uint32_t sim_id) {
    packet_service_rests(modem, sim_id, stack_is_on_gsm(sim_id) && !s_stacks[sim_id].calls.empty());
}

Call* add_call(uint32_t sim_id, State state, const std::string& number) {
    const uint8_t id = free_id(sim_id);
    if (id == 0) {
        return nullptr;
    }
    s_stacks[sim_id].calls.push_back({id, ++s_last_serial, state, number});
    return &s_stacks[sim_id].calls.back();
}

void after(Modem& modem, Milliseconds delay, uint32_t sim_id, const Call& call, Step step) {
    modem.later(delay, [&modem, sim_id, serial = call.serial, step] {
        auto& calls = s_stacks[sim_id].calls;
        const auto it = std::find_if(calls.begin(), calls.end(), [&](const Call& c) { return c.serial == serial; });
        if (it != calls.end()) {
            step(modem, sim_id, *it);
        }
    });
}

static void report_status(Modem& modem, uint32_t sim_id, const Call& call, int32_t status) {
    UtaCallCsCallStatusIndParams param{};
    param.call.call_id = call.id;
    param.status = status;
    fill_text(param.number, call.number);
    modem.indicate<uta::row::UtaMsCallCsCallStatusIndCb>(sim_id, &param);
}

void notify(Modem& modem, uint32_t sim_id, const Call& call, Notification notification) {
    UtaCallCsNotificationIndCbParams param{};
    param.call.call_id = call.id;
    param.type = notification;
    ++counted(sim_id).facility_msgs;
    modem.indicate<uta::row::UtaMsCallCsNotificationIndCb>(sim_id, &param);
}

Call* peer_of(uint32_t sim_id, const Call& call) {
    for (Call& other : s_stacks[1 - sim_id].calls) {
        if (call.peer != 0 && other.serial == call.peer) {
            return &other;
        }
    }
    return nullptr;
}

void notify_peer(Modem& modem, uint32_t sim_id, const Call& call, Notification notification) {
    if (const Call* peer = peer_of(sim_id, call)) {
        notify(modem, 1 - sim_id, *peer, notification);
    }
}

void tell_group(Modem& modem, uint32_t sim_id, const Call& call) {
    if (const auto index = subscriber::group_with(sim_id, call.number)) {
        UtaCallCsCugInfoIndCbParams param{};
        param.call.call_id = call.id;
        param.index = *index;
        modem.indicate<uta::row::UtaMsCallCsCugInfoIndCb>(sim_id, &param);
    }
}

void report_connected(Modem& modem, uint32_t sim_id, const Call& call) {
    UtaCallCsConnectedIndCbParams param{};
    param.call.call_id = call.id;
    fill_text(param.number, call.number);
    param.name_presentation = c_name_unavailable;
    modem.indicate<uta::row::UtaMsCallCsConnectedIndCb>(sim_id, &param);
}

std::vector<uint8_t> move_calls(uint32_t sim_id, State from, State to) {
    std::vector<uint8_t> moved;
    for (Call& call : s_stacks[sim_id].calls) {
        if (call.state == from) {
            call.state = to;
            moved.push_back(call.id);
        }
    }
    return moved;
}

void count_move(uint32_t sim_id, const std::vector<uint8_t>& moved, Status status) {
    if (moved.empty()) {
        return;
    }
    UtaEmMnTestparam& counters = counted(sim_id);
    ++(status == NOW_HELD ? counters.hold_msgs : counters.retrieve_msgs);
    ++(status == NOW_HELD ? counters.hold_ack_msgs : counters.retrieve_ack_msgs);
}

void report_moved(Modem& modem, uint32_t sim_id, const std::vector<uint8_t>& moved, Status status) {
    for (const uint8_t id : moved) {
        const Call& call = *find_call(sim_id, id);
        report_status(modem, sim_id, call, status);
        notify_peer(modem, sim_id, call, status == NOW_HELD ? CALL_HELD : CALL_RETRIEVED);
    }
}

// --- The end of a call -----------------------------------------------------------------------------------------------

// One party alone is no multiparty call any more.
void leave_multiparty(uint32_t sim_id, Call& leaving) {
    leaving.is_member = false;
    auto& calls = s_stacks[sim_id].calls;
    if (std::count_if(calls.begin(), calls.end(), [](const Call& call) { return call.is_member; }) == 1) {
        std::find_if(calls.begin(), calls.end(), [](const Call& call) { return call.is_member; })->is_member = false;
    }
}

static void begin_clearing(Modem& modem, uint32_t sim_id, Call& call, int32_t cause) {
    // What the phone refuses is no failure of a call.
    if (cause != NORMAL_CLEARING && call.state != State::INCOMING) {
        counted(sim_id).call_failure_cause = static_cast<uint8_t>(cause);
    }
    ++counted(sim_id).disconnect_msgs;
    call.state = State::RELEASING;
    call.cause = cause;
    leave_multiparty(sim_id, call);
    UtaCallCsDisconnectingIndCbParams param{};
    param.call.call_id = call.id;
    param.cause = cause;
    modem.indicate<uta::row::UtaMsCallCsDisconnectingIndCb>(sim_id, &param);
    after(modem, c_clearing_time, sim_id, call, disconnect);
}

// The other stack's end goes too. A caller whom nobody took has met a busy phone.
static void clear_peer(Modem& modem, uint32_t sim_id, Call& call) {
    Call* const peer = peer_of(sim_id, call);
    call.peer = 0;
    if (peer != nullptr) {
        peer->peer = 0;
        begin_clearing(modem, 1 - sim_id, *peer, call.state == State::INCOMING ? USER_BUSY : NORMAL_CLEARING);
    }
}

void disconnect(Modem& modem, uint32_t sim_id, Call& call) {
    clear_peer(modem, sim_id, call);
    if (call.state == State::RELEASING) {
        ++counted(sim_id).release_msgs;
        ++counted(sim_id).release_comp_msgs;
    }
    UtaCallCsDisconnectedIndCbParams param{};
    param.call.call_id = call.id;
    param.cause = call.cause;
    std::erase_if(s_stacks[sim_id].calls, [&](const Call& other) { return other.id == param.call.call_id; });
    modem.indicate<uta::row::UtaMsCallCsDisconnectedIndCb>(sim_id, &param);
    share_radio(modem, sim_id);
}

void clear_call(Modem& modem, uint32_t sim_id, Call& call, int32_t cause) {
    clear_peer(modem, sim_id, call);
    begin_clearing(modem, sim_id, call, cause);
}

// --- A call's beginning ----------------------------------------------------------------------------------------------

static Party party_of(const Call& call) {
    if (call.is_emergency) {
        return Party::ANSWERS;
    }
    for (const auto& row : c_parties) {
        if (call.number.ends_with(row.number_end)) {
            return row.party;
        }
    }
    return Party::ANSWERS;
}

static void cut_off(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::RELEASING) {
        clear_call(modem, sim_id, call, TEMPORARY_FAILURE);
    }
}

static void give_up(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state == State::ALERTING) {
        clear_call(modem, sim_id, call, NO_ANSWER);
    }
}

// A call that became active meanwhile is held, as for a waiting call that is accepted.
void far_end_answers(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::ALERTING) {
        return;
    }
    const bool is_other_active = find_state(sim_id, State::ACTIVE) != nullptr;
    if (is_other_active && find_state(sim_id, State::HELD) != nullptr) {
        clear_call(modem, sim_id, call, NO_RESOURCES);
        return;
    }
    const auto held = move_calls(sim_id, State::ACTIVE, State::HELD);
    count_move(sim_id, held, NOW_HELD);
    report_moved(modem, sim_id, held, NOW_HELD);
    call.state = State::ACTIVE;
    ++counted(sim_id).connect_msgs;
    ++counted(sim_id).connect_ack_msgs;
    report_connected(modem, sim_id, call);
    if (party_of(call) == Party::IS_CUT_OFF) {
        after(modem, c_cut_off_time, sim_id, call, cut_off);
    }
}

static void reach_party(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::DIALING) {
        return;
    }
    const auto* const stack =
        std::find(message_centre::c_subscribers.begin(), message_centre::c_subscribers.end(), call.number);
    if (!call.is_emergency && stack == message_centre::c_subscribers.begin() + (1 - sim_id)) {
        reach_stack(modem, sim_id, call);
        return;
    }
    if (party_of(call) == Party::IS_BUSY) {
        clear_call(modem, sim_id, call, USER_BUSY);
        return;
    }
    if (party_of(call) == Party::BARS) {
        notify(modem, sim_id, call, INCOMING_CALL_BARRED);
        clear_call(modem, sim_id, call, CALL_REJECTED);
        return;
    }
    if (party_of(call) == Party::FORWARDS) {
        notify(modem, sim_id, call, OUTGOING_CALL_FORWARDED);
    } else if (party_of(call) == Party::LETS_WAIT) {
        notify(modem, sim_id, call, CALL_WAITING);
    }
    alert(modem, sim_id, call);
}

void alert(Modem& modem, uint32_t sim_id, Call& call) {
    call.state = State::ALERTING;
    ++counted(sim_id).alert_msgs;
    const UtaCallCsCallId call_id{call.id};
    modem.indicate<uta::row::UtaMsCallCsAlertingIndCb>(sim_id, &call_id);
    if (party_of(call) == Party::NEVER_ANSWERS || call.peer != 0) {
        after(modem, c_network_patience, sim_id, call, give_up);
    } else {
        after(modem, c_answering_time, sim_id, call, far_end_answers);
    }
}

// Who forwards his own calls is reminded of it (3GPP TS 22.082, 1.4).
static void remind_of_forwarding(Modem& modem, uint32_t sim_id, const Call& call) {
    constexpr Notification c_reminders[subscriber::CONDITIONS] = {FORWARDS_ALWAYS, FORWARDS_WHEN_BUSY,
                                                                  FORWARDS_WITHOUT_REPLY, FORWARDS_WHEN_NOT_REACHABLE};
    std::vector<Notification> reminders;
    reminders.reserve(subscriber::CONDITIONS);
    for (size_t i = 0; i < subscriber::CONDITIONS; ++i) {
        if (subscriber::diversion(sim_id, static_cast<subscriber::Condition>(i))) {
            reminders.push_back(c_reminders[i]);
        }
    }
    if (!reminders.empty()) {
        const bool are_all = reminders.size() == subscriber::CONDITIONS - 1 && reminders[0] != FORWARDS_ALWAYS;
        notify(modem, sim_id, call, are_all ? FORWARDS_CONDITIONALLY : reminders[0]);
    }
}

static void start_dialing(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::DIALING) {
        return;
    }
    ++counted(sim_id).call_proceeding_msgs;
    UtaCallCsDialingIndCbParams param{};
    param.call.call_id = call.id;
    modem.indicate<uta::row::UtaMsCallCsDialingIndCb>(sim_id, &param);
    report_status(modem, sim_id, call, NUMBER_KNOWN);
    if (!call.is_emergency && subscriber::bars_outgoing(sim_id, call.number)) {
        notify(modem, sim_id, call, OUTGOING_CALL_BARRED);
        clear_call(modem, sim_id, call, OPERATOR_BARRING);
        return;
    }
    if (call.is_withheld && !subscriber::may_withhold(sim_id)) {
        call.is_withheld = false;
        notify(modem, sim_id, call, CLIR_REJECTED);
    }
    tell_group(modem, sim_id, call);
    remind_of_forwarding(modem, sim_id, call);
    after(modem, c_routing_time, sim_id, call, reach_party);
}

void dial(Modem& modem, uint32_t sim_id, Call& call) {
    ++(call.is_emergency ? counted(sim_id).emergency_setup_msgs : counted(sim_id).setup_msgs);
    after(modem, c_dialing_time, sim_id, call, start_dialing);
    share_radio(modem, sim_id);
}

Cause setup_obstacle(uint32_t sim_id, const std::string& number, bool is_emergency) {
    if (!s_stacks[sim_id].on || free_id(sim_id) == 0) {
        return NO_RESOURCES;
    }
    if (is_emergency) {
        return NO_CAUSE;
    }
    // Without a card a phone is in limited service (3GPP TS 22.101, 10.1).
    if (!card_is_usable(sim_id)) {
        return NO_RESOURCES;
    }
    if (!card_allows_call(sim_id, number)) {
        return FDN_BLOCKED;
    }
    const bool both = find_state(sim_id, State::ACTIVE) != nullptr && find_state(sim_id, State::HELD) != nullptr;
    const bool calls_already =
        find_state(sim_id, State::DIALING) != nullptr || find_state(sim_id, State::ALERTING) != nullptr;
    return both || calls_already ? NO_RESOURCES : NO_CAUSE;
}

}  // namespace calls
