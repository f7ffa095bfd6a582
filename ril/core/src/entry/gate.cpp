#include "ril/core/src/entry/gate.h"

#include <climits>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/trace.h"

namespace {

constexpr int c_pdp_fail_radio_power_off = -5;  // PDP_FAIL_RADIO_POWER_OFF

bool is_cdma_request(int request) {
    switch (request) {
        case RIL_REQUEST_CDMA_SET_SUBSCRIPTION_SOURCE:
        case RIL_REQUEST_CDMA_SET_ROAMING_PREFERENCE:
        case RIL_REQUEST_CDMA_QUERY_ROAMING_PREFERENCE:
        case RIL_REQUEST_CDMA_SET_PREFERRED_VOICE_PRIVACY_MODE:
        case RIL_REQUEST_CDMA_QUERY_PREFERRED_VOICE_PRIVACY_MODE:
        case RIL_REQUEST_CDMA_FLASH:
        case RIL_REQUEST_CDMA_BURST_DTMF:
        case RIL_REQUEST_CDMA_VALIDATE_AND_WRITE_AKEY:
        case RIL_REQUEST_CDMA_SEND_SMS:
        case RIL_REQUEST_CDMA_SMS_ACKNOWLEDGE:
        case RIL_REQUEST_CDMA_GET_BROADCAST_SMS_CONFIG:
        case RIL_REQUEST_CDMA_SET_BROADCAST_SMS_CONFIG:
        case RIL_REQUEST_CDMA_SMS_BROADCAST_ACTIVATION:
        case RIL_REQUEST_CDMA_SUBSCRIPTION:
        case RIL_REQUEST_CDMA_WRITE_SMS_TO_RUIM:
        case RIL_REQUEST_CDMA_DELETE_SMS_ON_RUIM:
        case RIL_REQUEST_CDMA_GET_SUBSCRIPTION_SOURCE:
            return true;
        default:
            return false;
    }
}

// What both on_request and on_supports refuse.
bool is_never_supported(int request) {
    return is_cdma_request(request) || request == RIL_REQUEST_RESET_RADIO ||
           request == RIL_REQUEST_EXIT_EMERGENCY_CALLBACK_MODE || request == RIL_REQUEST_ISIM_AUTHENTICATION;
}

bool ril_is_req_supported(int request) {
    return !is_never_supported(request) && request != RIL_REQUEST_DEVICE_IDENTITY;
}

// Whether a request may pass while the radio is unavailable.
bool is_req_allowed_in_radio_off(uint32_t sim_id, int request) {
    switch (request) {
        case RIL_REQUEST_GET_SIM_STATUS:
        case RIL_REQUEST_ENTER_SIM_PIN:
        case RIL_REQUEST_ENTER_SIM_PUK:
        case RIL_REQUEST_ENTER_SIM_PIN2:
        case RIL_REQUEST_ENTER_SIM_PUK2:
        case RIL_REQUEST_CHANGE_SIM_PIN:
        case RIL_REQUEST_CHANGE_SIM_PIN2:
        case RIL_REQUEST_QUERY_FACILITY_LOCK:
        case RIL_REQUEST_SET_FACILITY_LOCK:
            return sim_get_sim_status(sim_id) != SIM_STATUS_SIM_ABSENT;
        case RIL_REQUEST_GET_IMSI:
        case RIL_REQUEST_WRITE_SMS_TO_SIM:
        case RIL_REQUEST_DELETE_SMS_ON_SIM:
        case RIL_REQUEST_STK_SEND_ENVELOPE_COMMAND:
        case RIL_REQUEST_STK_SEND_TERMINAL_RESPONSE:
        case RIL_REQUEST_GET_SMSC_ADDRESS:
        case RIL_REQUEST_SET_SMSC_ADDRESS:
        case RIL_REQUEST_REPORT_STK_SERVICE_IS_RUNNING:
        case RIL_REQUEST_ISIM_AUTHENTICATION:
        case RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS:
            return sim_get_sim_status(sim_id) == SIM_STATUS_SIM_READY;
        case RIL_REQUEST_RADIO_POWER:
        case RIL_REQUEST_SCREEN_STATE:
            return true;
        case RIL_REQUEST_GET_IMEI:
        case RIL_REQUEST_GET_IMEISV:
        case RIL_REQUEST_BASEBAND_VERSION:
        case RIL_REQUEST_SET_TTY_MODE:
        case RIL_REQUEST_QUERY_TTY_MODE:
            return getLastModemEvent() == E_MODEM_UP;
        case RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE:
            return get_radio_state(sim_id) == RADIO_STATE_ON;
        default:
            return false;
    }
}

// Answers what may not pass while the radio is unavailable.
void handle_rr_in_radio_off(uint32_t sim_id, int request, void* data, size_t datalen, RIL_Token token) {
    switch (request) {
        case RIL_REQUEST_GET_CURRENT_CALLS:
        case RIL_REQUEST_DEACTIVATE_DATA_CALL:
            ril_request_complete(token, RIL_E_SUCCESS, nullptr, 0);
            break;
        case RIL_REQUEST_VOICE_REGISTRATION_STATE:
        case RIL_REQUEST_DATA_REGISTRATION_STATE:
        case RIL_REQUEST_OPERATOR:
        case RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE:
            ril_request_complete(token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
            break;
        case RIL_REQUEST_SETUP_DATA_CALL: {
            RIL_Data_Call_Response_v6 response{};
            response.status = c_pdp_fail_radio_power_off;
            response.suggestedRetryTime = INT_MAX;
            ril_request_complete(token, RIL_E_SUCCESS, &response, sizeof(response));
            break;
        }
        case RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE:
            saveNetPrefInfo(sim_id, request, data, datalen, token);
            break;
        default:
            ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
            break;
    }
}

// True if the modem is away, and the request answered without it.
bool answered_without_modem(uint32_t sim_id, int request, void* data, size_t datalen, RIL_Token token) {
    if (mmgr_get_spoof_command_state() == 0) {
        return false;
    }
    handleRequestNoModem(sim_id, request, data, datalen, token);
    return true;
}

void post(uint32_t sim_id, int request, void* data, size_t datalen, RIL_Token token) {
    // The modem may have gone down behind the gate's first test, and be back by now: such a request is answered without
    // the modem, or goes to the new engine. It ends, because the engine only stands still while spoofing is on.
    while (qelril_post_request(sim_id, request, data, datalen, token) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: request %d not posted\n", __func__, request);
        if (answered_without_modem(sim_id, request, data, datalen, token)) {
            return;
        }
    }
}

// A dial waits for a hold that is on its way to the modem. If that wait ended because the modem went down, the dial is
// answered without it. The hold's own timer runs on this thread and so cannot end the wait: the hold's time does.
void post_dial(uint32_t sim_id, void* data, size_t datalen, RIL_Token token) {
    sys_mark_lock(hold_call_and_dial_mutex_lock);
    if (!answered_without_modem(sim_id, RIL_REQUEST_DIAL, data, datalen, token)) {
        post(sim_id, RIL_REQUEST_DIAL, data, datalen, token);
    }
    sys_mark_unlock(hold_call_and_dial_mutex_lock);
}

}  // namespace

void on_request(int request, void* data, size_t datalen, RIL_Token token) {
    RIL_TRACE_FUNCTION();
    const uint32_t sim_id = ril_instance;
    RIL_TRACE(TRACE_EVENT, "%s: request = %d\n", __func__, request);
    if (answered_without_modem(sim_id, request, data, datalen, token)) {
        return;
    }
    if (get_radio_state(sim_id) == RADIO_STATE_UNAVAILABLE && !is_req_allowed_in_radio_off(sim_id, request)) {
        handle_rr_in_radio_off(sim_id, request, data, datalen, token);
        return;
    }
    if (!ril_is_req_supported(request)) {
        ril_request_complete(token, RIL_E_REQUEST_NOT_SUPPORTED, nullptr, 0);
        return;
    }
    if (request == RIL_REQUEST_DIAL) {
        post_dial(sim_id, data, datalen, token);
    } else {
        post(sim_id, request, data, datalen, token);
    }
}

RIL_RadioState on_radio_state() {
    return get_radio_state(ril_instance);
}

int on_supports(int request) {
    return !is_never_supported(request) && request != RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE &&
                   request != RIL_REQUEST_BASEBAND_VERSION
               ? 1
               : 0;
}

void on_cancel(RIL_Token token) {
    (void)token;
    RIL_TRACE(TRACE_EVENT, "%s\n", __func__);
}

const char* on_get_version() {
    return "QEL DUN-RIL 1.0";
}

void qelril_signal_handler(int signal) {
    (void)signal;
}
