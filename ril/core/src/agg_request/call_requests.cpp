// Calls: making, taking and ending them, what is done with several, and the settings that go with them.
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_dial_seconds = 25;
constexpr int32_t c_call_control_seconds = c_hold_seconds;
constexpr uint32_t c_call_index_mask = 0xFFFF;

// An operation on calls without a response timer.
void multi_party(request_context& context, const char* function, uint32_t chld_first, uint32_t chld_second) {
    if (callmngr_multi_party_call_manager(context.sim_id(), chld_first, chld_second, context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s callmngr_multi_party_call_manager failed, sim_id = %d\n", function,
                  static_cast<int>(context.sim_id()));
        return;
    }
    context.in_flight();
}

}  // namespace

void ril_request_dial(request_context& context, const RIL_Dial& dial) {
    constexpr size_t c_dial_private_size = 16;
    if (!context.create_multi_mod_priv(c_dial_private_size)) {
        RIL_TRACE(TRACE_ERROR, "%s: allocate caller data failed\n", __func__);
        return;
    }
    const int32_t result =
        callmngr_start_new_call(context.sim_id(), dial.address, dial.clir, dial.uusInfo, context.uta_id());
    qelril_arm_response_timer(context.sim_id(), context.id(), c_dial_seconds);
    if (result == 0) {
        context.in_flight();
    }
}

void ril_request_answer(request_context& context) {
    callmngr_call ringing;
    if (callmngr_get_call_info_by_call_state(context.sim_id(), CALL_STATE_RINGING, ringing) < 0) {
        RIL_TRACE(TRACE_ERROR, "%s Call in ringing state not found, sim_id = %d\n", __func__,
                  static_cast<int>(context.sim_id()));
        return;
    }
    if (callmngr_answer_call(context.sim_id(), ringing, context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_hang_up(request_context& context, int32_t index) {
    if (callmngr_multi_party_call_manager(context.sim_id(), CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING,
                                          static_cast<uint32_t>(index) & c_call_index_mask, context.uta_id()) == 0) {
        qelril_arm_response_timer(context.sim_id(), context.id(), c_call_control_seconds);
        context.in_flight();
    }
}

void ril_request_call_control(request_context& context) {
    uint32_t chld_first = CALL_RELEASE_HELD_OR_BUSY_FOR_WAITING;
    if (context.request().number == RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND) {
        chld_first = CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING;
    } else if (context.request().number == RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE) {
        chld_first = CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE;
    }
    switch (callmngr_multi_party_call_manager(context.sim_id(), chld_first, 0, context.uta_id())) {
        case 0:
            qelril_arm_response_timer(context.sim_id(), context.id(), c_call_control_seconds);
            context.in_flight();
            break;
        case c_call_control_ignored:
            context.complete(RIL_E_SUCCESS);
            break;
        default:
            break;
    }
}

void ril_request_conference(request_context& context) {
    multi_party(context, __func__, CALL_JOIN, 0);
}

void ril_request_separate_connection(request_context& context, int32_t index) {
    multi_party(context, __func__, CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE,
                static_cast<uint32_t>(index) & c_call_index_mask);
}

void ril_request_explicit_call_transfer(request_context& context) {
    multi_party(context, __func__, CALL_TRANSFER, 0);
}

void ril_request_get_current_calls(const ril_request& request) {
    uint32_t count = 0;
    std::array<RIL_Call, c_call_slots>& calls = callmngr_get_call_list(request.sim_id, count);
    if (count == 0) {
        request.complete(RIL_E_SUCCESS);
        return;
    }
    const size_t size = count * sizeof(void*);  // Android's list is one of pointers
    auto** list = static_cast<RIL_Call**>(MEM_ALLOC(size));
    if (list == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s Unable to allocate memory\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        list[i] = &calls[i];
    }
    ril_request_complete(request.token, RIL_E_SUCCESS, list, size);
    MEM_FREE(list);
}

void ril_request_last_call_fail_cause(const ril_request& request) {
    int32_t cause = 0;
    callmngr_get_last_call_status(request.sim_id, cause);
    request.succeed(cause);
}

void ril_request_set_mute(const ril_request& request, int32_t mute) {
    request.complete(callmngr_set_mute_on_off(request.sim_id, mute) == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void ril_request_get_mute(const ril_request& request) {
    int32_t mute = 0;
    callmngr_read_mute_status(request.sim_id, mute);
    request.succeed(mute);
}

void ril_request_query_tty_mode(const ril_request& request) {
    int32_t mode = 0;
    if (callmngr_get_tty_mode(request.sim_id, mode) != 0) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    request.succeed(mode);
}

void ril_request_set_tty_mode(const ril_request& request, int32_t mode) {
    request.complete(callmngr_set_tty_mode(request.sim_id, mode) == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}
