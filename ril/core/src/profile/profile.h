// The settings per SIM that the request handlers and the modules share. RIL thread, but for agg_module_init and the two
// setters in the start sequence, which run before that thread has work.
#pragma once

#include <array>
#include <cstdint>

// Supplementary service notification switches, each 0 or 1.
struct agg_cssn {
    uint16_t n;
    uint16_t m;
};

struct agg_profile {
    uint16_t clir_n;      // outgoing CLIR: 0 as subscribed, 1 suppression, 2 invocation
    uint16_t clir_m;      // status of the identity service as the network reported it
    uint16_t ussd_state;  // 1 while a USSD request is sent, 2 when it was cancelled
    agg_cssn cssn_data;
    uint32_t cscs;           // character set in force, an index of decode's list of names
    uint16_t facility_mode;  // mode of the last facility lock request
};

extern std::array<agg_profile, 2> pAggprofileDB;

// Start values of both rows / nothing to free.
void agg_module_init();
void agg_module_exit();

// 0, or -10 for a name that is no character set, which changes nothing.
int32_t ril_set_terminal_adaptor_value(uint32_t sim_id, const char* name);

// Both switches: n in the low half, m in the high half, each 0, 1 or 0xFFFF for 0. 0, or -11 for another value.
int32_t ril_set_supplement_service_notification(uint32_t sim_id, uint32_t value);
