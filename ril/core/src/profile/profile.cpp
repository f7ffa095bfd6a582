#include "ril/core/src/profile/profile.h"

#include "ril/core/src/decode/decode.h"
#include "ril/utils/trace.h"

std::array<agg_profile, 2> pAggprofileDB;

namespace {

constexpr uint16_t c_switch_default = 0xFFFF;  // counts as 0

void AGG_ParamsDB_SetToDefault(uint32_t sim_id) {
    pAggprofileDB[sim_id] = {};
    pAggprofileDB[sim_id].cscs = AGG_CSCS_IRA;
}

bool to_switch(uint32_t half, uint16_t& out) {
    if (half > 1 && half != c_switch_default) {
        return false;
    }
    out = half == 1 ? 1 : 0;
    return true;
}

}  // namespace

void agg_module_init() {
    for (uint32_t sim_id = 0; sim_id < pAggprofileDB.size(); ++sim_id) {
        AGG_ParamsDB_SetToDefault(sim_id);
    }
}

void agg_module_exit() {}

int32_t ril_set_terminal_adaptor_value(uint32_t sim_id, const char* name) {
    const auto cscs = static_cast<uint32_t>(req_get_terminal_adapter_enum_from_charset_name(name));
    if (cscs == AGG_CSCS_INVALID) {
        RIL_TRACE(TRACE_ERROR, "%s: CSCS is invalid\n", __func__);
        return -10;
    }
    pAggprofileDB[sim_id].cscs = cscs;
    return 0;
}

int32_t ril_set_supplement_service_notification(uint32_t sim_id, uint32_t value) {
    agg_cssn cssn{};
    if (!to_switch(value & 0xFFFFU, cssn.n)) {
        RIL_TRACE(TRACE_ERROR, "cssn_data.n !(0/1)\n");
        return -11;
    }
    if (!to_switch(value >> 16U, cssn.m)) {
        RIL_TRACE(TRACE_ERROR, "cssn_data.m !(0/1)\n");
        return -11;
    }
    pAggprofileDB[sim_id].cssn_data = cssn;
    return 0;
}
