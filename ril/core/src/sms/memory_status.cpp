// Android's room for messages, told to the network through the card's EF_SMSS (3GPP TS 51.011, 10.5.7) and the modem,
// which builds the commands for the card and reads the answers.
#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/sms/card_file.h"
#include "ril/core/src/sms/sms_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint16_t c_flag_at = 1;  // the octet of EF_SMSS
constexpr uint8_t c_has_room = 0xFF;
constexpr uint8_t c_is_full = 0xFE;

// 3GPP TS 51.011, 9.4.1 and 9.4.2; an update that took a few tries is good.
bool sim_check_sw(uint8_t sw1, uint8_t sw2) {
    return (sw1 == 0x90 && sw2 == 0) || sw1 == 0x91 || sw1 == 0x9E || sw1 == 0x9F || (sw1 == 0x92 && sw2 != 0x40);
}

template <bool full>
chain_answer sim_apdu_update_ef_sms_cb(uint32_t sim_id, const void* p_params, uint32_t) {
    const auto& answer = *static_cast<const UtaSimApduCmdRspParam*>(p_params);
    UtaSimApduResult status{};
    if (RemUtaMsSimAnalyseSimApduResult(sim_id, &answer.file, &status) != 0 || !sim_check_sw(status.sw1, status.sw2)) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsSimAnalyseSimApduResult failed\n", "sim_apdu_update_ef_sms_cb");
        return CHAIN_FAIL;
    }
    sms_mngr[sim_id].memory_flag = full;
    return CHAIN_END;
}

template <bool full>
chain_sent update_flag(uint32_t sim_id, uint32_t ctxt_id) {
    uint8_t flag = full ? c_is_full : c_has_room;
    const UtaSimUpdateBinaryReq update = {c_flag_at, sizeof(flag), &flag};
    UtaSimApduData apdu{};
    const bool is_sent =
        RemUtaMsSimCreateUpdateBinaryApdu(sim_id, &update, &apdu) == 0 &&
        sms_send_apdu(sim_id, EF_SMSS, apdu, chain_callback<sim_apdu_update_ef_sms_cb<full>>, ctxt_id) == 0;
    if (!is_sent) {
        RIL_TRACE(TRACE_ERROR, "%s sms_set_memory_unavailable failed\n", __func__);
    }
    return is_sent ? CHAIN_SENT : CHAIN_NOT_SENT;
}

chain_answer sim_apdu_read_ef_sms_cb(uint32_t sim_id, const void* p_params, uint32_t) {
    const auto& answer = *static_cast<const UtaSimApduCmdRspParam*>(p_params);
    UtaSimReadResult read{};
    const bool is_read = RemUtaMsSimAnalyseReadResult(sim_id, &answer.file, &read) == 0 &&
                         sim_check_sw(read.status.sw1, read.status.sw2) && read.length > c_flag_at;
    const bool has_room = is_read && (read.data[c_flag_at] & 1) != 0;
    RPC_MemFree(read.data);
    if (!is_read) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsSimAnalyseReadResult failed\n", __func__);
        return CHAIN_FAIL;
    }
    return has_room ? CHAIN_END : CHAIN_NEXT;
}

chain_sent read_flag(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaSimReadBinaryReq read = {0, c_flag_at + 1};
    UtaSimApduData apdu{};
    const bool is_sent = RemUtaMsSimCreateReadBinaryApdu(sim_id, &read, &apdu) == 0 &&
                         sms_send_apdu(sim_id, EF_SMSS, apdu, chain_callback<sim_apdu_read_ef_sms_cb>, ctxt_id) == 0;
    return is_sent ? CHAIN_SENT : CHAIN_NOT_SENT;
}

// What the network says is not looked at: there is room in any case.
chain_answer sms_set_mem_available_rsp_cb(uint32_t, const void*, uint32_t) {
    return CHAIN_NEXT;
}

chain_sent set_memory_available(uint32_t sim_id, uint32_t ctxt_id) {
    if (RemUtaMsSmsSetMemoryAvailableReq(sim_id, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsSmsSetMemoryAvailableReq failed\n", "sim_apdu_read_ef_sms_cb");
        return CHAIN_NOT_SENT;
    }
    sms_mngr[sim_id].memory_flag = false;
    return CHAIN_SENT;
}

void finish(uint32_t, uint32_t ctxt_id, bool succeeded) {
    qelril_complete_and_return(ctxt_id, succeeded ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

constexpr chain_step c_full_steps[] = {
    {update_flag<true>, sim_apdu_update_ef_sms_cb<true>},
};
constexpr chain c_full = {c_full_steps, {}, finish};

constexpr chain_step c_room_steps[] = {
    {read_flag, sim_apdu_read_ef_sms_cb},
    {set_memory_available, sms_set_mem_available_rsp_cb},
    {update_flag<false>, sim_apdu_update_ef_sms_cb<false>},
};
constexpr chain c_room = {c_room_steps, {}, finish};

int32_t start(request_context& context, const chain& work) {
    if (!context.create_multi_mod_priv(0)) {
        return -1;
    }
    chain_start(work, context.sim_id(), context.hand_over());
    return 0;
}

}  // namespace

int32_t sms_set_memory_unavailable(request_context& context) {
    return start(context, c_full);
}

int32_t sms_set_memory_available(request_context& context) {
    return start(context, c_room);
}

void UtaMsSmsSetMemoryAvailableRspCb(uint32_t sim_id, int32_t value_2, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, &value_2, context_id, chain_callback<sms_set_mem_available_rsp_cb>);
}
