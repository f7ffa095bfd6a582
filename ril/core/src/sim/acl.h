// The access points that the card allows: service tables and EF_ACL (3GPP TS 31.102, 4.2.8, 4.2.47 and 4.2.48). RIL
// thread.
#pragma once

#include <cstdint>

// Forgets the card's list.
void sim_clear_acl(uint32_t sim_id);

// Starts to read the service tables of a 3G card, and the list if they say that it counts.
void sim_select_ust_ef(uint32_t sim_id);

// Non-zero when the card lets the access point be used. Dots and the case of letters do not count.
uint32_t sim_check_apn_listed_in_acl(uint32_t sim_id, const char* apn);
