// Messages and broadcasts of any content, any answers of modem and card, an Android that asks and acknowledges what it
// likes, a message centre that keeps what is not acknowledged, and crashes, in any order: through the entry points,
// with the RIL thread behind them. In the end all goes well, and nothing may be left.
#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <utility>

#include "fuzz/requests.h"
#include "host/sms/mailbox.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sms/sms.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

constexpr int32_t c_ack_success = 39;
constexpr int32_t c_ack_replaced = 0;
constexpr int32_t c_ack_memory_exceeded = 40;
constexpr int32_t c_sent = 541;

// What the library asked for and is owed.
struct Owed {
    int function;  // 0 for a command to the card
    uint32_t ctxt_id;
    rilreq_rspcb callback;
    uint8_t id;  // of the message that is downloaded
};

struct World {
    sms::Mailbox centre;
    std::deque<Owed> owed;
    Requests requests;
    bool refuses = false;
    bool waits = false;     // Android was told of a message and has not said a word
    bool says_yes = false;  // its acknowledgement is being carried out
    bool stored = false;    // on the card while another message waits, and not acknowledged yet
};
World s_world;

// --- Android

void completed(RIL_Token token, RIL_Errno, void*, size_t) {
    s_world.requests.complete(token);
}

void told(int number, const void* data, size_t length) {
    const auto* const octets = static_cast<const char*>(data);
    if (number == RIL_UNSOL_RESPONSE_NEW_SMS || number == RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT) {
        FUZZ_CHECK((length & 1) == 0 && length > 0 && length <= 352 && strlen(octets) == length);
        FUZZ_CHECK(strspn(octets, "0123456789ABCDEF") == length);
        FUZZ_CHECK(!std::exchange(s_world.waits, true));
    } else if (number == RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS) {
        FUZZ_CHECK(length >= 6 && length <= 88 && (octets[5] & 0x0F) != 0);
    } else if (number == RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM) {
        int record = 0;
        memcpy(&record, data, sizeof(record));
        FUZZ_CHECK(record >= 1 && record <= 255);
        s_world.stored = std::exchange(s_world.waits, true);
    }
}

const RIL_Env c_env = {completed, told, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static const std::map<int, request_row> c_rows = {
        {RIL_REQUEST_SMS_ACKNOWLEDGE, ROW(ril_request_sms_acknowledge)},
        {RIL_REQUEST_WRITE_SMS_TO_SIM, ROW(ril_request_write_sms_to_sim)},
        {RIL_REQUEST_DELETE_SMS_ON_SIM, ROW(ril_request_delete_sms_on_sim)},
    };
    const request_row& row = c_rows.at(request);
    row.run(row, {0, request, token}, {data, length});
}

template <typename Data>
void ask(int number, Data data) {
    qelril_post_request(0, number, &data, sizeof(data), s_world.requests.add(number));
}

void acknowledge(int success, int cause) {
    s_world.says_yes = success == 1 && s_world.waits;
    ask(RIL_REQUEST_SMS_ACKNOWLEDGE, std::array{success, cause});
    s_world.says_yes = s_world.waits = false;
}

void write_or_delete(bool writes) {
    char pdu[] = "0100039121F3000003C1E010";
    writes ? ask(RIL_REQUEST_WRITE_SMS_TO_SIM, RIL_SMS_WriteArgs{1, pdu, nullptr})
           : ask(RIL_REQUEST_DELETE_SMS_ON_SIM, 2);
}

// --- The network

void send_first() {
    const sms::Waiting* const first = sms::begin_delivery(s_world.centre);
    if (first == nullptr) {
        return;
    }
    UtaSmsIncomingParam param{};
    param.id = s_world.centre.under_way;
    const auto octets = sms::write(first->message);
    param.message.pdu.length = static_cast<uint8_t>(octets.size());
    std::copy(octets.begin(), octets.end(), param.message.pdu.data);
    UtaMsSmsIncomingIndCb(0, &param);
}

void lose_patience() {
    s_world.centre.has_memory = true;
    if (s_world.centre.under_way != 0) {
        sms::try_later(s_world.centre);
    }
}

// Nobody ever acknowledges a message that replaces another one and is not for immediate display.
bool is_for_nobody(const sms::Waiting& waiting) {
    return waiting.message.pid == 0x41 && waiting.message.data.dcs == 0;
}

// Reports, and messages that are shown, that replace others, that are for the card, downloaded and shown at once.
void deliver(Input& input) {
    static constexpr std::pair<uint8_t, uint8_t> c_pid_and_dcs[] = {
        {0, 0}, {0x41, 0}, {0, 0xF2}, {0x7F, 0xF2}, {0x41, 0xF0}};
    const uint8_t choice = input.choice();
    sms::Message message;
    message.kind = choice % 8 == 0 ? sms::Kind::STATUS_REPORT : sms::Kind::DELIVER;
    message.service_centre = "+4917";
    message.number = "+1234";
    std::tie(message.pid, message.data.dcs) = c_pid_and_dcs[choice % 8 == 0 ? 0 : choice % 5];
    s_world.centre.waiting.push_back({message, {}});
    send_first();
}

// --- The modem and the card

void answer(Input& input) {
    if (s_world.owed.empty()) {
        return;
    }
    const auto at = s_world.owed.begin() + static_cast<ptrdiff_t>(input.choice() % s_world.owed.size());
    const Owed owed = *at;
    s_world.owed.erase(at);
    const bool is_any = input.choice() % 4 == 3;
    switch (owed.function) {
        case uta::row::UtaMsSmsSimMsgCountReq::id: {
            auto count = is_any ? any<UtaSmsSimMsgCountRspParams>(input) : UtaSmsSimMsgCountRspParams{0, 3, 1, 0, {}};
            auto octets = is_any ? input.take(input.choice() % 40) : std::vector<uint8_t>{2};
            count.param_data_len = static_cast<uint32_t>(octets.size());
            count.param_data = octets.data();
            return UtaMsSmsSimMsgCountRspCb(0, &count, owed.ctxt_id);
        }
        case uta::row::UtaMsSmsDataDownloadReq::id: {
            const UtaSmsDataDownloadResParam param{owed.id, is_any ? 4 : 0, is_any ? 17 : c_sent, {}};
            return UtaMsSmsDataDownloadRspCb(0, &param, owed.ctxt_id);
        }
        default: {
            UtaSimApduCmdRspParam param{};
            param.result = is_any ? 1 : 0;
            qelril_post_utamsrspcb(0, &param, owed.ctxt_id, owed.callback);
        }
    }
}

void take_ack(const UtaSmsIncSmsAckParam& ack) {
    FUZZ_CHECK(ack.pdu.length <= 176);
    const bool is_success = ack.ack_type == c_ack_success;
    FUZZ_CHECK(!is_success || std::exchange(s_world.stored, false) || s_world.says_yes);
    const bool is_done = is_success || ack.ack_type == c_ack_replaced;
    const sms::Fate refusal = ack.ack_type == c_ack_memory_exceeded ? sms::Fate::NO_MEMORY : sms::Fate::REFUSED;
    sms::acknowledge(s_world.centre, ack.id, is_done ? sms::Fate::DELIVERED : refusal);
}

// --- Accidents

void crash() {
    stop_engine();
    FUZZ_CHECK(s_world.requests.are_complete());
    s_world.owed.clear();
    s_world.waits = false;
    sms::lose_contact(s_world.centre);
    start_engine(&c_env);
}

void restart_stack() {
    const RunLock lock;
    sms_mngr_init(0);
    s_world.waits = false;
}

void step(Input& input) {
    s_world.refuses = input.choice() % 8 == 7;
    const uint8_t choice = input.choice() % 32;
    if (choice < 10) {
        answer(input);
    } else if (choice < 16) {
        deliver(input);
    } else if (choice < 22) {
        acknowledge(input.choice() % 3, input.choice());
    } else if (choice < 26) {
        write_or_delete(input.choice() % 2 == 0);
    } else if (choice == 26) {
        UtaMsSmsSimMsgCacheFinishedIndCb(0, input.choice() % 2);
    } else if (choice == 27) {
        lose_patience();
        send_first();
    } else if (choice == 28) {
        auto param = any<UtaSmsIncomingParam>(input);
        param.id = 0;
        UtaMsSmsIncomingIndCb(0, &param);
    } else if (choice == 29) {
        const auto param = any<UtaCbsData>(input);
        UtaMsCbsNewMessageIndCb(0, &param);
    } else if (input.choice() % 4 == 3) {
        choice == 30 ? crash() : restart_stack();
    }
    FUZZ_CHECK(!std::exchange(s_world.stored, false) || s_world.refuses);
}

void answer_all() {
    Input good(nullptr, 0);
    while (!s_world.owed.empty()) {
        answer(good);
    }
}

void settle() {
    s_world.refuses = false;
    answer_all();
    for (size_t rounds = 2 * s_world.centre.waiting.size() + 2; rounds > 0; --rounds) {
        answer_all();
        acknowledge(1, 0);
        lose_patience();
        send_first();
    }
    const auto& waiting = s_world.centre.waiting;
    FUZZ_CHECK(std::all_of(waiting.begin(), waiting.end(), is_for_nobody));
    FUZZ_CHECK(s_world.requests.are_complete());
    FUZZ_CHECK(std::none_of(rilreq_state_info.begin(), rilreq_state_info.end(),
                            [](const rilreq_state& entry) { return entry.entry_in_use != 0; }));
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    if (s_world.refuses) {
        return -1;
    }
    const auto context = static_cast<uint32_t>(words[2]) & 0xFFU;
    switch (id) {
        case uta::row::UtaMsSmsIncomingSmsAck::id:
            take_ack(*reinterpret_cast<const UtaSmsIncSmsAckParam*>(words[1]));
            break;
        case uta::row::UtaMsSmsDataDownloadAck::id: {
            const auto& ack = *reinterpret_cast<const UtaSmsDataDownloadAckParam*>(words[1]);
            FUZZ_CHECK(ack.answer.length <= 128);
            const bool is_done = ack.ack_result == c_sent;
            sms::acknowledge(s_world.centre, ack.id, is_done ? sms::Fate::DELIVERED : sms::Fate::REFUSED);
            break;
        }
        case uta::row::UtaMsSmsSimMsgCountReq::id:
            s_world.owed.push_back({id, context, nullptr, 0});
            break;
        case uta::row::UtaMsSmsDataDownloadReq::id:
            s_world.owed.push_back({id, context, nullptr, reinterpret_cast<UtaSmsDataDownloadParam*>(words[1])->id});
            break;
        default:
            break;
    }
    return 0;
}

int32_t sim_apdu_cmd_req(uint32_t, const UtaSimApduCmdReqParam& req, rilreq_rspcb callback, uint32_t ctxt_id) {
    FUZZ_CHECK(req.apdu == nullptr || req.apdu->length <= 261);
    if (s_world.refuses) {
        return -1;
    }
    s_world.owed.push_back({0, ctxt_id, callback, 0});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_world = {};
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
    settle();
    stop_engine();
    return 0;
}
