// Two SIMs, each with a process of its own, take turns: the data SIM begins its search when the other one has
// registered. They share nothing but properties, so the wait is a poll.
#include <cutils/properties.h>

#include <cstdlib>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/attach.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

constexpr const char* c_non_data_sim_registered = "gsm.nondatasim.registered";
constexpr int32_t c_step_seconds = 1;
constexpr uint32_t c_steps_behind_first = 4;

struct attach_delay {
    uint32_t ctxt_id;
    uint32_t sim_id;
    uint32_t retry_left;
    RIL_Token token;
    uint32_t modem_start;
};

bool non_data_sim_has_registered() {
    char value[PROPERTY_VALUE_MAX];
    property_get(c_non_data_sim_registered, value, "");
    return strcmp(value, "true") == 0;
}

bool other_sim_goes_first(uint32_t sim_id) {
    return is_sim_can_register(sim_id ^ 1U) && !non_data_sim_has_registered();
}

// The request may have been answered meanwhile, with the modem that it was for.
bool is_still_open(const attach_delay& delay) {
    const rilreq_state& entry = rilreq_state_info[delay.ctxt_id];
    return delay.modem_start == net_modem_starts() && entry.token == delay.token;
}

// One step of the wait, on its way to the RIL thread.
struct attach_turn {
    attach_delay* delay;
    bool goes_on;
};

void net_attach_delay_step(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    auto& turn = *static_cast<attach_turn*>(const_cast<void*>(p_params));
    if (!is_still_open(*turn.delay)) {
        return;
    }
    if (turn.delay->retry_left != 0 && other_sim_goes_first(sim_id)) {
        --turn.delay->retry_left;
        turn.goes_on = true;
        return;
    }
    net_select(sim_id, {c_cops_automatic, nullptr}, ctxt_id);
}

// rild's event thread. Each step passes its record on, so that none can fail for lack of memory.
void net_attach_delay_handler(void* param) {
    attach_turn turn{static_cast<attach_delay*>(param), false};
    qelril_post_utamsrspcb(turn.delay->sim_id, &turn, turn.delay->ctxt_id, net_attach_delay_step);
    if (turn.goes_on) {
        ril_request_timed_call_back(net_attach_delay_handler, turn.delay, c_step_seconds, 0);
    } else {
        MEM_FREE(turn.delay);
    }
}

}  // namespace

bool is_data_sim(uint32_t sim_id) {
    char value[PROPERTY_VALUE_MAX];
    property_get("gsm.simmanager.data_sim_id", value, "0");
    return static_cast<uint32_t>(atoi(value)) == sim_id;
}

bool is_sim_can_register(uint32_t sim_id) {
    constexpr char c_ready[] = "READY";
    char value[PROPERTY_VALUE_MAX];
    property_get(sim_id == 0 ? "gsm.sim.state" : "gsm.sim2.state", value, "ABSENT");
    return strncmp(value, c_ready, sizeof(c_ready) - 1) == 0;
}

void net_tell_other_sim_registered() {
    property_set(c_non_data_sim_registered, "true");
}

void net_select_automatic_in_turn(uint32_t sim_id, uint32_t ctxt_id) {
    if (!is_data_sim(sim_id) || !other_sim_goes_first(sim_id)) {
        net_select(sim_id, {c_cops_automatic, nullptr}, ctxt_id);
        return;
    }
    auto* const delay = static_cast<attach_delay*>(MEM_ALLOC(sizeof(attach_delay)));
    if (delay == nullptr) {
        // Android is told, and asks again: a search that begins now would be in the other SIM's way.
        RIL_TRACE(TRACE_ERROR, "%s: Memory alloc failure", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    *delay = {ctxt_id, sim_id, c_steps_behind_first, rilreq_state_info[ctxt_id].token, net_modem_starts()};
    ril_request_timed_call_back(net_attach_delay_handler, delay, c_step_seconds, 0);
}
