// The switch on the RIL thread that sends each request to its handler.
#include <array>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/agg_request/rows.h"
#include "ril/core/src/async_ril/async_ril.h"

namespace {

constexpr size_t c_requests = RIL_REQUEST_SET_UNSOL_CELL_INFO_LIST_RATE + 1;

// A number without a row has no handler.
constexpr std::array<request_row, c_requests> make_table() {
    std::array<request_row, c_requests> table{};
    table[RIL_REQUEST_GET_SIM_STATUS] = ROW(ril_request_get_sim_status);
    table[RIL_REQUEST_ENTER_SIM_PIN] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_ENTER_SIM_PUK] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_ENTER_SIM_PIN2] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_ENTER_SIM_PUK2] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_CHANGE_SIM_PIN] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_CHANGE_SIM_PIN2] = ROW(ril_request_enter_sim_pin);
    table[RIL_REQUEST_ENTER_NETWORK_DEPERSONALIZATION] = ROW(ril_request_enter_network_depersonalization);
    table[RIL_REQUEST_GET_CURRENT_CALLS] = ROW(ril_request_get_current_calls);
    table[RIL_REQUEST_DIAL] = ROW(ril_request_dial, "%s p_data is NULL\n");
    table[RIL_REQUEST_GET_IMSI] = ROW(ril_request_get_imsi);
    table[RIL_REQUEST_HANGUP] = ROW(ril_request_hang_up, "%s p_data is NULL, sim_id = %d\n");
    table[RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND] = ROW(ril_request_call_control);
    table[RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND] = ROW(ril_request_call_control);
    table[RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE] = ROW(ril_request_call_control);
    table[RIL_REQUEST_CONFERENCE] = ROW(ril_request_conference);
    table[RIL_REQUEST_UDUB] = ROW(ril_request_call_control);
    table[RIL_REQUEST_LAST_CALL_FAIL_CAUSE] = ROW(ril_request_last_call_fail_cause);
    table[RIL_REQUEST_SIGNAL_STRENGTH] = ROW(ril_request_signal_strength);
    table[RIL_REQUEST_VOICE_REGISTRATION_STATE] = ROW(ril_request_voice_registration_state);
    table[RIL_REQUEST_DATA_REGISTRATION_STATE] = ROW(ril_request_data_registration_state);
    table[RIL_REQUEST_OPERATOR] = ROW(ril_request_operator);
    table[RIL_REQUEST_RADIO_POWER] = ROW(ril_request_radio_power);
    table[RIL_REQUEST_DTMF] = ROW(ril_request_dtmf);
    table[RIL_REQUEST_SEND_SMS] = ROW(ril_request_send_sms, "%s: Input paramters are invalid\n");
    table[RIL_REQUEST_SEND_SMS_EXPECT_MORE] =
        ROW(ril_request_send_sms_expect_more, "%s: Input paramters are invalid\n");
    table[RIL_REQUEST_SETUP_DATA_CALL] = ROW(ril_request_setup_data_call);
    table[RIL_REQUEST_SIM_IO] = ROW(ril_request_sim_io);
    table[RIL_REQUEST_SEND_USSD] = ROW(ril_request_send_ussd);
    table[RIL_REQUEST_CANCEL_USSD] = ROW(ril_request_cancel_ussd);
    table[RIL_REQUEST_GET_CLIR] = ROW(ril_request_get_clir);
    table[RIL_REQUEST_SET_CLIR] = ROW(ril_request_set_clir);
    table[RIL_REQUEST_QUERY_CALL_FORWARD_STATUS] = ROW(ril_request_query_call_forward_status);
    table[RIL_REQUEST_SET_CALL_FORWARD] = ROW(ril_request_set_call_forward);
    table[RIL_REQUEST_QUERY_CALL_WAITING] = ROW(ril_request_query_call_waiting);
    table[RIL_REQUEST_SET_CALL_WAITING] = ROW(ril_request_set_call_waiting);
    table[RIL_REQUEST_SMS_ACKNOWLEDGE] = ROW(ril_request_sms_acknowledge, "%s: Input paramters are invalid\n");
    table[RIL_REQUEST_GET_IMEI] = ROW(ril_request_get_imei_imeisv_devid);
    table[RIL_REQUEST_GET_IMEISV] = ROW(ril_request_get_imei_imeisv_devid);
    table[RIL_REQUEST_ANSWER] = ROW(ril_request_answer);
    table[RIL_REQUEST_DEACTIVATE_DATA_CALL] = ROW(ril_request_deactivate_data_call);
    table[RIL_REQUEST_QUERY_FACILITY_LOCK] = ROW(ril_request_query_facility_lock);
    table[RIL_REQUEST_SET_FACILITY_LOCK] = ROW(ril_request_set_facility_lock);
    table[RIL_REQUEST_CHANGE_BARRING_PASSWORD] = ROW(ril_request_change_barring_password);
    table[RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE] = ROW(ril_request_query_network_selection_mode);
    table[RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC] = ROW(ril_request_set_network_selection_automatic);
    table[RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL] =
        ROW(ril_request_set_network_selection_manual, "%s RIL_E_GENERIC_FAILURE mcc mnc are NULL, sim_id = %d\n");
    table[RIL_REQUEST_QUERY_AVAILABLE_NETWORKS] = ROW(ril_request_query_available_networks);
    table[RIL_REQUEST_DTMF_START] = ROW(ril_request_dtmf_start);
    table[RIL_REQUEST_DTMF_STOP] = ROW(ril_request_dtmf_stop);
    table[RIL_REQUEST_BASEBAND_VERSION] = ROW(ril_request_baseband_version);
    table[RIL_REQUEST_SEPARATE_CONNECTION] = ROW(ril_request_separate_connection, "%s p_data is NULL, sim_id = %d\n");
    table[RIL_REQUEST_SET_MUTE] = ROW(ril_request_set_mute);
    table[RIL_REQUEST_GET_MUTE] = ROW(ril_request_get_mute);
    table[RIL_REQUEST_QUERY_CLIP] = ROW(ril_request_query_clip);
    table[RIL_REQUEST_LAST_DATA_CALL_FAIL_CAUSE] = ROW(ril_request_last_data_call_fail_cause);
    table[RIL_REQUEST_DATA_CALL_LIST] = ROW(ril_request_data_call_list);
    table[RIL_REQUEST_OEM_HOOK_RAW] = ROW(ril_request_oem_hook_raw);
    table[RIL_REQUEST_OEM_HOOK_STRINGS] = ROW(ril_request_oem_hook_strings);
    table[RIL_REQUEST_SCREEN_STATE] = ROW(ril_request_screen_state, "%s: p_data is NULL, sim_id = %d\n");
    table[RIL_REQUEST_SET_SUPP_SVC_NOTIFICATION] = ROW(ril_request_set_ss_notification);
    table[RIL_REQUEST_WRITE_SMS_TO_SIM] = ROW(ril_request_write_sms_to_sim);
    table[RIL_REQUEST_DELETE_SMS_ON_SIM] = ROW(ril_request_delete_sms_on_sim);
    table[RIL_REQUEST_SET_BAND_MODE] = ROW(ril_request_set_band_mode);
    table[RIL_REQUEST_QUERY_AVAILABLE_BAND_MODE] = ROW(ril_request_query_available_band_mode);
    table[RIL_REQUEST_STK_GET_PROFILE] = ROW(ril_request_get_stk_profile);
    table[RIL_REQUEST_STK_SET_PROFILE] = ROW(ril_request_set_stk_profile);
    table[RIL_REQUEST_STK_SEND_ENVELOPE_COMMAND] = ROW(ril_request_send_stk_envelope_command);
    table[RIL_REQUEST_STK_SEND_TERMINAL_RESPONSE] = ROW(ril_request_send_stk_terminal_response);
    table[RIL_REQUEST_STK_HANDLE_CALL_SETUP_REQUESTED_FROM_SIM] =
        ROW(ril_request_handle_stk_callsetup_requested_from_sim);
    table[RIL_REQUEST_EXPLICIT_CALL_TRANSFER] = ROW(ril_request_explicit_call_transfer);
    table[RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE] = ROW(ril_request_set_preferred_network_type);
    table[RIL_REQUEST_GET_PREFERRED_NETWORK_TYPE] = ROW(ril_request_get_preferred_network_type);
    table[RIL_REQUEST_GET_NEIGHBORING_CELL_IDS] = ROW(ril_request_get_neighboring_cell_ids);
    table[RIL_REQUEST_SET_LOCATION_UPDATES] = ROW(ril_request_set_location_updates);
    table[RIL_REQUEST_SET_TTY_MODE] = ROW(ril_request_set_tty_mode);
    table[RIL_REQUEST_QUERY_TTY_MODE] = ROW(ril_request_query_tty_mode);
    table[RIL_REQUEST_GSM_GET_BROADCAST_SMS_CONFIG] = ROW(ril_request_get_cbs_config);
    table[RIL_REQUEST_GSM_SET_BROADCAST_SMS_CONFIG] = ROW(ril_request_set_cbs_config);
    table[RIL_REQUEST_GSM_SMS_BROADCAST_ACTIVATION] = ROW(ril_request_cbs_activation);
    table[RIL_REQUEST_DEVICE_IDENTITY] = ROW(ril_request_get_imei_imeisv_devid);
    table[RIL_REQUEST_GET_SMSC_ADDRESS] = ROW(ril_request_get_smsc_address);
    table[RIL_REQUEST_SET_SMSC_ADDRESS] = ROW(ril_request_set_smsc_address);
    table[RIL_REQUEST_REPORT_SMS_MEMORY_STATUS] = ROW(ril_request_report_sms_memory_status);
    table[RIL_REQUEST_REPORT_STK_SERVICE_IS_RUNNING] = ROW(ril_request_report_stk_service_is_running);
    table[RIL_REQUEST_ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU] = ROW(ril_request_acknowledge_incoming_gsm_sms_with_pdu);
    table[RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS] = ROW(ril_request_send_stk_envelope_with_status);
    table[RIL_REQUEST_VOICE_RADIO_TECH] = ROW(ril_request_voice_radio_tech);
    table[RIL_REQUEST_GET_CELL_INFO_LIST] = ROW(ril_request_get_cellinfo_list);
    table[RIL_REQUEST_SET_UNSOL_CELL_INFO_LIST_RATE] = ROW(ril_request_set_unsol_cell_info_list_rate);
    return table;
}

constexpr std::array<request_row, c_requests> c_rows = make_table();

}  // namespace

void on_request_handler(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    const auto number = static_cast<uint32_t>(request);
    const ril_request received = {sim_id, request, token};
    if (number >= c_rows.size() || c_rows[number].run == nullptr) {
        received.complete(RIL_E_REQUEST_NOT_SUPPORTED);
        return;
    }
    c_rows[number].run(c_rows[number], received, {p_data, data_len});
}
