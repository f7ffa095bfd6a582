// The card's secret codes, fixed dialling and the personalisation locks. RIL thread. No code reaches the log.
#pragma once

#include <cstdint>

// What is done with the codes. 2 to 7 are the numbers of Android's requests.
enum sim_pin_code : int32_t {
    SIM_ENTER_PIN = 2,
    SIM_ENTER_PUK = 3,
    SIM_ENTER_PIN2 = 4,
    SIM_ENTER_PUK2 = 5,
    SIM_CHANGE_PIN = 6,
    SIM_CHANGE_PIN2 = 7,
    SIM_PIN_ON = 8,
    SIM_PIN_OFF = 9,
    SIM_QUERY_PIN = 10,
};

// `req_id` of a verification that no request of Android's stands behind.
constexpr int32_t c_sim_silent_pin_entry = 2000;

// Sends the codes to the card, unless the card's state says that it is in vain. The context's private area, made by
// qelril_create_multi_mod_priv, tells by its `req_id` who is answered. A code has up to 8 characters; what is behind
// them is left out. 0 when the modem has it, otherwise nothing is on its way.
int32_t sim_handle_pin_activities(uint32_t sim_id, int32_t code, const char* text1, const char* text2,
                                  uint32_t ctxt_id);

int32_t sim_get_chv_status(uint32_t sim_id, uint32_t chv_no);
// The value of PIN1 (0) or PIN2 (1), and its property.
void sim_set_chv_status(uint32_t sim_id, uint32_t chv_no, int32_t value);

// What the operations end with.
enum sim_error : int32_t {
    SIM_ERR_PIN_BLOCKED = -5,
    SIM_ERR_PUK_BLOCKED = -6,
    SIM_ERR_WRONG_PASSWORD = -7,
    SIM_ERR_PUK2_REQUIRED = -9,
};

// The answer of a request that sets a facility: `count` attempts are left.
void ril_request_set_facility_lock_onrequest_complete(uint32_t sim_id, int32_t error, int32_t count, uint32_t ctxt_id);
void ril_request_query_facility_lock_onrequest_complete(int32_t value, uint32_t ctxt_id);

// --- Facilities (3GPP TS 27.007, 7.4) --------------------------------------------------------------------------------

// Handlers of a facility: `row` is its place in the table of facilities. Mode 0 unlocks, 1 locks, 2 queries. 0 when the
// answer comes on the context, or has come.
int32_t ss_handle_simcard_lock_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                        int32_t service_class, uint32_t ctxt_id);
int32_t ss_handle_fixed_dialing_lock_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                              int32_t service_class, uint32_t ctxt_id);
int32_t sim_handle_sim_lock_personalisation_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                                     int32_t service_class, uint32_t ctxt_id);

// The row of the first personalisation lock; the rows of the others follow in the order of the modem's numbers.
constexpr int32_t c_first_sim_lock_row = 8;

// The request's data besides its `req_id`: the mode of a setting.
struct sim_facility_request {
    int32_t mode;
};

// 1 while a personalisation lock stands between the phone and the card.
uint32_t sim_lock_is_required(uint32_t sim_id);

// --- Fixed dialling --------------------------------------------------------------------------------------------------

enum sim_fdn_state : int32_t { UTA_SIM_FDN_ON = 0, UTA_SIM_FDN_OFF = 1, UTA_SIM_FDN_NOT_POSSIBLE = 2 };

int32_t sim_get_fdn_status(uint32_t sim_id);
int32_t sim_is_fdn_enabled(uint32_t sim_id);  // 1 or 0

// There is no card / start values.
void sim_set_fdn_not_possible(uint32_t sim_id);
void sim_fdn_init(uint32_t sim_id);

// PIN2 was found blocked, or is good again.
void sim_set_pin2_verification_required(uint32_t sim_id, bool required);

// PIN2 was verified for a request of fixed dialling, with 0 or an error and the attempts left.
void sim_fdn_pin2_verified(uint32_t sim_id, int32_t error, int32_t count, uint32_t ctxt_id);
