#include "ril/utils/trace.h"

uint32_t ril_instance = 0;

std::array<uint32_t, 3> s_cfg_trace_settings = {1, 1, 1};

uint32_t ril_config_trace_enabled(uint32_t entry, uint32_t mask) {
    if (entry >= s_cfg_trace_settings.size()) {
        __android_log_buf_print(c_log_buffer_radio, trace_priority(TRACE_ERROR), trace_tag(),
                                "%s: entry(%d) out of range\n", __func__, static_cast<int>(entry));
        return 0;
    }
    return (s_cfg_trace_settings[entry] & mask) != 0 ? 1 : 0;
}
