// Tones (3GPP TS 24.008, 5.5.7). The modem takes one at a time: requests wait in a ring, only whose head is at the
// modem, and its answer starts the next.
#include "ril/core/src/ss/dtmf.h"

#include <array>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/ss/ss.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint32_t c_entries = 32;
constexpr uint32_t c_no_context = 255;

struct dtmf_entry {
    uint32_t ctxt_id = c_no_context;
    uint8_t digit = c_dtmf_stop;
    bool auto_stop = false;
};

// Empty when both indexes are the same, so that it holds one entry less than it has places.
struct {
    std::array<dtmf_entry, c_entries> entries;
    uint32_t read_index;   // the last entry that was finished
    uint32_t write_index;  // the last entry that was stored
    bool start_expected;   // the next operation has to be a start, otherwise a stop
} RilDtmfList;

std::array<uint8_t, 2> s_ss_dtmf_call_id;  // of the last tone that was started

uint8_t& dtmf_call_id(uint32_t sim_id) {
    return s_ss_dtmf_call_id[sim_id % s_ss_dtmf_call_id.size()];
}

uint32_t next_index(uint32_t index) {
    return index + 1 < c_entries ? index + 1 : 0;
}

bool is_empty() {
    return RilDtmfList.read_index == RilDtmfList.write_index;
}

dtmf_entry& head() {
    return RilDtmfList.entries[next_index(RilDtmfList.read_index)];
}

void finish_head(RIL_Errno error) {
    const uint32_t ctxt_id = head().ctxt_id;
    RilDtmfList.read_index = next_index(RilDtmfList.read_index);
    qelril_complete_and_return(ctxt_id, error, nullptr, 0);
}

// False when the ring is full.
bool ss_store_dtmf_tone(uint32_t ctxt_id, uint8_t digit, bool auto_stop) {
    const uint32_t index = next_index(RilDtmfList.write_index);
    if (index == RilDtmfList.read_index) {
        RIL_TRACE(TRACE_ERROR, "%s: WARNNING - DTMF queue full, discard the dtmf reqeust!", __func__);
        return false;
    }
    RilDtmfList.entries[index] = {ctxt_id, digit, auto_stop};
    RilDtmfList.write_index = index;
    return true;
}

bool is_digit(uint8_t digit) {
    return (digit >= '0' && digit <= '9') || digit == '*' || digit == '#';
}

const callmngr_call* active_voice_call(uint32_t sim_id) {
    for (const callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_mode == 0 && call.call_state == CALL_STATE_ACTIVE) {
            return &call;
        }
    }
    return nullptr;
}

int32_t ss_play_dtmf_tone(uint32_t sim_id, uint8_t digit, uint32_t context_id) {
    const callmngr_call* call = active_voice_call(sim_id);
    if (call == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: cme error 3--\n", __func__);
        return -1;
    }
    dtmf_call_id(sim_id) = static_cast<uint8_t>(call->call_id);
    const UtaCallCsStartDtmfReqParams param{{dtmf_call_id(sim_id)}, digit};
    if (RemUtaMsCallCsStartDtmfReq(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCallCsStartDtmfReq failed\n", __func__);
        return -1;
    }
    return 0;
}

// A start that fails leaves the turn to a stop all the same.
int32_t ss_start_dtmf_tone(uint32_t sim_id, uint8_t digit, uint32_t context_id) {
    if (!RilDtmfList.start_expected) {
        RIL_TRACE(TRACE_ERROR, "%s: WARNNING - Return failure as dtmf stop expected\n", __func__);
        return -1;
    }
    RilDtmfList.start_expected = false;
    if (!is_digit(digit)) {
        RIL_TRACE(TRACE_ERROR, "%s: dtmf_digit %d is invalid\n", __func__, digit);
        return -1;
    }
    return ss_play_dtmf_tone(sim_id, digit, context_id);
}

int32_t ss_stop_dtmf_tone(uint32_t sim_id, uint32_t context_id) {
    if (RilDtmfList.start_expected) {
        RIL_TRACE(TRACE_ERROR, "%s: WARNNING - Return failure as dtmf start expected\n", __func__);
        return -1;
    }
    RilDtmfList.start_expected = true;
    const UtaCallCsCallId call_id{dtmf_call_id(sim_id)};
    if (RemUtaMsCallCsStopDtmfReq(sim_id, &call_id, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCallCsStopDtmfReq Failed \n", __func__);
        return -1;
    }
    return 0;
}

// Sends the head, and fails those that cannot be sent until one can.
void ss_handle_queued_dtmf(uint32_t sim_id) {
    while (!is_empty()) {
        const dtmf_entry& entry = head();
        const uint32_t context_id = uta_context_id(entry.ctxt_id);
        const bool is_start = entry.auto_stop || entry.digit != c_dtmf_stop;
        if ((is_start ? ss_start_dtmf_tone(sim_id, entry.digit, context_id) : ss_stop_dtmf_tone(sim_id, context_id)) ==
            0) {
            return;
        }
        finish_head(RIL_E_GENERIC_FAILURE);
    }
    RIL_TRACE(TRACE_DETAIL, "%s: no queued dtmf \n", __func__);
}

// The answer is taken for the head's, whose request nothing else would complete. False when there is none.
bool check_head(const char* function, uint32_t ctxt_id) {
    const bool has_head = !is_empty();
    const uint32_t expected = has_head ? head().ctxt_id : c_no_context;
    if (expected != ctxt_id) {
        RIL_TRACE(TRACE_ERROR, "%s: WARNNING - ctxt_id inconsistent, RSP context_id %x, DTMF list ctxt_id %x\n",
                  function, ctxt_id, expected);
    }
    return has_head;
}

void ss_async_UtaMsCallCsStartDtmfRspCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)p_params;
    if (!check_head(__func__, ctxt_id)) {
        return;
    }
    if (!head().auto_stop) {
        finish_head(RIL_E_SUCCESS);
    } else if (ss_stop_dtmf_tone(sim_id, uta_context_id(head().ctxt_id)) != 0) {
        finish_head(RIL_E_GENERIC_FAILURE);
    } else {
        return;
    }
    ss_handle_queued_dtmf(sim_id);
}

void ss_async_UtaMsCallCsStopDtmfRspCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)p_params;
    if (!check_head(__func__, ctxt_id)) {
        return;
    }
    finish_head(RIL_E_SUCCESS);
    ss_handle_queued_dtmf(sim_id);
}

}  // namespace

void ss_dtmf_start() {
    RilDtmfList.entries.fill({});
    RilDtmfList.read_index = c_entries - 1;
    RilDtmfList.write_index = c_entries - 1;
    RilDtmfList.start_expected = true;
}

void ss_queue_dtmf_tone(uint32_t sim_id, uint32_t ctxt_id, uint8_t digit, bool auto_stop, const char* request_name) {
    const bool was_empty = is_empty();
    const bool is_stored = ss_store_dtmf_tone(ctxt_id, digit, auto_stop);
    if (!is_stored) {
        qelril_return_generic_failure(ctxt_id);
    }
    if (!was_empty || !is_stored) {
        RIL_TRACE(TRACE_DETAIL, "%s: The %s stored or discarded, just return\n", __func__, request_name);
        return;
    }
    ss_handle_queued_dtmf(sim_id);
}

// A tone ends with its call: the head, which is at the modem for that call, may never be answered. An answer that comes
// after all finds its context free.
void ss_dtmf_call_ended(uint32_t sim_id, int32_t call_id) {
    if (is_empty() || dtmf_call_id(sim_id) != call_id) {
        return;
    }
    if (head().auto_stop) {
        RilDtmfList.start_expected = true;  // it owed the stop itself
    }
    finish_head(RIL_E_GENERIC_FAILURE);
    ss_handle_queued_dtmf(sim_id);
}

void UtaMsCallCsStartDtmfRspCb(uint32_t sim_id, const UtaCallCsStartDtmfRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsCallCsStartDtmfRspCb);
}

void UtaMsCallCsStopDtmfRspCb(uint32_t sim_id, const UtaCallCsCallId* call_id, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, call_id, context_id, ss_async_UtaMsCallCsStopDtmfRspCb);
}
