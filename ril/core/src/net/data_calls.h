// What a scan and a packet detach ask of packet data, which defines it. All on the RIL thread.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// A data call is known by the index of its device, from 0 to ril_config_get_max_gprs_pdp_context() less 1.
uint32_t gprs_is_pdp_active(uint32_t sim_id, uint32_t index);                   // 1 while the call is up
RIL_Data_Call_Response_v6* gprs_get_pdp_info(uint32_t sim_id, uint32_t index);  // what Android was told, or null
uint32_t gprs_get_cid(uint32_t sim_id, uint32_t index);                         // the modem's context id

void gprs_remove_data_call_list(uint32_t sim_id, uint32_t uta_cid);  // frees what Android was told
void gprs_network_deactivate(uint32_t sim_id, uint32_t uta_cid);     // cleans up after a call that the network ended
void ril_unsol_data_call_list_change(uint32_t sim_id);

// Brings all calls down on the context of a request to scan, and scans then. The request's answer comes from there.
void bringdownconnection(uint32_t sim_id, uint32_t ctxt_id);
