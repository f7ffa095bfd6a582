// Voice calls. The modem owns them; the table here mirrors it, 16 calls per SIM. A call enters by an indication, is
// moved by indications and by the answers to call control, and leaves when the modem says that it ended. Requests
// change nothing in the table.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1. `context_id` is the word that
// goes to the modem (uta_context_id). What gives 0 or -1 has logged the failure and completes no request: that is the
// caller's.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "ril/utils/os_util.h"

// Start values of one SIM's state, at each start of the modem; releases the busy marks. Modem event thread, before the
// RIL thread has work.
void callmngr_module_init(uint32_t sim_id);

// --- The table -------------------------------------------------------------------------------------------------------

constexpr uint32_t c_call_slots = 16;

// The values of RIL_CallState, and one for "no call".
enum callmngr_call_state : uint32_t {
    CALL_STATE_ACTIVE = 0,
    CALL_STATE_HELD = 1,
    CALL_STATE_DIALING = 2,
    CALL_STATE_ALERTING = 3,
    CALL_STATE_RINGING = 4,
    CALL_STATE_WAITING = 5,
    CALL_STATE_FREE = 6,
};

struct callmngr_call {
    char tel_num[82];  // terminated; a leading "+" means international
    int32_t call_id;   // the modem's, -1 in a free slot
    uint32_t call_state;
    uint32_t is_mt;              // 1 mobile terminated, 0 mobile originated, 2 not set
    uint32_t name_presentation;  // 0 when the name may be shown
    uint32_t call_mode;          // 0 voice, 5 not set
    uint8_t is_multi_party;      // 1 for a member of a multiparty call
    char calling_name[160];      // terminated
    uint16_t als;                // line of an incoming call
};

callmngr_call callmngr_init_call_data();  // a free slot's values

// Copies the call with that id and gives its slot, or 255.
uint32_t callmngr_get_call_info_by_call_id(uint32_t sim_id, int32_t call_id, callmngr_call& out);
// Copies the first call in that state, lowest slot first, and gives its slot plus 1, or -1.
int32_t callmngr_get_call_info_by_call_state(uint32_t sim_id, uint32_t state, callmngr_call& out);
// The first call in that state, or null; its id, or -1.
callmngr_call* callmngr_get_call_info(uint32_t sim_id, uint32_t state);
int32_t callmngr_get_call_id_by_state(uint32_t sim_id, uint32_t state);

void callmngr_set_call_info(uint32_t sim_id, uint32_t slot, const callmngr_call& call);
uint32_t callmngr_create_new_call_info(uint32_t sim_id, const callmngr_call& call);  // its slot, or 16 with none free
void callmngr_reset_call_data(uint32_t sim_id, int32_t call_id);  // frees the slot; an unknown id changes nothing

// All slots, for those who walk them.
std::array<callmngr_call, c_call_slots>& callmngr_calls(uint32_t sim_id);

// --- What the RIL keeps of a SIM's calls
// ------------------------------------------------------------------------------

struct callmngr_management {
    uint32_t cmut_n;           // microphone mute, 0 or 1
    uint32_t last_fail_cause;  // RIL_LastCallFailCause of the last call that ended or failed, 65535 with none
};

callmngr_management& callmngr_call_management(uint32_t sim_id);

// 1 while the network gives no ringback of its own.
uint8_t& callmngr_in_band_availability(uint32_t sim_id);

// RIL_LastCallFailCause.
enum callmngr_fail_cause : uint32_t {
    CALL_FAIL_NORMAL = 16,
    CALL_FAIL_BUSY = 17,
    CALL_FAIL_CONGESTION = 34,
    CALL_FAIL_ACM_LIMIT_EXCEEDED = 68,
    CALL_FAIL_CALL_BARRED = 240,
    CALL_FAIL_FDN_BLOCKED = 241,
    CALL_FAIL_ERROR_UNSPECIFIED = 0xFFFF,
};

// RIL_LastCallFailCause of a cause of the modem; 65535 for one without.
uint32_t callmngr_failure_cause(uint32_t sim_id, int32_t cause);

// --- Operations ------------------------------------------------------------------------------------------------------

constexpr size_t c_number_digits_max = 81;

// Sends the setup of a call, 0 or -1. `clir` as in RIL_Dial. Its answer completes the request of `context_id`.
int32_t callmngr_start_new_call(uint32_t sim_id, const char* number, int32_t clir, const RIL_UUS_Info* uus,
                                uint32_t context_id);
int32_t callmngr_answer_call(uint32_t sim_id, const callmngr_call& ringing, uint32_t context_id);  // 0 or -1

// The calls as Android sees them; they and the texts they point to hold until the table next changes. Gives how many.
std::array<RIL_Call, c_call_slots>& callmngr_get_call_list(uint32_t sim_id, uint32_t& count);

int32_t callmngr_set_mute_on_off(uint32_t sim_id, int32_t mute);  // 0 or -1
int32_t callmngr_read_mute_status(uint32_t sim_id, int32_t& mute);
void callmngr_get_last_call_status(uint32_t sim_id, int32_t& cause);

// Text telephone mode in Android's numbers, 0 to 3. 0 or -1.
int32_t callmngr_get_tty_mode(uint32_t sim_id, int32_t& mode);
int32_t callmngr_set_tty_mode(uint32_t sim_id, int32_t mode);

// 1 and the category (3GPP TS 22.101, 10.1) if the number is an emergency number; else 0 and the category is left
// alone.
uint32_t callmngr_is_ecc(uint32_t sim_id, const char* number, uint8_t& category);
void callmngr_clear_network_ecc_list(uint32_t sim_id);

// The operation of 3GPP TS 22.030, 6.5.5.1 with its two numbers, by the calls that are there.
constexpr int32_t c_call_control_failed = -1;    // nothing was sent, or it could not be
constexpr int32_t c_call_control_ignored = -14;  // the same hold or retrieve is on its way already
enum callmngr_chld : uint32_t {
    CALL_RELEASE_HELD_OR_BUSY_FOR_WAITING = 0,
    CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING = 1,
    CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE = 2,
    CALL_JOIN = 3,
    CALL_TRANSFER = 4,
    CALL_RELEASE_ALL_WAITING_HELD_ACTIVE = 8,
};
// 0: sent, and the answer completes the request of `context_id`.
int32_t callmngr_multi_party_call_manager(uint32_t sim_id, uint32_t chld_first, uint32_t chld_second,
                                          uint32_t context_id);

// --- Busy marks ------------------------------------------------------------------------------------------------------

// A hold or retrieve that was sent as the only operation on a lone call carries its mark until its answer, and at the
// longest for c_hold_seconds or until its context is released, by whatever way. hold_call_and_dial_mutex_lock is the
// engine's.
extern sys_mark unhold_call_ongoing_mutex_lock;

// --- To Android ------------------------------------------------------------------------------------------------------

void ril_unsol_response_call_state_changed(uint32_t sim_id);
void ril_unsol_call_ring(uint32_t sim_id);

// --- Declared here, defined by the rooms above -----------------------------------------------------------------------

void ss_dtmf_call_ended(uint32_t sim_id, int32_t call_id);  // no tone of this call is at the modem any more
