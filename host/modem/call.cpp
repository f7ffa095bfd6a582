// What a phone asks of the network for its calls: setup, release and the work with several at once (3GPP TS 22.083,
// 22.084, 22.091). How a call takes its course is in calls.cpp.
#include <cstring>

#include "host/modem/calls.h"
#include "host/modem/clir.h"
#include "host/modem/commands.h"
#include "host/modem/engineering.h"

namespace {

using namespace calls;

constexpr int32_t c_failed = 1;  // in a response
constexpr int32_t c_emergency_call_type = 2;

constexpr int32_t c_clir_withheld = 2;  // 3GPP TS 22.081, 2.1: the presentation is restricted

constexpr int32_t c_scope_call = 0;
constexpr int32_t c_scope_all = 1;
constexpr int32_t c_scope_active = 2;
constexpr int32_t c_scope_waiting = 5;

constexpr int32_t c_last_tty_mode = 3;

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
    void report(const std::vector<uint8_t>& moved, Status status) const { report_moved(modem, sim_id, moved, status); }
    UtaEmMnTestparam& count() const { return counted(sim_id); }
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
    response.result = cause == NO_CAUSE ? c_success : c_failed;
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
void set_up_call(const Request& request, const std::string& number, bool is_emergency, bool is_withheld) {
    const Cause obstacle = setup_obstacle(request.sim_id, number, is_emergency);
    auto response = make_response<UtaCallCsSetupCallRspCbParams>(obstacle);
    std::vector<uint8_t> held;
    if (obstacle == NO_CAUSE) {
        if (request.find(State::HELD) == nullptr) {
            held = move_calls(request.sim_id, State::ACTIVE, State::HELD);
            count_move(request.sim_id, held, NOW_HELD);
        }
        for (Call& call : request.calls()) {
            if (call.state == State::ACTIVE) {
                clear_call(request.modem, request.sim_id, call, NORMAL_CLEARING);
            }
        }
        Call& call = *add_call(request.sim_id, State::DIALING, number);
        call.is_emergency = is_emergency;
        call.is_withheld = is_withheld;
        response.call.call_id = call.id;
        dial(request.modem, request.sim_id, call);
    }
    request.respond<uta::row::UtaMsCallCsSetupCallRspCb>(response);
    request.report(held, NOW_HELD);
}

int32_t set_up(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsSetupVoiceCallReqParams* param,
               uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    const std::string number(param->number, strnlen(param->number, sizeof(param->number)));
    const bool is_emergency = param->call_type == c_emergency_call_type;
    const bool is_withheld = (param->clir != 0 ? param->clir : clir_setting(sim_id)) == c_clir_withheld;
    return start({modem, caller, sim_id, context_id}, [number, is_emergency, is_withheld](const Request& request) {
        set_up_call(request, number, is_emergency, is_withheld);
    });
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
        auto response = make_response<UtaCallCsReleaseCallRspCbParams>(released.empty() ? UNKNOWN_CALL : NO_CAUSE,
                                                                       wanted.call.call_id);
        response.release_scope = wanted.release_scope;
        request.respond<uta::row::UtaMsCallCsReleaseCallRspCb>(response);
        for (Call* call : released) {
            if (call->state == State::INCOMING) {
                request.count().call_reject_cause = static_cast<uint8_t>(wanted.cause);
                incoming_refused(request.modem, request.sim_id, *call);
            }
            clear_call(request.modem, request.sim_id, *call, wanted.cause);
        }
    });
}

// The active call makes room, which it can as long as none is held.
Cause accept_obstacle(const Request& request, const Call* call) {
    if (call == nullptr || call->state != State::INCOMING) {
        return UNKNOWN_CALL;
    }
    return request.find(State::ACTIVE) != nullptr && request.find(State::HELD) != nullptr ? FACILITY_REJECTED
                                                                                          : NO_CAUSE;
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
        response.field_2 = response.field_3 == NO_CAUSE ? c_success : c_failed;
        std::vector<uint8_t> held;
        if (response.field_2 == c_success) {
            held = move_calls(request.sim_id, State::ACTIVE, State::HELD);
            call->state = State::ACTIVE;
            count_move(request.sim_id, held, NOW_HELD);
            ++request.count().connect_msgs;
            ++request.count().connect_ack_msgs;
        }
        request.respond<uta::row::UtaMsCallCsAcceptCallRspCb>(response);
        if (response.field_2 == c_success) {
            request.report(held, NOW_HELD);
            report_connected(request.modem, request.sim_id, *call);
            if (Call* const peer = peer_of(request.sim_id, *call)) {
                far_end_answers(request.modem, 1 - request.sim_id, *peer);
            }
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
    request.respond<Row>(moved.empty() ? make_response<Response>(FACILITY_REJECTED)
                                       : make_response<Response>(NO_CAUSE, moved.front()));
    const Status status = to == State::HELD ? NOW_HELD : NOW_RETRIEVED;
    if (moved.empty() && request.find(from) != nullptr) {
        ++(status == NOW_HELD ? request.count().hold_msgs : request.count().retrieve_msgs);
        ++(status == NOW_HELD ? request.count().hold_reject_msgs : request.count().retrieve_rej_msgs);
    }
    count_move(request.sim_id, moved, status);
    request.report(moved, status);
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
Cause pair_obstacle(const Request& request) {
    return request.find(State::ACTIVE) != nullptr && request.find(State::HELD) != nullptr ? NO_CAUSE
                                                                                          : FACILITY_REJECTED;
}

int32_t swap(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const Cause obstacle = pair_obstacle(request);
        auto response = make_response<UtaCallCsSwapCallsRspCbParams>(obstacle);
        if (obstacle != NO_CAUSE) {
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
        count_move(request.sim_id, now_held, NOW_HELD);
        count_move(request.sim_id, now_active, NOW_RETRIEVED);
        request.report(now_held, NOW_HELD);
        request.report(now_active, NOW_RETRIEVED);
    });
}

// More than the five parties of 3GPP TS 22.084 are welcome.
int32_t join(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const Cause obstacle = pair_obstacle(request);
        std::vector<uint8_t> retrieved;
        if (obstacle == NO_CAUSE) {
            ++request.count().facility_msgs;
            retrieved = move_calls(request.sim_id, State::HELD, State::ACTIVE);
            for (Call& call : request.calls()) {
                call.is_member = call.state == State::ACTIVE;
            }
        }
        request.respond<uta::row::UtaMsCallCsJoinCallsRspCb>(make_response<UtaCallCsJoinCallsRspCbParams>(obstacle));
        request.report(retrieved, NOW_RETRIEVED);
        for (const Call& call : request.calls()) {
            if (obstacle == NO_CAUSE && call.is_member) {
                notify_peer(request.modem, request.sim_id, call, JOINED_MULTIPARTY);
            }
        }
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
            ++request.count().facility_msgs;
        }
        request.respond<uta::row::UtaMsCallCsSplitMptyRspCb>(
            make_response<UtaCallCsSplitMptyRspCbParams>(done ? NO_CAUSE : FACILITY_REJECTED, id));
        request.report(held, NOW_HELD);
    });
}

// The parties talk to each other from now on, and the phone is out of it.
int32_t transfer(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return start({modem, caller, sim_id, context_id}, [](const Request& request) {
        const State second = request.find(State::ACTIVE) != nullptr ? State::ACTIVE : State::ALERTING;
        const Call* other = request.find(second);
        const bool done = other != nullptr && request.find(State::HELD) != nullptr;
        if (done) {
            ++request.count().facility_msgs;
        }
        request.respond<uta::row::UtaMsCallCsTransferCallsRspCb>(
            done ? make_response<UtaCallCsTransferCallsRspCbParams>(NO_CAUSE, other->id)
                 : make_response<UtaCallCsTransferCallsRspCbParams>(FACILITY_REJECTED));
        for (Call& call : request.calls()) {
            if (done && (call.state == State::HELD || call.state == second)) {
                clear_call(request.modem, request.sim_id, call, NORMAL_CLEARING);
            }
        }
    });
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
        stack.calls.front().cause = NORMAL_CLEARING;
        disconnect(modem, sim_id, stack.calls.front());
    }
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

const char* name_of(State state) {
    constexpr const char* c_names[] = {"dialing", "alerting", "incoming", "active", "held", "clearing"};
    return c_names[static_cast<size_t>(state)];
}

// Whether the call is what the word says, for scripts that look at the network's side.
std::string check(const Call& call, const std::string& word) {
    const bool holds = word == "emergency"  ? call.is_emergency
                       : word == "member"   ? call.is_member
                       : word == "withheld" ? call.is_withheld
                                            : word == name_of(call.state);
    return holds ? "" : std::string("that call is ") + name_of(call.state);
}

std::string call_command(Modem& modem, const std::vector<std::string>& arguments) {
    constexpr const char* c_usage = "wants incoming or diverted and a number, or answer, drop or is and a call id";
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
    if (what == "incoming" || what == "diverted") {
        return arrive(modem, sim_id, arguments[1] == "unknown" ? "" : arguments[1], what == "diverted");
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
    const auto cause = arguments.size() > c_option_at ? parse_integer(arguments[c_option_at])
                                                      : std::optional<int32_t>(NORMAL_CLEARING);
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
                      serve<UtaMsCallCsTransferCallsReq, transfer>(),
                      serve<UtaMsCallCsSetTtyDeviceMode, set_tty_mode>(),
                      serve<UtaMsCallCsGetTtyDeviceMode, get_tty_mode>()},
        .commands =
            {{"call",
              "incoming|diverted NUMBER|unknown [0|1] | answer ID [0|1] | drop ID [CAUSE [0|1]] | is ID WORD [0|1]",
              "somebody calls, or is forwarded here; the called party answers; the network ends a call, with cause 16\n"
              "unless another is given. Numbers that end in 17 are busy, in 99 never answer, in 41\n"
              "are cut off soon after they have answered, in 66 are forwarded, in 43 wait, in 35 are barred. is: fails "
              "unless the call is emergency, member,\n"
              "withheld, or dialing, alerting, incoming, active or held",
              call_command}},
        .forget = [] { s_stacks = {}; },
        .describe = describe,
        .stack_switched = stack_switched};
}
