// Stands in for what is not there yet. Each gives way to its own definition.
#include "ril/core/src/sim/sim_to_come.h"

[[gnu::weak]] uint32_t sim_lock_is_required(uint32_t) {
    return 0;
}
[[gnu::weak]] void sim_set_fdn_not_possible(uint32_t) {}
[[gnu::weak]] void sim_clear_acl(uint32_t) {}
[[gnu::weak]] int32_t sim_ecc_file_properties(uint32_t, uint32_t) {
    return -1;
}
[[gnu::weak]] void sim_select_ust_ef(uint32_t) {}
