#include "ril/core/src/net/fast_dormancy.h"

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

void net_fdor_status_ind(uint32_t sim_id, const void* p_params) {
    RIL_TRACE(TRACE_ERROR, "%s: Fast dormancy setting rejected, cause = %u, for SIM = %u\n", __func__,
              *static_cast<const uint8_t*>(p_params), sim_id);
}

}  // namespace

int32_t net_set_fast_dormancy(uint32_t sim_id, int32_t mode, uint8_t delay, uint8_t scri) {
    UtaNetTriggerFdorExtParam param = {mode, delay, scri};
    if (scri == 0 && RemUtaMsNetReadFdorTimer(sim_id, &param.scri_timer) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Read SCRI Timer call failed\n", __func__);
        return -1;
    }
    if (delay == 0 && RemUtaMsNetReadFdorDelayTimer(sim_id, &param.delay_timer) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Read Fdor Delay Timer call failed\n", __func__);
        return -1;
    }
    if (RemUtaMsNetTriggerFdorExt(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Trigger Fdor call failed\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsNetFdorStatusIndCb(uint32_t sim_id, const UtaNetFdorStatusIndParam* param) {
    static uint8_t s_cause;
    s_cause = param->cause;
    qelril_post_utamsindcb(sim_id, &s_cause, net_fdor_status_ind);
}
