// What happened to a stack, for the engineering reports. Runs in the loop.
#pragma once

#include <cstdint>

#include "host/modem/net.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

// The counters of calls and messages as they grow; all gone with the modem's power.
UtaEmMnTestparam& counted(uint32_t sim_id);

// A stack goes from one cell to another: a handover with a call, a reselection without.
void count_cell_change(uint32_t sim_id, const Network& from, const Network& to);
