// The network's refusals of a service: rejected, failed, or ended for a cause.
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/ss/ussd.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

constexpr int32_t UTA_SS_OC_INTERROGATION = 4;
constexpr int32_t UTA_SS_OC_USSD = 8;
constexpr uint32_t c_service_codes = 22;
constexpr int32_t c_cause_fdn = 279;

void fail(uint32_t ctxt_id, RIL_Errno error) {
    qelril_complete_and_return(ctxt_id, error, nullptr, 0);
}

// The question for the connected line's presentation is answered by a text, whatever becomes of it.
bool answer_colp_query(uint32_t sim_id, int32_t op_code, int32_t service_code, uint32_t ctxt_id) {
    if (service_code != UTA_SS_SC_COLP || op_code != UTA_SS_OC_INTERROGATION) {
        return false;
    }
    ss_onUnsolicited_ussd(sim_id, c_colp_unknown, c_ussd_notify);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
    return true;
}

void ss_async_UtaMsSsNetworkRejectIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& reject = *static_cast<const UtaSsNetworkRejectIndParamStruct*>(p_params);
    if (!answer_colp_query(sim_id, reject.op_code, reject.service_code, ctxt_id)) {
        fail(ctxt_id, RIL_E_GENERIC_FAILURE);
    }
}

void ss_async_UtaMsSsNetworkErrorIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& error = *static_cast<const UtaSsNetworkErrorIndParamStruct*>(p_params);
    if (static_cast<uint32_t>(error.service_code) >= c_service_codes) {
        RIL_TRACE(TRACE_ERROR, "%s: hit default case, unexpected\n", __func__);
        fail(ctxt_id, RIL_E_GENERIC_FAILURE);  // Android gets its answer all the same
        return;
    }
    if (!answer_colp_query(sim_id, error.op_code, error.service_code, ctxt_id)) {
        RIL_TRACE(TRACE_ERROR, "%s: completing request as a failure\n", __func__);
        fail(ctxt_id, RIL_E_GENERIC_FAILURE);
    }
}

void ss_async_UtaMsSsNetworkGsmCauseIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& ended = *static_cast<const UtaSsNetworkGsmCauseIndParamStruct*>(p_params);
    if (ended.op_code == UTA_SS_OC_USSD) {
        ss_onUnsolicited_ussd(sim_id, "", c_ussd_terminated);
        fail(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    if (!answer_colp_query(sim_id, ended.op_code, ended.service_code, ctxt_id)) {
        fail(ctxt_id, ended.cause == c_cause_fdn ? RIL_E_FDN_CHECK_FAILURE : RIL_E_GENERIC_FAILURE);
    }
}

}  // namespace

void UtaMsSsNetworkRejectIndCb(uint32_t sim_id, const UtaSsNetworkRejectIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsNetworkRejectIndCb);
}

void UtaMsSsNetworkErrorIndCb(uint32_t sim_id, const UtaSsNetworkErrorIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsNetworkErrorIndCb);
}

void UtaMsSsNetworkGsmCauseIndCb(uint32_t sim_id, const UtaSsNetworkGsmCauseIndParamStruct* param,
                                 uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsNetworkGsmCauseIndCb);
}
