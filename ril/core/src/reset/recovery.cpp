#include <cutils/properties.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "ril/core/src/reset/reset.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"

namespace {

constexpr const char* c_init_key = "ril.rild.init";
constexpr const char* c_crash_key = "ril.rild.crash";

uint32_t sim_count = 0;  // calls behind a restart, modulo 2

struct property_value {
    char text[PROPERTY_VALUE_MAX] = {};

    explicit property_value(const char* key) { property_get(key, text, ""); }
    bool begins_with(const char* start) const { return strncmp(text, start, strlen(start)) == 0; }
};

// "ril.recovery.%d" with a suffix.
struct recovery_key {
    char text[30];

    recovery_key(uint32_t sim_id, const char* suffix) {
        snprintf(text, sizeof(text), "ril.recovery.%d%s", static_cast<int>(sim_id), suffix);
    }
};

property_value recovered(uint32_t sim_id, const char* suffix) {
    return property_value(recovery_key(sim_id, suffix).text);
}

}  // namespace

void recovery_check_on_ril_init() {
    if (property_value(c_init_key).begins_with("TRUE")) {
        RIL_TRACE(TRACE_EVENT, "Ril Recovery: there is crash\n");
        property_set(c_crash_key, "TRUE");
    }
    property_set(c_init_key, "TRUE");
}

void ril_recovery(uint32_t sim_id) {
    if (!property_value(c_crash_key).begins_with("TRUE")) {
        return;
    }
    ++sim_count;
    if (recovered(sim_id, "").begins_with("SIM_READY")) {
        RIL_TRACE(TRACE_EVENT, "RIL Recovery: trigger SIM ready to AFW as resultof RIL recovery\n");
        sim_set_sim_is_ready(sim_id, 1);
        set_sim_state(sim_id, RADIO_STATE_SIM_READY);
    }
    if (recovered(sim_id, ".siminit").begins_with("TRUE")) {
        sim_set_init(sim_id, 1);
    }
    const property_value type = recovered(sim_id, ".simtype");
    if (type.begins_with("2G")) {
        sim_set_inserted_sim_type(sim_id, SIM_CARD_TYPE_2G);
    } else if (type.begins_with("3G")) {
        sim_set_inserted_sim_type(sim_id, SIM_CARD_TYPE_3G);
    }
    sim_set_chv_status(sim_id, 0, sim_string_to_chv_value(recovered(sim_id, ".chv1").text));
    sim_set_chv_status(sim_id, 1, sim_string_to_chv_value(recovered(sim_id, ".chv2").text));
    if (sim_count == 2) {
        property_set(recovery_key(sim_id, ".chv2").text, nullptr);
        sim_count = 0;
    }
}
