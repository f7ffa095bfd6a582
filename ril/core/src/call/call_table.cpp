// The table of calls, what goes with it, and the list that Android reads.
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/follow_up.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint32_t c_sims = 2;
constexpr uint32_t c_no_slot = 255;
constexpr uint32_t c_fail_cause_none = CALL_FAIL_ERROR_UNSPECIFIED;

constexpr callmngr_call c_free_call = {
    .tel_num = {},
    .call_id = -1,
    .call_state = CALL_STATE_FREE,
    .is_mt = 2,
    .name_presentation = 2,
    .call_mode = 5,
    .is_multi_party = 0,
    .calling_name = {},
    .als = 0,
};

std::array<std::array<callmngr_call, c_call_slots>, c_sims> callmngr_calls_array;
std::array<std::array<RIL_Call, c_call_slots>, c_sims> callmngr_call_pointers;
std::array<callmngr_management, c_sims> s_call_management;
std::array<uint8_t, c_sims> s_in_band_availability;

// Of a process that serves one SIM of two; what the modem says is cut to that.
uint32_t row(uint32_t sim_id) {
    return sim_id % c_sims;
}

callmngr_call* find_by_id(uint32_t sim_id, int32_t call_id) {
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_id == call_id) {
            return &call;
        }
    }
    return nullptr;
}

uint32_t slot_of(uint32_t sim_id, const callmngr_call* call) {
    return static_cast<uint32_t>(call - callmngr_calls(sim_id).data());
}

// 3GPP TS 24.008, 10.5.4.7: international, and unknown.
int type_of_address(const char* number) {
    return number[0] == '\0' ? 0 : number[0] == '+' ? 145 : 129;
}

void fill(RIL_Call& out, callmngr_call& call) {
    const bool has_number = call.tel_num[0] != '\0';
    out = {};
    out.state = static_cast<RIL_CallState>(call.call_state);
    out.index = call.call_id;
    out.toa = type_of_address(call.tel_num);
    out.isMpty = static_cast<char>(call.is_multi_party);
    out.isMT = static_cast<char>(call.is_mt);
    out.als = static_cast<char>(call.als);
    out.isVoice = call.call_mode == 0 ? 1 : 0;
    out.number = has_number ? call.tel_num : nullptr;
    out.numberPresentation = has_number ? 0 : 1;
    const bool may_show_name = call.name_presentation == 0;
    out.name = may_show_name && call.calling_name[0] != '\0' ? call.calling_name : nullptr;
    out.namePresentation = may_show_name ? 0 : 2;
}

}  // namespace

void callmngr_module_init(uint32_t sim_id) {
    callmngr_calls(sim_id).fill(c_free_call);
    s_in_band_availability[row(sim_id)] = 1;
    s_call_management[row(sim_id)] = {0, c_fail_cause_none};
    callmngr_clear_network_ecc_list(sim_id);
    callmngr_follow_up_start(sim_id);
}

callmngr_call callmngr_init_call_data() {
    return c_free_call;
}

std::array<callmngr_call, c_call_slots>& callmngr_calls(uint32_t sim_id) {
    return callmngr_calls_array[row(sim_id)];
}

callmngr_management& callmngr_call_management(uint32_t sim_id) {
    return s_call_management[row(sim_id)];
}

uint8_t& callmngr_in_band_availability(uint32_t sim_id) {
    return s_in_band_availability[row(sim_id)];
}

uint32_t callmngr_get_call_info_by_call_id(uint32_t sim_id, int32_t call_id, callmngr_call& out) {
    const callmngr_call* call = find_by_id(sim_id, call_id);
    if (call == nullptr) {
        return c_no_slot;
    }
    out = *call;
    return slot_of(sim_id, call);
}

int32_t callmngr_get_call_info_by_call_state(uint32_t sim_id, uint32_t state, callmngr_call& out) {
    const callmngr_call* call = callmngr_get_call_info(sim_id, state);
    if (call == nullptr) {
        return -1;
    }
    out = *call;
    return static_cast<int32_t>(slot_of(sim_id, call)) + 1;
}

callmngr_call* callmngr_get_call_info(uint32_t sim_id, uint32_t state) {
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_state == state) {
            return &call;
        }
    }
    return nullptr;
}

int32_t callmngr_get_call_id_by_state(uint32_t sim_id, uint32_t state) {
    const callmngr_call* call = callmngr_get_call_info(sim_id, state);
    return call == nullptr ? -1 : call->call_id;
}

void callmngr_set_call_info(uint32_t sim_id, uint32_t slot, const callmngr_call& call) {
    if (slot >= c_call_slots) {
        RIL_TRACE(TRACE_ERROR, "%s-- UTA_FAILURE call ID %d out of range, sim_id = %d\n", __func__,
                  static_cast<int>(slot), static_cast<int>(sim_id));
        return;
    }
    callmngr_calls(sim_id)[slot] = call;
}

uint32_t callmngr_create_new_call_info(uint32_t sim_id, const callmngr_call& call) {
    callmngr_call* slot = callmngr_get_call_info(sim_id, CALL_STATE_FREE);
    if (slot == nullptr) {
        return c_call_slots;
    }
    *slot = call;
    return slot_of(sim_id, slot);
}

void callmngr_reset_call_data(uint32_t sim_id, int32_t call_id) {
    callmngr_call* call = find_by_id(sim_id, call_id);
    if (call != nullptr) {
        *call = c_free_call;
    }
}

std::array<RIL_Call, c_call_slots>& callmngr_get_call_list(uint32_t sim_id, uint32_t& count) {
    std::array<RIL_Call, c_call_slots>& list = callmngr_call_pointers[row(sim_id)];
    count = 0;
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_state < CALL_STATE_FREE) {
            fill(list[count++], call);
        }
    }
    return list;
}

void callmngr_get_last_call_status(uint32_t sim_id, int32_t& cause) {
    cause = static_cast<int32_t>(callmngr_call_management(sim_id).last_fail_cause);
}

void ril_unsol_response_call_state_changed(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_CALL_STATE_CHANGED, nullptr, 0);
}

void ril_unsol_call_ring(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_CALL_RING, nullptr, 0);
}
