// What becomes of a message that comes: it is told to Android, stored on the card, downloaded to the card or phone, or
// dropped; and how the network hears of it. One message at a time waits for Android. A message that the network hears
// nothing of comes again.
#include <algorithm>
#include <cstring>

#include "ril/core/src/decode/decode.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/sms/sms_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// How the modem tells the network.
enum ack_type : int32_t {
    ACK_REPLACED = 0,
    ACK_MEMORY_FULL = 16,
    ACK_OTHER_FAILURE = 24,
    ACK_SUCCESS = 39,
    ACK_MEMORY_EXCEEDED = 40,
    ACK_CARD = 47,
};

int32_t refusal(int32_t cause) {
    switch (cause) {
        case SMS_CAUSE_MEMORY_EXCEEDED:
            return ACK_MEMORY_EXCEEDED;
        case SMS_CAUSE_MEMORY_FULL:
            return ACK_MEMORY_FULL;
        case SMS_CAUSE_CARD:
            return ACK_CARD;
        default:
            return ACK_OTHER_FAILURE;
    }
}

int32_t send_ack(uint32_t sim_id, const UtaSmsIncSmsAckParam& ack, uint32_t ctxt_id) {
    const int32_t result = RemUtaMsSmsIncomingSmsAck(sim_id, &ack, uta_context_id(ctxt_id));
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSmsIncomingSmsAck Failed result is %d\n", "sms_agg_request_ack", result);
        return -1;
    }
    return 0;
}

void sms_incoming_ack(uint32_t sim_id, int32_t type, uint32_t ctxt_id) {
    UtaSmsIncSmsAckParam ack{};
    ack.id = sms_record_of(ctxt_id)->incoming_id;
    ack.ack_type = type;
    send_ack(sim_id, ack, ctxt_id);
}

// --- To Android ------------------------------------------------------------------------------------------------------

// False when the text cannot be made.
bool sms_create_indication_string(uint32_t sim_id, const sms_tpdu& message, int unsol) {
    std::array<char, 2 * sizeof(message.data) + 1> text;
    size_t length = 0;
    if (sms_generate_hexstring_from_hexbuffer(std::span(message.data).first(message.length), text, &length) != 0) {
        return false;
    }
    RIL_UnsolicitedResponse(sim_id, unsol, text.data(), length - 1);
    return true;
}

// --- Data download (3GPP TS 31.111, 7.1; 3GPP TS 22.022, 14) ---------------------------------------------------------

struct download {
    int32_t type;  // the modem's
    const char* failure;
};

constexpr download c_depersonalization = {4, "%s UTA_SMS_PP_DEPERSONALIZE failed\n"};
constexpr download c_card_download = {1, "%s UTA_SMS_PP_DOWNLOAD failed\n"};

constexpr int32_t c_cause_card = 47;
constexpr int32_t c_cause_busy = 16;
constexpr int32_t c_result_refused = 213;
constexpr int32_t c_result_busy = 212;

// Of a message longer than an answer can be, only the start goes back.
void refuse_download(uint32_t sim_id, const sms_book_keeping& record, uint32_t ctxt_id) {
    UtaSmsDataDownloadAckParam ack{};
    ack.id = record.incoming_id;
    ack.ack_cause = c_cause_card;
    ack.ack_result = c_result_refused;
    ack.answer.length = static_cast<uint8_t>(std::min<size_t>(record.incoming.length, sizeof(ack.answer.data)));
    std::copy_n(record.incoming.data.begin(), ack.answer.length, ack.answer.data);
    RemUtaMsSmsDataDownloadAck(sim_id, &ack, uta_context_id(ctxt_id));
}

// 0 when the answer will come on the context.
int32_t sms_handle_incoming_special_pid(uint32_t sim_id, const sms_book_keeping& record, const download& row,
                                        uint8_t dcs, uint32_t ctxt_id) {
    UtaSmsDataDownloadParam param{};
    param.id = record.incoming_id;
    param.download_type = row.type;
    param.dcs = dcs;
    param.pdu.length = record.incoming.length;
    std::copy(record.incoming.data.begin(), record.incoming.data.end(), param.pdu.data);
    if (RemUtaMsSmsDataDownloadReq(sim_id, &param, uta_context_id(ctxt_id)) == 0) {
        return 0;
    }
    RIL_TRACE(TRACE_ERROR, row.failure, __func__);
    refuse_download(sim_id, record, ctxt_id);
    return -1;
}

void sms_data_download_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    constexpr int32_t c_status_busy = 4;
    constexpr int32_t c_result_of_busy_card = 22;
    const auto& response = *static_cast<const UtaSmsDataDownloadResParam*>(p_params);
    UtaSmsDataDownloadAckParam ack{};
    ack.id = response.id;
    ack.answer = response.answer;
    const bool is_done = (response.status == 0 || response.status == 2) &&
                         (response.result == c_sms_sent || response.result == c_sms_sent_too);
    if (is_done) {
        ack.ack_result = c_sms_sent;
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: status = %d result = %d\n", __func__, response.status, response.result);
        ack.ack_result = response.status == c_status_busy ? c_result_busy : c_result_refused;
        ack.ack_cause = response.result == c_result_of_busy_card ? c_cause_busy : c_cause_card;
    }
    if (RemUtaMsSmsDataDownloadAck(sim_id, &ack, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: making UtaMsSmsDataDownloadAck failed\n", __func__);
    }
    qelril_free_and_return(ctxt_id);
}

// --- What becomes of a message ---------------------------------------------------------------------------------------

// Of the messages that replace others only those for immediate display are acknowledged, and none is shown.
void sms_handle_replace_type(uint32_t sim_id, uint32_t msg_class, uint32_t ctxt_id) {
    if (msg_class == SMS_CLASS_0) {
        sms_incoming_ack(sim_id, ACK_REPLACED, ctxt_id);
    } else if (msg_class != SMS_CLASS_RESERVED) {
        RIL_TRACE(TRACE_EVENT, "%s: hitting default case\n", __func__);
    }
}

// A message that cannot be told is refused: nobody would acknowledge it.
void tell_android(request_context& context, const sms_book_keeping& record, int unsol) {
    const uint32_t ctxt_id = context.id();
    if (!sms_create_indication_string(context.sim_id(), record.incoming, unsol)) {
        sms_agg_request_ack(context.sim_id(), 0, SMS_CAUSE_MEMORY_EXCEEDED, ctxt_id);
        return;
    }
    sms_set_incoming_ind_ctxt_id(context.sim_id(), context.hand_over());
}

// A context that nobody takes is released at the end of the indication.
void handle_message(request_context& context, const sms_book_keeping& record, const unpacked_smsinfo& info) {
    const uint32_t sim_id = context.sim_id();
    uint32_t pid_type = SMS_PID_NORMAL;
    sms_get_pid(&record.incoming, &pid_type, nullptr);
    if (sms_mngr[sim_id].memory_flag && info.msg_class != SMS_CLASS_0) {
        sms_agg_request_ack(sim_id, 0, SMS_CAUSE_MEMORY_FULL, context.id());
        return;
    }
    if (info.msg_type_id == SMS_MSG_STATUS_REPORT) {
        tell_android(context, record, RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT);
        return;
    }
    constexpr uint32_t c_class_2 = SMS_CLASS_0 + 2;
    const bool is_for_card = info.msg_class == c_class_2;
    if (pid_type >= SMS_PID_REPLACE_TYPE_1 && pid_type <= SMS_PID_RETURN_CALL) {
        sms_handle_replace_type(sim_id, info.msg_class, context.id());
    } else if (pid_type == SMS_PID_ME_DEPERSONALIZATION || (pid_type == SMS_PID_SIM_DATA_DOWNLOAD && is_for_card)) {
        const download& row = pid_type == SMS_PID_ME_DEPERSONALIZATION ? c_depersonalization : c_card_download;
        if (sms_handle_incoming_special_pid(sim_id, record, row, info.dcs, context.id()) == 0) {
            context.in_flight();
        }
    } else if (pid_type == SMS_PID_NORMAL && is_for_card) {
        sms_write_incoming_on_sim(sim_id, context.hand_over());
    } else {
        tell_android(context, record, RIL_UNSOL_RESPONSE_NEW_SMS);
    }
}

void sms_incoming_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaSmsIncomingParam*>(p_params);
    if (sms_get_incoming_ind_ctxt_id(sim_id) >= 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Incoming SMS Waiting to be Acknowledged \n", __func__);
        return;
    }
    const ril_request nobody = {sim_id, c_sms_incoming_req_id, nullptr};
    request_context context(nobody, __func__, "%s: ERROR out of free rilreq_state_info elements\n");
    sms_book_keeping* const record = context ? sms_book_keeping_init(context) : nullptr;
    if (record == nullptr) {
        return;
    }
    record->incoming_id = indication.id;
    record->incoming.status = indication.message.status;
    record->incoming.length =
        static_cast<uint8_t>(std::min<size_t>(indication.message.pdu.length, record->incoming.data.size()));
    std::copy_n(indication.message.pdu.data, record->incoming.length, record->incoming.data.begin());
    unpacked_smsinfo info;
    if (sms_unpack_msg(&record->incoming, &info, pAggprofileDB[sim_id].cscs != AGG_CSCS_IRA) == 0) {
        handle_message(context, *record, info);
    }
}

}  // namespace

int32_t sms_agg_request_ack(uint32_t sim_id, int32_t success, int32_t cause, uint32_t ctxt_id) {
    const sms_book_keeping& record = *sms_record_of(ctxt_id);
    UtaSmsIncSmsAckParam ack{};
    ack.id = record.incoming_id;
    if (success == 1) {
        ack.ack_type = ACK_SUCCESS;
    } else {
        ack.ack_type = refusal(cause);
        ack.pdu.length = record.incoming.length;
        std::copy(record.incoming.data.begin(), record.incoming.data.end(), ack.pdu.data);
    }
    return send_ack(sim_id, ack, ctxt_id);
}

// The acknowledgement goes out as the characters that Android wrote.
int32_t sms_agg_request_ack_with_pdu(uint32_t sim_id, bool success, std::string_view text, uint32_t ctxt_id) {
    UtaSmsIncSmsAckParam ack{};
    ack.id = sms_record_of(ctxt_id)->incoming_id;
    ack.ack_type = success ? ACK_SUCCESS : ACK_MEMORY_EXCEEDED;
    const std::string_view fitting = text.substr(0, sizeof(ack.pdu.data));
    ack.pdu.length = static_cast<uint8_t>(fitting.size());
    std::copy(fitting.begin(), fitting.end(), ack.pdu.data);
    return send_ack(sim_id, ack, ctxt_id);
}

void UtaMsSmsIncomingIndCb(uint32_t sim_id, const UtaSmsIncomingParam* param) {
    qelril_post_utamsindcb(sim_id, param, sms_incoming_ind_cb);
}

void UtaMsSmsDataDownloadRspCb(uint32_t sim_id, const UtaSmsDataDownloadResParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, sms_data_download_rsp_cb);
}
