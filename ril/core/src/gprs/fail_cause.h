// Why the last data call failed.
#pragma once

#include <cstdint>

// A failure of this system's own, without a result of the modem.
constexpr int32_t c_uta_no_cause = -1;

void set_last_failure_error_cause(uint32_t sim_id, int32_t uta_result);
void fail_cause_start(uint32_t sim_id);
