// The subscriber's identity and the rest that the card is asked for. RIL thread.
#pragma once

#include <cstdint>

// Answers RIL_REQUEST_GET_IMSI on a context whose private area was made by qelril_create_multi_mod_priv, at once if the
// modem has told the IMSI, else when EF_IMSI (3GPP TS 31.102, 4.2.2) is read. 0, or -1 when nothing is on its way: the
// context is then the caller's to fail.
int32_t sim_get_imsi(uint32_t sim_id, uint32_t ctxt_id);
