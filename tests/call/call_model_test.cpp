// Calls against a small model of them without conferences, over random orders of requests, indications, answers, time.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <random>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

// The modem's functions.
constexpr int c_setup = 34, c_release = 39, c_accept_call = 44, c_swap = 47, c_hold_call = 49, c_retrieve_call = 51;
enum Indication { DIALING, ALERTING, INCOMING, CONNECTED, STATUS, DISCONNECTED };

std::string line(const char* what, std::initializer_list<int> values) {
    std::string text = what;
    for (const int value : values) {
        text += " " + std::to_string(value);
    }
    return text + "\n";
}

struct Sent {
    int function;
    uint32_t context_id;
    int token;
};

bool s_sends_fail = false;
std::string s_seen;              // packets, completions and unsolicited responses, in their order
int s_token = 0;                 // of the request that this step is about
std::vector<Sent> s_answerable;  // what was sent for requests

}  // namespace

// The modem's end of each call.
int32_t uta::call(uint16_t id, const uta::Word* words) {
    const bool has_record = id == c_setup || id == c_release || id == c_accept_call;
    const auto context_id = static_cast<uint32_t>(words[has_record ? 2 : 1]);
    const bool for_request = (context_id & 0xFFU) != 0;
    const char* const what = for_request ? "sends" : "follows";
    if (id == c_release) {
        const auto& p = *reinterpret_cast<const UtaCallCsReleaseCallReqParams*>(words[1]);
        s_seen += line(what, {id, p.release_scope, p.call.call_id, p.cause});
    } else if (id == c_accept_call) {
        s_seen += line(what, {id, reinterpret_cast<const UtaCallCsCallId*>(words[1])->call_id});
    } else {
        s_seen += line(what, {id});
    }
    if (for_request && !s_sends_fail) {
        s_answerable.push_back({id, context_id, s_token});
    }
    return s_sends_fail ? -1 : 0;
}

namespace {

// What the modem says, in the record with what it has of these.
struct Values {
    uint8_t id = 0, other = 0;
    int32_t result = 0, status = 0;
    uint32_t context_id = 0;
};

template <class Record, class... Context>
std::function<void(const Values&)> says(void (*entry_point)(uint32_t, const Record*, Context...)) {
    return [=](const Values& values) {
        Record p{};
        if constexpr (requires { p.call; }) {
            p.call.call_id = values.id;
        } else if constexpr (requires { p.call_id; }) {
            p.call_id = values.id;
        } else if constexpr (requires { p.active_call; }) {
            p.active_call.call_id = values.id;
            p.held_call.call_id = values.other;
        }
        if constexpr (requires { p.result; }) {
            p.result = values.result;
        } else if constexpr (requires { p.status; }) {
            p.status = values.status;
        } else if constexpr (std::is_same_v<Record, UtaCallCsAcceptCallRspCbParams>) {
            p.field_2 = values.result;
        }
        if constexpr (sizeof...(Context) == 1) {
            entry_point(0, &p, values.context_id);
        } else {
            entry_point(0, &p);
        }
    };
}

const std::map<int, std::function<void(const Values&)>> c_says = {
    {DIALING, says(UtaMsCallCsDialingIndCb)},          {ALERTING, says(UtaMsCallCsAlertingIndCb)},
    {INCOMING, says(UtaMsCallCsIncomingCallIndCb)},    {CONNECTED, says(UtaMsCallCsConnectedIndCb)},
    {STATUS, says(UtaMsCallCsCallStatusIndCb)},        {DISCONNECTED, says(UtaMsCallCsDisconnectedIndCb)},
    {c_setup, says(UtaMsCallCsSetupCallRspCb)},        {c_release, says(UtaMsCallCsReleaseCallRspCb)},
    {c_accept_call, says(UtaMsCallCsAcceptCallRspCb)}, {c_swap, says(UtaMsCallCsSwapCallsRspCb)},
    {c_hold_call, says(UtaMsCallCsHoldCallRspCb)},     {c_retrieve_call, says(UtaMsCallCsRetrieveCallRspCb)},
};

// What a request is: its operation of 3GPP TS 22.030, 6.5.5.1, whether with a call's index, and its response timer.
struct Request {
    int number;
    request_row row;
    int operation;
    bool has_index;
    int seconds;
};
const Request c_requests[] = {
    {RIL_REQUEST_DIAL, ROW(ril_request_dial), -1, false, 25},
    {RIL_REQUEST_ANSWER, ROW(ril_request_answer), -1, false, 0},
    {RIL_REQUEST_HANGUP, ROW(ril_request_hang_up), 1, true, 10},
    {RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND, ROW(ril_request_call_control), 0, false, 10},
    {RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND, ROW(ril_request_call_control), 1, false, 10},
    {RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE, ROW(ril_request_call_control), 2, false, 10},
    {RIL_REQUEST_UDUB, ROW(ril_request_call_control), 0, false, 10},
    {RIL_REQUEST_SEPARATE_CONNECTION, ROW(ril_request_separate_connection), 2, true, 0},
};

// --- The model -------------------------------------------------------------------------------------------------------

// The states of a call, and what follows an answer or a disconnection.
constexpr int c_active = 0, c_held = 1, c_dialing = 2, c_alerting = 3, c_ringing = 4, c_waiting = 5, c_free = 6;
constexpr int c_none = 0, c_retrieve = 1, c_accept = 2, c_accept_after_hold = 3, c_hold = 6;

// The calls of one phone, by the rules for operations, answers and indications and nothing else.
struct CallModel {
    struct Slot {
        int id = -1, state = c_free, mt = 2;
    };
    std::array<Slot, c_call_slots> slots;
    Slot nobody;
    int pending = 0;
    bool accepting = false;
    int hold_by = 0, retrieve_by = 0, accept_by = 0;  // tokens
    std::map<int, int64_t> open;                      // tokens, and the second in which their timers run out
    int64_t now = 0;
    bool sends_fail = false;
    std::string said;  // what the last step has to have shown

    void tell(int number = RIL_UNSOL_RESPONSE_CALL_STATE_CHANGED) { said += line("tells", {number}); }
    int send(std::initializer_list<int> values, const char* what = "sends") {
        said += line(what, values);
        return sends_fail ? -1 : 0;
    }

    // That call, or one that nobody sees.
    Slot& find(int id) {
        const auto found = std::ranges::find(slots, id, &Slot::id);
        return found == slots.end() ? nobody = {} : *found;
    }
    int first(int state) const {
        const auto found = std::ranges::find(slots, state, &Slot::state);
        return found == slots.end() ? -1 : found->id;
    }
    int last(int state) const {
        const auto found = std::find_if(slots.rbegin(), slots.rend(), [&](auto& slot) { return slot.state == state; });
        return found == slots.rend() ? -1 : found->id;
    }
    bool has(int state) const { return first(state) >= 0; }

    void finish(int token, int error) {
        said += line("completes", {token, error});
        open.erase(token);
        hold_by = hold_by == token ? 0 : hold_by;
        retrieve_by = retrieve_by == token ? 0 : retrieve_by;
        if (accept_by == token) {
            accept_by = 0;
            accepting = false;
            pending = pending == c_accept_after_hold ? c_none : pending;
        }
    }

    int remember(int result, int& by, int token) {
        by = result == 0 ? token : by;
        return result;
    }

    int control(int operation, int id, int token) {
        const bool active = has(c_active), held = has(c_held);
        const int waiting = last(c_waiting), ringing = last(c_ringing);
        const Slot& call = find(id);
        if (operation == 0) {
            return held           ? send({c_release, 0, waiting >= 0 ? waiting : last(c_held), 21})
                   : waiting >= 0 ? send({c_release, 5, waiting, 17})
                   : ringing >= 0 ? send({c_release, 0, ringing, 17})
                                  : -1;
        }
        if (id != 0 && call.id < 0) {
            return -1;
        }
        if (operation == 1 && id != 0) {
            return send({c_release, 0, id, call.state == c_ringing ? 21 : 16});
        }
        if (operation == 1 && active) {
            const int result = send({c_release, 2, 0, 16});
            const int follows = waiting >= 0 ? c_accept : held ? c_retrieve : pending;
            pending = result == 0 ? follows : c_none;
            return result;
        }
        if (operation == 1 && waiting >= 0) {
            const int result = remember(send({c_accept_call, waiting}), accept_by, token);
            accepting = accepting || result == 0;
            return result;
        }
        if (operation == 1) {
            pending = held ? c_retrieve : pending;
            return held ? send({c_retrieve_call}) : -1;
        }
        if (id != 0) {
            return call.state != c_held ? -1 : send({active ? c_swap : c_retrieve_call});
        }
        if (active && held) {
            return send({c_swap});
        }
        if (active && (waiting >= 0 || hold_by == 0)) {
            const int result = remember(send({c_hold_call}), waiting >= 0 ? accept_by : hold_by, token);
            pending = result != 0 ? pending : waiting >= 0 ? c_accept_after_hold : c_hold;
            return result;
        }
        if (waiting >= 0 || (!active && !held)) {
            const int id_to_accept = waiting >= 0 ? waiting : ringing;
            return id_to_accept >= 0 ? send({c_accept_call, id_to_accept}) : -1;
        }
        return active || retrieve_by != 0 ? c_call_control_ignored
                                          : remember(send({c_retrieve_call}), retrieve_by, token);
    }

    void ask(const Request& request, int id, int token) {
        const int ringing = first(c_ringing);
        const int result = request.number == RIL_REQUEST_DIAL ? send({c_setup})
                           : request.number != RIL_REQUEST_ANSWER
                               ? control(request.operation, request.has_index ? id : 0, token)
                           : ringing >= 0 ? send({c_accept_call, ringing})
                                          : -1;
        open[token] = request.seconds == 0 ? INT64_MAX : now + request.seconds;
        if (result != 0) {
            const bool ignored = result == c_call_control_ignored && !request.has_index;
            finish(token, ignored ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
        }
    }

    void indicate(Indication what, int id, int status) {
        Slot& call = find(id);
        switch (what) {
            case DIALING:
                (call.id < 0 ? find(-1) : call) = {id, c_dialing, 0};
                return tell();
            case ALERTING:
                call = {id, c_alerting, 0};
                return tell();
            case INCOMING: {
                const bool waits = has(c_active) || has(c_held) || has(c_dialing) || has(c_alerting);
                find(-1) = {id, waits ? c_waiting : c_ringing, 1};
                tell();
                return tell(RIL_UNSOL_CALL_RING);
            }
            case CONNECTED:
                call.state = c_active;
                return tell();
            case STATUS:  // 12: held, 13: retrieved
                if (call.id >= 0 && (status == 12 ? call.mt != 1 : status == 13 && call.state != c_active)) {
                    call.state = status == 12 ? c_held : c_active;
                    tell();
                }
                return;
            default:
                call = {};
                return disconnected();
        }
    }

    void disconnected() {
        const int waiting = first(c_waiting);
        const bool retrieves = pending == c_retrieve && has(c_held);
        const bool accepts = pending == c_accept && waiting >= 0;
        const bool sent = retrieves ? send({c_retrieve_call}, "follows") == 0
                                    : accepts && send({c_accept_call, waiting}, "follows") == 0;
        pending = (retrieves || accepts) && !sent ? c_none : pending;
        if (!retrieves || !sent) {
            tell();
        }
        tell(RIL_UNSOL_OEM_HOOK_RAW);
        tell();
    }

    void accepted(Slot& call, bool good) {
        if (good || accepting || pending == c_accept_after_hold) {
            call.state = c_active;
            call.mt = 1;
        }
        accepting = false;
        pending = pending == c_accept_after_hold ? c_none : pending;
    }

    void answer(const Sent& sent, int id, int other, bool good) {
        if (open.count(sent.token) == 0) {
            return;
        }
        Slot& call = find(id);
        const int function = sent.function;
        hold_by = function == c_hold_call ? 0 : hold_by;
        retrieve_by = function == c_retrieve_call ? 0 : retrieve_by;
        if (function == c_accept_call) {
            accepted(call, good);
        } else if (function == c_release && good) {
            (id != 0 ? call : nobody) = {};
        } else if (function == c_release) {
            pending = pending == c_retrieve || pending == c_accept ? c_none : pending;
        } else if (function == c_hold_call && good && pending == c_accept_after_hold) {
            call.state = c_held;
            const int waiting = first(c_waiting);
            if (waiting >= 0 && send({c_accept_call, waiting}) == 0) {
                return;
            }
            good = false;
        } else if ((function == c_hold_call && !good) || (function == c_retrieve_call && (!good || call.id < 0))) {
            pending = c_none;
        } else if (function != c_setup && good) {
            call.state = function == c_hold_call ? c_held : c_active;
            if (function == c_swap) {
                find(other).state = c_held;
            }
            tell();
        }
        finish(sent.token, good ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
        if (function == c_accept_call || (function == c_setup && !good)) {
            tell();
        }
    }

    void next_second() {
        ++now;
        for (const auto& [token, due] : std::map(open)) {
            if (due == now) {
                finish(token, RIL_E_GENERIC_FAILURE);
            }
        }
    }
};

// --- The walk --------------------------------------------------------------------------------------------------------

class CallModelTest : public testing::Test {
protected:
    void SetUp() override {
        stood_in.handler = [](int32_t request, void* data, size_t length, RIL_Token token) {
            const request_row& row = std::ranges::find(c_requests, request, &Request::number)->row;
            row.run(row, {0, request, token}, {data, length});
        };
        stood_in.modem_init = [] {
            callmngr_module_init(0);
            return 0;
        };
        android.set_observer(
            {[](RIL_Token token, RIL_Errno error, const void*, size_t) {
                 s_seen += line("completes", {static_cast<int>(reinterpret_cast<intptr_t>(token)), error});
             },
             [](int number, const void*, size_t) { s_seen += line("tells", {number}); }});
        start_engine(FakeAndroid::env());
    }
    void TearDown() override {
        stop_engine();
        android.advance(100'000);
    }

    void request() {
        const Request& one = c_requests[random() % std::size(c_requests)];
        int index = static_cast<int>(random() % 8);
        char address[] = "0891234567";
        RIL_Dial dial{address, 0, nullptr};
        const bool is_dial = one.number == RIL_REQUEST_DIAL;
        s_token = ++tokens;
        model.ask(one, index, tokens);
        qelril_post_request(0, one.number, is_dial ? static_cast<void*>(&dial) : &index,
                            is_dial ? sizeof(dial) : sizeof(index), FakeAndroid::token(static_cast<size_t>(tokens)));
    }

    // Of a call that is there, of one that may be, and now and then of one that cannot.
    uint8_t random_id() {
        const int present = model.slots[random() % model.slots.size()].id;
        const auto kind = random() % 16;
        return static_cast<uint8_t>(kind < 8 && present >= 0 ? present : kind == 8 ? random() : 1 + random() % 5);
    }

    void indication() {
        static constexpr Indication c_kinds[] = {DIALING,   ALERTING, INCOMING,     CONNECTED,
                                                 CONNECTED, STATUS,   DISCONNECTED, DISCONNECTED};
        const Indication what = c_kinds[random() % std::size(c_kinds)];
        const Values values{.id = random_id(), .status = static_cast<int32_t>(11 + random() % 3)};
        model.indicate(what, values.id, values.status);
        c_says.at(what)(values);
    }

    // To anything that the modem was ever asked, again and too late as well. Not to a context that has a new request.
    void answer() {
        std::erase_if(s_answerable, [&](const Sent& sent) { return sent.token + 200 < tokens; });
        if (s_answerable.empty()) {
            return;
        }
        const size_t from = random() % 2 == 0 && s_answerable.size() > 4 ? s_answerable.size() - 4 : 0;
        const Sent sent = s_answerable[from + random() % (s_answerable.size() - from)];
        s_token = sent.token;
        const bool good = random() % 3 != 0;
        const uint8_t id = random() % 8 == 0 ? 0 : random_id();
        const Values values{.id = id, .other = random_id(), .result = good ? 0 : 1, .context_id = sent.context_id};
        model.answer(sent, id, values.other, good);
        c_says.at(sent.function)(values);
    }

    void time() {
        for (auto seconds = random() % 9; seconds > 0; --seconds) {
            model.next_second();
            android.advance(1000);
        }
    }

    void step() {
        model.said.clear();
        s_seen.clear();
        s_sends_fail = model.sends_fail = random() % 12 == 0;
        const auto kind = random() % 10;
        kind < 3 ? request() : kind < 6 ? indication() : kind < 8 ? answer() : time();
        ASSERT_EQ(s_seen, model.said);
        std::string calls, wanted;
        for (size_t i = 0; i < c_call_slots; ++i) {
            const callmngr_call& call = callmngr_calls(0)[i];
            const CallModel::Slot& slot = model.slots[i];
            calls += line("call", {call.call_id, static_cast<int>(call.call_state), static_cast<int>(call.is_mt)});
            wanted += line("call", {slot.id, slot.state, slot.mt});
        }
        ASSERT_EQ(calls, wanted);
    }

    void restart_modem() {
        s_seen.clear();
        qelril_destroy();
        ASSERT_EQ(std::ranges::count(s_seen, '\n'), static_cast<ptrdiff_t>(model.open.size()));
        android.advance(30'000);
        ASSERT_EQ(android.timers(), 0U);
        model = {};
        s_answerable.clear();
        qelril_init();
    }

    FakeAndroid& android = FakeAndroid::instance();
    std::mt19937 random;
    CallModel model;
    int tokens = 0;
};

TEST_F(CallModelTest, RandomOrders) {
    const char* const given = getenv("CALL_MODEL_SEED");
    const unsigned seed = given != nullptr ? static_cast<unsigned>(strtoul(given, nullptr, 0)) : std::random_device{}();
    random.seed(seed);
    for (int i = 0; i < 25'000; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(i));
        step();
        // Requests without a timer would fill the table of contexts, and calls that nobody ends the one of calls.
        if (!HasFatalFailure() && (model.open.size() > 60 || random() % 150 == 0)) {
            restart_modem();
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

}  // namespace
