// Logical channels and APDUs of the user's own (ETSI TS 102 221, 8.7), for a caller outside of the library: no request
// of Android's leads here.
//
// Any thread but the RIL thread. Each blocks until the RIL thread has taken the request and answers on `token` through
// Android's OnRequestComplete, at once with RIL_E_GENERIC_FAILURE while the modem is away.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

extern "C" {
#pragma GCC visibility push(default)

// Opens a channel on the directory whose id is the first four hexadecimal digits of `p_df_name`; `len` is its length,
// at least 4. The answer is an integer, the channel.
void ril_request_sim_open_channel(uint32_t sim, const char* p_df_name, size_t len, RIL_Token token);

// Closes the channel that the first of `len` bytes names, at least 4. No data in the answer.
void ril_request_sim_close_channel(uint32_t sim, const uint8_t* channel, size_t len, RIL_Token token);

// Sends `command`, `p1`, `p2`, `p3` and the characters of `data` as they stand, on the basic channel or on the channel
// in the low byte of `fileid`. `len` is the size of the record. The answer is the card's, status words included.
void ril_request_sim_transmit_basic(uint32_t sim, const RIL_SIM_IO_v6* io, size_t len, RIL_Token token);
void ril_request_sim_transmit_channel(uint32_t sim, const RIL_SIM_IO_v6* io, size_t len, RIL_Token token);

#pragma GCC visibility pop
}
