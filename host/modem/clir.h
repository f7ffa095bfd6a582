#pragma once

#include <cstdint>

// How the own number is shown in calls that don't say it: 0 as subscribed, 1 shown, 2 withheld.
int32_t clir_setting(uint32_t sim_id);
