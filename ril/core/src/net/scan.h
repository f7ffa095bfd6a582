// The search for available networks.
#pragma once

#include <cstdint>

// Forgets the last search's result.
void net_scan_start(uint32_t sim_id);

// Searches on the context of a request, once the data calls are down: the modem cannot search beside one. A failure to
// send completes the request and frees the context; else the modem's answers do. RIL thread.
void net_scan_without_data_calls(uint32_t sim_id, uint32_t ctxt_id);
