// Supplementary services (3GPP TS 22.081 to 22.088), USSD and tones. The modem has no request per service: a service is
// the string that a user would key in (3GPP TS 22.030, 6.5), sent as USSD. The modem interprets it, and what the
// network says comes as a typed answer with the string's context, which completes its request. Nothing here has a time
// limit: a request that is never answered ends with the modem.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1. `context_id` is the word that
// goes to the modem (uta_context_id). What gives 0 or -1 completes no request on -1, and has logged the failure.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// Start values of one SIM's state, at each start of the modem. Modem event thread, before the RIL thread has work.
void ss_module_init(uint32_t sim_id);

// --- Services --------------------------------------------------------------------------------------------------------

// RIL_CallForwardInfo::status as the mode of an operation, and a barring's mode.
enum ss_mode : int32_t {
    SS_MODE_DISABLE = 0,
    SS_MODE_ENABLE = 1,
    SS_MODE_QUERY = 2,
    SS_MODE_REGISTER = 3,
    SS_MODE_ERASE = 4
};

// Sends the operation that `info` tells, its `toa` apart, while the SIM is registered. 0 or -1.
int32_t ss_set_query_call_forwarding(uint32_t sim_id, const RIL_CallForwardInfo& info, uint32_t context_id);

// `service_class` is a mask of Android's service classes.
int32_t ss_handle_call_waiting(uint32_t sim_id, int32_t mode, int32_t service_class, uint32_t context_id);

// One facility of call barring by the network's code for it (3GPP TS 22.030, annex B). A null password is an empty one.
int32_t ss_handle_call_barring(uint32_t sim_id, const char* mmi_code, int32_t mode, const char* password,
                               int32_t service_class, uint32_t context_id);
int32_t ss_change_barring_pwd(uint32_t sim_id, const char* old_password, const char* new_password, uint32_t context_id);

int32_t ss_read_clir_status(uint32_t sim_id, uint32_t context_id);
// In Android's values. It holds for the calls that follow, and nothing goes to the network.
int32_t ss_set_clir_status(uint32_t sim_id, int32_t value);
int32_t ss_read_CallingPresentation(uint32_t sim_id, uint32_t context_id);

// Notifications about outgoing calls on or off (0 or 1 in the low half of `value`), about incoming ones off.
int32_t ss_set_ss_notification(uint32_t sim_id, uint32_t value);

// --- USSD ------------------------------------------------------------------------------------------------------------

enum ss_ussd_command : uint16_t { SS_USSD_SEND = 1, SS_USSD_CANCEL = 2 };

// Sends a string of the user, or ends the session. 0 or -1.
int32_t ss_set_supplement_service_data(uint32_t sim_id, ss_ussd_command command, const char* string, uint8_t dcs,
                                       uint32_t context_id);
// The last command.
uint16_t ril_request_get_supplement_service_data(uint32_t sim_id);

// Sends a string as the user's answer to a network that waits for one, otherwise as the beginning of an exchange. 0 or
// -1; nothing is sent of a string that is empty or that packs to more than 184 octets.
int32_t ss_send_ussd_string(uint32_t sim_id, const char* string, uint8_t dcs, uint32_t context_id);

constexpr uint8_t c_ussd_dcs = 15;  // the 7-bit alphabet, no language told (3GPP TS 23.038, clause 5)

// --- Tones -----------------------------------------------------------------------------------------------------------

constexpr uint8_t c_dtmf_stop = 0;

// Plays a digit until it is stopped, or stops by itself at once with `auto_stop`; c_dtmf_stop ends it. The modem takes
// one tone at a time and the others wait in a ring. The request of the context is completed and its context released
// here, now or later.
void ss_queue_dtmf_tone(uint32_t sim_id, uint32_t ctxt_id, uint8_t digit, bool auto_stop, const char* request_name);
