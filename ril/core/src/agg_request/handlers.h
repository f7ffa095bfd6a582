// The handlers of Android's requests. A handler owns its token: it completes it exactly once, now or later. RIL thread.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

void ril_request_radio_power(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token);

// IMEI, IMEISV and, with an array of both, the device's identity (3GPP TS 23.003, 6.2).
void ril_request_get_imei_imeisv_devid(uint32_t sim_id, int32_t request, void* p_data, size_t data_len,
                                       RIL_Token token);
