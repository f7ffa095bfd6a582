#include <modemlink/modem_link.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <climits>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/radio_power.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/os_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

constexpr int c_pdp_fail_no_modem = -3;

// One end or start at a time: the modem manager's thread brings those of the modem, a thread of this file those of the
// RPC daemon. Whichever has it is the modem event thread.
pthread_mutex_t s_event_lock = PTHREAD_MUTEX_INITIALIZER;
bool s_modem_is_up = false;  // the modem manager's last word. Guarded by s_event_lock

// The modem event thread writes both; the gate reads them on rild's event thread.
std::atomic<uint32_t> last_modem_event{E_MODEM_NONE};
std::atomic<uint32_t> s_spoof_commands{0};

// Tells Android to read its state again.
void changeInState(uint32_t sim_id) {
    for (const int number : {RIL_UNSOL_DATA_CALL_LIST_CHANGED, RIL_UNSOL_RESPONSE_CALL_STATE_CHANGED,
                             RIL_UNSOL_RESPONSE_VOICE_NETWORK_STATE_CHANGED, RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED}) {
        RIL_UnsolicitedResponse(sim_id, number, nullptr, 0);
    }
}

void resetInternalState() {
    RIL_TRACE_FUNCTION();
    modem_exit();
    qelril_destroy();
}

// Starts everything, and lets RIL_Init return the first time.
void mehInit() {
    RIL_TRACE_FUNCTION();
    usleep(1000);
    if (qelril_init() < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: qelril_init failed\n", __func__);
    }
    s_spoof_commands.store(0, std::memory_order_release);
    changeInState(ril_instance);
    sleep(5);
    const int32_t free_id = get_mode_ctxt_id();
    if (free_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s get ctx failed --> something wrong here\n", __func__);
        return;
    }
    // Where it fails, the context stays until the modem's next end: a connection that broke behind the request leaves
    // open whether the modem heard it, and the RIL thread may have the answer, and the context, already.
    stack_power_off(ril_instance, uta_context_id(static_cast<uint32_t>(free_id)));
    sys_sem_signal(s_ril_wait_init_sem);
    second_stack_power_off();
}

// What a start needs besides the modem: the RPC daemon, which has to know the library. The modem manager may report the
// modem before.
pthread_mutex_t s_daemon_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t s_daemon_changed = PTHREAD_COND_INITIALIZER;
struct daemon_state {
    bool known = false;  // RIL_Init has registered with it, or given up
    bool away = false;
    bool returned = false;  // since daemon_task last looked
    uint32_t ends = 0;      // how often it died
} s_daemon;

void wait_for_registration() {
    const MutexHold hold(s_daemon_lock);
    while (!s_daemon.known) {
        pthread_cond_wait(&s_daemon_changed, &s_daemon_lock);
    }
}

bool daemon_is_away() {
    const MutexHold hold(s_daemon_lock);
    return s_daemon.away;
}

// The start comes with the later of the two: without the daemon, every call of it would fail.
void start_if_both_are_there() {
    if (s_modem_is_up && last_modem_event.load(std::memory_order_relaxed) != E_MODEM_UP && !daemon_is_away()) {
        last_modem_event.store(E_MODEM_UP, std::memory_order_release);
        mehInit();
    }
}

void end() {
    s_spoof_commands.store(1, std::memory_order_release);
    if (last_modem_event.load(std::memory_order_relaxed) != E_MODEM_UP) {
        return;
    }
    set_radio_state(ril_instance, RADIO_STATE_UNAVAILABLE);
    changeInState(ril_instance);
    resetInternalState();
    // Until the RIL thread had ended, it may have taken a late answer of the modem for the radio's state.
    set_radio_state(ril_instance, RADIO_STATE_UNAVAILABLE);
    if (is_platform_shutdown()) {
        RIL_TRACE(TRACE_EVENT, "%s, platform shutdown request\n", "mehHandler");
        for (;;) {
            RIL_TRACE(TRACE_EVENT, "%s, sleep for ever\n", "mehHandler");
            sleep(10000);
        }
    }
    last_modem_event.store(E_MODEM_DOWN, std::memory_order_release);
}

void modem_up() {
    RIL_TRACE(TRACE_EVENT, "%s REQ --> E_MODEM_UP\n", "mehHandler");
    wait_for_registration();
    const MutexHold event(s_event_lock);
    s_modem_is_up = true;
    start_if_both_are_there();
}

void modem_down() {
    RIL_TRACE(TRACE_EVENT, "%s REQ --> E_MODEM_DOWN\n", "mehHandler");
    const MutexHold event(s_event_lock);
    s_modem_is_up = false;
    end();
}

// Its next end or return.
daemon_state await_daemon(uint32_t ends_seen) {
    const MutexHold hold(s_daemon_lock);
    while (s_daemon.ends == ends_seen && !s_daemon.returned) {
        pthread_cond_wait(&s_daemon_changed, &s_daemon_lock);
    }
    s_daemon.returned = false;
    return s_daemon;
}

// The daemon that comes back knows nothing of what was open with the old one: no service, no request in flight. So its
// end is the modem's end, and its return the modem's start.
void* daemon_task(void* /*arg*/) {
    for (uint32_t ends_seen = 0;;) {
        const daemon_state now = await_daemon(ends_seen);
        const MutexHold event(s_event_lock);
        if (now.ends != ends_seen) {
            ends_seen = now.ends;
            end();
        }
        start_if_both_are_there();
    }
}

constexpr uint32_t c_modem_reset = 0xA1000000;  // a request to the modem manager

void shut_down_cb(uint32_t sim_id, const void* p_params) {
    (void)sim_id;
    (void)p_params;
    if (ril_instance != 0) {
        return;
    }
    if (reqMEH(c_modem_reset) == 0) {
        RIL_TRACE(TRACE_EVENT, "%s going for reset\n", __func__);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s reset failed\n", __func__);
    }
}

void answer_sim_status(uint32_t sim_id, RIL_Token token) {
    RIL_CardStatus_v6 status{};
    status.gsm_umts_subscription_app_index = -1;
    status.cdma_subscription_app_index = -1;
    status.ims_subscription_app_index = -1;
    switch (sim_get_sim_status(sim_id)) {
        case SIM_STATUS_SIM_ABSENT:
            status.card_state = RIL_CARDSTATE_ABSENT;
            break;
        case SIM_STATUS_SIM_NOT_READY:
        case SIM_STATUS_SIM_READY:
            status.card_state = RIL_CARDSTATE_PRESENT;
            status.gsm_umts_subscription_app_index = 0;
            status.num_applications = 1;
            status.applications[0].app_type = RIL_APPTYPE_SIM;
            break;
        default:
            status.card_state = RIL_CARDSTATE_ERROR;
            break;
    }
    ril_request_complete(token, RIL_E_SUCCESS, &status, sizeof(status));
}

}  // namespace

void mehHandler(uint32_t event) {
    RIL_TRACE_FUNCTION();
    switch (event) {
        case E_MODEM_UP:
            modem_up();
            break;
        case E_MODEM_DOWN:
            modem_down();
            break;
        case E_MODEM_RESET:
            RIL_TRACE(TRACE_EVENT, "%s REQ --> E_MODEM_RESET\n", __func__);
            break;
        case E_MODEM_SHUTDOWN:
            RIL_TRACE(TRACE_EVENT, "%s REQ --> E_MODEM_SHUTDOWN\n", __func__);
            break;
        default:
            RIL_TRACE(TRACE_EVENT, "%s REQ --> UNKNOWN\n", __func__);
            break;
    }
}

void modem_events_start() {
    pthread_t task{};
    if (pthread_create(&task, nullptr, daemon_task, nullptr) == 0) {
        pthread_detach(task);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: daemon_task create failed\n", __func__);
    }
    const MutexHold hold(s_daemon_lock);
    s_daemon.known = true;
    pthread_cond_broadcast(&s_daemon_changed);
}

void RPCConnectionChanged(bool connected) {
    const MutexHold hold(s_daemon_lock);
    s_daemon.away = !connected;
    s_daemon.returned = connected;
    s_daemon.ends += connected ? 0 : 1;
    pthread_cond_broadcast(&s_daemon_changed);
}

// Needs no UTA call: the modem manager itself resets the modem.
void ShutdownCb() {
    qelril_post_utamsindcb(ril_instance, nullptr, shut_down_cb);
}

uint32_t getLastModemEvent() {
    return last_modem_event.load(std::memory_order_acquire);
}

uint32_t mmgr_get_spoof_command_state() {
    return s_spoof_commands.load(std::memory_order_acquire);
}

void handleRequestNoModem(uint32_t sim_id, int32_t request, void* data, size_t length, RIL_Token token) {
    switch (request) {
        case RIL_REQUEST_GET_SIM_STATUS:
            answer_sim_status(sim_id, token);
            break;
        case RIL_REQUEST_GET_CURRENT_CALLS:
        case RIL_REQUEST_DEACTIVATE_DATA_CALL:
            ril_request_complete(token, RIL_E_SUCCESS, nullptr, 0);
            break;
        case RIL_REQUEST_SETUP_DATA_CALL: {
            RIL_Data_Call_Response_v6 response{};
            response.status = c_pdp_fail_no_modem;
            response.suggestedRetryTime = INT_MAX;
            ril_request_complete(token, RIL_E_SUCCESS, &response, sizeof(response));
            break;
        }
        case RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE:
            if (get_radio_state(sim_id) == RADIO_STATE_OFF || !net_pref_is_saved(sim_id)) {
                saveNetPrefInfo(sim_id, request, data, length, token);
            } else {
                net_pref_drop(token);
            }
            break;
        default:
            ril_request_complete(token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
            break;
    }
}
