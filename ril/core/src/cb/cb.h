// Cell broadcast (3GPP TS 23.041). The modem receives and filters; the filter lives there, and Android reads it from
// there each time. RIL thread. A `sim_id` is 0 or 1.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <cstdint>
#include <span>

// Gives the modem Android's list as its filter. A null record is left out. What the modem says of it.
int32_t cbs_select_message_type(uint32_t sim_id, std::span<const RIL_GSM_BroadcastSmsConfigInfo* const> records);

constexpr size_t c_cbs_ranges_max = 100;

// The modem's filter as Android's list, the last range first; one record of -1 for an empty filter.
struct cbs_config {
    std::array<RIL_GSM_BroadcastSmsConfigInfo, c_cbs_ranges_max> records;
    std::array<RIL_GSM_BroadcastSmsConfigInfo*, c_cbs_ranges_max> pointers;
    size_t count;
};
int32_t cbs_get_config(uint32_t sim_id, cbs_config& out);  // 0 or what the modem says

// Starts the reception with 0, stops it with 1; the answer completes the request of the context. 1, or 0 when nothing
// is on its way.
uint32_t cbs_sms_broadcast_activation(uint32_t sim_id, int32_t action, uint32_t context_id);
