// The commands of RIL_REQUEST_OEM_HOOK_STRINGS: a number and its arguments, all as texts.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/em/em.h"
#include "ril/core/src/mtpm/mtpm.h"
#include "ril/core/src/net/fast_dormancy.h"
#include "ril/core/src/oem_hooks/oem_hooks.h"
#include "ril/core/src/sms/sms.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// 0 for a text that is missing or no number.
int32_t number(const char* text) {
    return text == nullptr ? 0 : static_cast<int32_t>(strtol(text, nullptr, 10));
}

void succeed(request_context& context) {
    context.complete(RIL_E_SUCCESS);
}

void succeed(request_context& context, char digit) {
    char text[] = {digit, '\0', '\0', '\0'};
    char* answer = text;
    context.complete(RIL_E_SUCCESS, &answer, sizeof(answer));
}

void in_flight_if(request_context& context, bool sent) {
    if (sent) {
        context.in_flight();
    }
}

bool has(const char* function, oem_texts texts, size_t count) {
    for (size_t i = 1; i < count; ++i) {
        if (texts[i] == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: not enough data(%d)\n", function,
                      static_cast<int>(texts.size() * sizeof(char*)));
            return false;
        }
    }
    return true;
}

// --- Temperatures ----------------------------------------------------------------------------------------------------

void get_thermal_sensor(request_context& context, oem_texts texts) {
    if (texts[1] == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: Thermal Get: Missing Sensor ID\n", "oem_hooks_strings_decode");
        return;
    }
    in_flight_if(context, oem_hooks_get_thermal_sensor(context, number(texts[1])) == 0);
}

int32_t set_thermal_threshold(const char* text) {
    constexpr const char* c_function = "oem_hooks_strings_decode";
    char word[10] = "";
    int32_t sensor_id = 0;
    int32_t minimum = 0;
    int32_t maximum = 0;
    const int fields = sscanf(text, "%9s %d %d %d", word, &sensor_id, &minimum, &maximum);
    if (strcmp(word, "true") == 0) {
        if (fields != 4) {
            RIL_TRACE(TRACE_ERROR, "%s: Thermal Set: Too few (%d) parameters\n", c_function, fields);
            return -1;
        }
        return oem_hooks_arm_thermal_alarm(sensor_id, minimum, maximum);
    }
    if (strcmp(word, "false") == 0) {
        if (fields < 2) {
            RIL_TRACE(TRACE_ERROR, "%s: Thermal deactivate: Too few (%d) parameters\n", c_function, fields);
            return -1;
        }
        return oem_hooks_stop_thermal_alarm(sensor_id);
    }
    RIL_TRACE(TRACE_ERROR, "%s: Unknown enable/disable string '%s'\n", c_function, word);
    return -1;
}

void set_thermal_threshold(request_context& context, oem_texts texts) {
    if (!has("oem_hooks_set_thermal_threshold", texts, 2)) {
        return;
    }
    if (set_thermal_threshold(texts[1]) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: set thermal threshold FAILED\n", "oem_hooks_strings_decode");
        return;
    }
    succeed(context);
}

// --- Network ---------------------------------------------------------------------------------------------------------

void oem_hook_fast_dormancy(request_context& context, oem_texts texts) {
    constexpr int32_t c_delay_max = 60;
    constexpr int32_t c_scri_max = 120;
    if (ril_config_fast_dormancy_oem_controlled() == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: AFD is not controlled by OEM-hook\n", __func__);
        return;
    }
    if (!has(__func__, texts, 4)) {
        return;
    }
    const bool on = strcmp(texts[1], "true") == 0;
    if (!on && strcmp(texts[1], "false") != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Invalid fdor_mode value %s\n", __func__, texts[1]);
        return;
    }
    const auto delay = static_cast<uint8_t>(number(texts[2]));
    if (delay < 1 || delay > c_delay_max) {
        RIL_TRACE(TRACE_ERROR, "%s: Invalid fdor_delay_timer value = %d\n", __func__, delay);
        return;
    }
    const auto scri = static_cast<uint8_t>(number(texts[3]));
    if (scri < 1 || scri > c_scri_max) {
        RIL_TRACE(TRACE_ERROR, "%s: Invalid scri_timer value = %d\n", __func__, scri);
        return;
    }
    if (net_set_fast_dormancy(context.sim_id(), on ? c_fdor_on : c_fdor_off, delay, scri) == 0) {
        succeed(context);
    }
}

void oem_swap_ps(request_context& context, oem_texts texts) {
    if (number(texts[1]) != 1) {
        return;
    }
    const UtaStackInstances stacks{};
    if (RemUtaMsNetSwapRatSettingsReq(&stacks, context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsNetSwapRatSettingsReq failed", __func__);
        return;
    }
    context.in_flight();
}

void get_dvp_state(request_context& context, oem_texts) {
    in_flight_if(context, oem_hook_get_dvp_state(context) == 0);
}

void set_dvp_state(request_context& context, oem_texts texts) {
    in_flight_if(context, has("oem_hook_set_dvp_state", texts, 2) &&
                              oem_hook_set_dvp_state(context, static_cast<uint8_t>(number(texts[1]))) == 0);
}

// --- Reports ---------------------------------------------------------------------------------------------------------

bool is_one_shot(const char* function, oem_texts texts, size_t count) {
    if (!has(function, texts, count)) {
        return false;
    }
    if (number(texts[1]) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Only one shot dump is supported\n", function);
        return false;
    }
    return true;
}

void oem_hooks_get_gprs_cell_environment_description(request_context& context, oem_texts texts) {
    in_flight_if(context, is_one_shot(__func__, texts, 2) && em_request_cged(context.sim_id(), context.id()) == 0);
}

void oem_hooks_get_gprs_cell_environment_description_per_page(request_context& context, oem_texts texts) {
    if (!is_one_shot(__func__, texts, 3)) {
        return;
    }
    const auto page = static_cast<uint32_t>(number(texts[2]));
    if (page < 1 || page > c_em_pages) {
        oem_hooks_set_requested_page(context.sim_id(), page);
        RIL_TRACE(TRACE_ERROR, "%s: Only pages 1 to 12 supported\n", __func__);
        return;
    }
    in_flight_if(context, em_request_xcgedpage(context.sim_id(), page, context.id()) == 0);
}

// --- Calls and messages ----------------------------------------------------------------------------------------------

void oem_hooks_release_all_calls(request_context& context, oem_texts) {
    in_flight_if(context, callmngr_multi_party_call_manager(context.sim_id(), CALL_RELEASE_ALL_WAITING_HELD_ACTIVE, 0,
                                                            context.uta_id()) == 0);
}

// The modem's services and Android's modes are each other's reverse, two by two.
void get_sms_transport_mode(request_context& context, oem_texts) {
    static constexpr char c_modes[] = {'1', '0', '3', '2'};
    const uint32_t service = sms_get_net_gsm_service(context.sim_id());
    if (service >= sizeof(c_modes)) {
        RIL_TRACE(TRACE_ERROR, "%s Entered UTA_NET_GSM_SERVICE_UNDEFINED\n", __func__);
        return;
    }
    succeed(context, c_modes[service]);
}

void set_sms_transport_mode(request_context& context, oem_texts texts) {
    uint32_t mode = 0;
    if (texts[1] == nullptr || sscanf(texts[1], "%u", &mode) == -1) {
        RIL_TRACE(TRACE_ERROR, "%s Failed to convert string to INT\n", __func__);
        return;
    }
    sms_set_net_gsm_service(context.sim_id(), mode);
    succeed(context);
}

// --- Radio power and the card ----------------------------------------------------------------------------------------

void oem_hooks_get_rf_power_cutback_table(request_context& context, oem_texts) {
    uint8_t status = 0;
    uint8_t index = 0;
    int32_t applied = 0;
    if (RemCsiUtaMsTpcGetState(context.sim_id(), &status, &index, &applied) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA CsiUtaMsTpcGetState failed\n", __func__);
        return;
    }
    succeed(context, static_cast<char>('0' + index));
}

void oem_hooks_set_rf_power_cutback_table(request_context& context, oem_texts texts) {
    constexpr uint8_t c_index_max = 2;
    if (!has(__func__, texts, 2)) {
        return;
    }
    const auto index = static_cast<uint8_t>(number(texts[1]));
    if (index > c_index_max) {
        RIL_TRACE(TRACE_ERROR, "%s: RF power index table must be from 0 to 2\n", __func__);
        return;
    }
    if (RemCsiUtaMsTpcUpdatePowerOffsetTable(context.sim_id(), index) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA CsiUtaMsTpcUpdatePowerOffsetTable failed\n", __func__);
        return;
    }
    succeed(context);
}

void set_max_rf_power(request_context& context, oem_texts texts) {
    if (has("setMaxRFPower", texts, 2) && mtpm_set_max_rf_power(number(texts[1])) == 0) {
        succeed(context);
    }
}

void oem_sim_reset(request_context& context, oem_texts) {
    const UtaSimRecoveryParams param = {1};
    in_flight_if(context, RemUtaMsSimRecoveryReq(context.sim_id(), &param, context.uta_id()) == 0);
}

// --- The table -------------------------------------------------------------------------------------------------------

using oem_command = void (*)(request_context& context, oem_texts texts);

constexpr int32_t c_first_command = 162;

// From the first one on; null is no command.
constexpr std::array<oem_command, 21> c_commands = {{
    get_thermal_sensor,                                        // 162
    set_thermal_threshold,                                     // 163
    oem_hook_fast_dormancy,                                    // 164
    nullptr,                                                   //
    oem_hooks_get_gprs_cell_environment_description,           // 166
    oem_hooks_get_gprs_cell_environment_description_per_page,  // 167
    oem_hooks_release_all_calls,                               // 168
    get_sms_transport_mode,                                    // 169
    set_sms_transport_mode,                                    // 170
    oem_hooks_get_rf_power_cutback_table,                      // 171
    oem_hooks_set_rf_power_cutback_table,                      // 172
    nullptr,                                                   //
    nullptr,                                                   //
    nullptr,                                                   //
    nullptr,                                                   //
    nullptr,                                                   //
    oem_swap_ps,                                               // 178
    get_dvp_state,                                             // 179
    set_dvp_state,                                             // 180
    set_max_rf_power,                                          // 181
    oem_sim_reset,                                             // 182
}};

}  // namespace

void oem_hooks_strings_decode(request_context& context, oem_texts texts) {
    const int32_t id = number(texts[0]);
    const auto index = static_cast<uint32_t>(id) - uint32_t{c_first_command};
    if (index >= c_commands.size() || c_commands[index] == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: oem command %d unknown\n", __func__, id);
        context.complete(RIL_E_REQUEST_NOT_SUPPORTED);
        return;
    }
    c_commands[index](context, texts);
}
