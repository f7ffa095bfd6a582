// Data calls in random orders of setups, teardowns, endings by the network, scans, suspensions and crashes, against a
// model of the modem that keeps count of what the library holds there.
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "ril/config/ril_config.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/scan.h"
#include "ril/core/src/sim/acl.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

struct Sent {
    uint16_t function;
    uint32_t context_id;
    int32_t cid;
};

constexpr uint16_t c_undefine = 7;
constexpr uint16_t c_activate = 21;
constexpr uint16_t c_deactivate = 23;
constexpr uint16_t c_scan = 73;

std::mt19937 s_random;
std::map<int32_t, bool> s_contexts;  // of the modem; true: active
std::set<int32_t> s_channels;
int32_t s_handle = 0;
std::vector<Sent> s_outstanding;
std::set<RIL_Token> s_open;  // requests
uintptr_t s_tokens = 0;
int s_calls = 0;  // that came up
std::string s_wrong;

bool one_in(uint32_t count) {
    return s_random() % count == 0;
}

int32_t obtain(int32_t& cid) {
    cid = 31;
    while (s_contexts.contains(cid)) {
        ++cid;
    }
    if (one_in(20)) {
        return -1;
    }
    s_contexts[cid] = false;
    return 0;
}

}  // namespace

// --- What stands around packet data ----------------------------------------------------------------------------------

int32_t uta::call(uint16_t id, const uta::Word* words) {
    const auto integer = [](uta::Word word) -> int32_t& { return *reinterpret_cast<int32_t*>(word); };
    switch (id) {
        case 3:
            return obtain(integer(words[1]));
        case 4:
            s_wrong += s_contexts.erase(integer(words[1])) == 1 ? "" : "released twice ";
            return 0;
        case 29:
            return one_in(20) ? -1 : *s_channels.insert(++s_handle).first;
        case 30:
            return one_in(20) ? -1 : 0;
        case 31:
            s_wrong += s_channels.erase(integer(words[0])) == 1 ? "" : "closed twice ";
            return 0;
        default:
            break;
    }
    if (id != c_deactivate && id != c_undefine && one_in(20)) {
        return -1;
    }
    s_outstanding.push_back({id, static_cast<uint32_t>(words[2]), integer(words[1])});
    return 0;
}

extern "C" int ioctl(int, unsigned long, ...) noexcept {
    return one_in(100) ? -1 : 0;
}

uint32_t pdp_act_nok_flag = 0;
uint32_t deactivate_pdp_beforenetscan = 0;
uint32_t is_ps_registered(uint32_t) {
    return 1;
}
uint32_t sim_check_apn_listed_in_acl(uint32_t, const char*) {
    return 1;
}
int32_t ril_config_get_max_gprs_pdp_context() {
    return 2;
}
const char* ril_config_get_cfg_string(uint32_t) {
    return "device";
}
void net_scan_without_data_calls(uint32_t sim_id, uint32_t ctxt_id) {
    if (gprs_is_pdp_active(sim_id, 0) == 1 || gprs_is_pdp_active(sim_id, 1) == 1) {
        bringdownconnection(sim_id, ctxt_id);
    } else {
        s_outstanding.push_back({c_scan, ctxt_id, 0});
    }
}

namespace {

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static const std::map<int32_t, request_row> c_rows = {
        {RIL_REQUEST_SETUP_DATA_CALL, ROW(ril_request_setup_data_call)},
        {RIL_REQUEST_DEACTIVATE_DATA_CALL, ROW(ril_request_deactivate_data_call)},
    };
    const ril_request received = {0, request, token};
    if (request == RIL_REQUEST_QUERY_AVAILABLE_NETWORKS) {
        request_context context(received, __func__);
        net_scan_without_data_calls(0, context.hand_over());
        return;
    }
    const request_row& row = c_rows.at(request);
    row.run(row, received, {data, length});
}

void completed(RIL_Token token, RIL_Errno error, void*, size_t length) {
    s_wrong += s_open.erase(token) == 1 ? "" : "completed twice ";
    s_calls += error == RIL_E_SUCCESS && length == sizeof(RIL_Data_Call_Response_v6) ? 1 : 0;
}

const RIL_Env c_env = {completed, [](int, const void*, size_t) {}, [](RIL_TimedCallback, void*, const timeval*) {}};

void request(int32_t number, std::vector<const char*> texts = {}) {
    const auto token = reinterpret_cast<RIL_Token>(++s_tokens);
    s_open.insert(token);
    qelril_post_request(0, number, texts.data(), texts.size() * sizeof(char*), token);
}

void set_up() {
    constexpr const char* c_protocols[] = {"IP", "IPV6", "IPV4V6", "X"};
    constexpr const char* c_auth[] = {"0", "1", "2", "9"};
    constexpr const char* c_cids[] = {nullptr, nullptr, "1", "2", "3"};
    request(RIL_REQUEST_SETUP_DATA_CALL, {"1", "0", "internet", "me", "pass", c_auth[s_random() % 4],
                                          c_protocols[s_random() % 4], nullptr, c_cids[s_random() % 5]});
}

void end_by_network() {
    for (auto& [cid, active] : s_contexts) {
        if (active && one_in(2)) {
            active = false;
            const UtaCallPsDeactivateIndCbParams param{{cid}, 0, -131};
            UtaMsCallPsDeactivateIndCb(0, &param);
            return;
        }
    }
}

void crash() {
    stop_engine();
    s_contexts.clear();
    s_channels.clear();
    s_outstanding.clear();
    start_engine(&c_env);
}

template <auto entry>
void respond(const Sent& sent, int32_t result) {
    const auto send = [&]<class Response>(void (*)(uint32_t, const Response*, uint32_t)) {
        Response response{};
        response.result = result;
        response.id.cid = sent.cid;
        if constexpr (requires { response.address; }) {
            response.address.ip_type = static_cast<int32_t>(s_random() % 8);
        }
        if constexpr (requires { response.num_secondary_dns; }) {
            response.num_secondary_dns = static_cast<uint8_t>(s_random() % 18);
        }
        entry(0, &response, sent.context_id);
    };
    send(entry);
}

void finish_scan(const Sent& sent, int32_t) {
    qelril_post_utamsrspcb(0, nullptr, sent.context_id, [](uint32_t, const void*, uint32_t ctxt_id) {
        deactivate_pdp_beforenetscan = gprs_is_pdp_active(0, 1);
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
    });
}

void answer(const Sent& sent) {
    static const std::map<uint16_t, void (*)(const Sent&, int32_t)> c_answers = {
        {5, respond<UtaMsCallPsDefinePrimaryRspCb>},      {c_undefine, respond<UtaMsCallPsUndefinePrimaryRspCb>},
        {11, respond<UtaMsCallPsSetAuthenticationRspCb>}, {13, respond<UtaMsCallPsSetReqDnsRspCb>},
        {17, respond<UtaMsCallPsGetNegotiatedDnsRspCb>},  {19, respond<UtaMsCallPsGetNegIpAddrRspCb>},
        {c_activate, respond<UtaMsCallPsActivateRspCb>},  {c_deactivate, respond<UtaMsCallPsDeactivateRspCb>},
        {26, respond<UtaMsCallPsConnectRspCb>},           {c_scan, finish_scan},
    };
    const int32_t result = sent.function != c_undefine && one_in(10) ? -128 : 0;
    const auto at = s_contexts.find(sent.cid);
    const bool is_active = at != s_contexts.end() && at->second;
    const bool wants_active = sent.function == 17 || sent.function == 19 || sent.function == 26;
    if (sent.function == c_activate) {
        at->second = result == 0;
    }
    for (auto& [number, active] : s_contexts) {
        active = active && (sent.function != c_deactivate || (sent.cid != 0 && sent.cid != number));
    }
    c_answers.at(sent.function)(sent, wants_active && !is_active ? -1 : result);
}

void answer_one() {
    if (s_outstanding.empty()) {
        return;
    }
    const size_t at = s_random() % s_outstanding.size();
    const Sent sent = s_outstanding[at];
    s_outstanding.erase(s_outstanding.begin() + static_cast<long>(at));
    answer(sent);
    if (one_in(50)) {
        static constexpr UtaCallPsConnectRspCbParams c_empty{};
        UtaMsCallPsConnectRspCb(0, &c_empty, sent.context_id);
    }
}

void step() {
    const auto choice = s_random() % 100;
    if (choice < 60) {
        answer_one();
    } else if (choice < 80) {
        set_up();
    } else if (choice < 88) {
        request(RIL_REQUEST_DEACTIVATE_DATA_CALL, {one_in(2) ? "1" : "2", "0"});
    } else if (choice < 92) {
        end_by_network();
    } else if (choice < 99) {
        request(RIL_REQUEST_QUERY_AVAILABLE_NETWORKS);
    } else if (one_in(20)) {
        crash();
    }
}

// What the devices hold is what the modem has given out.
std::string look() {
    size_t channels = 0;
    std::set<uint32_t> cids;
    std::string wrong = std::exchange(s_wrong, "");
    for (const pdp_ctx_dev& dev : gprs_devices(0)) {
        if (dev.dev_state == PDP_DEV_FREE) {
            continue;
        }
        wrong += cids.insert(dev.uta_cid).second ? "" : "bound twice ";
        wrong += s_contexts.contains(static_cast<int32_t>(dev.uta_cid)) ? "" : "no context ";
        channels += dev.channel_handle != 0 ? 1 : 0;
    }
    return wrong + (channels == s_channels.size() ? "" : "channels ");
}

// No more is asked for, all is answered and taken down.
void settle() {
    for (const char* cid : {"1", "2", "1", "2"}) {
        request(RIL_REQUEST_DEACTIVATE_DATA_CALL, {cid, "0"});
        while (!s_outstanding.empty()) {
            answer_one();
        }
    }
    EXPECT_EQ("", look());
    EXPECT_TRUE(s_contexts.empty());
    EXPECT_TRUE(s_open.empty());
    for (const rilreq_state& entry : rilreq_state_info) {
        EXPECT_EQ(entry.entry_in_use.load(), 0U);
    }
}

TEST(DataWalk, NothingIsLeft) {
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        gprs_init(0);
        return 0;
    };
    stood_in.module_exit = gprs_exit;
    start_engine(&c_env);
    s_random.seed(1);
    for (int i = 1; i <= 100'000 && !HasFailure(); ++i) {
        step();
        EXPECT_EQ("", look()) << "step " << i;
        if (i % 1000 == 0) {
            settle();
        }
    }
    EXPECT_GT(s_calls, 100);
    stop_engine();
}

}  // namespace
