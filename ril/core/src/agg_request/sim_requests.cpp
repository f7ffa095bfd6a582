#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/agg_request/take_context.h"
#include "ril/core/src/sim/sim.h"

void ril_request_get_sim_status(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t ctxt_id = take_context(__func__, token);
    if (ctxt_id >= 0) {
        sim_get_card_status(sim_id, static_cast<uint32_t>(ctxt_id));
    }
}
