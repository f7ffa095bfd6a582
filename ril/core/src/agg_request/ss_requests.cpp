// Supplementary services, USSD and tones.
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/ss/ss.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_low_half = 0xFFFF;

void send_tone(request_context& context, uint8_t digit, bool auto_stop, const char* request_name) {
    const uint32_t sim_id = context.sim_id();
    ss_queue_dtmf_tone(sim_id, context.hand_over(), digit, auto_stop, request_name);
}

}  // namespace

void ril_request_query_call_forward_status(request_context& context, const RIL_CallForwardInfo& info) {
    constexpr int32_t c_all_bearers = 7;  // voice, data and fax
    constexpr int32_t c_query_seconds = 20;
    auto* reason = context.create_area<int32_t>();  // the answer doesn't tell it
    if (reason == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: allocate caller data failed\n", __func__);
        return;
    }
    *reason = info.reason;
    RIL_CallForwardInfo query{};
    query.status = SS_MODE_QUERY;
    query.reason = info.reason;
    query.serviceClass = info.serviceClass != 0 ? info.serviceClass : c_all_bearers;
    query.timeSeconds = c_query_seconds;
    if (ss_set_query_call_forwarding(context.sim_id(), query, context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_set_call_forward(request_context& context, const RIL_CallForwardInfo& info) {
    if (ss_set_query_call_forwarding(context.sim_id(), info, context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_query_call_waiting(request_context& context, int32_t service_class) {
    if (ss_handle_call_waiting(context.sim_id(), SS_MODE_QUERY, service_class != 0 ? service_class : 1,
                               context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_set_call_waiting(request_context& context, int32_t mode, int32_t service_class) {
    if (ss_handle_call_waiting(context.sim_id(), mode & c_low_half, service_class & c_low_half, context.uta_id()) ==
        0) {
        context.in_flight();
    }
}

void ril_request_get_clir(request_context& context) {
    if (ss_read_clir_status(context.sim_id(), context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_set_clir(request_context& context, int32_t value) {
    if (ss_set_clir_status(context.sim_id(), value) == 0) {
        context.complete(RIL_E_SUCCESS);
    }
}

void ril_request_query_clip(request_context& context) {
    if (ss_read_CallingPresentation(context.sim_id(), context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_change_barring_password(request_context& context, ril_texts<3> texts) {
    if (ss_change_barring_pwd(context.sim_id(), texts[1], texts[2], context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_set_ss_notification(request_context& context, int32_t value) {
    if (ss_set_ss_notification(context.sim_id(), static_cast<uint32_t>(value)) == 0) {
        context.complete(RIL_E_SUCCESS);
    }
}

void ril_request_send_ussd(request_context& context, const char* string) {
    if (ss_set_supplement_service_data(context.sim_id(), SS_USSD_SEND, string, c_ussd_dcs, context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ss_set_supplement_service_data failed\n", __func__);
        return;
    }
    context.in_flight();
}

// The answer to the abort finds its context free.
void ril_request_cancel_ussd(request_context& context) {
    ss_set_supplement_service_data(context.sim_id(), SS_USSD_CANCEL, "", c_ussd_dcs, context.uta_id());
    context.complete(RIL_E_SUCCESS);
}

// A text without a digit would wait as a stop.
void ril_request_dtmf_start(request_context& context, const char* digit) {
    if (digit[0] == '\0') {
        RIL_TRACE(TRACE_ERROR, "%s: No data or not enough data\n", __func__);
        return;
    }
    send_tone(context, static_cast<uint8_t>(digit[0]), false, "RIL_REQUEST_DTMF_START");
}

void ril_request_dtmf(request_context& context, const char* digit) {
    send_tone(context, static_cast<uint8_t>(digit[0]), true, "RIL_REQUEST_DTMF");
}

void ril_request_dtmf_stop(request_context& context) {
    send_tone(context, c_dtmf_stop, false, "RIL_REQUEST_DTMF_STOP");
}
