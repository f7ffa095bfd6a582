// The handlers of Android's requests. A handler owns its token: it completes it exactly once, now or later. What its
// parameters mean, and what becomes of data that does not fit them, stands in rows.h. RIL thread.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

#include "ril/core/src/agg_request/rows.h"
#include "ril/core/src/async_ril/request.h"

// The card. The codes of a PIN request stand in the order of Android's interface; a facility's texts are its name, the
// mode of a setting, the password and the class of service.
void ril_request_get_sim_status(request_context& context);
void ril_request_enter_sim_pin(request_context& context, ril_texts<1> codes);
void ril_request_enter_network_depersonalization(request_context& context, ril_texts<1> texts);
void ril_request_query_facility_lock(request_context& context, ril_texts<1> texts);
void ril_request_set_facility_lock(request_context& context, ril_texts<2> texts);
void ril_request_sim_io(request_context& context, const RIL_SIM_IO_v6& io);
void ril_request_get_imsi(request_context& context);

void ril_request_radio_power(request_context& context, int32_t on);

// IMEI, IMEISV and, with an array of both, the device's identity (3GPP TS 23.003, 6.2).
void ril_request_get_imei_imeisv_devid(const ril_request& request);

// The network. The manual selection's text is the network's number ("26201").
void ril_request_voice_registration_state(const ril_request& request);
void ril_request_data_registration_state(const ril_request& request);
void ril_request_voice_radio_tech(const ril_request& request);
void ril_request_query_network_selection_mode(const ril_request& request);
void ril_request_set_network_selection_automatic(request_context& context);
void ril_request_set_network_selection_manual(request_context& context, const char* network);
void ril_request_query_available_networks(request_context& context);
void ril_request_operator(const ril_request& request);
void ril_request_signal_strength(const ril_request& request);
void ril_request_set_preferred_network_type(const ril_request& request, ril_data data);
void ril_request_get_preferred_network_type(const ril_request& request);
void ril_request_set_band_mode(request_context& context, int32_t band_mode);
void ril_request_query_available_band_mode(request_context& context);
void ril_request_screen_state(const ril_request& request, int32_t on);
void ril_request_set_location_updates(const ril_request& request, ril_data data);

// Calls. An index is that of RIL_Call, a text telephone mode 0 to 3.
void ril_request_dial(request_context& context, const RIL_Dial& dial);
void ril_request_answer(request_context& context);
void ril_request_hang_up(request_context& context, int32_t index);
void ril_request_call_control(request_context& context);
void ril_request_conference(request_context& context);
void ril_request_separate_connection(request_context& context, int32_t index);
void ril_request_explicit_call_transfer(request_context& context);
void ril_request_get_current_calls(const ril_request& request);
void ril_request_last_call_fail_cause(const ril_request& request);
void ril_request_set_mute(const ril_request& request, int32_t mute);
void ril_request_get_mute(const ril_request& request);
void ril_request_query_tty_mode(const ril_request& request);
void ril_request_set_tty_mode(const ril_request& request, int32_t mode);

// Messages: the service centre's address, or null, and the message, both as hexadecimal text. An acknowledgement is
// success and a cause (3GPP TS 23.040, 9.2.3.22), or "1" or "0" and the text to answer with. A record counts from 1.
void ril_request_send_sms(request_context& context, ril_texts<2> texts);
void ril_request_send_sms_expect_more(request_context& context, ril_texts<2> texts);
void ril_request_sms_acknowledge(const ril_request& request, int32_t success, int32_t cause);
void ril_request_acknowledge_incoming_gsm_sms_with_pdu(const ril_request& request, ril_texts<2> texts);
void ril_request_write_sms_to_sim(request_context& context, const RIL_SMS_WriteArgs& args);
void ril_request_delete_sms_on_sim(request_context& context, int32_t index);
void ril_request_get_smsc_address(const ril_request& request);
void ril_request_set_smsc_address(request_context& context, const char* text);
void ril_request_report_sms_memory_status(request_context& context, int32_t available);

// The cells around the phone; the rate is in milliseconds, 0x7FFFFFFF for none. The engineering mode has no request of
// Android's: 1 turns its reports on, 0 off.
void ril_request_get_neighboring_cell_ids(request_context& context);
void ril_request_get_cellinfo_list(request_context& context);
void ril_request_set_unsol_cell_info_list_rate(const ril_request& request, int32_t rate);
void ril_request_set_eng_mode(const ril_request& request, int32_t mode);
void ril_request_query_eng_mode(const ril_request& request);

// The makers' commands: the first text is the command's number. The modem's version comes with the factory's read-outs.
void ril_request_oem_hook_raw(const ril_request& request);
void ril_request_oem_hook_strings(request_context& context, ril_texts<1> texts);
void ril_request_baseband_version(const ril_request& request);

// Cell broadcast: a list of pointers to records, which may be empty; 0 starts, 1 stops.
void ril_request_get_cbs_config(const ril_request& request);
void ril_request_set_cbs_config(const ril_request& request, ril_data data);
void ril_request_cbs_activation(request_context& context, int32_t action);

// Supplementary services, USSD and tones. A digit is the first character of its text. The texts of a password's change
// are a facility, the old and the new password.
void ril_request_query_call_forward_status(request_context& context, const RIL_CallForwardInfo& info);
void ril_request_set_call_forward(request_context& context, const RIL_CallForwardInfo& info);
void ril_request_query_call_waiting(request_context& context, int32_t service_class);
void ril_request_set_call_waiting(request_context& context, int32_t mode, int32_t service_class);
void ril_request_get_clir(request_context& context);
void ril_request_set_clir(request_context& context, int32_t value);
void ril_request_query_clip(request_context& context);
void ril_request_change_barring_password(request_context& context, ril_texts<3> texts);
void ril_request_set_ss_notification(request_context& context, int32_t value);
void ril_request_send_ussd(request_context& context, const char* string);
void ril_request_cancel_ussd(request_context& context);
void ril_request_dtmf(request_context& context, const char* digit);
void ril_request_dtmf_start(request_context& context, const char* digit);
void ril_request_dtmf_stop(request_context& context);

// Data calls. Whether any may be set up is answered before the data is looked at.
void ril_request_setup_data_call(const ril_request& request, ril_data data);
void ril_request_deactivate_data_call(const ril_request& request, ril_data data);
void ril_request_last_data_call_fail_cause(const ril_request& request);
void ril_request_data_call_list(const ril_request& request);

// The SIM toolkit (ETSI TS 102 223): profiles, envelopes and terminal responses are hexadecimal text. A call that the
// card asks for is set up with 0 and rejected with 1.
void ril_request_get_stk_profile(const ril_request& request);
void ril_request_set_stk_profile(request_context& context, const char* text);
void ril_request_send_stk_envelope_command(request_context& context, const char* text);
void ril_request_send_stk_envelope_with_status(request_context& context, const char* text);
void ril_request_send_stk_terminal_response(const ril_request& request, const char* text);
void ril_request_handle_stk_callsetup_requested_from_sim(const ril_request& request, int32_t value);
void ril_request_report_stk_service_is_running(const ril_request& request);
