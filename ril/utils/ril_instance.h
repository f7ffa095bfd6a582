// The SIM and stack that this process serves.
#pragma once

#include <cstdint>

// 0 for the first SIM and stack, 1 for the second. RIL_Init writes it once, before any other thread exists.
extern uint32_t ril_instance;
