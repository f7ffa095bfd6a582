#include "ril/core/src/net/registration_answer.h"

#include <cstdio>
#include <tuple>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_reject_reason = 13;
constexpr size_t c_scrambling_code = 14;

// By context: the answer that waits for its scrambling code. A response that names another request's context does not
// get to that request's private area.
std::array<const void*, std::tuple_size_v<decltype(rilreq_state_info)>> s_waiting{};

template <size_t n>
void set_text(net_answer<n>& answer, size_t element, const char* format, uint32_t value) {
    snprintf(answer.text[element], sizeof(answer.text[element]), format, value);
    answer.strings[element] = answer.text[element];
}

// An unknown place has no text.
template <size_t n>
void set_place(net_answer<n>& answer, size_t element, const char* format, uint32_t value) {
    if (value != 0) {
        set_text(answer, element, format, value);
    }
}

void net_extended_radio_signal(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const uint16_t psc = static_cast<const UtaNetExtendedRadioSignalParam*>(p_params)->psc;
    net_db(sim_id).psc = psc;
    void* const block = rilreq_state_info[ctxt_id].p_priv_data;
    if (block == nullptr || block != std::exchange(s_waiting[ctxt_id], nullptr)) {
        RIL_TRACE(TRACE_ERROR, "%s: no answer waits in context %x\n", __func__, ctxt_id);
        return;
    }
    auto& answer = *static_cast<net_voice_answer*>(block);
    if (psc != c_net_unspecified) {
        set_text(answer, c_scrambling_code, "%x", psc);
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, answer.strings.data(), sizeof(answer.strings));
}

}  // namespace

void net_fill_voice_answer(uint32_t sim_id, net_voice_answer& answer) {
    std::array<uint32_t, c_net_cs_values> values;
    net_read_cs_registration_status(sim_id, values);
    answer = {};
    set_text(answer, 0, "%d", values[0]);
    set_place(answer, 1, "%x", values[1]);
    set_place(answer, 2, "%x", values[2]);
    set_text(answer, 3, "%d", values[3]);
    set_text(answer, c_reject_reason, "%d", values[c_reject_reason]);
}

void net_fill_data_answer(uint32_t sim_id, net_data_answer& answer) {
    net_ps_registration values;
    net_read_ps_registration_status(sim_id, values);
    answer = {};
    set_text(answer, 0, "%d", values.status);
    set_place(answer, 1, "%4x", values.lac);
    set_place(answer, 2, "%x", values.cell_id);
    set_text(answer, 3, "%d", values.act);
    set_text(answer, 4, "%d", values.reject_reason);
    set_text(answer, 5, "%d", values.max_pdp_contexts);
}

int32_t net_complete_with_scrambling_code(uint32_t sim_id, uint32_t ctxt_id) {
    s_waiting[ctxt_id] = rilreq_state_info[ctxt_id].p_priv_data;
    return RemUtaMsNetGetExtendedRadioSignalInfoReq(sim_id, uta_context_id(ctxt_id));
}

void UtaMsNetGetExtendedRadioSignalInfoRspCb(uint32_t sim_id, const UtaNetExtendedRadioSignalParam* param,
                                             uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_extended_radio_signal);
}
