// Short messages and cell broadcast. Messages are hexadecimal text, a service centre's address apart from the rest.
#include <array>
#include <cstring>
#include <string_view>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/cb/cb.h"
#include "ril/core/src/sms/sms.h"
#include "ril/utils/trace.h"

namespace {

constexpr size_t c_ack_text_max = 176;
constexpr int32_t c_last_record = 254;

// A message behind its service centre's address, "00" where there is none.
struct message_text {
    std::array<char, c_sms_text_max + 1> text;
    size_t size;
    size_t pdu_length;  // octets of the message

    std::string_view view() const { return {text.data(), size}; }
};

// False for a message that is empty or too long.
bool join(const char* service_centre, const char* message, message_text& out) {
    const char* const front = service_centre == nullptr ? "00" : service_centre;
    const size_t front_size = strnlen(front, c_sms_text_max + 1);
    const size_t message_size = message == nullptr ? 0 : strnlen(message, c_sms_text_max + 1);
    if (message_size == 0 || front_size + message_size > c_sms_text_max) {
        return false;
    }
    memcpy(out.text.data(), front, front_size);
    memcpy(out.text.data() + front_size, message, message_size);
    out.size = front_size + message_size;
    out.pdu_length = message_size / 2;
    return true;
}

void send(request_context& context, const ril_texts<2>& texts) {
    message_text message;
    if (!join(texts[0], texts[1], message)) {
        RIL_TRACE(TRACE_ERROR, "%s: Data length not in range\n", "ril_request_send_sms");
        return;
    }
    if (sms_agg_request_send(context, message.pdu_length, message.view()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: failed\n", "ril_request_send_sms");
    }
}

// The context of the message that waits, or -1.
int32_t waiting_message(uint32_t sim_id, const char* function) {
    const int32_t ctxt_id = sms_get_incoming_ind_ctxt_id(sim_id);
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Invalid context ID\n", function);
    }
    return ctxt_id;
}

// The message has had its one acknowledgement, whatever came of it.
void end_of_message(const ril_request& request, uint32_t ctxt_id, bool is_acknowledged) {
    request.complete(is_acknowledged ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
    qelril_free_and_return(ctxt_id);
}

}  // namespace

// --- Sending ---------------------------------------------------------------------------------------------------------

void ril_request_send_sms(request_context& context, ril_texts<2> texts) {
    send(context, texts);
}

void ril_request_send_sms_expect_more(request_context& context, ril_texts<2> texts) {
    constexpr uint32_t c_until_next = 1;
    if (sms_agg_set_send_more_messages(context.sim_id(), c_until_next) != -1) {
        send(context, texts);
    }
}

// --- Acknowledging ---------------------------------------------------------------------------------------------------

void ril_request_sms_acknowledge(const ril_request& request, int32_t success, int32_t cause) {
    const int32_t waiting = waiting_message(request.sim_id, __func__);
    if (waiting < 0) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(waiting);
    const bool is_acknowledged =
        (success == 0 || success == 1) && sms_agg_request_ack(request.sim_id, success, cause, ctxt_id) == 0;
    if (!is_acknowledged) {
        RIL_TRACE(TRACE_ERROR, "%s: unsupported arg to RIL_REQUEST_SMS_ACKNOWLEDGE\n", __func__);
    }
    end_of_message(request, ctxt_id, is_acknowledged);
}

// An acknowledgement out of range leaves the message waiting.
void ril_request_acknowledge_incoming_gsm_sms_with_pdu(const ril_request& request, ril_texts<2> texts) {
    const std::string_view status = texts[0] == nullptr ? "" : texts[0];
    const size_t size = texts[1] == nullptr ? 0 : strnlen(texts[1], c_ack_text_max + 1);
    if (size == 0 || size > c_ack_text_max) {
        RIL_TRACE(TRACE_ERROR, "%s: ACK PDU out of range\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    const int32_t waiting = waiting_message(request.sim_id, __func__);
    if (waiting < 0) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(waiting);
    const bool is_status = status == "0" || status == "1";
    if (!is_status) {
        RIL_TRACE(TRACE_ERROR, "%s:unsupported arg ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU\n", __func__);
    }
    const bool is_acknowledged =
        is_status && sms_agg_request_ack_with_pdu(request.sim_id, status == "1", {texts[1], size}, ctxt_id) == 0;
    end_of_message(request, ctxt_id, is_acknowledged);
}

// --- On the card -----------------------------------------------------------------------------------------------------

void ril_request_write_sms_to_sim(request_context& context, const RIL_SMS_WriteArgs& args) {
    message_text message;
    if (!join(args.smsc, args.pdu, message)) {
        RIL_TRACE(TRACE_ERROR, "%s: data Length out of range\n", __func__);
        return;
    }
    sms_agg_write_msg_on_sim(context, static_cast<uint32_t>(args.status), message.pdu_length, message.view());
}

void ril_request_delete_sms_on_sim(request_context& context, int32_t index) {
    if (index < 1 || index > c_last_record) {
        RIL_TRACE(TRACE_ERROR, "%s: Wrong Record number in SIM\n", __func__);
        return;
    }
    sms_agg_delete_from_sim(context, static_cast<uint8_t>(index));
}

void ril_request_get_smsc_address(const ril_request& request) {
    if (sms_is_sca_available(request.sim_id)) {
        ril_request_complete(request.token, RIL_E_SUCCESS,
                             const_cast<char*>(sms_get_service_center_address(request.sim_id)), sizeof(char*));
        return;
    }
    request_context context(request, __func__);
    if (context) {
        sms_agg_get_service_center_address(context);
    }
}

void ril_request_set_smsc_address(request_context& context, const char* text) {
    if (text[0] == '\0' || strnlen(text, c_sms_address_max + 1) > c_sms_address_max) {
        RIL_TRACE(TRACE_ERROR, "%s : Service Center Address is out of bound\n", __func__);
        return;
    }
    sms_agg_set_service_center_address(context, text);
}

void ril_request_report_sms_memory_status(request_context& context, int32_t available) {
    if (available == 0) {
        sms_set_memory_unavailable(context);
    } else if (available == 1) {
        sms_set_memory_available(context);
    }
}

// --- Cell broadcast --------------------------------------------------------------------------------------------------

void ril_request_get_cbs_config(const ril_request& request) {
    cbs_config config;
    if (cbs_get_config(request.sim_id, config) != 0) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    ril_request_complete(request.token, RIL_E_SUCCESS, static_cast<void*>(config.pointers.data()),
                         config.count * sizeof(char*));
}

// What the modem says of the filter does not reach Android, but for -1.
void ril_request_set_cbs_config(const ril_request& request, ril_data data) {
    using record = const RIL_GSM_BroadcastSmsConfigInfo* const;
    const std::span<record> records(static_cast<record*>(data.p_data), data.length / sizeof(char*));
    const bool is_list = data.length % sizeof(char*) == 0 && (data.p_data != nullptr || records.empty());
    if (!is_list || cbs_select_message_type(request.sim_id, records) == -1) {
        RIL_TRACE(TRACE_ERROR, "%s set filter failed\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    request.complete(RIL_E_SUCCESS);
}

void ril_request_cbs_activation(request_context& context, int32_t action) {
    if (cbs_sms_broadcast_activation(context.sim_id(), action, context.uta_id()) != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: cbs_sms_broadcast_activation returned Failure\n", __func__);
        return;
    }
    context.in_flight();
}
