#include "tests/harness/stood_in_rooms.h"

#include <csignal>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/ecc_list.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/ss/ss.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

StoodInRooms stood_in;

void start_engine(const RIL_Env* env) {
    s_rilenv = env;
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    qelril_init();
}

void stop_engine() {
    qelril_destroy();
}

[[gnu::weak]] void on_request_handler(uint32_t, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    if (stood_in.handler) {
        stood_in.handler(request, p_data, data_len, token);
    }
}
[[gnu::weak]] int32_t modem_init() {
    return stood_in.modem_init ? stood_in.modem_init() : 0;
}
[[gnu::weak]] int32_t module_exit() {
    if (stood_in.module_exit) {
        stood_in.module_exit();
    }
    return 0;
}
[[gnu::weak]] void import_kernel_cmdline() {}
[[gnu::weak]] uint32_t RPCMakeContextId() {
    return 0x20AA01BB;
}
[[gnu::weak]] void ss_dtmf_call_ended(uint32_t, int32_t) {}

// A phone that is registered with a card that is ready and has no emergency numbers, codes or locks.
[[gnu::weak]] std::array<agg_profile, 2> pAggprofileDB;
[[gnu::weak]] uint32_t net_get_modem_registration_state(uint32_t) {
    return 1;
}
[[gnu::weak]] uint32_t get_sim_state(uint32_t) {
    return SIM_STATUS_SIM_READY;
}
[[gnu::weak]] const ecc_list* sim_get_ecc_list(uint32_t) {
    return nullptr;
}
[[gnu::weak]] uint32_t sim_get_ecc_records(uint32_t) {
    return 0;
}
[[gnu::weak]] int32_t sim_is_fdn_enabled(uint32_t) {
    return 0;
}
[[gnu::weak]] int32_t sim_handle_sim_lock_personalisation_facility(uint32_t, int32_t, int32_t, const char*, int32_t,
                                                                   uint32_t) {
    return -1;
}
[[gnu::weak]] int32_t ss_handle_simcard_lock_facility(uint32_t, int32_t, int32_t, const char*, int32_t, uint32_t) {
    return -1;
}
[[gnu::weak]] int32_t ss_handle_fixed_dialing_lock_facility(uint32_t, int32_t, int32_t, const char*, int32_t,
                                                            uint32_t) {
    return -1;
}

// Its files: a record of a service centre's number wherever one is read, and the answers' result for a status.
[[gnu::weak]] UtaSimApduPath sim_file_path(uint32_t, uint16_t, uint16_t) {
    return {};
}
[[gnu::weak]] uint8_t getClaByte(uint32_t) {
    return 0;
}
[[gnu::weak]] void sms_sim_create_read_record_apdu(uint32_t, uint8_t, uint8_t, UtaSimApduData& apdu) {
    apdu = {};
}
[[gnu::weak]] int32_t sim_analyse_apdu_result(const UtaSimApduCmdRspParam& answer, sim_apdu_status& out) {
    out.sw1 = answer.result == 0 ? 0x90 : 0x6F;
    return answer.result;
}
[[gnu::weak]] int32_t AGGSimAnalyseFilePropertyResult(const UtaSimApduCmdRspParam*, sim_file_properties* out) {
    out->record_len = 28;
    return 0;
}
[[gnu::weak]] int32_t sms_sim_analyse_read_result(const UtaSimApduCmdRspParam& answer, sim_read_result& out) {
    static constexpr std::array<uint8_t, 28> c_record = {0xFD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0x91, 0x94, 0x71};
    out.data = c_record;
    return answer.result;
}
