#include "tests/async_ril/seams.h"

#include <gtest/gtest.h>

#include <csignal>

#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/gate.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/harness/fake_android.h"

Seams& Seams::instance() {
    static Seams seams;
    return seams;
}

void Seams::reset() {
    handler = nullptr;
    modem_init = nullptr;
    module_exit = nullptr;
    spoofing = 0;
    last_event = 0;
    sim_status = 0;
    saved_net_pref = nullptr;
    saved_net_type = -1;
}

void start_engine() {
    s_rilenv = FakeAndroid::env();
    FakeAndroid::instance().reset();
    struct sigaction action {};
    action.sa_handler = qelril_signal_handler;
    sigaction(SIGUSR1, &action, nullptr);
    Seams::instance().spoofing = 0;
    qelril_init();
}

void stop_engine() {
    Seams::instance().spoofing = 1;
    qelril_destroy();
}

void on_request_handler(uint32_t, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    if (Seams::instance().handler) {
        Seams::instance().handler(request, p_data, data_len, token);
    }
}

int32_t modem_init() {
    return Seams::instance().modem_init ? Seams::instance().modem_init() : 0;
}

int32_t module_exit() {
    if (Seams::instance().module_exit) {
        Seams::instance().module_exit();
    }
    return 0;
}

void mehHandler(uint32_t) {}
void modem_events_start() {}
uint32_t RPCMakeContextId() {
    return 0x20AA01BB;
}
uint32_t getLastModemEvent() {
    return Seams::instance().last_event;
}
uint32_t mmgr_get_spoof_command_state() {
    return Seams::instance().spoofing;
}
int32_t sim_get_sim_status(uint32_t) {
    return Seams::instance().sim_status;
}

void handleRequestNoModem(uint32_t, int32_t, void*, size_t, RIL_Token token) {
    ril_request_complete(token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
}

void saveNetPrefInfo(uint32_t, int32_t, void* data, size_t, RIL_Token token) {
    Seams::instance().saved_net_pref = token;
    Seams::instance().saved_net_type = *static_cast<int*>(data);
}

int32_t ril_config_init(int argc, char**) {
    Seams::instance().argc = argc;
    return 0;
}

uint32_t RegisterRPCClient(void (*handler)(uint32_t)) {
    EXPECT_EQ(handler, &mehHandler);
    sys_sem_signal(s_ril_wait_init_sem);  // the modem is up at once
    return 0x20000100;
}
