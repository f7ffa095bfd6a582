// What the card's state asks of the locks and of the reading of the card's files.
#pragma once

#include <cstdint>

// 1 while a personalisation lock stands between the phone and the card.
uint32_t sim_lock_is_required(uint32_t sim_id);

// Fixed dialling is not possible: there is no card.
void sim_set_fdn_not_possible(uint32_t sim_id);

// Forgets the card's access point list.
void sim_clear_acl(uint32_t sim_id);

// Starts to read the emergency numbers on a context that has a private area. 0, or another value when nothing was sent:
// the caller then releases both.
int32_t sim_ecc_file_properties(uint32_t sim_id, uint32_t ctxt_id);

// Starts to read the service tables of a 3G card.
void sim_select_ust_ef(uint32_t sim_id);

// What the reading of the emergency numbers keeps on its context.
struct sim_ecc_reading {
    uint32_t record;
    uint32_t records;
};
