// Which form the data of each request, response and unsolicited response have.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <cstddef>

enum class Form {
    unknown,
    nothing,
    string,
    strings,
    ints,
    raw,
    // Of requests only.
    dial,
    sim_io,
    sms_write,
    call_forward,
    // Of requests and responses.
    broadcast_config,
    // Of responses only.
    sim_status,
    calls,
    data_calls,
    signal,
    sms,
    sim_io_response,
    call_forwards,
    neighbouring_cells,
    cell_infos,
    notification,
    radio_state,  // one integer that rild asks the library for
    nitz,         // a string, and the time at which rild got it
};

struct RequestForm {
    int number;
    Form argument;
    Form response;
};

struct UnsolForm {
    int number;
    Form form;
};

// What isn't listed has no form: such a request is refused, such an unsolicited response goes nowhere.
inline constexpr RequestForm c_request_forms[] = {
    {RIL_REQUEST_GET_SIM_STATUS, Form::nothing, Form::sim_status},
    {RIL_REQUEST_ENTER_SIM_PIN, Form::strings, Form::ints},
    {RIL_REQUEST_ENTER_SIM_PUK, Form::strings, Form::ints},
    {RIL_REQUEST_ENTER_SIM_PIN2, Form::strings, Form::ints},
    {RIL_REQUEST_ENTER_SIM_PUK2, Form::strings, Form::ints},
    {RIL_REQUEST_CHANGE_SIM_PIN, Form::strings, Form::ints},
    {RIL_REQUEST_CHANGE_SIM_PIN2, Form::strings, Form::ints},
    {RIL_REQUEST_ENTER_NETWORK_DEPERSONALIZATION, Form::strings, Form::ints},
    {RIL_REQUEST_GET_CURRENT_CALLS, Form::nothing, Form::calls},
    {RIL_REQUEST_DIAL, Form::dial, Form::nothing},
    {RIL_REQUEST_GET_IMSI, Form::strings, Form::string},
    {RIL_REQUEST_HANGUP, Form::ints, Form::nothing},
    {RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND, Form::nothing, Form::nothing},
    {RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND, Form::nothing, Form::nothing},
    {RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE, Form::nothing, Form::nothing},
    {RIL_REQUEST_CONFERENCE, Form::nothing, Form::nothing},
    {RIL_REQUEST_UDUB, Form::nothing, Form::nothing},
    {RIL_REQUEST_LAST_CALL_FAIL_CAUSE, Form::nothing, Form::ints},
    {RIL_REQUEST_SIGNAL_STRENGTH, Form::nothing, Form::signal},
    {RIL_REQUEST_VOICE_REGISTRATION_STATE, Form::nothing, Form::strings},
    {RIL_REQUEST_DATA_REGISTRATION_STATE, Form::nothing, Form::strings},
    {RIL_REQUEST_OPERATOR, Form::nothing, Form::strings},
    {RIL_REQUEST_RADIO_POWER, Form::ints, Form::nothing},
    {RIL_REQUEST_DTMF, Form::string, Form::nothing},
    {RIL_REQUEST_SEND_SMS, Form::strings, Form::sms},
    {RIL_REQUEST_SEND_SMS_EXPECT_MORE, Form::strings, Form::sms},
    {RIL_REQUEST_SETUP_DATA_CALL, Form::strings, Form::data_calls},
    {RIL_REQUEST_SIM_IO, Form::sim_io, Form::sim_io_response},
    {RIL_REQUEST_SEND_USSD, Form::string, Form::nothing},
    {RIL_REQUEST_CANCEL_USSD, Form::nothing, Form::nothing},
    {RIL_REQUEST_GET_CLIR, Form::nothing, Form::ints},
    {RIL_REQUEST_SET_CLIR, Form::ints, Form::nothing},
    {RIL_REQUEST_QUERY_CALL_FORWARD_STATUS, Form::call_forward, Form::call_forwards},
    {RIL_REQUEST_SET_CALL_FORWARD, Form::call_forward, Form::nothing},
    {RIL_REQUEST_QUERY_CALL_WAITING, Form::ints, Form::ints},
    {RIL_REQUEST_SET_CALL_WAITING, Form::ints, Form::nothing},
    {RIL_REQUEST_SMS_ACKNOWLEDGE, Form::ints, Form::nothing},
    {RIL_REQUEST_GET_IMEI, Form::nothing, Form::string},
    {RIL_REQUEST_GET_IMEISV, Form::nothing, Form::string},
    {RIL_REQUEST_ANSWER, Form::nothing, Form::nothing},
    {RIL_REQUEST_DEACTIVATE_DATA_CALL, Form::strings, Form::nothing},
    {RIL_REQUEST_QUERY_FACILITY_LOCK, Form::strings, Form::ints},
    {RIL_REQUEST_SET_FACILITY_LOCK, Form::strings, Form::ints},
    {RIL_REQUEST_CHANGE_BARRING_PASSWORD, Form::strings, Form::nothing},
    {RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE, Form::nothing, Form::ints},
    {RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, Form::nothing, Form::nothing},
    {RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, Form::string, Form::nothing},
    {RIL_REQUEST_QUERY_AVAILABLE_NETWORKS, Form::nothing, Form::strings},
    {RIL_REQUEST_DTMF_START, Form::string, Form::nothing},
    {RIL_REQUEST_DTMF_STOP, Form::nothing, Form::nothing},
    {RIL_REQUEST_BASEBAND_VERSION, Form::nothing, Form::string},
    {RIL_REQUEST_SEPARATE_CONNECTION, Form::ints, Form::nothing},
    {RIL_REQUEST_SET_MUTE, Form::ints, Form::nothing},
    {RIL_REQUEST_GET_MUTE, Form::nothing, Form::ints},
    {RIL_REQUEST_QUERY_CLIP, Form::nothing, Form::ints},
    {RIL_REQUEST_LAST_DATA_CALL_FAIL_CAUSE, Form::nothing, Form::ints},
    {RIL_REQUEST_DATA_CALL_LIST, Form::nothing, Form::data_calls},
    {RIL_REQUEST_OEM_HOOK_RAW, Form::raw, Form::raw},
    {RIL_REQUEST_OEM_HOOK_STRINGS, Form::strings, Form::strings},
    {RIL_REQUEST_SCREEN_STATE, Form::ints, Form::nothing},
    {RIL_REQUEST_SET_SUPP_SVC_NOTIFICATION, Form::ints, Form::nothing},
    {RIL_REQUEST_WRITE_SMS_TO_SIM, Form::sms_write, Form::ints},
    {RIL_REQUEST_DELETE_SMS_ON_SIM, Form::ints, Form::nothing},
    {RIL_REQUEST_SET_BAND_MODE, Form::ints, Form::nothing},
    {RIL_REQUEST_QUERY_AVAILABLE_BAND_MODE, Form::nothing, Form::ints},
    {RIL_REQUEST_STK_GET_PROFILE, Form::nothing, Form::string},
    {RIL_REQUEST_STK_SET_PROFILE, Form::string, Form::nothing},
    {RIL_REQUEST_STK_SEND_ENVELOPE_COMMAND, Form::string, Form::string},
    {RIL_REQUEST_STK_SEND_TERMINAL_RESPONSE, Form::string, Form::nothing},
    {RIL_REQUEST_STK_HANDLE_CALL_SETUP_REQUESTED_FROM_SIM, Form::ints, Form::nothing},
    {RIL_REQUEST_EXPLICIT_CALL_TRANSFER, Form::nothing, Form::nothing},
    {RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, Form::ints, Form::nothing},
    {RIL_REQUEST_GET_PREFERRED_NETWORK_TYPE, Form::nothing, Form::ints},
    {RIL_REQUEST_GET_NEIGHBORING_CELL_IDS, Form::nothing, Form::neighbouring_cells},
    {RIL_REQUEST_SET_LOCATION_UPDATES, Form::ints, Form::nothing},
    {RIL_REQUEST_SET_TTY_MODE, Form::ints, Form::nothing},
    {RIL_REQUEST_QUERY_TTY_MODE, Form::nothing, Form::ints},
    {RIL_REQUEST_GSM_GET_BROADCAST_SMS_CONFIG, Form::nothing, Form::broadcast_config},
    {RIL_REQUEST_GSM_SET_BROADCAST_SMS_CONFIG, Form::broadcast_config, Form::nothing},
    {RIL_REQUEST_GSM_SMS_BROADCAST_ACTIVATION, Form::ints, Form::nothing},
    {RIL_REQUEST_DEVICE_IDENTITY, Form::nothing, Form::strings},
    {RIL_REQUEST_GET_SMSC_ADDRESS, Form::nothing, Form::string},
    {RIL_REQUEST_SET_SMSC_ADDRESS, Form::string, Form::nothing},
    {RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, Form::ints, Form::nothing},
    {RIL_REQUEST_REPORT_STK_SERVICE_IS_RUNNING, Form::nothing, Form::nothing},
    {RIL_REQUEST_ISIM_AUTHENTICATION, Form::string, Form::string},
    {RIL_REQUEST_ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU, Form::strings, Form::nothing},
    {RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS, Form::string, Form::sim_io_response},
    {RIL_REQUEST_VOICE_RADIO_TECH, Form::nothing, Form::ints},
    {RIL_REQUEST_GET_CELL_INFO_LIST, Form::nothing, Form::cell_infos},
    {RIL_REQUEST_SET_UNSOL_CELL_INFO_LIST_RATE, Form::ints, Form::nothing},
};

inline constexpr UnsolForm c_unsol_forms[] = {
    {RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED, Form::radio_state},
    {RIL_UNSOL_RESPONSE_CALL_STATE_CHANGED, Form::nothing},
    {RIL_UNSOL_RESPONSE_VOICE_NETWORK_STATE_CHANGED, Form::nothing},
    {RIL_UNSOL_RESPONSE_NEW_SMS, Form::string},
    {RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT, Form::string},
    {RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM, Form::ints},
    {RIL_UNSOL_ON_USSD, Form::strings},
    {RIL_UNSOL_NITZ_TIME_RECEIVED, Form::nitz},
    {RIL_UNSOL_SIGNAL_STRENGTH, Form::signal},
    {RIL_UNSOL_DATA_CALL_LIST_CHANGED, Form::data_calls},
    {RIL_UNSOL_SUPP_SVC_NOTIFICATION, Form::notification},
    {RIL_UNSOL_STK_SESSION_END, Form::nothing},
    {RIL_UNSOL_STK_PROACTIVE_COMMAND, Form::string},
    {RIL_UNSOL_STK_EVENT_NOTIFY, Form::string},
    {RIL_UNSOL_SIM_SMS_STORAGE_FULL, Form::nothing},
    {RIL_UNSOL_CALL_RING, Form::nothing},
    {RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED, Form::nothing},
    {RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS, Form::raw},
    {RIL_UNSOL_RESTRICTED_STATE_CHANGED, Form::ints},
    {RIL_UNSOL_OEM_HOOK_RAW, Form::raw},
    {RIL_UNSOL_RINGBACK_TONE, Form::ints},
    {RIL_UNSOL_RIL_CONNECTED, Form::ints},
    {RIL_UNSOL_CELL_INFO_LIST, Form::cell_infos},
};

constexpr RequestForm form_of_request(int number) {
    for (const RequestForm& row : c_request_forms) {
        if (row.number == number) {
            return row;
        }
    }
    return {number, Form::unknown, Form::unknown};
}

constexpr Form form_of_unsol(int number) {
    for (const UnsolForm& row : c_unsol_forms) {
        if (row.number == number) {
            return row.form;
        }
    }
    return Form::unknown;
}
