// Calls: making, taking and ending them, what is done with several, and the settings that go with them.
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/agg_request/take_context.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_dial_seconds = 25;
constexpr int32_t c_call_control_seconds = c_hold_seconds;
constexpr uint32_t c_call_index_mask = 0xFFFF;

void complete(RIL_Token token, RIL_Errno error) {
    ril_request_complete(token, error, nullptr, 0);
}

void complete_with(RIL_Token token, int32_t value) {
    ril_request_complete(token, RIL_E_SUCCESS, &value, sizeof(value));
}

// The integer of the request, or null with less than one.
const int32_t* integer(const void* p_data, size_t data_len) {
    return data_len < sizeof(int32_t) ? nullptr : static_cast<const int32_t*>(p_data);
}

// An operation on calls without a response timer, unless it left a mark: that must not wait for good.
void multi_party(uint32_t sim_id, const char* function, uint32_t chld_first, uint32_t chld_second, RIL_Token token) {
    const int32_t free_id = take_context(function, token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    if (callmngr_multi_party_call_manager(sim_id, chld_first, chld_second, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s callmngr_multi_party_call_manager failed, sim_id = %d\n", function,
                  static_cast<int>(sim_id));
        qelril_return_generic_failure(ctxt_id);
        return;
    }
    if (callmngr_has_mark(ctxt_id)) {
        callmngr_arm_response_timer(sim_id, ctxt_id, c_call_control_seconds);
    }
}

}  // namespace

void ril_request_dial(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    constexpr size_t c_dial_private_size = 16;
    const int32_t free_id = take_context(__func__, token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    void* area = nullptr;
    if (qelril_create_multi_mod_priv(ctxt_id, RIL_REQUEST_DIAL, c_dial_private_size, &area) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: allocate caller data failed\n", __func__);
        qelril_return_generic_failure(ctxt_id);
        return;
    }
    if (p_data == nullptr || data_len < sizeof(RIL_Dial)) {
        RIL_TRACE(TRACE_ERROR, "%s p_data is NULL\n", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    const auto& dial = *static_cast<const RIL_Dial*>(p_data);
    const int32_t result =
        callmngr_start_new_call(sim_id, dial.address, dial.clir, dial.uusInfo, uta_context_id(ctxt_id));
    qelril_arm_response_timer(sim_id, ctxt_id, c_dial_seconds);
    if (result != 0) {
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}

void ril_request_answer(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t free_id = take_context(__func__, token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    callmngr_call ringing;
    if (callmngr_get_call_info_by_call_state(sim_id, CALL_STATE_RINGING, ringing) < 0) {
        RIL_TRACE(TRACE_ERROR, "%s Call in ringing state not found, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        qelril_return_generic_failure(ctxt_id);
        return;
    }
    if (callmngr_answer_call(sim_id, ringing, uta_context_id(ctxt_id)) != 0) {
        qelril_return_generic_failure(ctxt_id);
    }
}

void ril_request_hang_up(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    const int32_t free_id = take_context(__func__, token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    const int32_t* index = integer(p_data, data_len);
    if (index == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s p_data is NULL, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        qelril_return_generic_failure(ctxt_id);
        return;
    }
    if (callmngr_multi_party_call_manager(sim_id, CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING,
                                          static_cast<uint32_t>(*index) & c_call_index_mask,
                                          uta_context_id(ctxt_id)) != 0) {
        qelril_return_generic_failure(ctxt_id);
        return;
    }
    callmngr_arm_response_timer(sim_id, ctxt_id, c_call_control_seconds);
}

void ril_request_call_control(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t free_id = take_context(__func__, token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    uint32_t chld_first = CALL_RELEASE_HELD_OR_BUSY_FOR_WAITING;
    if (request == RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND) {
        chld_first = CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING;
    } else if (request == RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE) {
        chld_first = CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE;
    }
    switch (callmngr_multi_party_call_manager(sim_id, chld_first, 0, uta_context_id(ctxt_id))) {
        case 0:
            callmngr_arm_response_timer(sim_id, ctxt_id, c_call_control_seconds);
            break;
        case c_call_control_ignored:
            qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
            break;
        default:
            qelril_return_generic_failure(ctxt_id);
            break;
    }
}

void ril_request_conference(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    multi_party(sim_id, __func__, CALL_JOIN, 0, token);
}

void ril_request_separate_connection(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    const int32_t* index = integer(p_data, data_len);
    if (index == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s p_data is NULL, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        complete(token, RIL_E_GENERIC_FAILURE);
        return;
    }
    multi_party(sim_id, __func__, CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE,
                static_cast<uint32_t>(*index) & c_call_index_mask, token);
}

void ril_request_explicit_call_transfer(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    multi_party(sim_id, __func__, CALL_TRANSFER, 0, token);
}

void ril_request_get_current_calls(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    uint32_t count = 0;
    std::array<RIL_Call, c_call_slots>& calls = callmngr_get_call_list(sim_id, count);
    if (count == 0) {
        complete(token, RIL_E_SUCCESS);
        return;
    }
    const size_t size = count * sizeof(void*);  // Android's list is one of pointers
    auto** list = static_cast<RIL_Call**>(MEM_ALLOC(size));
    if (list == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s Unable to allocate memory\n", __func__);
        complete(token, RIL_E_GENERIC_FAILURE);
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        list[i] = &calls[i];
    }
    ril_request_complete(token, RIL_E_SUCCESS, list, size);
    MEM_FREE(list);
}

void ril_request_last_call_fail_cause(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    int32_t cause = 0;
    callmngr_get_last_call_status(sim_id, cause);
    complete_with(token, cause);
}

void ril_request_set_mute(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    const int32_t* mute = integer(p_data, data_len);
    const bool done = mute != nullptr && callmngr_set_mute_on_off(sim_id, *mute) == 0;
    complete(token, done ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void ril_request_get_mute(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    int32_t mute = 0;
    callmngr_read_mute_status(sim_id, mute);
    complete_with(token, mute);
}

void ril_request_query_tty_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    int32_t mode = 0;
    if (callmngr_get_tty_mode(sim_id, mode) != 0) {
        complete(token, RIL_E_GENERIC_FAILURE);
        return;
    }
    complete_with(token, mode);
}

void ril_request_set_tty_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    const int32_t* mode = integer(p_data, data_len);
    if (mode == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: No data or not enough data\n", __func__);
        complete(token, RIL_E_GENERIC_FAILURE);
        return;
    }
    complete(token, callmngr_set_tty_mode(sim_id, *mode) == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}
