// The handlers of Android's requests. A handler owns its token: it completes it exactly once, now or later. RIL thread.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

void ril_request_get_sim_status(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_radio_power(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);

// IMEI, IMEISV and, with an array of both, the device's identity (3GPP TS 23.003, 6.2).
void ril_request_get_imei_imeisv_devid(uint32_t sim_id, int32_t request, void* p_data, size_t data_len,
                                       RIL_Token token);

// The network. No data but for the manual selection, whose data is the numeric text of the network ("26201").
void ril_request_voice_registration_state(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_data_registration_state(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_voice_radio_tech(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_query_network_selection_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_set_network_selection_automatic(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_set_network_selection_manual(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_query_available_networks(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
