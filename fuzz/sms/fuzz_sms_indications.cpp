// Messages and broadcasts of any content from the modem, any answers of modem and card to what follows, and an Android
// that acknowledges what it likes: through the entry points, with the RIL thread behind them.
#include <algorithm>
#include <cstring>
#include <deque>

#include "fuzz/decode/input.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sms/sms.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

struct Owed {
    uint32_t ctxt_id;
    rilreq_rspcb callback;  // null for a count of records
};

std::deque<Owed> s_owed;
bool s_refuses;
int s_open_requests;

// --- Android

void completed(RIL_Token, RIL_Errno, void*, size_t) {
    --s_open_requests;
    FUZZ_CHECK(s_open_requests >= 0);
}

void told(int number, const void* data, size_t length) {
    const auto* const octets = static_cast<const char*>(data);
    if (number == RIL_UNSOL_RESPONSE_NEW_SMS || number == RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT) {
        FUZZ_CHECK((length & 1) == 0 && length > 0 && length <= 352 && strlen(octets) == length);
        FUZZ_CHECK(strspn(octets, "0123456789ABCDEF") == length);
    } else if (number == RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS) {
        FUZZ_CHECK(length >= 6 && length <= 88 && (octets[5] & 0x0F) != 0);
    } else if (number == RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM) {
        int record = 0;
        memcpy(&record, data, sizeof(record));
        FUZZ_CHECK(record >= 1 && record <= 255);
    }
}

const RIL_Env c_env = {completed, told, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static constexpr request_row c_ack = ROW(ril_request_sms_acknowledge);
    static constexpr request_row c_memory = ROW(ril_request_report_sms_memory_status);
    const request_row& row = request == RIL_REQUEST_SMS_ACKNOWLEDGE ? c_ack : c_memory;
    row.run(row, {0, request, token}, {data, length});
}

void ask(int number, int first, int second) {
    int values[] = {first, second};
    ++s_open_requests;
    qelril_post_request(0, number, values, sizeof(values), reinterpret_cast<RIL_Token>(1));
}

// --- The modem and the card

void answer(Input& input) {
    if (s_owed.empty()) {
        return;
    }
    const Owed owed = s_owed.front();
    s_owed.pop_front();
    if (owed.callback == nullptr) {
        auto count = any<UtaSmsSimMsgCountRspParams>(input);
        auto octets = input.take(input.choice() % 40);
        count.param_data_len = static_cast<uint32_t>(octets.size());
        count.param_data = octets.data();
        UtaMsSmsSimMsgCountRspCb(0, &count, owed.ctxt_id);
        return;
    }
    UtaSimApduCmdRspParam rsp{};
    rsp.result = input.choice() & 1;
    qelril_post_utamsrspcb(0, &rsp, owed.ctxt_id, owed.callback);
}

void step(Input& input) {
    s_refuses = (input.choice() & 7) == 0;
    switch (input.choice() % 6) {
        case 0:
        case 1: {
            const auto param = any<UtaSmsIncomingParam>(input);
            UtaMsSmsIncomingIndCb(0, &param);
            break;
        }
        case 2: {
            const auto param = any<UtaCbsData>(input);
            UtaMsCbsNewMessageIndCb(0, &param);
            break;
        }
        case 3:
            ask(RIL_REQUEST_SMS_ACKNOWLEDGE, input.choice() % 3, input.choice());
            break;
        case 4:
            ask(RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, input.choice() % 3, 0);
            break;
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
    if (id == uta::row::UtaMsSmsIncomingSmsAck::id) {
        FUZZ_CHECK(reinterpret_cast<const UtaSmsIncSmsAckParam*>(words[1])->pdu.length <= 176);
    } else if (id == uta::row::UtaMsSmsDataDownloadAck::id) {
        FUZZ_CHECK(reinterpret_cast<const UtaSmsDataDownloadAckParam*>(words[1])->answer.length <= 128);
    } else if (id == uta::row::UtaMsSmsSimMsgCountReq::id) {
        s_owed.push_back({static_cast<uint32_t>(words[2]) & 0xFF, nullptr});
    }
    return 0;
}

int32_t sim_apdu_cmd_req(uint32_t, const UtaSimApduCmdReqParam& req, rilreq_rspcb callback, uint32_t ctxt_id) {
    FUZZ_CHECK(req.apdu == nullptr || req.apdu->length <= 261);
    if (s_refuses) {
        return -1;
    }
    s_owed.push_back({ctxt_id, callback});
    return 0;
}
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_owed.clear();
    s_refuses = false;
    s_open_requests = 0;
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        const RunLock lock;
        sms_mngr_init(0);
        return 0;
    };
    start_engine(&c_env);
    while (!input.is_empty()) {
        step(input);
    }
    stop_engine();
    FUZZ_CHECK(s_open_requests == 0);
    return 0;
}
