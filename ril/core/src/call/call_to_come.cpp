// Stands in for what is not there yet. Each gives way to its own definition.
#include "ril/core/src/call/ecc_list.h"

[[gnu::weak]] const ecc_list* sim_get_ecc_list(uint32_t) {
    return nullptr;
}
[[gnu::weak]] uint32_t sim_get_ecc_records(uint32_t) {
    return 0;
}
