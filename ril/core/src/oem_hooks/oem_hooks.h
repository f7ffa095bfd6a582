// The makers' side door: commands as texts, temperatures, DVP, and what a factory line reads out.
//
// Everything here runs on the RIL thread unless it says otherwise. What takes a context has it in flight when it gives
// 0; -1 is logged, and the context is the caller's.
#pragma once

#include <cstdint>
#include <span>

#include "ril/core/src/async_ril/request.h"

// Start values, at each start of the modem. Modem event thread, before the RIL thread has work.
void oem_hooks_module_init();

// The texts of a command, each of which may be null; so is what is missing.
struct oem_texts {
    std::span<const char* const> all;

    const char* operator[](size_t index) const { return index < all.size() ? all[index] : nullptr; }
    size_t size() const { return all.size(); }
};

// Runs the command that the texts begin with. One that neither answers nor leaves the
// context in flight has failed.
void oem_hooks_strings_decode(request_context& context, oem_texts texts);

// --- Temperatures, in hundredths of a degree -------------------------------------------------------------------------

int32_t oem_hooks_get_thermal_sensor(request_context& context, int32_t sensor_id);

// Arms the alarm of a sensor, which goes off once outside these bounds, or stops it. 0 or -1.
int32_t oem_hooks_arm_thermal_alarm(int32_t sensor_id, int32_t minimum, int32_t maximum);
int32_t oem_hooks_stop_thermal_alarm(int32_t sensor_id);

// --- DVP -------------------------------------------------------------------------------------------------------------

int32_t oem_hook_get_dvp_state(request_context& context);
int32_t oem_hook_set_dvp_state(request_context& context, uint8_t state);

// --- The factory line ------------------------------------------------------------------------------------------------

// Reads the serial number and the calibration into "gsm.serialno1" and "gsm.calib", each until it was read once. Takes
// a second or two.
void oem_read_factory_data();
