#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/agg_request/take_context.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/attach.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/registration_answer.h"
#include "ril/core/src/net/scan.h"
#include "ril/utils/trace.h"

namespace {

// The scrambling code of a UMTS cell is the modem's to tell; the rest is known.
void voice_registration_state_on_umts(uint32_t sim_id, RIL_Token token) {
    const int32_t free_id = take_context("ril_request_voice_registration_state", token);
    if (free_id < 0) {
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    void* area = nullptr;
    if (qelril_create_priv_area(ctxt_id, sizeof(net_voice_answer), &area) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR allocating memory for responses\n", "ril_request_voice_registration_state");
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    net_fill_voice_answer(sim_id, *static_cast<net_voice_answer*>(area));
    if (net_complete_with_scrambling_code(sim_id, ctxt_id) != 0) {
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}

}  // namespace

void ril_request_voice_registration_state(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    if (net_get_rat(sim_id) == NET_RAT_UMTS) {
        voice_registration_state_on_umts(sim_id, token);
        return;
    }
    net_voice_answer answer;
    net_fill_voice_answer(sim_id, answer);
    ril_request_complete(token, RIL_E_SUCCESS, answer.strings.data(), sizeof(answer.strings));
}

void ril_request_data_registration_state(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    net_data_answer answer;
    net_fill_data_answer(sim_id, answer);
    ril_request_complete(token, RIL_E_SUCCESS, answer.strings.data(), sizeof(answer.strings));
}

void ril_request_voice_radio_tech(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    // Every state above says that the radio is on.
    if (get_radio_state(sim_id) <= RADIO_STATE_UNAVAILABLE) {
        ril_request_complete(token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
        return;
    }
    int technology = static_cast<int>(net_get_act(sim_id));
    ril_request_complete(token, RIL_E_SUCCESS, &technology, sizeof(technology));
}

void ril_request_query_network_selection_mode(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    uint32_t mode = 0;
    net_read_operator_selection_mode(sim_id, &mode);
    int answer = static_cast<int>(mode);
    ril_request_complete(token, RIL_E_SUCCESS, &answer, sizeof(answer));
}

void ril_request_set_network_selection_automatic(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t ctxt_id = take_context(__func__, token);
    if (ctxt_id >= 0) {
        net_select_automatic_in_turn(sim_id, static_cast<uint32_t>(ctxt_id));
    }
}

void ril_request_set_network_selection_manual(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)data_len;
    if (p_data == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s RIL_E_GENERIC_FAILURE mcc mnc are NULL, sim_id = %d\n", __func__,
                  static_cast<int>(sim_id));
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    const int32_t ctxt_id = take_context(__func__, token);
    if (ctxt_id >= 0) {
        net_select(sim_id, {c_cops_manual, static_cast<const char*>(p_data)}, static_cast<uint32_t>(ctxt_id));
    }
}

void ril_request_query_available_networks(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    (void)p_data;
    (void)data_len;
    const int32_t ctxt_id = take_context(__func__, token);
    if (ctxt_id >= 0) {
        net_scan_without_data_calls(sim_id, static_cast<uint32_t>(ctxt_id));
    }
}
