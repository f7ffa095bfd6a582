// The SIM toolkit.
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/simtk/simtk.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

void ril_request_get_stk_profile(const ril_request& request) {
    request.succeed(stk_get_terminal_profile(request.sim_id));
}

void ril_request_set_stk_profile(request_context& context, const char* text) {
    if (stk_set_terminal_profile(context, text) == 0) {
        context.in_flight();
    }
}

void ril_request_send_stk_envelope_command(request_context& context, const char* text) {
    if (stk_send_envelope_command(context, text) == 0) {
        context.in_flight();
    }
}

// The answer tells by the private area what the request wants.
void ril_request_send_stk_envelope_with_status(request_context& context, const char* text) {
    auto* const area = context.create_area<int32_t>();
    if (area == nullptr) {
        return;
    }
    *area = RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS;
    if (stk_send_envelope_command(context, text) == 0) {
        context.in_flight();
    }
}

void ril_request_send_stk_terminal_response(const ril_request& request, const char* text) {
    request.complete(stk_send_terminal_response(request.sim_id, text) == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

// Only the first octet of the value counts.
void ril_request_handle_stk_callsetup_requested_from_sim(const ril_request& request, int32_t value) {
    const int32_t result = stk_call_setup_request_from_sim(request.sim_id, static_cast<uint8_t>(value));
    request.complete(result == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

// No context: nobody waits for the control request's answer.
void ril_request_report_stk_service_is_running(const ril_request& request) {
    const UtaSimTkControlParam param{};
    if (RemUtaMsSimTkInit(request.sim_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSimTkInit failed\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
    } else if (RemUtaMsSimTkControlReq(request.sim_id, &param, RPCMakeContextId()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSimTkControlReq failed\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
    } else {
        request.complete(RIL_E_SUCCESS);
    }
}
