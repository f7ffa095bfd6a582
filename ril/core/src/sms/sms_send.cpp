// The way of a message to the network. Without a service centre's address in the message or at hand the card is asked
// for it first (3GPP TS 51.011, 10.5.6).
#include <algorithm>
#include <cstring>

#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sms/service_centre.h"
#include "ril/core/src/sms/sms_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint32_t c_status_to_send = 7;

chain_sent sms_send(uint32_t sim_id, uint32_t ctxt_id) {
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    if (sms_make_final_pdu(sim_id, record) != 0) {
        return CHAIN_NOT_SENT;
    }
    UtaSmsSendParam param{};
    param.message.status = record.tpdu.status;
    param.message.pdu.length = record.tpdu.length;
    std::copy(record.tpdu.data.begin(), record.tpdu.data.end(), param.message.pdu.data);
    param.service = static_cast<int32_t>(sms_get_net_gsm_service(sim_id));
    param.fdn_check = sim_is_fdn_enabled(sim_id) == 1 ? 1 : 0;
    if (RemUtaMsSmsSendReq(sim_id, &param, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: FAILED to execute, TPDU length = %d Message_Service UTA enum val=%d\n", __func__,
                  param.message.pdu.length, param.service);
        return CHAIN_NOT_SENT;
    }
    return CHAIN_SENT;
}

bool is_sent(int32_t result) {
    return result == c_sms_sent || result == c_sms_sent_too;
}

chain_answer sms_send_rsp_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    constexpr int32_t c_report_of_submission = 1;
    constexpr uint8_t c_has_user_data = 4;
    const auto& response = *static_cast<const UtaSmsSendRspParam*>(p_params);
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    record.message_ref = static_cast<uint16_t>(response.reference.mr);
    record.result = response.result;
    if (response.report_kind == c_report_of_submission && (response.report.report_params & c_has_user_data) != 0) {
        memcpy(record.ack_pdu.data(), response.ack_pdu, strnlen(response.ack_pdu, record.ack_pdu.size() - 1));
    }
    if (!is_sent(response.result)) {
        RIL_TRACE(TRACE_ERROR, "%s: SMS Sending Failed : send_rsp_param->result = %d\n", __func__, response.result);
        return CHAIN_FAIL;
    }
    RIL_TRACE(TRACE_EVENT, "%s: SMS Sending Passed\n", __func__);
    return CHAIN_END;
}

struct send_outcome {
    int32_t result;
    int32_t error_code;  // 3GPP TS 27.005, 3.2.5
    RIL_Errno error;
};

send_outcome outcome_of(int32_t result) {
    static constexpr send_outcome c_outcomes[] = {
        {c_sms_sent, -1, RIL_E_SUCCESS},       {c_sms_sent_too, -1, RIL_E_SUCCESS},
        {543, 318, RIL_E_FDN_CHECK_FAILURE},   {544, 318, RIL_E_FDN_CHECK_FAILURE},
        {545, 318, RIL_E_FDN_CHECK_FAILURE},   {525, 330, RIL_E_GENERIC_FAILURE},
        {526, 330, RIL_E_GENERIC_FAILURE},     {41, 332, RIL_E_SMS_SEND_FAIL_RETRY},
        {17, 331, RIL_E_RADIO_NOT_AVAILABLE},  {38, 331, RIL_E_RADIO_NOT_AVAILABLE},
        {287, 331, RIL_E_RADIO_NOT_AVAILABLE},
    };
    for (const send_outcome& outcome : c_outcomes) {
        if (outcome.result == result) {
            return outcome;
        }
    }
    return {result, 500, RIL_E_GENERIC_FAILURE};
}

// A message that went out under the reference 0 has been sent all the same; a failure without a reference says nothing.
void ril_request_sms_send_onrequest_complete(uint32_t, uint32_t ctxt_id, bool succeeded) {
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    if (!succeeded && record.message_ref == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: SMS failed\n", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    const send_outcome outcome = outcome_of(record.result);
    RIL_SMS_Response response = {record.message_ref, record.ack_pdu.data(), outcome.error_code};
    qelril_complete_and_return(ctxt_id, outcome.error, &response, sizeof(response));
}

bool needs_address(uint32_t sim_id, uint32_t ctxt_id) {
    return !sms_record_of(ctxt_id)->sca_in_pdu && !sms_is_sca_available(sim_id);
}

chain_sent select_address(uint32_t sim_id, uint32_t ctxt_id) {
    return needs_address(sim_id, ctxt_id) ? sms_initiate_get_smsp_filedetails(sim_id, ctxt_id) : CHAIN_DONE;
}

chain_sent read_address(uint32_t sim_id, uint32_t ctxt_id) {
    return needs_address(sim_id, ctxt_id) ? sms_read_param_record_from_sim(sim_id, ctxt_id) : CHAIN_DONE;
}

constexpr chain_step c_send_steps[] = {
    {select_address, sms_sim_apdu_cmdrespcb_select_smsp},
    {read_address, sms_sim_apdu_cmdrespcb_smsp},
    {sms_send, sms_send_rsp_cb},
};
constexpr chain c_send = {c_send_steps, {}, ril_request_sms_send_onrequest_complete};

// Whether the text has a service centre's address of its own. -1 for a text that is none.
int32_t sms_encode_message_from_pdu(sms_book_keeping& record) {
    const std::string_view text = record.sms_hex_input.data();
    if (text.size() % 2 != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: length not Even\n", __func__);
        return -1;
    }
    record.sca_in_pdu = !text.starts_with("00");
    return 0;
}

}  // namespace

int32_t sms_agg_set_send_more_messages(uint32_t sim_id, uint32_t value) {
    constexpr uint32_t c_last_value = 2;
    if (value > c_last_value) {
        return -1;
    }
    const UtaSmsSetSendMoreMessagesStatusParam param = {static_cast<int32_t>(value)};
    return RemUtaMsSmsSetSendMoreMessagesStatus(sim_id, &param);
}

int32_t sms_agg_request_send(request_context& context, size_t pdu_length, std::string_view text) {
    if (pdu_length == 0 || pdu_length > c_sms_tpdu_max) {
        RIL_TRACE(TRACE_ERROR, "%s: Invalid pdu length\n", __func__);
        return -1;
    }
    sms_book_keeping* const record = sms_book_keeping_init(context);
    if (record == nullptr) {
        return -1;
    }
    if (text.size() >= record->sms_hex_input.size()) {
        RIL_TRACE(TRACE_ERROR, "%s: INVALID_PDU_MODE_PARAM\n", __func__);
        return -1;
    }
    text.copy(record->sms_hex_input.data(), text.size());
    record->tpdu.status = c_status_to_send;
    if (sms_encode_message_from_pdu(*record) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sms_encode_message_from_pdu failed\n", __func__);
        return -1;
    }
    chain_start(c_send, context.sim_id(), context.hand_over());
    return 0;
}

int32_t sms_make_final_pdu(uint32_t sim_id, sms_book_keeping& record) {
    std::array<uint8_t, sizeof(record.sms_hex_input) / 2> octets;
    size_t size = 0;
    const std::string_view text = record.sms_hex_input.data();
    if (sms_convert_hexstring_to_hexbuffer(text, octets, &size) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sms_convert_hexstring_to_hexbuffer failed\n", __func__);
        return -1;
    }
    // 12 octets of an address, and what an address of the text's own and 164 octets leave room for.
    std::array<uint8_t, 12> address{};
    size_t address_size = 0;
    std::span<const uint8_t> message = std::span(octets).first(size);
    if (!record.sca_in_pdu && !message.empty()) {
        const char* const sca = sms_get_service_center_address(sim_id);
        sms_encode_addressfield_semioctets(sca, sms_get_type_of_phone_number_address(sca), address);
        address_size = address[0] + 1U;
        message = message.subspan(1);
    }
    sms_tpdu& tpdu = record.tpdu;
    if (address_size + message.size() > tpdu.data.size()) {
        return -1;
    }
    tpdu.data.fill(0);
    std::copy_n(address.begin(), address_size, tpdu.data.begin());
    std::copy(message.begin(), message.end(), tpdu.data.begin() + static_cast<std::ptrdiff_t>(address_size));
    tpdu.length = static_cast<uint8_t>(address_size + message.size());
    return 0;
}

void UtaMsSmsSendRspCb(uint32_t sim_id, const UtaSmsSendRspParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<sms_send_rsp_cb>);
}
