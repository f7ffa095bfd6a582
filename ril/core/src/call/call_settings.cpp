// What belongs to a call but is no call: the microphone's mute and the text telephone.
#include "ril/core/src/call/call.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// Android's number to the modem's, and the other way round: HCO and VCO change places.
constexpr std::array<int32_t, 4> c_tty_modes = {0, 1, 3, 2};

bool is_tty_mode(int32_t mode) {
    return mode >= 0 && static_cast<size_t>(mode) < c_tty_modes.size();
}

}  // namespace

int32_t callmngr_set_mute_on_off(uint32_t sim_id, int32_t mute) {
    constexpr uint8_t c_any_handle = 0;
    constexpr uint8_t c_microphone = 3;
    if (mute != 0 && mute != 1) {
        RIL_TRACE(TRACE_ERROR, "%s Mute control command not recognized, sim_id = %d\n", __func__,
                  static_cast<int>(sim_id));
        return -1;
    }
    if (RemUtaAudioSetMuteForSource(c_any_handle, c_microphone, 0, static_cast<uint8_t>(mute)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaAudioSetMuteForSource failed\n", __func__);
        return -1;
    }
    callmngr_call_management(sim_id).cmut_n = static_cast<uint32_t>(mute);
    return 0;
}

int32_t callmngr_read_mute_status(uint32_t sim_id, int32_t& mute) {
    mute = static_cast<int32_t>(callmngr_call_management(sim_id).cmut_n);
    return 0;
}

int32_t callmngr_get_tty_mode(uint32_t sim_id, int32_t& mode) {
    int32_t uta_mode = -1;
    if (RemUtaMsCallCsGetTtyDeviceMode(sim_id, &uta_mode) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCallCsGetTtyDeviceMode failed\n", __func__);
        return -1;
    }
    if (!is_tty_mode(uta_mode)) {
        RIL_TRACE(TRACE_ERROR, "%s: Unknown TTY mode from modem\n", __func__);
        return -1;
    }
    mode = c_tty_modes[static_cast<size_t>(uta_mode)];
    return 0;
}

int32_t callmngr_set_tty_mode(uint32_t sim_id, int32_t mode) {
    if (!is_tty_mode(mode)) {
        RIL_TRACE(TRACE_ERROR, "%s: Unknown TTY mode 0-3 only\n", __func__);
        return -1;
    }
    if (RemUtaMsCallCsSetTtyDeviceMode(sim_id, c_tty_modes[static_cast<size_t>(mode)]) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCallCsSetTtyDeviceMode Failed\n", __func__);
        return -1;
    }
    return 0;
}
