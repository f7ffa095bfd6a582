// Calls against a small model of them, over random orders of requests, indications, answers and time.
#include "tests/call/call_model.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <map>
#include <random>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/follow_up.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/sim/sim.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

struct Sent {
    int function;
    uint32_t context_id;
};

bool s_sends_fail = false;
std::string s_sent;
std::vector<Sent> s_accepted;  // by the modem, in this step

}  // namespace

// The modem's end of each call.
int32_t uta::call(uint16_t id, const uta::Word* words) {
    std::string text = std::to_string(id);
    uint32_t context_id = static_cast<uint32_t>(words[2]);
    if (id == 39) {
        const auto& p = *reinterpret_cast<const UtaCallCsReleaseCallReqParams*>(words[1]);
        text += "(" + std::to_string(p.release_scope) + "," + std::to_string(p.call.call_id) + "," +
                std::to_string(p.cause) + ")";
    } else if (id == 44 || id == 53) {
        text += "(" + std::to_string(reinterpret_cast<const UtaCallCsCallId*>(words[1])->call_id) + ")";
    } else if (id != 34) {
        context_id = static_cast<uint32_t>(words[1]);
    }
    s_sent += text + ((context_id & 0xFFU) == 0 ? "! " : " ");
    if (s_sends_fail) {
        return -1;
    }
    s_accepted.push_back({id, context_id});
    return 0;
}

namespace {

constexpr int c_requests[] = {RIL_REQUEST_DIAL,
                              RIL_REQUEST_ANSWER,
                              RIL_REQUEST_HANGUP,
                              RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND,
                              RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND,
                              RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE,
                              RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE,
                              RIL_REQUEST_UDUB,
                              RIL_REQUEST_CONFERENCE,
                              RIL_REQUEST_SEPARATE_CONNECTION,
                              RIL_REQUEST_EXPLICIT_CALL_TRANSFER};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static const std::map<int, request_row> c_rows = {
        {RIL_REQUEST_DIAL, ROW(ril_request_dial)},
        {RIL_REQUEST_ANSWER, ROW(ril_request_answer)},
        {RIL_REQUEST_HANGUP, ROW(ril_request_hang_up)},
        {RIL_REQUEST_CONFERENCE, ROW(ril_request_conference)},
        {RIL_REQUEST_SEPARATE_CONNECTION, ROW(ril_request_separate_connection)},
        {RIL_REQUEST_EXPLICIT_CALL_TRANSFER, ROW(ril_request_explicit_call_transfer)},
    };
    static constexpr request_row c_call_control = ROW(ril_request_call_control);
    const auto found = c_rows.find(request);
    const request_row& row = found != c_rows.end() ? found->second : c_call_control;
    row.run(row, {0, request, token}, {data, length});
}

class CallModelTest : public testing::Test {
protected:
    void SetUp() override {
        android.reset();
        stood_in.handler = handle;
        stood_in.modem_init = [] {
            callmngr_module_init(0);
            return 0;
        };
        start_engine(FakeAndroid::env());
    }
    void TearDown() override {
        stop_engine();
        android.advance(100'000);
    }

    static std::string state_of_table() {
        std::string text;
        for (const callmngr_call& call : callmngr_calls(0)) {
            text += std::to_string(call.call_id) + ":" + std::to_string(call.call_state) + ":" +
                    std::to_string(call.is_mt) + (call.is_multi_party != 0 ? "* " : " ");
        }
        return text;
    }
    static std::string state_of_model(const CallModel& model) {
        std::string text;
        for (const CallModel::Slot& slot : model.slots) {
            text += std::to_string(slot.id) + ":" + std::to_string(slot.state) + ":" + std::to_string(slot.mt) +
                    (slot.member ? "* " : " ");
        }
        return text;
    }

    int send_request(int number, int index) {
        char address[] = "0891234567";
        RIL_Dial dial{address, 0, nullptr};
        const bool is_dial = number == RIL_REQUEST_DIAL;
        qelril_post_request(0, number, is_dial ? static_cast<void*>(&dial) : &index,
                            is_dial ? sizeof(dial) : sizeof(index), FakeAndroid::token(++tokens));
        const int context = s_accepted.empty() ? 0 : static_cast<int>(s_accepted.back().context_id & 0xFFU);
        for (const Sent& sent : s_accepted) {
            outstanding.push_back({sent, tokens});
        }
        return context;
    }

    void random_request(std::mt19937& random) {
        const int number = c_requests[random() % std::size(c_requests)];
        const int index = static_cast<int>(random() % 8);
        const int context = send_request(number, index);
        model.request(number, index, static_cast<int>(tokens), context);
    }

    // Of a call that is there, of one that may be, and now and then of one that cannot.
    uint8_t random_id(std::mt19937& random) const {
        const int present = model.slots[random() % std::size(model.slots)].id;
        const auto kind = random() % 16;
        if (kind < 8 && present >= 0) {
            return static_cast<uint8_t>(present);
        }
        return static_cast<uint8_t>(kind == 8 ? random() : 1 + random() % 5);
    }

    void random_indication(std::mt19937& random) {
        const uint8_t id = random_id(random);
        const auto say = [id]<class Record>(void (*entry_point)(uint32_t, const Record*), int32_t status = 0) {
            Record p{};
            if constexpr (requires { p.status; }) {
                p.status = status;
            }
            if constexpr (requires { p.call; }) {
                p.call.call_id = id;
            } else {
                p.call_id = id;
            }
            entry_point(0, &p);
        };
        switch (random() % 8) {
            case 0:
                say(UtaMsCallCsDialingIndCb);
                return model.dialing(id);
            case 1:
                say(UtaMsCallCsAlertingIndCb);
                return model.alerting(id);
            case 2:
                say(UtaMsCallCsIncomingCallIndCb);
                return model.incoming(id);
            case 3:
            case 4:
                say(UtaMsCallCsConnectedIndCb);
                return model.connected(id);
            case 5: {
                const auto status = static_cast<int32_t>(11 + random() % 3);
                say(UtaMsCallCsCallStatusIndCb, status);
                return model.status(id, status);
            }
            default:
                say(UtaMsCallCsDisconnectedIndCb);
                return model.disconnected(id);
        }
    }

    // To anything that the modem was ever asked, again and too late as well. Not to a context that has a new request.
    void random_answer(std::mt19937& random) {
        while (!outstanding.empty() && outstanding.front().second + 200 < tokens) {
            outstanding.pop_front();
        }
        if (outstanding.empty()) {
            return;
        }
        const size_t from = random() % 2 == 0 && outstanding.size() > 4 ? outstanding.size() - 4 : 0;
        const size_t at = from + random() % (outstanding.size() - from);
        const Sent sent = outstanding[at].first;
        const uint8_t id = random() % 8 == 0 ? 0 : random_id(random);
        const uint8_t second = random_id(random);
        const int32_t result = random() % 3 == 0 ? 1 : 0;
        const uint32_t context_id = sent.context_id;
        const auto answer = [&](auto p, auto entry_point) { entry_point(0, &p, context_id); };
        const std::map<int, std::function<void()>> c_answers = {
            {34,
             [&] {
                 answer(UtaCallCsSetupCallRspCbParams{{id}, result, 17}, UtaMsCallCsSetupCallRspCb);
             }},
            {39,
             [&] {
                 answer(UtaCallCsReleaseCallRspCbParams{0, {id}, result, 0}, UtaMsCallCsReleaseCallRspCb);
             }},
            {44,
             [&] {
                 answer(UtaCallCsAcceptCallRspCbParams{{id}, result, 0}, UtaMsCallCsAcceptCallRspCb);
             }},
            {47,
             [&] {
                 answer(UtaCallCsSwapCallsRspCbParams{{id}, {second}, result, 0}, UtaMsCallCsSwapCallsRspCb);
             }},
            {49,
             [&] {
                 answer(UtaCallCsHoldCallRspCbParams{{id}, result, 0}, UtaMsCallCsHoldCallRspCb);
             }},
            {51,
             [&] {
                 answer(UtaCallCsRetrieveCallRspCbParams{{id}, result, 0}, UtaMsCallCsRetrieveCallRspCb);
             }},
            {53,
             [&] {
                 answer(UtaCallCsSplitMptyRspCbParams{{id}, result, 0}, UtaMsCallCsSplitMptyRspCb);
             }},
            {55,
             [&] {
                 answer(UtaCallCsJoinCallsRspCbParams{result, 0}, UtaMsCallCsJoinCallsRspCb);
             }},
            {57,
             [&] {
                 answer(UtaCallCsTransferCallsRspCbParams{{id}, result, 0}, UtaMsCallCsTransferCallsRspCb);
             }},
        };
        c_answers.at(sent.function)();
        model.answer(sent.function, static_cast<int>(context_id & 0xFFU), id, second, result);
        for (const Sent& one : s_accepted) {
            outstanding.push_back({one, tokens});
        }
    }

    void begin_step(bool sends_fail) {
        s_sends_fail = model.sends_fail = sends_fail;
        s_sent.clear();
        s_accepted.clear();
        android.reset();
        model.sent.clear();
        model.completed.clear();
        model.told.clear();
    }

    void expect_step() {
        std::string completed;
        for (const auto& done : android.completions()) {
            completed +=
                std::to_string(reinterpret_cast<uintptr_t>(done.token)) + ":" + std::to_string(done.error) + " ";
        }
        std::string told;
        for (const int number : android.unsolicited_numbers()) {
            told += std::to_string(number) + " ";
        }
        ASSERT_EQ(s_sent, model.sent);
        ASSERT_EQ(completed, model.completed);
        ASSERT_EQ(told, model.told);
        ASSERT_EQ(state_of_table(), state_of_model(model));
        ASSERT_EQ(static_cast<int>(callmngr_pending(0)), model.pending);
        ASSERT_EQ(callmngr_accepts_in_place(0), model.accepting);
        ASSERT_EQ(sys_mark_is_taken(hold_call_and_dial_mutex_lock), model.hold_by != 0);
        ASSERT_EQ(sys_mark_is_taken(unhold_call_ongoing_mutex_lock), model.retrieve_by != 0);
        size_t contexts = 0;
        for (const rilreq_state& entry : rilreq_state_info) {
            contexts += entry.entry_in_use.load();
        }
        ASSERT_EQ(contexts, model.open.size());
    }

    FakeAndroid& android = FakeAndroid::instance();
    CallModel model;
    size_t tokens = 0;
    std::deque<std::pair<Sent, size_t>> outstanding;
};

TEST_F(CallModelTest, RandomOrders) {
    const char* const given = getenv("CALL_MODEL_SEED");
    const unsigned seed = given != nullptr ? static_cast<unsigned>(strtoul(given, nullptr, 0)) : std::random_device{}();
    const char* const steps_given = getenv("CALL_MODEL_STEPS");
    const size_t steps = steps_given != nullptr ? strtoul(steps_given, nullptr, 0) : 25'000;
    printf("seed %u, %zu steps\n", seed, steps);
    std::mt19937 random(seed);
    for (size_t step = 0; step < steps; ++step) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
        begin_step(random() % 12 == 0);
        const auto kind = random() % 10;
        if (kind < 3) {
            random_request(random);
        } else if (kind < 6) {
            random_indication(random);
        } else if (kind < 8) {
            random_answer(random);
        } else {
            const auto seconds = static_cast<int64_t>(random() % 9);
            android.advance(seconds * 1000);
            model.advance(seconds);
        }
        expect_step();
        ASSERT_FALSE(HasFatalFailure());
        // Requests without a timer would fill the table of contexts, and calls that nobody ends the one of calls: now
        // and then the modem goes down.
        if (model.open.size() > 60 || random() % 150 == 0) {
            begin_step(false);
            qelril_destroy();
            ASSERT_EQ(android.completions().size(), model.open.size());
            ASSERT_FALSE(sys_mark_is_taken(hold_call_and_dial_mutex_lock));
            ASSERT_FALSE(sys_mark_is_taken(unhold_call_ongoing_mutex_lock));
            android.advance(30'000);
            ASSERT_EQ(android.timers(), 0U);
            model = {};
            outstanding.clear();
            qelril_init();
        }
    }
}

}  // namespace
