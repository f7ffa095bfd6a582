#include "ril/core/src/system_manager/bring_up.h"

#include <cutils/properties.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/reset/reset.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/core/src/simtk/simtk.h"
#include "ril/core/src/sms/sms.h"
#include "ril/core/src/ss/ss.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/core/src/system_manager/radio_power.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

// Places for a platform's firmware download, audio path and modem memory: nothing stands there.
int32_t modem_firmware_install() {
    return 0;
}
int32_t modem_audio_init() {
    return 0;
}
int32_t modem_audio_on() {
    return 0;
}
void modem_audio_off() {}
void modem_audio_exit() {}
int32_t modem_nvm_start() {
    return 0;
}
int32_t modem_nvm_shutdown() {
    return 0;
}

int32_t omap_family = 0;  // 3 OMAP5, 2 OMAP4, 1 another OMAP, 0 none; only logged

bool cpuinfo_names(const char* word) {
    FILE* file = fopen("/proc/cpuinfo", "re");
    if (file == nullptr) {
        return false;
    }
    char line[256];
    bool found = false;
    while (!found && fgets(line, sizeof(line), file) != nullptr) {
        found = strstr(line, word) != nullptr;
    }
    fclose(file);
    return found;
}

int32_t modem_hardware_init() {
    static constexpr struct {
        const char* word;
        int32_t family;
        const char* message;
    } c_families[] = {
        {"OMAP5", 3, "OMAP5 is used\n"},
        {"OMAP4", 2, "OMAP4 is used\n"},
        {"OMAP", 1, "OMAP3 is used\n"},
    };
    for (const auto& row : c_families) {
        if (cpuinfo_names(row.word)) {
            omap_family = row.family;
            RIL_TRACE(TRACE_EVENT, "%s", row.message);
            return 0;
        }
    }
    RIL_TRACE(TRACE_EVENT, "No OMAP detected\n");
    return 0;
}

bool is_dual_sim() {
    char value[PROPERTY_VALUE_MAX];
    property_get("persist.dual_sim", value, "");
    return strncmp(value, "ss", 2) == 0;
}

void initialize_indications(uint32_t sim_id) {
    constexpr uint32_t c_both_notifications = 0x10001;
    if (ril_set_supplement_service_notification(sim_id, c_both_notifications) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Supplement service notifications for SIM %d failed\n", __func__,
                  static_cast<int>(sim_id));
    }
    if (ril_set_terminal_adaptor_value(sim_id, "GSM") != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: setting terminal adaptor value failed for SIM %d\n", __func__,
                  static_cast<int>(sim_id));
    }
}

void start_modules(uint32_t sim_id) {
    callmngr_module_init(sim_id);
    gprs_init(sim_id);
    net_module_init(sim_id);
    sms_mngr_init(sim_id);
    stk_module_init(sim_id);
    sim_module_init(sim_id);
    ss_module_init(sim_id);
    em_module_init(sim_id);
    initialize_indications(sim_id);
    boot_read_ecc_list_from_nvm(sim_id);
}

// A mismatch never stops the start.
void check_rpc_version() {
    constexpr int c_attempts = 4;
    for (int attempt = 0; attempt < c_attempts; ++attempt) {
        const int32_t remote = RemRpcGetRemoteVerInfo();
        if (remote == c_rpc_version) {
            RIL_TRACE(TRACE_EVENT, "%s: RPC Version MATCH after retry = %d", __func__, attempt);
            return;
        }
        RIL_TRACE(TRACE_ERROR, "%s: RPC Version MISMATCH pgen = %d, remote = %d\n", __func__, c_rpc_version, remote);
        sleep(3);
    }
}

int32_t start_all_modules() {
    radio_power_start();
    radio_state_start();
    net_pref_start();
    agg_module_init();
    for (uint32_t sim_id = 0; sim_id < 2; ++sim_id) {
        start_modules(sim_id);
    }
    oem_hooks_module_init();
    sim_module_init_mailbox();
    return 0;
}

int32_t start_services() {
    check_rpc_version();
    if (uta_sys_init(ril_instance) == 0) {
        return -1;
    }
    // The network service takes the settings as soon as it is open; without them the modem has its own.
    if (set_modem_initial_values(ril_instance) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: set_modem_initial_values failed\n", __func__);
    }
    if (mtpm_init() < 0) {
        RIL_TRACE(TRACE_ERROR, "%s mtpm_init failed\n", __func__);
    }
    return 0;
}

struct start_step {
    int32_t (*run)();
    const char* failure;
};

int32_t run_steps(std::span<const start_step> steps) {
    for (const start_step& step : steps) {
        const int32_t result = step.run();
        if (result < 0) {
            RIL_TRACE(TRACE_ERROR, step.failure == nullptr ? "%s failed\n" : step.failure, "modem_init");
            return result;
        }
    }
    return 0;
}

// Sends mode "stack off" on one of the ways of stack_power_off.
int32_t request_stack_off(uint32_t sim_id, uint32_t context_id, const char* failure) {
    const int32_t result = request_set_phone_functionality(sim_id, FUN_MODE_STACK_OFF, context_id);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, failure, "stack_power_off", static_cast<int>(sim_id));
    }
    return result;
}

int32_t shut_down(uint32_t sim_id, uint32_t context_id) {
    if (modem_exit() != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: modem_exit failed\n", "stack_power_off");
    }
    const int32_t result = request_stack_off(sim_id, context_id, "%s: setting sim%d phone to cfun = 0 failed\n");
    sleep(1);
    modem_power_state_set(0);
    return result;
}

}  // namespace

bool is_platform_shutdown() {
    char value[PROPERTY_VALUE_MAX];
    property_get("sys.shutdown.requested", value, "");
    return value[0] == '0' || value[0] == '1';
}

bool is_property_set(const char* key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "");
    return strncmp(value, "true", 4) == 0;
}

int32_t modem_init() {
    RIL_TRACE_FUNCTION();
    static constexpr start_step c_state[] = {
        {modem_hardware_init, nullptr},
        {[]() -> int32_t {
             recovery_check_on_ril_init();
             return 0;
         },
         nullptr},
        {modem_firmware_install, "%s: Error in modem_firmware_install\n"},
        {modem_audio_init, nullptr},
        {start_all_modules, nullptr},
    };
    static constexpr start_step c_services[] = {
        {start_services, "%s: Error in module_init\n"},
        {modem_nvm_start, "%s: Error in modem_nvm_start\n"},
        {modem_audio_on, "%s: Error in modem_audio_on\n"},
    };
    int32_t result = 0;
    {
        // The RIL thread runs already. A late packet of the modem, or a request that passed the gate before the modem
        // went down, waits for the modules' start values.
        const RunLock lock;
        result = run_steps(c_state);
    }
    return result < 0 ? result : run_steps(c_services);
}

int32_t module_exit() {
    agg_module_exit();
    gprs_exit();
    em_module_exit();
    return 0;
}

int32_t modem_exit() {
    modem_audio_off();
    const int32_t result = modem_nvm_shutdown();
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: modem_nvm_shutdown failed\n", __func__);
    }
    modem_audio_exit();
    return result;
}

int32_t uta_sys_init(uint32_t sim_id) {
    // Every call with the name that a failure is logged under.
    static constexpr struct {
        int32_t (*call)(uint32_t sim_id);
        const char* failure;
    } c_calls[] = {
        {[](uint32_t sim) { return RemUtaMsSysInitialize(sim); }, "%s: UtaMsSysInitialize failed\n"},
        {[](uint32_t sim) { return RemUtaMsSimOpenReq(sim); }, "%s: UtaMsSimOpenReq failed\n"},
        {[](uint32_t sim) { return is_dual_sim() ? RemUtaMsSimOpenReq(sim + 1) : 0; }, "%s: UtaMsSimOpenReq failed\n"},
        {[](uint32_t sim) { return RemUtaMsSmsInit(sim); }, "%s: UtaMsSmsInit failed\n"},
        {[](uint32_t sim) { return RemUtaMsCbsInit(sim); }, "%s: UtaMsCbsInit failed\n"},
        {[](uint32_t sim) { return RemUtaMsNetOpen(sim); }, "%s: UtaMsNetOpen failed\n"},
        {[](uint32_t sim) { return RemUtaMsNetSetRadioSignalReporting(sim, 1); },
         "%s: UtaMsNetSetRadioSignalReporting failed\n"},
        {[](uint32_t sim) { return RemUtaMsCallCsInit(sim); }, "%s: UtaMsCallCsInit failed\n"},
        {[](uint32_t sim) { return RemUtaMsCallPsInitialize(sim); }, "%s: UtaMsCallPsInitialize failed\n"},
        {[](uint32_t sim) { return RemUtaMsSsInit(sim); }, "%s: UtaMsSsInit failed\n"},
    };
    for (const auto& row : c_calls) {
        if (row.call(sim_id) != 0) {
            RIL_TRACE(TRACE_ERROR, row.failure, __func__);
            return 0;
        }
    }
    return 1;
}

int32_t stack_power_off(uint32_t sim_id, uint32_t context_id) {
    char value[PROPERTY_VALUE_MAX];
    property_get("persist.gsm.flightmode.shutdown", value, "");
    if (value[0] == '1' && get_radio_state((sim_id + 1) & 1) == RADIO_STATE_OFF) {
        request_stack_off(sim_id, context_id, "%s: setting sim = %d radio to cfun4 failed\n");
        return shut_down(sim_id, context_id);
    }
    property_get("sys.shutdown.requested", value, "");
    if (value[0] != '\0') {
        return shut_down(sim_id, context_id);
    }
    return request_stack_off(sim_id, context_id, "%s: setting sim%d radio to cfun = 4 failed\n");
}

void second_stack_power_off() {
    if (is_dual_sim() && other_stack_power_off(ril_instance + 1) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s, sim1 radio off error", __func__);
    }
}

void modem_shutdown(uint32_t sim_id) {
    const int32_t ctxt_id = get_mode_ctxt_id();
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR out of free rilreq_state_info array elements\n", __func__);
        return;
    }
    if (stack_power_off(sim_id, uta_context_id(static_cast<uint32_t>(ctxt_id))) != 0) {
        qelril_free_and_return(static_cast<uint32_t>(ctxt_id));  // no answer will come for it
    }
}
