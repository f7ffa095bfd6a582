#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/acl.h"
#include "ril/utils/trace.h"

namespace {

constexpr int c_status_try_again = 0xFFFF;
constexpr int32_t c_retry_when_not_registered_ms = 1000;

void setup_data_retry(const ril_request& request, int32_t retry_ms) {
    RIL_Data_Call_Response_v6 response{};
    response.status = c_status_try_again;
    response.suggestedRetryTime = retry_ms;
    request.succeed(response);
}

bool is_listed_in_acl(uint32_t sim_id, data_call_texts texts) {
    return sim_check_apn_listed_in_acl(sim_id, texts[DATA_CALL_APN]) != 0;
}

// Whether the data is good and a device is chosen.
bool admit(uint32_t sim_id, data_call_texts texts, uint32_t& uta_cid) {
    if (texts.size() < DATA_CALL_TEXTS || !is_listed_in_acl(sim_id, texts) ||
        gprs_check_n_print_setup_data_call_params(sim_id, texts, uta_cid) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Parameter data that comes with ril request is NULL\n",
                  "ril_request_setup_data_call");
        return false;
    }
    return true;
}

// Refused when the call is not up; when all make room for a scan anyway, that is what was wanted.
void refuse_deactivation(const ril_request& request) {
    request.complete(deactivate_pdp_beforenetscan == 1 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

}  // namespace

void ril_request_setup_data_call(const ril_request& request, ril_data data) {
    const uint32_t sim_id = request.sim_id;
    if (is_ps_registered(sim_id) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s ps not registered\n", __func__);
        setup_data_retry(request, c_retry_when_not_registered_ms);
        return;
    }
    int32_t retry_ms = 0;
    if (gprs_is_data_call_allowed(&retry_ms) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: gprs_is_data_call is not allowed\n", __func__);
        setup_data_retry(request, retry_ms);
        return;
    }
    const data_call_texts texts = data.texts();
    if (!gprs_has_room_for_texts(texts)) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    uint32_t uta_cid = 0;
    const bool by_network =
        texts.size() > DATA_CALL_APN && gprs_find_default_pdp(sim_id, texts[DATA_CALL_APN], uta_cid);
    if (!by_network && !admit(sim_id, texts, uta_cid)) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    if (!is_listed_in_acl(sim_id, texts)) {
        gprs_release_choice(sim_id, uta_cid);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    request_context context(request, __func__);
    if (!context) {
        gprs_release_choice(sim_id, uta_cid);
    } else if (by_network) {
        gprs_set_up_default(context, texts, uta_cid);
    } else {
        gprs_set_up_new(context, texts, uta_cid);
    }
}

void ril_request_deactivate_data_call(const ril_request& request, ril_data data) {
    constexpr size_t c_texts = 2;  // the number and the reason
    const data_call_texts texts = data.texts();
    if (texts.size() < c_texts || texts[0] == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: insufficent data from Android. Was given %ld bytes\n", __func__,
                  static_cast<long>(data.length));
        refuse_deactivation(request);
        return;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: cid %s, reason %s\n", __func__, texts[0], texts[1] == nullptr ? "" : texts[1]);
    const uint32_t uta_cid = gprs_cid_of_android(request.sim_id, texts[0]);
    if (uta_cid == 0 || gprs_deactivate(request, uta_cid) != 0) {
        refuse_deactivation(request);
    }
}

void ril_request_last_data_call_fail_cause(const ril_request& request) {
    request.succeed(gprs_get_last_data_call_fail_cause(request.sim_id));
}

void ril_request_data_call_list(const ril_request& request) {
    RIL_Data_Call_Response_v6 calls[c_pdp_devices_max];
    const size_t count = gprs_list_data_calls(request.sim_id, calls);
    ril_request_complete(request.token, RIL_E_SUCCESS, count == 0 ? nullptr : calls, count * sizeof(calls[0]));
}
