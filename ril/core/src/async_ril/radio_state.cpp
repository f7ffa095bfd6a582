#include "ril/core/src/async_ril/radio_state.h"

#include <array>
#include <atomic>

#include "ril/core/src/async_ril/async_ril.h"

namespace {

// Written on the RIL thread and on the modem event thread, which has the last word at the modem's end; read by the
// gate.
std::array<std::atomic<RIL_RadioState>, 2> s_radio_state = {RADIO_STATE_UNAVAILABLE, RADIO_STATE_UNAVAILABLE};

}  // namespace

RIL_RadioState get_radio_state(uint32_t sim_id) {
    return s_radio_state[sim_id].load(std::memory_order_acquire);
}

void set_radio_state(uint32_t sim_id, RIL_RadioState state) {
    if (s_radio_state[sim_id].exchange(state, std::memory_order_acq_rel) != state) {
        RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED, nullptr, 0);
    }
}

void radio_state_start() {
    for (auto& state : s_radio_state) {
        state.store(RADIO_STATE_UNAVAILABLE, std::memory_order_release);
    }
}
