// The card's status in its shortest form.
#pragma once

#include <cstdint>

enum sim_status : int32_t {
    SIM_STATUS_SIM_ABSENT = 0,
    SIM_STATUS_SIM_NOT_READY = 1,
    SIM_STATUS_SIM_READY = 2,
    SIM_STATUS_SIM_PIN = 3,
    SIM_STATUS_SIM_PUK = 4,
};

// Any thread.
int32_t sim_get_sim_status(uint32_t sim_id);
