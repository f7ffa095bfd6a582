// What the module's files share: the card as the modem described it. Nobody outside the module includes this.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "ril/core/src/sim/sim.h"

struct SimPbInfo {
    int32_t m_sim_init;  // 1 after full access
    // The RIL thread writes these two; the gate reads them on rild's event thread.
    std::atomic<int32_t> m_sim_card_type;
    std::atomic<int32_t> m_chv1_status;
    int32_t m_chv2_status;
    std::array<uint8_t, 4> m_retries;  // attempt counters as last reported; the first is PIN1's
};

struct sim_ms_data {
    std::array<uint8_t, 8> imsi;  // packed as on the card; all zero is unknown
    std::array<uint8_t, c_uicc_id_size> uicc_id;
    int32_t lock_status_received;
    int32_t sim_ind;  // of the last info indication
    int8_t lock_index;
};

extern std::array<SimPbInfo, 2> s_sim_pb_info;
extern std::array<sim_ms_data, 2> s_sim_ms_data;

// Sets "ril.recovery.%d" with `suffix` behind it. A null value is an empty one.
void sim_set_recovery_property(uint32_t sim_id, const char* suffix, const char* value);
// True if the first nine characters of "ril.recovery.%d" are "SIM_READY".
bool sim_recovery_is_ready(uint32_t sim_id);
