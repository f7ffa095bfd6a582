// The steps in which a context ends, for every chain that has them: deactivate, undefine, release.
#pragma once

#include <cstdint>

#include "ril/core/src/async_ril/chain.h"

// Sends nothing for the context that the network activated: that one is never taken down from here.
chain_sent gprs_deactivate_pdp_context(uint32_t sim_id, uint32_t ctxt_id);
chain_answer rsp_cb_deactivate(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);

chain_sent undefine_pdp(uint32_t sim_id, uint32_t ctxt_id);
chain_answer rsp_cb_undefine_primary(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);

chain_sent gprs_release_cid(uint32_t sim_id, uint32_t ctxt_id);
