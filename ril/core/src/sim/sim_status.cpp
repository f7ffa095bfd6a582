#include "ril/core/src/sim/sim_status.h"

// The card's indications are not heard yet: as long as no card was reported, none is there.
int32_t sim_get_sim_status(uint32_t sim_id) {
    (void)sim_id;
    return SIM_STATUS_SIM_ABSENT;
}
