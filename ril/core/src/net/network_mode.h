// Which radio technologies and bands the modem may use. All on the RIL thread.
#pragma once

#include <cstdint>

// Sends Android's preferred network type to the modem, whose answer completes the request of the context. 0, or -1 for
// a type that the modem does not know, or when it cannot be sent.
int32_t net_set_preferred_rat(uint32_t sim_id, int32_t network_type, uint32_t context_id);

// Android's network type for the technologies that are enabled, -1 for none.
int32_t net_read_preferred_rat(uint32_t sim_id);

// Sends Android's band mode, its low byte, to the modem on the same terms. 0, or another value.
int32_t net_select_band(uint32_t sim_id, int32_t band_mode, uint32_t context_id);

// Asks the modem for its bands; its answer completes the request with Android's band modes. 0 or -1.
int32_t net_get_band_mode(uint32_t sim_id, uint32_t context_id);
