// What the network says to services, in USSD and of a caller's name, with any content: through the entry points, with
// the RIL thread behind them.
#include <algorithm>
#include <cstring>
#include <deque>

#include "fuzz/requests.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/ss/ss.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

std::deque<uint32_t> s_owed;  // contexts
bool s_refuses;
Requests s_requests;

// --- Android

// Texts end inside their records, whatever list they are of.
void completed(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    const int32_t request = s_requests.complete(token);
    const bool is_forwards = request == RIL_REQUEST_QUERY_CALL_FORWARD_STATUS && length > 8;
    for (size_t i = 0; error == RIL_E_SUCCESS && i < length / sizeof(void*); ++i) {
        if (is_forwards) {
            const RIL_CallForwardInfo& info = *static_cast<const RIL_CallForwardInfo* const*>(response)[i];
            FUZZ_CHECK(i < 12 && strnlen(info.number, 64) < 64 && (info.status == 0 || info.status == 1));
        } else if (request == RIL_REQUEST_GET_CURRENT_CALLS) {
            const RIL_Call& call = *static_cast<const RIL_Call* const*>(response)[i];
            FUZZ_CHECK(call.name == nullptr || strnlen(call.name, 160) < 160);
        }
    }
}

void told(int number, const void* data, size_t length) {
    if (number == RIL_UNSOL_ON_USSD) {
        const auto* const* texts = static_cast<const char* const*>(data);
        FUZZ_CHECK(strlen(texts[0]) == 1 && (length == sizeof(char*) || length == 2 * sizeof(char*)));
        FUZZ_CHECK(length == sizeof(char*) || texts[1] == nullptr || strnlen(texts[1], 255) < 255);
    }
}

const RIL_Env c_env = {completed, told, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static constexpr request_row c_query = ROW(ril_request_query_call_forward_status);
    static constexpr request_row c_ussd = ROW(ril_request_send_ussd);
    static constexpr request_row c_calls = ROW(ril_request_get_current_calls);
    const request_row& row = request == RIL_REQUEST_QUERY_CALL_FORWARD_STATUS ? c_query
                             : request == RIL_REQUEST_SEND_USSD               ? c_ussd
                                                                              : c_calls;
    row.run(row, {0, request, token}, {data, length});
}

void ask(int number, const void* data, size_t length) {
    qelril_post_request(0, number, const_cast<void*>(data), length, s_requests.add(number));
}

// --- The modem

// An answer of any kind to the oldest request. Texts always end: the unpacker sees to it.
void answer(Input& input) {
    if (s_owed.empty()) {
        return;
    }
    const uint32_t context_id = s_owed.front();
    s_owed.pop_front();
    const auto say = [&]<class Record>(void (*entry_point)(uint32_t, const Record*, uint32_t)) {
        auto param = any<Record>(input);
        if constexpr (std::is_same_v<Record, UtaSsCallForwardingIndParamStruct>) {
            for (UtaSsCallForwardingEntry& entry : param.entries) {
                entry.number[sizeof(entry.number) - 1] = '\0';
            }
        }
        entry_point(0, &param, context_id);
    };
    switch (input.choice() % 8) {
        case 0:
            return say(UtaMsSsCallForwardingIndCb);
        case 1:
            return say(UtaMsSsCallWaitingIndCb);
        case 2:
            return say(UtaMsSsCallBarringIndCb);
        case 3:
            return say(UtaMsSsClirIndCb);
        case 4:
            return say(UtaMsSsIdentificationStatusIndCb);
        case 5:
            return say(UtaMsSsNetworkErrorIndCb);
        default:
            return say(UtaMsSsUssdRspCb);
    }
}

void step(Input& input) {
    s_refuses = (input.choice() & 7) == 0;
    switch (input.choice() % 7) {
        case 0: {
            const auto info = any<RIL_CallForwardInfo>(input);
            ask(RIL_REQUEST_QUERY_CALL_FORWARD_STATUS, &info, sizeof(info));
            break;
        }
        case 1: {
            auto text = input.take(input.choice());
            text.push_back(0);
            ask(RIL_REQUEST_SEND_USSD, text.data(), text.size());
            break;
        }
        case 2: {
            const auto param = any<UtaSsUssdParamStruct>(input);
            UtaMsSsUssdIndCb(0, &param);
            break;
        }
        case 3: {
            auto param = any<UtaCallCsCallingNameInfoIndCbParams>(input);
            param.call.call_id = 1;
            UtaMsCallCsCallingNameInfoIndCb(0, &param);
            ask(RIL_REQUEST_GET_CURRENT_CALLS, nullptr, 0);
            break;
        }
        default:
            answer(input);
            break;
    }
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    if (s_refuses) {
        return -1;
    }
    if (id == uta::row::UtaMsSsSendUssdReq::id) {
        FUZZ_CHECK(reinterpret_cast<const UtaSsSendUssdParamStruct*>(words[1])->length <= 184);
    } else if (id == uta::row::UtaMsSsRespondUssd::id) {
        FUZZ_CHECK(reinterpret_cast<const UtaSsRespondUssdParamStruct*>(words[1])->length <= 184);
    } else {
        return 0;
    }
    s_owed.push_back(static_cast<uint32_t>(words[2]));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_owed.clear();
    s_refuses = false;
    s_requests = {};
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        const RunLock lock;
        pAggprofileDB = {};
        callmngr_module_init(0);
        ss_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    UtaCallCsIncomingCallIndCbParams incoming{};
    incoming.call.call_id = 1;
    UtaMsCallCsIncomingCallIndCb(0, &incoming);
    while (!input.is_empty()) {
        step(input);
    }
    stop_engine();
    FUZZ_CHECK(s_requests.are_complete());
    return 0;
}
