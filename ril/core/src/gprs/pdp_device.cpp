#include "ril/core/src/gprs/pdp_device.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "ril/config/ril_config.h"
#include "ril/core/src/gprs/fail_cause.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/gprs/interface.h"
#include "ril/core/src/gprs/suspend.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

struct device_list {
    std::array<pdp_ctx_dev, c_pdp_devices_max> devices;
    size_t count;
};

std::array<device_list, 2> s_pp_pdp_ctx_dev_list{};

size_t device_count() {
    return static_cast<size_t>(std::clamp<int32_t>(ril_config_get_max_gprs_pdp_context(), 0, c_pdp_devices_max));
}

bool is_bound(const pdp_ctx_dev& dev, uint32_t uta_cid) {
    return dev.dev_state != PDP_DEV_FREE && dev.uta_cid == uta_cid;
}

int32_t open_channel(pdp_ctx_dev& dev) {
    UtaRPCPsDeviceName name{};
    gprs_copy_text(name.name, dev.modem_dev_name);
    const int32_t handle = RemUtaRPCPsConnectToDatachannelReq(&name);
    if (handle < 1) {
        RIL_TRACE(TRACE_ERROR, "Failed to OPEN modem data channel:'%s'\n", dev.modem_dev_name);
        return -1;
    }
    dev.channel_handle = handle;
    dev.dev_state = PDP_DEV_OPEN;
    return 0;
}

int32_t close_channel(pdp_ctx_dev& dev) {
    const UtaIoHdl handle{dev.channel_handle};
    if (RemUtaRPCPSConnectReleaseReq(&handle) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to CLOSE data channel:%s\n", "gprs_set_dev_state", dev.modem_dev_name);
        return -1;
    }
    dev.dev_state = PDP_DEV_CLOSED;
    dev.channel_handle = 0;
    return 0;
}

bool has_channel(const pdp_ctx_dev& dev) {
    return dev.dev_state == PDP_DEV_OPEN || dev.dev_state == PDP_DEV_CONNECTED || dev.dev_state == PDP_DEV_CLOSING;
}

}  // namespace

void gprs_init(uint32_t sim_id) {
    device_list& list = s_pp_pdp_ctx_dev_list[sim_id & 1U];
    list = {};
    list.count = device_count();
    constexpr std::array<uint32_t, c_pdp_devices_max> c_names = {CFG_MODEM_DEV_NAME_1, CFG_MODEM_DEV_NAME_2};
    for (size_t index = 0; index < list.count; ++index) {
        const char* const name = ril_config_get_cfg_string(c_names[index]);
        if (name == nullptr) {
            RIL_TRACE(TRACE_ERROR,
                      "%s: Unable get the modem device name ril_config_get_cfg_string returned NULL for Index : %d\n",
                      __func__, static_cast<int>(index));
            continue;
        }
        gprs_copy_text(list.devices[index].modem_dev_name, name);
    }
    fail_cause_start(sim_id);
    suspend_start();
    pdp_act_nok_flag = 0;
    deactivate_pdp_beforenetscan = 0;
}

void gprs_exit() {
    for (size_t index = 0; index < device_count(); ++index) {
        char name[14];
        if (gprs_interface_name(static_cast<uint32_t>(index), name)) {
            gprs_bring_down_interface(name);
        }
    }
    s_pp_pdp_ctx_dev_list = {};
}

std::span<pdp_ctx_dev> gprs_devices(uint32_t sim_id) {
    device_list& list = s_pp_pdp_ctx_dev_list[sim_id & 1U];
    return {list.devices.data(), list.count};
}

pdp_ctx_dev* gprs_find_device(uint32_t sim_id, uint32_t uta_cid) {
    for (pdp_ctx_dev& dev : gprs_devices(sim_id)) {
        if (is_bound(dev, uta_cid)) {
            return &dev;
        }
    }
    return nullptr;
}

uint32_t gprs_index_of(uint32_t sim_id, const pdp_ctx_dev& dev) {
    return static_cast<uint32_t>(&dev - gprs_devices(sim_id).data());
}

uint32_t gprs_get_cid(uint32_t sim_id, uint32_t index) {
    return index < gprs_devices(sim_id).size() ? gprs_devices(sim_id)[index].uta_cid : 0;
}

uint32_t gprs_is_pdp_active(uint32_t sim_id, uint32_t index) {
    const std::span<pdp_ctx_dev> devices = gprs_devices(sim_id);
    return index < devices.size() && devices[index].dev_state == PDP_DEV_CONNECTED ? 1 : 0;
}

int32_t gprs_set_pdp_in_use_if_free(uint32_t sim_id, uint32_t uta_cid) {
    if (gprs_find_device(sim_id, uta_cid) != nullptr) {
        return -1;
    }
    for (pdp_ctx_dev& dev : gprs_devices(sim_id)) {
        if (dev.dev_state == PDP_DEV_FREE) {
            dev.dev_state = PDP_DEV_OPENING;
            dev.uta_cid = uta_cid;
            dev.apn[0] = '\0';
            return 0;
        }
    }
    return -1;
}

void gprs_set_pdp_state(uint32_t sim_id, pdp_dev_state state, uint32_t uta_cid) {
    for (pdp_ctx_dev& dev : gprs_devices(sim_id)) {
        if (is_bound(dev, uta_cid)) {
            dev.dev_state = state;
        }
    }
}

int32_t gprs_is_pdp_in_use(uint32_t sim_id, uint32_t uta_cid) {
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev == nullptr || dev->dev_state != PDP_DEV_CONNECTED) {
        return -1;
    }
    dev->dev_state = PDP_DEV_CLOSING;
    return 0;
}

int32_t gprs_set_dev_state(uint32_t sim_id, uint32_t uta_cid, pdp_dev_request request) {
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev == nullptr) {
        return 0;
    }
    if (request == PDP_DEV_DO_OPEN && dev->dev_state == PDP_DEV_OPENING) {
        return open_channel(*dev);
    }
    if (request == PDP_DEV_DO_CLOSE) {
        if (has_channel(*dev)) {
            return close_channel(*dev);
        }
        RIL_TRACE(TRACE_ERROR, "%s: device not in connect state device state is:%d\n", __func__,
                  static_cast<int>(dev->dev_state));
    }
    return 0;
}

int32_t gprs_dev_connect(uint32_t sim_id, uint32_t uta_cid, const UtaCallPsConnectRspCbParams& connection) {
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev == nullptr || dev->dev_state != PDP_DEV_OPEN) {
        return 0;
    }
    const UtaIoHdl handle{dev->channel_handle};
    if (RemUtaRPCPSConnectSetupReq(sim_id, &handle, &connection) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to connect data channel:'%s'\n", __func__, dev->modem_dev_name);
        return -1;
    }
    dev->dev_state = PDP_DEV_CONNECTED;
    return 0;
}

bool gprs_interface_name(uint32_t number, char (&out)[14]) {
    char whole[16];
    const int length = snprintf(whole, sizeof(whole), "%s%d", "veth", static_cast<int>(number));
    memcpy(out, whole, sizeof(out) - 1);
    out[sizeof(out) - 1] = '\0';
    if (static_cast<size_t>(length) < sizeof(out)) {
        return true;
    }
    RIL_TRACE(TRACE_ERROR, "%s : can't send truncated nw inf name to FW = %s\n", __func__, out);
    RIL_TRACE(TRACE_ERROR, "%s : original string has more characters %d\n", __func__, length);
    return false;
}

bool gprs_interface_name_of_cid(uint32_t uta_cid, char (&out)[14]) {
    return gprs_interface_name(uta_cid - c_gprs_first_cid, out);
}
