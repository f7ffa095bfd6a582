// PIN and PUK (ETSI TS 102 221, 9.5; 3GPP TS 51.011, 9.2.9 to 9.2.13).
#include "ril/core/src/sim/pin.h"

#include <algorithm>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/core/src/sim/context.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

enum pin_activity : int32_t {
    PIN_VERIFY = 0,
    PIN_UNBLOCK = 1,
    PIN_DISABLE = 2,
    PIN_ENABLE = 3,
    PIN_CHANGE = 4,
    PIN_LAST_ACTIVITY = 7,
};

enum pin_status : int32_t {
    UTA_SIM_PIN_ENABLED = 1,
    UTA_SIM_PIN_DISABLED = 2,
    UTA_SIM_PIN_BLOCKED = 3,
    UTA_SIM_PIN_UNBL_BLOCKED = 4,
    UTA_SIM_PIN_VERIFIED = 5,
};

// Key references as the modem numbers them (ETSI TS 102 221, 9.5.1).
constexpr int32_t c_pin1_key = 1;
constexpr int32_t c_pin2_key = 0x81;  // UTA_SIM_PIN2_APP1_KEY

constexpr uint32_t c_chv1 = 0;
constexpr uint32_t c_chv2 = 1;

// A set of CHV values.
constexpr uint32_t chv_bits(std::initializer_list<sim_chv_status> values) {
    uint32_t bits = 0;
    for (const sim_chv_status value : values) {
        bits |= 1U << static_cast<uint32_t>(value);
    }
    return bits;
}

constexpr uint32_t c_nothing_to_enter = chv_bits({CHV_NOT_NEEDED, CHV_BLOCKED});
constexpr uint32_t c_nothing_to_unblock = chv_bits({CHV_NOT_AVAILABLE, CHV_UNBLOCKING_BLOCKED});
constexpr uint32_t c_is_on = chv_bits({CHV_NEEDED, CHV_VERIFIED});

struct pin_row {
    sim_pin_code code;
    pin_activity activity;
    uint32_t chv_no;
    uint32_t refused;  // CHV values
};

constexpr pin_row c_pin_rows[] = {
    {SIM_ENTER_PIN, PIN_VERIFY, c_chv1, c_nothing_to_enter},
    {SIM_ENTER_PUK, PIN_UNBLOCK, c_chv1, c_nothing_to_unblock},
    {SIM_ENTER_PIN2, PIN_VERIFY, c_chv2, c_nothing_to_enter},
    {SIM_ENTER_PUK2, PIN_UNBLOCK, c_chv2, c_nothing_to_unblock},
    {SIM_CHANGE_PIN, PIN_CHANGE, c_chv1, c_nothing_to_enter},
    {SIM_CHANGE_PIN2, PIN_CHANGE, c_chv2, c_nothing_to_enter},
    {SIM_PIN_ON, PIN_ENABLE, c_chv1, chv_bits({CHV_NEEDED, CHV_BLOCKED})},
    {SIM_PIN_OFF, PIN_DISABLE, c_chv1, ~c_is_on},
};

bool is_one_of(int32_t chv, uint32_t bits) {
    const auto value = static_cast<uint32_t>(chv);
    return (value < 32 ? bits >> value & 1U : bits >> 31U) != 0;
}

void set_code(UtaSimPinCode& code, const char* text) {
    memset(code.code, 0xFF, sizeof(code.code));
    memcpy(code.code, text, strnlen(text, sizeof(code.code)));
}

int32_t sim_making_uta_ms_sim_gen_pin_req(uint32_t sim_id, const pin_row& row, const char* text1, const char* text2,
                                          uint32_t ctxt_id) {
    const int32_t pin = row.chv_no == c_chv2 ? c_pin2_key : c_pin1_key;
    UtaSimGenPinReqParam param{};
    param.activity = row.activity;
    switch (row.activity) {
        case PIN_UNBLOCK:
            set_code(param.member.unblock.code1, text1);
            set_code(param.member.unblock.code2, text2);
            param.member.unblock.pin = pin;
            break;
        case PIN_CHANGE:
            set_code(param.member.change.code1, text1);
            set_code(param.member.change.code2, text2);
            param.member.change.pin = pin;
            break;
        case PIN_DISABLE:
            set_code(param.member.disable.code1, text1);
            param.member.disable.pin = pin;
            break;
        case PIN_ENABLE:
            set_code(param.member.enable.code1, text1);
            param.member.enable.pin = pin;
            break;
        default:
            set_code(param.member.verify.code1, text1);
            param.member.verify.pin = pin;
            break;
    }
    return RemUtaMsSimGenPinReq(sim_id, &param, uta_context_id(ctxt_id));
}

RIL_Errno error_of_entry(int32_t error, int32_t request) {
    const bool pin2 = request == RIL_REQUEST_ENTER_SIM_PIN2 || request == RIL_REQUEST_CHANGE_SIM_PIN2;
    return error == SIM_ERR_PUK2_REQUIRED && pin2 ? RIL_E_SIM_PUK2 : RIL_E_PASSWORD_INCORRECT;
}

void ril_request_enter_sim_pin_onrequest_complete(uint32_t sim_id, int32_t error, int32_t count, uint32_t ctxt_id) {
    const int32_t request = sim_request_number(ctxt_id);
    if (error == 0) {
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &count, sizeof(count));
        set_sim_state(sim_id, RADIO_STATE_SIM_READY);
        return;
    }
    qelril_complete_and_return(ctxt_id, error_of_entry(error, request), &count, sizeof(count));
    if (count == 0 && (request == RIL_REQUEST_ENTER_SIM_PIN || request == RIL_REQUEST_CHANGE_SIM_PIN)) {
        set_sim_state(sim_id, RADIO_STATE_SIM_LOCKED_OR_ABSENT);
    }
}

// The response to one activity, with what it concerns.
struct pin_response {
    uint32_t sim_id;
    const UtaSimGenPinRspParam& rsp;
    bool is_pin2;
    bool is_good;

    bool says(pin_status status) const { return rsp.status == status; }
    // The value of the code that was used.
    void set_chv(sim_chv_status value) const { sim_set_chv_status(sim_id, is_pin2 ? c_chv2 : c_chv1, value); }
    // The same, and with PIN2 that it has to be unblocked.
    int32_t block(sim_chv_status value, int32_t error) const {
        set_chv(value);
        if (is_pin2) {
            sim_set_pin2_verification_required(sim_id, true);
        }
        return error;
    }
};

// Each of the following notes what the response says and tells the error.

int32_t note_verify(const pin_response& it) {
    if (it.says(UTA_SIM_PIN_VERIFIED) && it.is_good) {
        it.set_chv(CHV_VERIFIED);
        return 0;
    }
    if (it.says(UTA_SIM_PIN_BLOCKED) && it.rsp.unblock_attempts > 0) {
        return it.block(CHV_BLOCKED, SIM_ERR_PUK2_REQUIRED);
    }
    if (it.rsp.unblock_attempts > 0 && !it.says(UTA_SIM_PIN_UNBL_BLOCKED)) {
        return SIM_ERR_WRONG_PASSWORD;
    }
    return it.block(CHV_UNBLOCKING_BLOCKED, SIM_ERR_PUK2_REQUIRED);
}

int32_t note_unblock(const pin_response& it) {
    if (it.says(UTA_SIM_PIN_VERIFIED) && it.is_good) {
        it.set_chv(CHV_VERIFIED);
        if (it.is_pin2) {
            sim_set_pin2_verification_required(it.sim_id, false);
        }
        return 0;
    }
    if (it.says(UTA_SIM_PIN_BLOCKED)) {
        return it.block(CHV_BLOCKED, it.is_pin2 ? SIM_ERR_PUK2_REQUIRED : SIM_ERR_PIN_BLOCKED);
    }
    return it.says(UTA_SIM_PIN_UNBL_BLOCKED) ? it.block(CHV_UNBLOCKING_BLOCKED, SIM_ERR_PUK_BLOCKED)
                                             : SIM_ERR_WRONG_PASSWORD;
}

int32_t note_switch(const pin_response& it) {
    const bool enable = it.rsp.activity == PIN_ENABLE;
    if (!enable && it.says(UTA_SIM_PIN_DISABLED) && it.is_good) {
        sim_set_chv_status(it.sim_id, c_chv1, CHV_NOT_NEEDED);
        return 0;
    }
    if (enable && it.says(UTA_SIM_PIN_ENABLED) && it.is_good) {
        sim_set_chv_status(it.sim_id, c_chv1, CHV_NEEDED);
        return 0;
    }
    if (enable && it.says(UTA_SIM_PIN_VERIFIED)) {
        sim_set_chv_status(it.sim_id, c_chv1, CHV_VERIFIED);
        return 0;
    }
    if (!it.says(UTA_SIM_PIN_BLOCKED)) {
        return SIM_ERR_WRONG_PASSWORD;
    }
    if (it.is_pin2) {
        return -1;
    }
    sim_set_chv_status(it.sim_id, c_chv1, CHV_BLOCKED);
    return SIM_ERR_PIN_BLOCKED;
}

int32_t note_change(const pin_response& it) {
    if (it.says(UTA_SIM_PIN_VERIFIED) && it.is_good) {
        return 0;
    }
    if (it.says(UTA_SIM_PIN_BLOCKED) && it.rsp.unblock_attempts > 0) {
        return it.block(CHV_BLOCKED, it.is_pin2 ? SIM_ERR_PUK2_REQUIRED : SIM_ERR_PIN_BLOCKED);
    }
    return SIM_ERR_WRONG_PASSWORD;
}

void finish_verify(uint32_t sim_id, int32_t error, int32_t attempts, uint32_t ctxt_id) {
    switch (sim_request_number(ctxt_id)) {
        case RIL_REQUEST_SIM_IO:
            ril_request_sim_io_verify_sim_pin2(sim_id, error, ctxt_id);
            break;
        case RIL_REQUEST_ENTER_SIM_PIN:
        case RIL_REQUEST_ENTER_SIM_PIN2:
            ril_request_enter_sim_pin_onrequest_complete(sim_id, error, attempts, ctxt_id);
            break;
        case RIL_REQUEST_SET_FACILITY_LOCK:
            sim_fdn_pin2_verified(sim_id, error, attempts, ctxt_id);
            break;
        default:  // nobody waits for a silent entry, but its context ends here
            qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
            break;
    }
}

void sim_gen_pin_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& rsp = *static_cast<const UtaSimGenPinRspParam*>(p_params);
    const bool is_good = rsp.sw1_pin == 0x90 || rsp.sw1_pin == 0x91;
    const pin_response it{sim_id, rsp, rsp.pin == c_pin2_key, is_good};
    switch (rsp.activity) {
        case PIN_VERIFY:
            RIL_TRACE(TRACE_DETAIL, "data->status == 0x%x , data->sw1_pin == 0x%x, data->sw2_pin == 0x%x\n",
                      static_cast<unsigned>(rsp.status), rsp.sw1_pin, rsp.sw2_pin);
            finish_verify(sim_id, note_verify(it), rsp.attempts, ctxt_id);
            break;
        case PIN_UNBLOCK:
            ril_request_enter_sim_pin_onrequest_complete(sim_id, note_unblock(it), rsp.unblock_attempts, ctxt_id);
            break;
        case PIN_DISABLE:
        case PIN_ENABLE:
            ril_request_set_facility_lock_onrequest_complete(sim_id, note_switch(it), rsp.attempts, ctxt_id);
            break;
        case PIN_CHANGE:
            ril_request_enter_sim_pin_onrequest_complete(sim_id, note_change(it), rsp.attempts, ctxt_id);
            break;
        default:
            RIL_TRACE(TRACE_ERROR, "%s: SIM_ERR_NOT_SUPPORTED\n", __func__);
            break;
    }
}

void sim_gen_pin_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& ind = *static_cast<const UtaSimGenPinIndParam*>(p_params);
    constexpr uint8_t c_attempts_after_unblocking = 3;
    const uint32_t chv_no = ind.pin == c_pin2_key ? c_chv2 : c_chv1;
    RIL_TRACE(TRACE_DETAIL, "%s: activity = %d, status = %d\n", __func__, ind.activity, ind.status);
    if (ind.activity == PIN_VERIFY && ind.status == UTA_SIM_PIN_VERIFIED) {
        sim_set_chv_status(sim_id, chv_no, CHV_VERIFIED);
    } else if (ind.activity == PIN_VERIFY && ind.status == UTA_SIM_PIN_BLOCKED) {
        sim_set_chv_status(sim_id, chv_no, CHV_BLOCKED);
    } else if (ind.activity == PIN_UNBLOCK && ind.status == UTA_SIM_PIN_UNBL_BLOCKED) {
        sim_set_chv_status(sim_id, chv_no, CHV_UNBLOCKING_BLOCKED);
    } else if (ind.activity == PIN_UNBLOCK && ind.status == UTA_SIM_PIN_VERIFIED &&
               ind.attempts == c_attempts_after_unblocking) {
        sim_set_chv_status(sim_id, chv_no, CHV_NOT_NEEDED);
    } else if (ind.activity > PIN_LAST_ACTIVITY) {
        RIL_TRACE(TRACE_ERROR, "%s: this should not reach here\n", __func__);
    }
}

void sim_chv_refresh_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& ind = *static_cast<const UtaSimChvRefreshIndParam*>(p_params);
    sim_set_chv_status(sim_id, static_cast<uint32_t>(ind.chv_no), ind.chv_status);
    s_sim_pb_info[sim_id].m_retries = {ind.chv1_retries_left, ind.retries_2, ind.retries_3, ind.retries_4};
    if (ind.chv_no == static_cast<int32_t>(c_chv2) &&
        (ind.chv_status == CHV_VERIFIED || ind.chv_status == CHV_NOT_NEEDED)) {
        sim_set_pin2_verification_required(sim_id, false);
    }
}

}  // namespace

int32_t sim_get_chv_status(uint32_t sim_id, uint32_t chv_no) {
    const SimPbInfo& card = s_sim_pb_info[sim_id];
    return chv_no == c_chv1 ? card.m_chv1_status.load(std::memory_order_relaxed) : card.m_chv2_status;
}

void sim_set_chv_status(uint32_t sim_id, uint32_t chv_no, int32_t value) {
    SimPbInfo& card = s_sim_pb_info[sim_id];
    if (chv_no == c_chv1) {
        card.m_chv1_status.store(value, std::memory_order_relaxed);
        sim_set_recovery_property(sim_id, ".chv1", sim_chv_value_to_string(value));
    } else if (chv_no == c_chv2) {
        card.m_chv2_status = value;
        sim_set_recovery_property(sim_id, ".chv2", sim_chv_value_to_string(value));
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR - Unknown chv_no = %d\n", __func__, static_cast<int>(chv_no));
    }
}

int32_t sim_handle_pin_activities(uint32_t sim_id, int32_t code, const char* text1, const char* text2,
                                  uint32_t ctxt_id) {
    if (sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_NO_TYPE) {
        RIL_TRACE(TRACE_ERROR, "%s: No SIM\n", __func__);
        return -1;
    }
    if (code == SIM_QUERY_PIN) {
        const bool on = is_one_of(sim_get_chv_status(sim_id, c_chv1), c_is_on);
        ril_request_query_facility_lock_onrequest_complete(on ? 1 : 0, ctxt_id);
        return 0;
    }
    const auto* const row = std::find_if(std::begin(c_pin_rows), std::end(c_pin_rows),
                                         [code](const pin_row& each) { return each.code == code; });
    if (row == std::end(c_pin_rows)) {
        RIL_TRACE(TRACE_ERROR, "%s: returning from default Case\n", __func__);
        return -1;
    }
    const bool two_codes = row->activity == PIN_UNBLOCK || row->activity == PIN_CHANGE;
    if (is_one_of(sim_get_chv_status(sim_id, row->chv_no), row->refused) || text1 == nullptr ||
        (two_codes && text2 == nullptr)) {
        return -1;
    }
    return sim_making_uta_ms_sim_gen_pin_req(sim_id, *row, text1, text2, ctxt_id);
}

void UtaMsSimGenPinRspCb(uint32_t sim_id, const UtaSimGenPinRspParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id & 1U, param, context_id, sim_gen_pin_rsp_cb);
}

void UtaMsSimGenPinIndCb(uint32_t sim_id, const UtaSimGenPinIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, sim_gen_pin_ind_cb);
}

void UtaMsSimChvRefreshIndCb(uint32_t sim_id, const UtaSimChvRefreshIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, sim_chv_refresh_ind_cb);
}
