// The data calls as Android has been told of them.
#pragma once

#include <cstdint>

struct T_GPRS_PDP_CONTEXT_DATA;
struct pdp_ctx_dev;

// Writes what Android is told of the device's call, and keeps it there.
void gprs_add_data_call_list(uint32_t sim_id, const T_GPRS_PDP_CONTEXT_DATA& record, pdp_ctx_dev& dev);
