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

// Calls. RIL_Dial; an index of RIL_Call; 0 or 1; a text telephone mode 0 to 3; the rest has no data.
void ril_request_dial(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_answer(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_hang_up(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_call_control(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token);
void ril_request_conference(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_separate_connection(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_explicit_call_transfer(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_get_current_calls(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_last_call_fail_cause(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_set_mute(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_get_mute(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_query_tty_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
void ril_request_set_tty_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);
