#include "ril/core/src/net/rx_diversity.h"

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

void configure_rx_diversity_darp_ind(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const int32_t result = *static_cast<const int32_t*>(p_params);
    if (result == 0) {
        RIL_TRACE(TRACE_EVENT, "%s:Successfully configured \n", __func__);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s:Failed to configure result = %d \n", __func__, result);
    }
    qelril_free_and_return(ctxt_id);
}

}  // namespace

int32_t configure_rx_diversity_darp(uint32_t sim_id, uint32_t rx_diversity, uint16_t darp) {
    const int32_t ctxt_id = qelril_get_free_ctxt_id(nullptr, configure_rx_diversity_darp_ind);
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Unable get a ctxt_id", __func__);
        return -1;
    }
    UtaNetConfigureRxDiversityDarpParams param{};
    param.rx = rx_diversity == 1 ? 1 : 0;
    param.present = darp < c_darp_none ? 1 : 0;
    param.value = darp == c_darp_none ? 1 : darp;
    if (RemUtaMsNetConfigureRxDiversityDarp(sim_id, &param, uta_context_id(static_cast<uint32_t>(ctxt_id))) != 0) {
        // The context stays until the modem's next end: a call that was cut short leaves open whether the modem heard
        // it, and the RIL thread may have its answer already.
        RIL_TRACE(TRACE_ERROR, "%s: Failed to Configure RxDiversity Darp\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsNetConfigureRxDiversityDarpIndCb(uint32_t sim_id, int32_t value_2, uint32_t context_id) {
    const int32_t result = value_2;
    qelril_post_utamsrspcb(sim_id, &result, context_id, configure_rx_diversity_darp_ind);
}
