// The ring of tones against a model of it, and USSD against a model of its session, over random orders of requests,
// answers, calls that come and go, refusals and crashes.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/ss/ss.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

std::string s_seen;  // packets, completions and unsolicited responses, in their order
bool s_refuses = false;
uint32_t s_context = 0;  // of the last packet
std::map<int, int> s_completed;

std::string word(const char* what, int value) {
    return std::string(what) + std::to_string(value) + " ";
}

void completed(RIL_Token token, RIL_Errno error, void*, size_t) {
    const auto number = static_cast<int>(reinterpret_cast<intptr_t>(token));
    ++s_completed[number];
    s_seen += word(error == RIL_E_SUCCESS ? "ok " : error == RIL_E_GENERIC_FAILURE ? "fail " : "away ", number);
}

void told(int number, const void* data, size_t) {
    if (number == RIL_UNSOL_ON_USSD) {
        s_seen += std::string("told ") + *static_cast<const char* const*>(data) + " ";
    }
}

const RIL_Env c_env = {completed, told, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static const std::map<int, request_row> c_rows = {{RIL_REQUEST_DTMF, ROW(ril_request_dtmf)},
                                                      {RIL_REQUEST_DTMF_START, ROW(ril_request_dtmf_start)},
                                                      {RIL_REQUEST_DTMF_STOP, ROW(ril_request_dtmf_stop)},
                                                      {RIL_REQUEST_SEND_USSD, ROW(ril_request_send_ussd)},
                                                      {RIL_REQUEST_CANCEL_USSD, ROW(ril_request_cancel_ussd)}};
    const request_row& row = c_rows.at(request);
    row.run(row, {0, request, token}, {data, length});
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    using namespace uta::row;
    s_context = static_cast<uint32_t>(words[id == UtaMsSsAbort::id ? 1 : 2]);
    if (id == UtaMsCallCsStartDtmfReq::id) {
        const auto& param = *reinterpret_cast<const UtaCallCsStartDtmfReqParams*>(words[1]);
        s_seen += word("start ", param.call.call_id) + word("", param.digit);
    } else if (id == UtaMsCallCsStopDtmfReq::id) {
        s_seen += word("stop ", reinterpret_cast<const UtaCallCsCallId*>(words[1])->call_id);
    } else if (id == UtaMsSsRespondUssd::id) {
        s_seen += word("answer ", reinterpret_cast<const UtaSsRespondUssdParamStruct*>(words[1])->ussd_type);
    } else {
        s_seen += id == UtaMsSsAbort::id ? "abort " : "begin ";
    }
    return s_refuses ? -1 : 0;
}

namespace {

class SsModelTest : public testing::Test {
protected:
    void SetUp() override {
        s_completed.clear();
        s_refuses = false;
        stood_in.handler = handle;
        stood_in.modem_init = [] {
            const RunLock lock;
            pAggprofileDB = {};
            callmngr_module_init(0);
            ss_module_init(0);
            return 0;
        };
        start_engine(&c_env);
    }
    void TearDown() override { stop_engine(); }

    int ask(int request, const char* text) {
        qelril_post_request(0, request, const_cast<char*>(text), 0, reinterpret_cast<RIL_Token>(intptr_t{++tokens}));
        return tokens;
    }

    int tokens = 0;
};

// --- Tones -----------------------------------------------------------------------------------------------------------

struct ToneModel {
    struct Entry {
        int token;
        char digit;  // 0 to stop
        bool auto_stop;
    };
    std::deque<Entry> waiting;  // the head is at the modem
    bool start_expected = true;
    bool head_stops = false;
    int call = 0;  // the active one, 0 for none
    int tone_call = 0;
    bool refuses = false;
    std::string said;

    void finish(bool is_good) {
        said += word(is_good ? "ok " : "fail ", waiting.front().token);
        waiting.pop_front();
    }
    bool stop() {
        head_stops = true;
        if (start_expected) {
            return false;
        }
        start_expected = true;
        said += word("stop ", tone_call);
        return !refuses;
    }
    bool start(char digit) {
        head_stops = false;
        if (!start_expected) {
            return false;
        }
        start_expected = false;
        if (std::string("0123456789*#").find(digit) == std::string::npos || digit == 0 || call == 0) {
            return false;
        }
        tone_call = call;
        said += word("start ", call) + word("", digit);
        return !refuses;
    }
    void run() {
        while (!waiting.empty()) {
            const Entry head = waiting.front();
            if (head.auto_stop || head.digit != 0 ? start(head.digit) : stop()) {
                return;
            }
            finish(false);
        }
    }
    void request(Entry entry) {
        if (waiting.size() == 31) {
            said += word("fail ", entry.token);
            return;
        }
        waiting.push_back(entry);
        if (waiting.size() == 1) {
            run();
        }
    }
    void answer() {
        if (!head_stops && waiting.front().auto_stop) {
            if (stop()) {
                return;
            }
            finish(false);
        } else {
            finish(true);
        }
        run();
    }
    void call_ends(int id) {
        call = call == id ? 0 : call;
        if (!waiting.empty() && tone_call == id) {
            start_expected = start_expected || waiting.front().auto_stop;
            finish(false);
            run();
        }
    }
};

TEST_F(SsModelTest, TonesFollowTheModel) {
    std::mt19937 random(testing::UnitTest::GetInstance()->random_seed() + 1);
    ToneModel model;
    uint32_t head_context = 0;
    for (int step = 0; step < 30'000; ++step) {
        s_seen.clear();
        model.said.clear();
        model.refuses = s_refuses = random() % 16 == 0;
        const bool floods = step / 500 % 4 == 0 && random() % 32 != 0;  // the ring gets full
        const auto kind = floods ? 0 : random() % 64;
        std::string what;
        if (kind < 30) {
            const char digit[] = {"0123456789*#A"[random() % 13], '\0'};
            const bool stops = random() % 3 == 0;
            const bool auto_stop = !stops && random() % 2 == 0;
            what = stops ? "stop" : auto_stop ? "tone" : "start";
            const int token = ask(stops       ? RIL_REQUEST_DTMF_STOP
                                  : auto_stop ? RIL_REQUEST_DTMF
                                              : RIL_REQUEST_DTMF_START,
                                  digit);
            model.request({token, stops ? '\0' : digit[0], auto_stop});
        } else if (kind < 52 && !model.waiting.empty()) {
            what = "answer";
            const UtaCallCsStartDtmfRspCbParams started{};
            const UtaCallCsCallId stopped{};
            const bool head_stops = model.head_stops;
            model.answer();
            if (head_stops) {
                UtaMsCallCsStopDtmfRspCb(0, &stopped, head_context);
            } else {
                UtaMsCallCsStartDtmfRspCb(0, &started, head_context);
            }
        } else if (kind < 56 && model.call == 0) {
            what = "call";
            model.call = 1 + static_cast<int>(random() % 3);
            UtaCallCsDialingIndCbParams dialing{};
            UtaCallCsConnectedIndCbParams connected{};
            dialing.call.call_id = connected.call.call_id = static_cast<uint8_t>(model.call);
            UtaMsCallCsDialingIndCb(0, &dialing);
            UtaMsCallCsConnectedIndCb(0, &connected);
        } else if (kind < 62) {
            what = "end";
            UtaCallCsDisconnectedIndCbParams ended{};
            ended.call.call_id = static_cast<uint8_t>(1 + random() % 3);
            const uint32_t late = head_context;
            const bool cuts = !model.waiting.empty() && model.tone_call == ended.call.call_id;
            UtaMsCallCsDisconnectedIndCb(0, &ended);
            model.call_ends(ended.call.call_id);
            if (cuts) {  // an answer that comes after all reaches nobody
                const UtaCallCsCallId stopped{};
                UtaMsCallCsStopDtmfRspCb(0, &stopped, late);
            }
        } else if (kind == 62) {
            what = "crash";
            stop_engine();
            for (const ToneModel::Entry& entry : model.waiting) {
                EXPECT_EQ(s_completed[entry.token], 1) << "step " << step;
            }
            const int tone_call = model.tone_call;
            model = {};
            model.tone_call = tone_call;
            start_engine(&c_env);
            s_seen.clear();
        }
        if (s_seen.find("start ") != std::string::npos || s_seen.find("stop ") != std::string::npos) {
            head_context = s_context;
        }
        ASSERT_EQ(s_seen, model.said) << "step " << step << ": " << what;
    }
    for (const auto& [token, times] : s_completed) {
        EXPECT_EQ(times, 1) << token;
    }
    EXPECT_EQ(s_completed.size() + model.waiting.size(), static_cast<size_t>(tokens));
}

// --- The session -----------------------------------------------------------------------------------------------------

TEST_F(SsModelTest, SessionsFollowTheirFlag) {
    std::mt19937 random(testing::UnitTest::GetInstance()->random_seed() + 2);
    bool network_waits = false;
    std::deque<std::pair<int, uint32_t>> open;  // token and context
    for (int step = 0; step < 20'000; ++step) {
        s_seen.clear();
        std::string wanted;
        s_refuses = random() % 8 == 0;
        const int type = static_cast<int>(random() % 5);
        UtaSsUssdParamStruct ussd{};
        ussd.ussd_type = type;
        ussd.length = static_cast<uint16_t>(random() % 3);
        const auto tell = [&](bool ends) {
            const bool asks = type == 3;
            network_waits = asks || (!ends && network_waits);
            const char* digit = asks ? "1" : ends ? "0" : "4";
            return !asks && ends && ussd.length == 0 ? std::string() : std::string("told ") + digit + " ";
        };
        const auto kind = random() % 16;
        if (kind < 6 && open.size() < 200) {
            const int token = ask(RIL_REQUEST_SEND_USSD, "*1#");
            wanted = network_waits ? "answer 3 " : "begin ";
            if (s_refuses) {
                wanted += word("fail ", token);
            } else {
                network_waits = false;
                open.emplace_back(token, s_context);
            }
        } else if (kind < 11 && !open.empty()) {
            const size_t at = random() % open.size();
            const auto [token, context] = open[at];
            open.erase(open.begin() + static_cast<std::ptrdiff_t>(at));
            UtaMsSsUssdRspCb(0, &ussd, context);
            wanted = tell(type == 0 || type == 1) + word("ok ", token);
        } else if (kind < 14) {
            UtaMsSsUssdIndCb(0, &ussd);
            wanted = std::string(type == 2 ? "answer 2 " : "") + tell(type == 2);
        } else if (kind < 15) {
            const int token = ask(RIL_REQUEST_CANCEL_USSD, nullptr);
            wanted = "abort " + word("ok ", token);
            network_waits = false;
        } else if (random() % 16 == 0) {
            stop_engine();
            for (const auto& [token, context] : open) {
                EXPECT_EQ(s_completed[token], 1);
            }
            open.clear();
            network_waits = false;
            start_engine(&c_env);
            s_seen.clear();
        }
        ASSERT_EQ(s_seen, wanted) << "step " << step;
    }
}

}  // namespace
