// The card: what the modem has told about it, and what Android sees of it.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Start values of one SIM's state, at each start of the modem. Modem event thread, before the RIL thread has work.
void sim_module_init(uint32_t sim_id);

// --- The state that Android is told ----------------------------------------------------------------------------------

// The SIM-bound values of Android's radio states, and one of the library's own for "none yet".
constexpr uint32_t c_sim_state_none = 99;

uint32_t get_sim_state(uint32_t sim_id);

// Takes a state and tells Android, unless it is the old one; RADIO_STATE_SIM_LOCKED_OR_ABSENT is told every time.
// RADIO_STATE_SIM_READY waits for the radio: while that is unavailable nothing changes.
void set_sim_state(uint32_t sim_id, uint32_t state);

// 1 while the card is initialised but the network does not allow to attach yet.
uint32_t is_sim_ready_pending(uint32_t sim_id);
void set_sim_ready_pending(uint32_t sim_id, uint32_t value);

// 1 from a good initialisation until the card goes away.
uint32_t sim_check_if_sim_is_ready(uint32_t sim_id);
void sim_set_sim_is_ready(uint32_t sim_id, uint32_t value);

// The radio is on: a card that waited for it is ready now.
void sim_radio_is_on(uint32_t sim_id);

void ril_unsol_response_sim_status_changed(uint32_t sim_id);

// --- The card --------------------------------------------------------------------------------------------------------

enum sim_status : int32_t {
    SIM_STATUS_SIM_ABSENT = 0,
    SIM_STATUS_SIM_NOT_READY = 1,
    SIM_STATUS_SIM_READY = 2,
    SIM_STATUS_SIM_PIN = 3,
    SIM_STATUS_SIM_PUK = 4,
};

// The card's status in its shortest form. Any thread.
int32_t sim_get_sim_status(uint32_t sim_id);

enum sim_card_type : int32_t { SIM_CARD_TYPE_NO_TYPE = 0, SIM_CARD_TYPE_2G = 1, SIM_CARD_TYPE_3G = 2 };

int32_t sim_get_inserted_sim_type(uint32_t sim_id);
void sim_set_inserted_sim_type(uint32_t sim_id, int32_t type);
void sim_set_init(uint32_t sim_id, int32_t value);

// PIN1 and PIN2 as the modem numbers them (the card holder verifications of 3GPP TS 51.011, clause 8).
enum sim_chv_status : int32_t {
    CHV_NOT_AVAILABLE = 0,
    CHV_NEEDED = 1,
    CHV_NOT_NEEDED = 2,
    CHV_BLOCKED = 3,
    CHV_UNBLOCKING_BLOCKED = 4,
    CHV_VERIFIED = 5,
    CHV_REJECTED = 6,
    CHV_IN_CONTRADICTION = 7,
};

// The text of a CHV value, null above 7, and the way back, 0 for an unknown text. Any thread.
const char* sim_chv_value_to_string(int32_t value);
int32_t sim_string_to_chv_value(const char* text);

// RIL_PinState of PIN2. A verified PIN2 counts as not verified.
RIL_PinState ril_get_sim_pin2_status(uint32_t sim_id);

constexpr size_t c_uicc_id_size = 10;
const std::array<uint8_t, c_uicc_id_size>& sim_read_uicc_id(uint32_t sim_id);

// Answers RIL_REQUEST_GET_SIM_STATUS on the context and releases it.
void sim_get_card_status(uint32_t sim_id, uint32_t ctxt_id);
