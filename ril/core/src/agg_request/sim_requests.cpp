#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"

void ril_request_get_sim_status(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t ctxt_id = qelril_get_free_ctxt_id(token);
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR out of free rilreq_state_info array elements\n", __func__);
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    sim_get_card_status(sim_id, static_cast<uint32_t>(ctxt_id));
}
