// The card's first record of message parameters, EF_SMSP (3GPP TS 51.011, 10.5.6), in steps of chains whose context has
// a record (sms_state.h). Nobody outside the module includes this.
#pragma once

#include <cstdint>

#include "ril/core/src/async_ril/chain.h"

chain_sent sms_initiate_get_smsp_filedetails(uint32_t sim_id, uint32_t ctxt_id);
chain_answer sms_sim_apdu_cmdrespcb_select_smsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);

// Reads the service centre's address into the module's state.
chain_sent sms_read_param_record_from_sim(uint32_t sim_id, uint32_t ctxt_id);
chain_answer sms_sim_apdu_cmdrespcb_smsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);
