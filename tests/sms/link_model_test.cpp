// Messages between a message centre that keeps what is not acknowledged and an Android that answers when it likes, over
// random orders of deliveries, acknowledgements, the card's and the modem's answers, refusals and crashes.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <deque>
#include <map>
#include <random>

#include "host/sms/mailbox.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sms/sms.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

constexpr int32_t c_ack_success = 39;
constexpr int32_t c_ack_replaced = 0;
constexpr int32_t c_ack_no_memory = 16;
constexpr int32_t c_ack_memory_exceeded = 40;
constexpr int32_t c_sent = 541;

enum Kind { PLAIN, REPORT, FOR_CARD, DOWNLOAD, REPLACES, SHOWN_REPLACES, NONSENSE, KINDS };

// What happened to a message; its number is that of its sender.
struct History {
    Kind kind;
    int sent = 0;
    int told = 0;
    bool acknowledged = false;
};

// What the library asked for and is owed.
struct Owed {
    int function;  // 0 for a command to the card
    uint32_t ctxt_id;
    rilreq_rspcb callback;
    uint8_t id = 0;  // of the message that is downloaded
};

// The network, the modem and the card, and what they saw.
struct World {
    sms::Mailbox centre;
    std::deque<History> messages;
    bool waits = false;             // Android was told of one and has not said a word
    uint8_t waiting_id = 0;         // of that one, 0 for one on the card
    bool android_says_yes = false;  // its acknowledgement is being carried out
    bool stored = false;            // the card has taken one just now
    bool refuses_next = false;      // the next call
    std::deque<Owed> owed;
    std::string wrong;
    std::map<uintptr_t, int> answers;
    uintptr_t tokens = 0;

    History& first() { return messages[std::stoul(centre.waiting.front().message.number)]; }
    bool takes(uint8_t id, sms::Fate fate) { return sms::acknowledge(centre, id, fate).has_value(); }
    bool refuses() { return std::exchange(refuses_next, false); }
    void expect(bool holds, const char* what) {
        if (!holds && wrong.empty()) {
            wrong = what;
        }
    }
};
World s_world;

void take_ack(const UtaSmsIncSmsAckParam& ack) {
    World& w = s_world;
    if (ack.id == 0) {
        w.expect(ack.ack_type == 47, "an acknowledgement of no message");
        return;
    }
    if (ack.ack_type == c_ack_success) {
        const bool is_told = w.waits && w.android_says_yes && (w.waiting_id == 0 || w.waiting_id == ack.id);
        w.expect(is_told || w.stored, "acknowledged, and Android did not say so");
    }
    if (ack.id != w.centre.under_way) {
        return;  // the network has given up waiting for it
    }
    History& message = w.first();
    w.expect(ack.ack_type != c_ack_replaced || message.kind == SHOWN_REPLACES, "acknowledged as replaced");
    const bool is_done = ack.ack_type == c_ack_success || ack.ack_type == c_ack_replaced;
    const bool no_memory = ack.ack_type == c_ack_no_memory || ack.ack_type == c_ack_memory_exceeded;
    message.acknowledged = w.takes(ack.id, is_done     ? sms::Fate::DELIVERED
                                           : no_memory ? sms::Fate::NO_MEMORY
                                                       : sms::Fate::REFUSED);
}

void take_download_ack(const UtaSmsDataDownloadAckParam& ack) {
    World& w = s_world;
    if (ack.id != w.centre.under_way) {
        return;
    }
    History& message = w.first();
    w.expect(message.kind == DOWNLOAD, "acknowledged as a download");
    message.acknowledged = w.takes(ack.id, ack.ack_result == c_sent ? sms::Fate::DELIVERED : sms::Fate::REFUSED);
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    World& w = s_world;
    if (w.refuses()) {
        return -1;
    }
    const auto context = static_cast<uint32_t>(words[2]) & 0xFFU;
    switch (id) {
        case uta::row::UtaMsSmsIncomingSmsAck::id:
            take_ack(*reinterpret_cast<const UtaSmsIncSmsAckParam*>(words[1]));
            break;
        case uta::row::UtaMsSmsDataDownloadAck::id:
            take_download_ack(*reinterpret_cast<const UtaSmsDataDownloadAckParam*>(words[1]));
            break;
        case uta::row::UtaMsSmsSendReq::id:
        case uta::row::UtaMsSmsSimMsgCountReq::id:
            w.owed.push_back({id, context, nullptr});
            break;
        case uta::row::UtaMsSmsDataDownloadReq::id:
            w.owed.push_back({id, context, nullptr, reinterpret_cast<const UtaSmsDataDownloadParam*>(words[1])->id});
            break;
        case uta::row::UtaMsSmsSetMemoryAvailableReq::id:
            w.owed.push_back({id, static_cast<uint32_t>(words[1]) & 0xFFU, nullptr});
            break;
        case uta::row::UtaMsSimAnalyseReadResult::id: {
            auto& read = *reinterpret_cast<UtaSimReadResult*>(words[2]);
            read.status.sw1 = 0x90;
            read.length = 2;
            read.data = static_cast<uint8_t*>(RPC_MemAlloc(2));
            read.data[0] = read.data[1] = 0xFE;
            break;
        }
        case uta::row::UtaMsSimAnalyseSimApduResult::id:
            reinterpret_cast<UtaSimApduResult*>(words[2])->sw1 = 0x90;
            break;
        default:
            break;
    }
    return 0;
}

// The card.
int32_t sim_apdu_cmd_req(uint32_t, const UtaSimApduCmdReqParam&, rilreq_rspcb callback, uint32_t ctxt_id) {
    if (s_world.refuses()) {
        return -1;
    }
    s_world.owed.push_back({0, ctxt_id, callback});
    return 0;
}
namespace {

sms::Message message_of(Kind kind, size_t number) {
    sms::Message message;
    message.service_centre = "+4917";
    message.number = std::to_string(number);
    message.kind = kind == REPORT ? sms::Kind::STATUS_REPORT : kind == NONSENSE ? sms::Kind{3} : sms::Kind::DELIVER;
    message.pid = kind == DOWNLOAD ? 0x7F : kind == REPLACES || kind == SHOWN_REPLACES ? 0x41 : 0;
    message.data.dcs = kind == DOWNLOAD || kind == FOR_CARD ? 0xF2 : kind == SHOWN_REPLACES ? 0xF0 : 0;
    return message;
}

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static const std::map<int, request_row> c_rows = {
        {RIL_REQUEST_SEND_SMS, ROW(ril_request_send_sms)},
        {RIL_REQUEST_SMS_ACKNOWLEDGE, ROW(ril_request_sms_acknowledge)},
        {RIL_REQUEST_ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU, ROW(ril_request_acknowledge_incoming_gsm_sms_with_pdu)},
        {RIL_REQUEST_WRITE_SMS_TO_SIM, ROW(ril_request_write_sms_to_sim)},
        {RIL_REQUEST_DELETE_SMS_ON_SIM, ROW(ril_request_delete_sms_on_sim)},
        {RIL_REQUEST_GET_SMSC_ADDRESS, ROW(ril_request_get_smsc_address)},
        {RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, ROW(ril_request_report_sms_memory_status)},
    };
    const request_row& row = c_rows.at(request);
    row.run(row, {0, request, token}, {data, length});
}

class LinkModelTest : public testing::Test {
protected:
    void SetUp() override {
        s_world = {};
        android.reset();
        android.set_observer({[](RIL_Token token, RIL_Errno, const void*, size_t) {
                                  ++s_world.answers[reinterpret_cast<uintptr_t>(token)];
                              },
                              [](int number, const void* data, size_t length) { told(number, data, length); }});
        stood_in.handler = handle;
        stood_in.modem_init = [] {
            const RunLock lock;
            sms_mngr_init(0);
            return 0;
        };
        start_engine(FakeAndroid::env());
    }
    void TearDown() override {
        stop_engine();
        android.set_observer({});
    }

    static void told(int number, const void* data, size_t length) {
        World& w = s_world;
        if (number != RIL_UNSOL_RESPONSE_NEW_SMS && number != RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT &&
            number != RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM) {
            return;
        }
        if (number == RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM) {
            w.stored = w.waits;  // acknowledged by itself when another one waits
            w.waiting_id = w.waits ? w.waiting_id : 0;
            w.waits = true;
            return;
        }
        w.expect(!w.waits, "told while another one waits");
        w.waits = true;
        w.waiting_id = w.centre.last_id;
        const auto octets = sms::octets_of({static_cast<const char*>(data), length});
        const auto read = octets ? sms::read(*octets) : std::nullopt;
        if (!read) {
            w.expect(false, "told what is no message");
            return;
        }
        History& message = w.messages[std::stoul(read->number)];
        w.expect(message.kind == (number == RIL_UNSOL_RESPONSE_NEW_SMS ? PLAIN : REPORT), "told as something else");
        ++message.told;
        w.expect(message.told <= message.sent, "told more often than it was sent");
    }

    // --- The network

    void deliver() {
        World& w = s_world;
        if (chance(2)) {
            const Kind kind = static_cast<Kind>(random(KINDS));
            w.centre.waiting.push_back({message_of(kind, w.messages.size()), {}});
            w.messages.push_back({kind});
        }
        send_first(chance(8));
    }

    // What nobody will ever acknowledge is tried three times (3GPP TS 23.040, 9.2.3.12).
    static bool is_expired(const sms::Waiting& waiting) {
        const Kind kind = s_world.first().kind;
        return (kind == REPLACES || kind == NONSENSE) && waiting.tries == 3;
    }

    static void send_first(bool refused) {
        World& w = s_world;
        while (w.centre.under_way == 0 && !w.centre.waiting.empty() && is_expired(w.centre.waiting.front())) {
            w.centre.waiting.pop_front();
        }
        const sms::Waiting* const first = sms::begin_delivery(w.centre);
        if (first == nullptr) {
            return;
        }
        ++w.first().sent;
        UtaSmsIncomingParam param{};
        param.id = w.centre.under_way;
        const auto octets = sms::write(first->message);
        param.message.pdu.length = static_cast<uint8_t>(octets.size());
        std::copy(octets.begin(), octets.end(), param.message.pdu.data);
        w.refuses_next = refused;
        UtaMsSmsIncomingIndCb(0, &param);
        w.refuses_next = false;
    }

    static void lose_patience() {
        if (s_world.centre.under_way != 0) {
            sms::try_later(s_world.centre);
        }
    }

    // --- Answers of the modem and the card, in any order

    void answer() { answer(!chance(4), chance(8)); }
    void answer(bool good, bool refuses_next) {
        World& w = s_world;
        if (w.owed.empty()) {
            return;
        }
        const size_t at = random(w.owed.size());
        const Owed owed = w.owed[at];
        w.owed.erase(w.owed.begin() + static_cast<std::ptrdiff_t>(at));
        w.refuses_next = refuses_next;
        w.stored = false;
        switch (owed.function) {
            case uta::row::UtaMsSmsSendReq::id: {
                UtaSmsSendRspParam param{};
                param.result = good ? c_sent : 41;
                param.reference.mr = static_cast<int16_t>(random(3));
                UtaMsSmsSendRspCb(0, &param, owed.ctxt_id);
                break;
            }
            case uta::row::UtaMsSmsSimMsgCountReq::id: {
                uint8_t bitmap = static_cast<uint8_t>(random(8));
                UtaSmsSimMsgCountRspParams param{good ? 0 : 1, 3, static_cast<uint32_t>(std::popcount(bitmap)), 1,
                                                 &bitmap};
                UtaMsSmsSimMsgCountRspCb(0, &param, owed.ctxt_id);
                break;
            }
            case uta::row::UtaMsSmsDataDownloadReq::id: {
                UtaSmsDataDownloadResParam param{owed.id, 0, good ? c_sent : 17, {}};
                UtaMsSmsDataDownloadRspCb(0, &param, owed.ctxt_id);
                break;
            }
            case uta::row::UtaMsSmsSetMemoryAvailableReq::id:
                UtaMsSmsSetMemoryAvailableRspCb(0, 0, owed.ctxt_id);
                break;
            default: {
                UtaSimApduCmdRspParam param{};
                param.result = good ? 0 : 1;
                qelril_post_utamsrspcb(0, &param, owed.ctxt_id, owed.callback);
            }
        }
        w.refuses_next = false;
    }

    // --- Android

    void ask(int number, void* data, size_t length) {
        qelril_post_request(0, number, data, length, FakeAndroid::token(++s_world.tokens));
    }

    void acknowledge() { acknowledge(static_cast<int>(random(3)), chance(8)); }
    void acknowledge(int success, bool refused) {
        World& w = s_world;
        const bool waited = w.waits;
        int answer[] = {success, 211};
        char text[] = "0100";
        char status[] = {static_cast<char>('0' + answer[0]), '\0'};
        char* texts[] = {status, text};
        w.android_says_yes = answer[0] == 1;
        w.refuses_next = refused;
        const uint8_t before = w.centre.under_way;
        if (chance(2)) {
            ask(RIL_REQUEST_SMS_ACKNOWLEDGE, answer, sizeof(answer));
        } else {
            ask(RIL_REQUEST_ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU, texts, sizeof(texts));
        }
        w.refuses_next = w.android_says_yes = false;
        w.expect(waited || before == w.centre.under_way, "acknowledged what nobody was told");
        w.waits = false;
    }

    void work() {
        int values[] = {static_cast<int>(random(2))};
        int record[] = {2};
        char pdu[] = "0100039121F3000003C1E010";
        char* texts[] = {nullptr, pdu};
        RIL_SMS_WriteArgs args = {1, pdu, nullptr};
        const struct {
            int number;
            void* data;
            size_t length;
        } requests[] = {
            {RIL_REQUEST_SEND_SMS, texts, sizeof(texts)},
            {RIL_REQUEST_WRITE_SMS_TO_SIM, &args, sizeof(args)},
            {RIL_REQUEST_DELETE_SMS_ON_SIM, record, sizeof(record)},
            {RIL_REQUEST_GET_SMSC_ADDRESS, nullptr, 0},
            {RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, values, sizeof(values)},
        };
        s_world.refuses_next = chance(8);
        const auto& [number, data, length] = requests[random(std::size(requests))];
        ask(number, data, length);
        s_world.refuses_next = false;
    }

    // --- Accidents

    void crash() {
        stop_engine();
        s_world.owed.clear();
        sms::lose_contact(s_world.centre);
        s_world.waits = false;
        start_engine(FakeAndroid::env());
    }

    void restart_stack() {
        const RunLock lock;
        sms_mngr_init(0);
        s_world.waits = false;
    }

    void step() {
        const size_t choice = random(20);
        if (choice < 6) {
            answer();
        } else if (choice < 10) {
            deliver();
        } else if (choice < 14) {
            acknowledge();
        } else if (choice < 16) {
            work();
        } else if (choice == 16) {
            UtaMsSmsSimMsgCacheFinishedIndCb(0, static_cast<int32_t>(random(2)));
        } else if (choice == 17) {
            lose_patience();
        } else if (chance(5)) {
            choice == 18 ? crash() : restart_stack();
        }
    }

    static size_t contexts_in_use() {
        return static_cast<size_t>(std::count_if(rilreq_state_info.begin(), rilreq_state_info.end(),
                                                 [](const rilreq_state& entry) { return entry.entry_in_use != 0; }));
    }

    void answer_all() {
        while (!s_world.owed.empty()) {
            answer(true, false);
        }
    }

    // From here on everything goes well, and the centre is rid of all it has.
    void settle() {
        World& w = s_world;
        int room[] = {1};
        answer_all();
        ask(RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, room, sizeof(room));
        for (size_t rounds = 4 * w.centre.waiting.size() + 2; rounds > 0; --rounds) {
            answer_all();
            acknowledge(1, false);
            lose_patience();
            w.centre.has_memory = true;
            send_first(false);
        }
    }

    size_t random(size_t below) { return std::uniform_int_distribution<size_t>(0, below - 1)(generator); }
    bool chance(size_t one_in) { return random(one_in) == 0; }

    FakeAndroid& android = FakeAndroid::instance();
    std::mt19937 generator;
};

TEST_F(LinkModelTest, RandomWalk) {
    constexpr unsigned c_walks = 60;
    constexpr int c_steps = 600;
    for (unsigned walk = 0; walk < c_walks; ++walk) {
        generator.seed(walk);
        for (int i = 0; i < c_steps && s_world.wrong.empty(); ++i) {
            step();
        }
        settle();
        ASSERT_EQ(s_world.wrong, "") << "walk " << walk;
        EXPECT_EQ(contexts_in_use(), 0U) << "walk " << walk;
        for (uintptr_t token = 1; token <= s_world.tokens; ++token) {
            ASSERT_EQ(s_world.answers[token], 1) << "walk " << walk << ", request " << token;
        }
        // The centre has delivered everything, and what it was told to have delivered has been told, stored or done.
        EXPECT_EQ(s_world.centre.waiting.size(), 0U) << "walk " << walk;
        for (size_t i = 0; i < s_world.messages.size(); ++i) {
            const History& message = s_world.messages[i];
            EXPECT_EQ(message.acknowledged, message.kind != REPLACES && message.kind != NONSENSE)
                << "walk " << walk << ", message " << i;
            if (message.kind == PLAIN || message.kind == REPORT) {
                EXPECT_GE(message.told, 1) << "walk " << walk << ", message " << i;
            }
        }
        crash();
        s_world = {};
    }
}

}  // namespace
