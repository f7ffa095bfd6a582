// Envelopes and the terminal profile (ETSI TS 102 223, clauses 5 and 7).
#include <algorithm>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/simtk/profile.h"
#include "ril/core/src/simtk/simtk.h"
#include "ril/core/src/sms/sms_tpdu.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_profile_octets_max = 255;

std::array<stk_profile_text, 2> s_stk_terminal_profile;

// Which toolkit services the card is to have, by its type; empty without a card.
const char* support_table(uint32_t sim_id) {
    switch (sim_get_inserted_sim_type(sim_id)) {
        case SIM_CARD_TYPE_3G:
            return "0101010101000000";
        case SIM_CARD_TYPE_2G:
            return "0101010000000000";
        default:
            return "";
    }
}

void complete_envelope(uint32_t ctxt_id, const UtaSimTkEnvelopeResIndParam& res, char* text) {
    if (rilreq_state_info[ctxt_id].p_priv_data == nullptr) {
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, text, text == nullptr ? 0 : sizeof(char*));
        return;
    }
    RIL_SIM_IO_Response response = {res.sw1, res.sw2, text};
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &response, sizeof(response));
}

void simtk_envelope_res_ind_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    const auto* const res = static_cast<const UtaSimTkEnvelopeResIndParam*>(p_params);
    if (res == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: envelope_res_data == NULL\n", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    if (res->response == nullptr || res->response_length == 0) {
        RIL_TRACE(TRACE_EVENT, "%s: envelope_res_data->response_length == 0\n", __func__);
        complete_envelope(ctxt_id, *res, nullptr);
        return;
    }
    char text[2 * UINT8_MAX + 1];
    size_t length = 0;
    if (sms_generate_hexstring_from_hexbuffer({res->response, res->response_length}, text, &length) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: HexStringFromHexBuffer == UTA_FAILURE\n", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    complete_envelope(ctxt_id, *res, text);
}

void stk_send_terminal_profile_rspcb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    if (static_cast<const UtaSimTkTerminalProfileRspParam*>(p_params)->result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Call OnRequestComplete with FAILURE\n", __func__);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    s_stk_terminal_profile[sim_id] = *static_cast<const stk_profile_text*>(rilreq_state_info[ctxt_id].p_priv_data);
    RIL_TRACE(TRACE_EVENT, "%s: Call OnRequestComplete with SUCCESS\n", __func__);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
}

// The private area is read as what the one callback expects.
void only_answer(const request_context& context, rilreq_rspcb callback) {
    rilreq_state_info[context.id()].p_only_rspcb = callback;
}

}  // namespace

int32_t stk_octets_of(const char* text, std::span<uint8_t> out, size_t* length) {
    const size_t characters = strlen(text);
    uint32_t octets = 0;
    if (characters % 2 != 0 ||
        ril_convert_hexbuffer_to_string(text, characters, out.data(), out.size(), &octets) != 0) {
        return -1;
    }
    *length = octets;
    return 0;
}

void stk_forget_profile(uint32_t sim_id) {
    s_stk_terminal_profile[sim_id] = {};
}

const stk_profile_text& stk_get_terminal_profile(uint32_t sim_id) {
    return s_stk_terminal_profile[sim_id];
}

int32_t stk_send_envelope_command(request_context& context, const char* text) {
    UtaSimTkEnvelopeReqParam param{};
    size_t length = 0;
    if (stk_octets_of(text, param.data, &length) != 0) {
        return -1;
    }
    param.data_len = static_cast<int16_t>(length);
    only_answer(context, simtk_envelope_res_ind_cb);
    if (RemUtaMsSimTkEnvelopeCommandReq(context.sim_id(), &param, context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaSimTkEnvelopeCommandReq failed\n", __func__);
        return -1;
    }
    return 0;
}

int32_t stk_set_terminal_profile(request_context& context, const char* text) {
    uint8_t profile[c_profile_octets_max];
    uint8_t table[8];
    size_t length = 0;
    size_t table_length = 0;
    if (stk_octets_of(text, profile, &length) != 0 || length == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_FAILURE\n", __func__);
        return -1;
    }
    auto* const kept = context.create_area<stk_profile_text>();
    if (kept == nullptr) {
        return -1;
    }
    std::copy_n(text, std::min(strlen(text), c_stk_profile_max), kept->begin());
    stk_octets_of(support_table(context.sim_id()), table, &table_length);
    UtaSimTkTerminalProfileReqParam param{};
    param.profile = profile;
    param.profile_len = static_cast<uint8_t>(length);
    param.support_table = table_length != 0 ? table : nullptr;
    param.support_table_len = static_cast<uint8_t>(table_length);
    only_answer(context, stk_send_terminal_profile_rspcb);
    return RemUtaMsSimTkSendTerminalProfileReq(context.sim_id(), &param, context.uta_id());
}

void UtaMsSimTkEnvelopeResIndCb(uint32_t sim_id, const UtaSimTkEnvelopeResIndParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, simtk_envelope_res_ind_cb);
}

void UtaMsSimTkSendTerminalProfileRspCb(uint32_t sim_id, const UtaSimTkTerminalProfileRspParam* param,
                                        uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, stk_send_terminal_profile_rspcb);
}
