// The network's side of voice calls: parties that are called, that call, answer, hang up or are busy, and what a phone
// does with several calls at once (3GPP TS 22.083, 22.084, 22.091). What a called party does, the last two digits of
// its number tell (c_parties).
#include <algorithm>
#include <array>
#include <cstring>

#include "host/modem/commands.h"
#include "host/modem/modem.h"

namespace {

using Milliseconds = Loop::Milliseconds;

enum class State { DIALING, ALERTING, INCOMING, ACTIVE, HELD, RELEASING };

struct Call {
    uint8_t id;
    uint32_t serial;  // never used again, for what happens later
    State state;
    std::string number;
    bool is_emergency = false;
    bool is_member = false;  // of the multiparty call
    int32_t cause = 0;       // of its end
};

struct Stack {
    bool on = false;
    std::vector<Call> calls;
    int32_t tty_mode = 0;
};

std::array<Stack, c_stacks> s_stacks;
uint32_t s_last_serial;

// What a number's party does instead of answering; by the number's end.
enum class Party { ANSWERS, IS_BUSY, NEVER_ANSWERS, IS_CUT_OFF };

constexpr struct {
    const char* number_end;
    Party party;
} c_parties[] = {{"17", Party::IS_BUSY}, {"99", Party::NEVER_ANSWERS}, {"41", Party::IS_CUT_OFF}};

constexpr Milliseconds c_dialing_time{20};
constexpr Milliseconds c_routing_time{300};
constexpr Milliseconds c_answering_time{300};
constexpr Milliseconds c_clearing_time{30};
constexpr Milliseconds c_cut_off_time{400};
constexpr Milliseconds c_network_patience{180'000};  // T301 of 3GPP TS 24.008, table 11.4

// The causes are those of 3GPP TS 24.008, 10.5.4.11.
constexpr int32_t c_no_cause = 0;
constexpr int32_t c_normal_clearing = 16;
constexpr int32_t c_user_busy = 17;
constexpr int32_t c_no_answer = 19;
constexpr int32_t c_facility_rejected = 29;
constexpr int32_t c_temporary_failure = 41;
constexpr int32_t c_no_resources = 47;
constexpr int32_t c_unknown_call = 81;

constexpr int32_t c_failed = 1;  // in a response
constexpr int32_t c_emergency_call_type = 2;

constexpr int32_t c_scope_call = 0;
constexpr int32_t c_scope_all = 1;
constexpr int32_t c_scope_active = 2;
constexpr int32_t c_scope_waiting = 5;

constexpr int32_t c_status_number = 0;  // only the number is news
constexpr int32_t c_status_held = 12;
constexpr int32_t c_status_retrieved = 13;

constexpr int32_t c_name_unavailable = 2;
constexpr int32_t c_last_tty_mode = 3;

// --- The calls -------------------------------------------------------------------------------------------------------

// Pointers are good until a call comes or goes.
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
uint8_t free_id(uint32_t sim_id) {
    for (uint32_t id = 1; id <= UINT8_MAX; ++id) {
        if (find_call(sim_id, id) == nullptr) {
            return static_cast<uint8_t>(id);
        }
    }
    return 0;
}

// Null when all ids are taken.
Call* add_call(uint32_t sim_id, State state, const std::string& number) {
    const uint8_t id = free_id(sim_id);
    if (id == 0) {
        return nullptr;
    }
    s_stacks[sim_id].calls.push_back({id, ++s_last_serial, state, number});
    return &s_stacks[sim_id].calls.back();
}

// A step in the life of a call, unless the call has come to its end before.
using Step = void (*)(Modem& modem, uint32_t sim_id, Call& call);

void after(Modem& modem, Milliseconds delay, uint32_t sim_id, const Call& call, Step step) {
    modem.later(delay, [&modem, sim_id, serial = call.serial, step] {
        auto& calls = s_stacks[sim_id].calls;
        const auto it = std::find_if(calls.begin(), calls.end(), [&](const Call& c) { return c.serial == serial; });
        if (it != calls.end()) {
            step(modem, sim_id, *it);
        }
    });
}

template <size_t n>
void fill_text(char (&out)[n], const std::string& text) {
    memcpy(out, text.data(), std::min(text.size(), n - 1));
}

void report_status(Modem& modem, uint32_t sim_id, const Call& call, int32_t status) {
    UtaCallCsCallStatusIndParams param{};
    param.call.call_id = call.id;
    param.status = status;
    fill_text(param.number, call.number);
    modem.indicate<uta::row::UtaMsCallCsCallStatusIndCb>(sim_id, &param);
}

void report_connected(Modem& modem, uint32_t sim_id, const Call& call) {
    UtaCallCsConnectedIndCbParams param{};
    param.call.call_id = call.id;
    fill_text(param.number, call.number);
    param.name_presentation = c_name_unavailable;
    modem.indicate<uta::row::UtaMsCallCsConnectedIndCb>(sim_id, &param);
}

// All calls in one state go to the other. The indications come later, behind the response: report_moved.
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

void report_moved(Modem& modem, uint32_t sim_id, const std::vector<uint8_t>& moved, int32_t status) {
    for (const uint8_t id : moved) {
        report_status(modem, sim_id, *find_call(sim_id, id), status);
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

// Removes the call.
void disconnect(Modem& modem, uint32_t sim_id, Call& call) {
    UtaCallCsDisconnectedIndCbParams param{};
    param.call.call_id = call.id;
    param.cause = call.cause;
    std::erase_if(s_stacks[sim_id].calls, [&](const Call& other) { return other.id == param.call.call_id; });
    modem.indicate<uta::row::UtaMsCallCsDisconnectedIndCb>(sim_id, &param);
}

// The call clears, whoever wants it to. It keeps its id meanwhile.
void clear_call(Modem& modem, uint32_t sim_id, Call& call, int32_t cause) {
    call.state = State::RELEASING;
    call.cause = cause;
    leave_multiparty(sim_id, call);
    UtaCallCsDisconnectingIndCbParams param{};
    param.call.call_id = call.id;
    param.cause = cause;
    modem.indicate<uta::row::UtaMsCallCsDisconnectingIndCb>(sim_id, &param);
    after(modem, c_clearing_time, sim_id, call, disconnect);
}

// --- A call's beginning ----------------------------------------------------------------------------------------------

Party party_of(const Call& call) {
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

void cut_off(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::RELEASING) {
        clear_call(modem, sim_id, call, c_temporary_failure);
    }
}

void give_up(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state == State::ALERTING) {
        clear_call(modem, sim_id, call, c_no_answer);
    }
}

void far_end_answers(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::ALERTING) {
        return;
    }
    call.state = State::ACTIVE;
    report_connected(modem, sim_id, call);
    if (party_of(call) == Party::IS_CUT_OFF) {
        after(modem, c_cut_off_time, sim_id, call, cut_off);
    }
}

void reach_party(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::DIALING) {
        return;
    }
    if (party_of(call) == Party::IS_BUSY) {
        clear_call(modem, sim_id, call, c_user_busy);
        return;
    }
    call.state = State::ALERTING;
    const UtaCallCsCallId call_id{call.id};
    modem.indicate<uta::row::UtaMsCallCsAlertingIndCb>(sim_id, &call_id);
    if (party_of(call) == Party::NEVER_ANSWERS) {
        after(modem, c_network_patience, sim_id, call, give_up);
    } else {
        after(modem, c_answering_time, sim_id, call, far_end_answers);
    }
}

void start_dialing(Modem& modem, uint32_t sim_id, Call& call) {
    if (call.state != State::DIALING) {
        return;
    }
    UtaCallCsDialingIndCbParams param{};
    param.call.call_id = call.id;
    modem.indicate<uta::row::UtaMsCallCsDialingIndCb>(sim_id, &param);
    report_status(modem, sim_id, call, c_status_number);
    after(modem, c_routing_time, sim_id, call, reach_party);
}

// Why the network or the phone has no place for one more outgoing call; 0 when it has.
int32_t setup_obstacle(uint32_t sim_id, bool is_emergency) {
    if (!s_stacks[sim_id].on || free_id(sim_id) == 0) {
        return c_no_resources;
    }
    if (is_emergency) {
        return c_no_cause;
    }
    const bool both = find_state(sim_id, State::ACTIVE) != nullptr && find_state(sim_id, State::HELD) != nullptr;
    const bool calls_already =
        find_state(sim_id, State::DIALING) != nullptr || find_state(sim_id, State::ALERTING) != nullptr;
    return both || calls_already ? c_no_resources : c_no_cause;
}

// --- Requests. Each takes effect when its response goes out. ---------------------------------------------------------

struct Request {
    Modem& modem;
    Caller caller;
    uint32_t sim_id;
    uint32_t context_id;

    template <typename Row, typename Response>
    void respond(const Response& response) const {
        modem.send<Row>(caller.client, caller.context_id, sim_id, &response, context_id);
    }
    Call* find(State state) const { return find_state(sim_id, state); }
    std::vector<Call>& calls() const { return s_stacks[sim_id].calls; }
    void report(const std::vector<uint8_t>& moved, int32_t status) const { report_moved(modem, sim_id, moved, status); }
};

template <typename Work>
int32_t start(const Request& request, Work work) {
    request.modem.later(request.modem.settings.latency, [request, work] { work(request); });
    return c_success;
}

// The result and the cause of most responses; a cause is a failure.
template <typename Response>
Response make_response(int32_t cause) {
    Response response{};
    response.result = cause == c_no_cause ? c_success : c_failed;
    response.call_error_cause = cause;
    return response;
}

template <typename Response>
Response make_response(int32_t cause, uint8_t call_id) {
    auto response = make_response<Response>(cause);
    response.call.call_id = call_id;
    return response;
}

// A setup places the active call on hold (3GPP TS 22.030, 6.5.5.1). An emergency call has its place in any case, that
// of the active call if need be.
void set_up_call(const Request& request, const std::string& number, bool is_emergency) {
    const int32_t obstacle = setup_obstacle(request.sim_id, is_emergency);
    auto response = make_response<UtaCallCsSetupCallRspCbParams>(obstacle);
    std::vector<uint8_t> held;
    if (obstacle == c_no_cause) {
        if (request.find(State::HELD) == nullptr) {
            held = move_calls(request.sim_id, State::ACTIVE, State::HELD);
        }
        for (Call& call : request.calls()) {
            if (call.state == State::ACTIVE) {
                clear_call(request.modem, request.sim_id, call, c_normal_clearing);
            }
        }
        Call& call = *add_call(request.sim_id, State::DIALING, number);
        call.is_emergency = is_emergency;
        response.call.call_id = call.id;
        after(request.modem, c_dialing_time, request.sim_id, call, start_dialing);
    }
    request.respond<uta::row::UtaMsCallCsSetupCallRspCb>(response);
    request.report(held, c_status_held);
}

int32_t set_up(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsSetupVoiceCallReqParams* param,
               uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    const std::string number(param->number, strnlen(param->number, sizeof(param->number)));
    const bool is_emergency = param->call_type == c_emergency_call_type;
    return start({modem, caller, sim_id, context_id},
                 [number, is_emergency](const Request& request) { set_up_call(request, number, is_emergency); });
}

bool is_in_scope(const Call& call, const UtaCallCsReleaseCallReqParams& param) {
    if (call.state == State::RELEASING) {
        return false;
    }
    switch (param.release_scope) {
        case c_scope_call:
            return call.id == param.call.call_id;
        case c_scope_all:
            return true;
        case c_scope_active:
            return call.state == State::ACTIVE;
        case c_scope_waiting:
            return call.state == State::INCOMING;
        default:
            return false;
    }
}

int32_t release(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsReleaseCallReqParams* param,
                uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    return start({modem, caller, sim_id, context_id}, [wanted = *param](const Request& request) {
        std::vector<Call*> released;
        for (Call& call : request.calls()) {
            if (is_in_scope(call, wanted)) {
                released.push_back(&call);
            }
        }
        auto response = make_response<UtaCallCsReleaseCallRspCbParams>(released.empty() ? c_unknown_call : c_no_cause,
                                                                       wanted.call.call_id);
        response.release_scope = wanted.release_scope;
        request.respond<uta::row::UtaMsCallCsReleaseCallRspCb>(response);
        for (Call* call : released) {
            clear_call(request.modem, request.sim_id, *call, wanted.cause);
        }
    });
}

// The active call makes room, which it can as long as none is held.
int32_t accept_obstacle(const Request& request, const Call* call) {
    if (call == nullptr || call->state != State::INCOMING) {
        return c_unknown_call;
    }
    return request.find(State::ACTIVE) != nullptr && request.find(State::HELD) != nullptr ? c_facility_rejected
                                                                                          : c_no_cause;
}

int32_t accept(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsCallId* call_id,
               uint32_t context_id) {
    if (call_id == nullptr) {
        return c_refused;
    }
    return start({modem, caller, sim_id, context_id}, [id = *call_id](const Request& request) {
        Call* call = find_call(request.sim_id, id.call_id);
        UtaCallCsAcceptCallRspCbParams response{};
        response.call = id;
        response.field_3 = accept_obstacle(request, call);
        response.field_2 = response.field_3 == c_no_cause ? c_success : c_failed;
        std::vector<uint8_t> held;
        if (response.field_2 == c_success) {
            held = move_calls(request.sim_id, State::ACTIVE, State::HELD);
            call->state = State::ACTIVE;
        }
        request.respond<uta::row::UtaMsCallCsAcceptCallRspCb>(response);
        if (response.field_2 == c_success) {
            request.report(held, c_status_held);
            report_connected(request.modem, request.sim_id, *call);
        }
    });
}

// All calls of one state go to the other, where none may be.
template <typename Row, typename Response>
void answer_move(const Request& request, State from, State to) {
    std::vector<uint8_t> moved;
    if (request.find(to) == nullptr) {
        moved = move_calls(request.sim_id, from, to);
    }
    request.respond<Row>(moved.empty() ? make_response<Response>(c_facility_rejected)
                                       : make_response<Response>(c_no_cause, moved.front()));
    request.report(moved, to == State::HELD ? c_status_held : c_status_retrieved);
}

int32_t hold(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        answer_move<uta::row::UtaMsCallCsHoldCallRspCb, UtaCallCsHoldCallRspCbParams>(request, State::ACTIVE,
                                                                                      State::HELD);
    });
}

int32_t retrieve(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        answer_move<uta::row::UtaMsCallCsRetrieveCallRspCb, UtaCallCsRetrieveCallRspCbParams>(request, State::HELD,
                                                                                              State::ACTIVE);
    });
}

// Swap and join need an active and a held call.
int32_t pair_obstacle(const Request& request) {
    return request.find(State::ACTIVE) != nullptr && request.find(State::HELD) != nullptr ? c_no_cause
                                                                                          : c_facility_rejected;
}

int32_t swap(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const int32_t obstacle = pair_obstacle(request);
        auto response = make_response<UtaCallCsSwapCallsRspCbParams>(obstacle);
        if (obstacle != c_no_cause) {
            request.respond<uta::row::UtaMsCallCsSwapCallsRspCb>(response);
            return;
        }
        std::vector<uint8_t> now_held;
        std::vector<uint8_t> now_active;
        for (Call& call : request.calls()) {
            if (call.state == State::ACTIVE) {
                call.state = State::HELD;
                now_held.push_back(call.id);
            } else if (call.state == State::HELD) {
                call.state = State::ACTIVE;
                now_active.push_back(call.id);
            }
        }
        response.active_call.call_id = now_active.front();
        response.held_call.call_id = now_held.front();
        request.respond<uta::row::UtaMsCallCsSwapCallsRspCb>(response);
        request.report(now_held, c_status_held);
        request.report(now_active, c_status_retrieved);
    });
}

// More than the five parties of 3GPP TS 22.084 are welcome.
int32_t join(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const int32_t obstacle = pair_obstacle(request);
        std::vector<uint8_t> retrieved;
        if (obstacle == c_no_cause) {
            retrieved = move_calls(request.sim_id, State::HELD, State::ACTIVE);
            for (Call& call : request.calls()) {
                call.is_member = call.state == State::ACTIVE;
            }
        }
        request.respond<uta::row::UtaMsCallCsJoinCallsRspCb>(make_response<UtaCallCsJoinCallsRspCbParams>(obstacle));
        request.report(retrieved, c_status_retrieved);
    });
}

// The other members are held, so that no other call may be.
int32_t split(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsCallId* call_id,
              uint32_t context_id) {
    if (call_id == nullptr) {
        return c_refused;
    }
    return start({modem, caller, sim_id, context_id}, [id = call_id->call_id](const Request& request) {
        Call* call = find_call(request.sim_id, id);
        const bool done =
            call != nullptr && call->is_member && call->state == State::ACTIVE && request.find(State::HELD) == nullptr;
        std::vector<uint8_t> held;
        if (done) {
            held = move_calls(request.sim_id, State::ACTIVE, State::HELD);
            std::erase(held, id);
            call->state = State::ACTIVE;
            leave_multiparty(request.sim_id, *call);
        }
        request.respond<uta::row::UtaMsCallCsSplitMptyRspCb>(
            make_response<UtaCallCsSplitMptyRspCbParams>(done ? c_no_cause : c_facility_rejected, id));
        request.report(held, c_status_held);
    });
}

// The parties talk to each other from now on, and the phone is out of it.
int32_t transfer(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const State second = request.find(State::ACTIVE) != nullptr ? State::ACTIVE : State::ALERTING;
        const Call* other = request.find(second);
        const bool done = other != nullptr && request.find(State::HELD) != nullptr;
        request.respond<uta::row::UtaMsCallCsTransferCallsRspCb>(
            done ? make_response<UtaCallCsTransferCallsRspCbParams>(c_no_cause, other->id)
                 : make_response<UtaCallCsTransferCallsRspCbParams>(c_facility_rejected));
        for (Call& call : request.calls()) {
            if (done && (call.state == State::HELD || call.state == second)) {
                clear_call(request.modem, request.sim_id, call, c_normal_clearing);
            }
        }
    });
}

int32_t stop_tone(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsCallId* call_id,
                  uint32_t context_id) {
    if (call_id == nullptr) {
        return c_refused;
    }
    return start({modem, caller, sim_id, context_id},
                 [id = *call_id](const Request& request) { request.respond<uta::row::UtaMsCallCsStopDtmfRspCb>(id); });
}

int32_t set_tty_mode(Modem&, const Caller&, uint32_t sim_id, int32_t mode) {
    if (mode < 0 || mode > c_last_tty_mode) {
        return c_refused;
    }
    s_stacks[sim_id].tty_mode = mode;
    return c_success;
}

int32_t get_tty_mode(Modem&, const Caller&, uint32_t sim_id, int32_t* mode) {
    *mode = s_stacks[sim_id].tty_mode;
    return c_success;
}

// A stack that leaves the air leaves its calls.
void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool) {
    Stack& stack = s_stacks[sim_id];
    stack.on = stack_on;
    while (!stack_on && !stack.calls.empty()) {
        stack.calls.front().cause = c_normal_clearing;
        disconnect(modem, sim_id, stack.calls.front());
    }
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::string incoming(Modem& modem, uint32_t sim_id, const std::string& number) {
    const Call* call = add_call(sim_id, State::INCOMING, number == "unknown" ? "" : number);
    if (call == nullptr) {
        return "there are too many calls";
    }
    UtaCallCsIncomingCallIndCbParams param{};
    param.call.call_id = call->id;
    fill_text(param.number, call->number);
    modem.indicate<uta::row::UtaMsCallCsIncomingCallIndCb>(sim_id, &param);
    return "";
}

const char* name_of(State state) {
    constexpr const char* c_names[] = {"dialing", "alerting", "incoming", "active", "held", "clearing"};
    return c_names[static_cast<size_t>(state)];
}

// Whether the call is what the word says, for scripts that look at the network's side.
std::string check(const Call& call, const std::string& word) {
    const bool holds = word == "emergency" ? call.is_emergency
                       : word == "member"  ? call.is_member
                                           : word == name_of(call.state);
    return holds ? "" : std::string("that call is ") + name_of(call.state);
}

std::string call_command(Modem& modem, const std::vector<std::string>& arguments) {
    constexpr const char* c_usage = "wants incoming and a number, or answer, drop or is and a call id";
    constexpr size_t c_option_at = 2;  // the cause or the word
    if (arguments.size() < c_option_at) {
        return c_usage;
    }
    const std::string& what = arguments[0];
    const size_t stack_at = c_option_at + (what == "drop" || what == "is" ? 1 : 0);
    const auto stack = arguments.size() > stack_at ? parse_integer(arguments[stack_at]) : std::optional(0);
    if (!stack || *stack < 0 || *stack >= static_cast<int32_t>(c_stacks) || arguments.size() > stack_at + 1) {
        return c_usage;
    }
    const auto sim_id = static_cast<uint32_t>(*stack);
    if (what == "incoming") {
        return incoming(modem, sim_id, arguments[1]);
    }
    const auto id = parse_integer(arguments[1]);
    Call* call = id ? find_call(sim_id, static_cast<uint32_t>(*id)) : nullptr;
    if (call == nullptr || call->state == State::RELEASING) {
        return "no such call: " + arguments[1];
    }
    if (what == "answer" && call->state == State::ALERTING) {
        far_end_answers(modem, sim_id, *call);
        return "";
    }
    if (what == "is" && arguments.size() > c_option_at) {
        return check(*call, arguments[c_option_at]);
    }
    const auto cause =
        arguments.size() > c_option_at ? parse_integer(arguments[c_option_at]) : std::optional(c_normal_clearing);
    if (what == "drop" && cause) {
        clear_call(modem, sim_id, *call, *cause);
        return "";
    }
    return what == "answer" ? "that call isn't alerting" : c_usage;
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_stacks.size(); ++i) {
        for (const Call& call : s_stacks[i].calls) {
            text += (text.empty() ? "stack " : ", stack ") + std::to_string(i) + ": " + std::to_string(call.id);
            text += std::string(call.is_member ? " member " : " ") + name_of(call.state) + " " + call.number;
        }
    }
    return text.empty() ? "no calls" : text;
}

}  // namespace

Service call_service() {
    using namespace uta::row;
    return {
        .name = "call",
        .functions = {serve<UtaMsCallCsSetupVoiceCallReq, set_up>(), serve<UtaMsCallCsReleaseCallReq, release>(),
                      serve<UtaMsCallCsAcceptCallReq, accept>(), serve<UtaMsCallCsHoldCallReq, hold>(),
                      serve<UtaMsCallCsRetrieveCallReq, retrieve>(), serve<UtaMsCallCsSwapCallsReq, swap>(),
                      serve<UtaMsCallCsJoinCallsReq, join>(), serve<UtaMsCallCsSplitMptyReq, split>(),
                      serve<UtaMsCallCsTransferCallsReq, transfer>(), serve<UtaMsCallCsStopDtmfReq, stop_tone>(),
                      serve<UtaMsCallCsSetTtyDeviceMode, set_tty_mode>(),
                      serve<UtaMsCallCsGetTtyDeviceMode, get_tty_mode>()},
        .commands = {{"call",
                      "incoming NUMBER|unknown [0|1] | answer ID [0|1] | drop ID [CAUSE [0|1]] | is ID WORD [0|1]",
                      "somebody calls; the called party answers; the network ends a call, with cause 16\n"
                      "unless another is given. Numbers that end in 17 are busy, in 99 never answer, in 41\n"
                      "are cut off soon after they have answered. is: fails unless the call is emergency, member, or\n"
                      "dialing, alerting, incoming, active or held",
                      call_command}},
        .forget = [] { s_stacks = {}; },
        .describe = describe,
        .stack_switched = stack_switched};
}
