// The messages on the card, EF_SMS (3GPP TS 51.011, 10.5.3), and the card's word that it has no room for more, EF_SMSS
// (10.5.7). The modem counts the records for us: it has read them all.
#include <algorithm>
#include <bit>
#include <utility>

#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/sms/card_file.h"
#include "ril/core/src/sms/sms_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_record_octets = 176;

chain_sent sent(int32_t result) {
    return result == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

// --- The steps of a write. They are also those of a look at how full the card is, whose context has no record. -------

void set_cause(uint32_t ctxt_id, sms_cause cause) {
    if (sms_book_keeping* const record = sms_record_of(ctxt_id); record != nullptr) {
        record->cause = cause;
    }
}

chain_answer sms_sim_apdu_cmdrespcb_select_ef(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    set_cause(ctxt_id, SMS_CAUSE_CARD);
    sim_file_properties properties{};
    if (sms_selected_file(*static_cast<const UtaSimApduCmdRspParam*>(p_params), properties, __func__) == nullptr) {
        return CHAIN_FAIL;
    }
    sms_mngr[sim_id].ef_sms_known = true;
    return CHAIN_NEXT;
}

chain_sent sms_get_total_records_in_ef(uint32_t sim_id, uint32_t ctxt_id) {
    if (sms_record_of(ctxt_id) != nullptr && sms_mngr[sim_id].ef_sms_known) {
        return CHAIN_DONE;
    }
    const int32_t result = sms_select_file(sim_id, EF_SMS, chain_callback<sms_sim_apdu_cmdrespcb_select_ef>, ctxt_id);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Attempt to read EF_SMS FAILED\n", __func__);
    }
    return sent(result);
}

chain_sent sms_sim_msg_count_request(uint32_t sim_id, uint32_t ctxt_id) {
    constexpr uint32_t c_bitmap_octets = 32;
    std::array<uint8_t, c_bitmap_octets> bitmap{};
    const UtaSmsSimMsgCountParam param = {c_bitmap_octets, bitmap.data()};
    return sent(RemUtaMsSmsSimMsgCountReq(sim_id, &param, uta_context_id(ctxt_id)));
}

// The number of the first free record, or 0 where the bitmap shows none.
uint8_t sms_get_free_ef_sms_slot_in_sim(const UtaSmsSimMsgCountRspParams& count) {
    const uint32_t records = std::min<uint32_t>(count.no_of_sms_entries, UINT8_MAX);
    for (uint32_t i = 0; i < count.param_data_len; ++i) {
        const uint32_t record = 8 * i + static_cast<uint32_t>(std::countr_one(count.param_data[i])) + 1;
        if (record <= 8 * (i + 1)) {
            return static_cast<uint8_t>(record <= records ? record : 0);
        }
    }
    return 0;
}

chain_answer sms_sim_msg_count_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& count = *static_cast<const UtaSmsSimMsgCountRspParams*>(p_params);
    sms_mngr_state& state = sms_mngr[sim_id];
    sms_book_keeping* const record = sms_record_of(ctxt_id);
    set_cause(ctxt_id, SMS_CAUSE_MEMORY_EXCEEDED);
    if (count.result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: result is not success\n", __func__);
        return CHAIN_FAIL;
    }
    if (count.no_of_sms_entries == count.no_of_used_sms_entries) {
        RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_SIM_SMS_STORAGE_FULL, nullptr, 0);
        RIL_TRACE(TRACE_ERROR, "%s: no free slot in SIM\n", __func__);
        if (record != nullptr) {
            record->card_full = true;
        }
        return state.smss_memory_exceeded ? CHAIN_FAIL : CHAIN_NEXT;
    }
    if (record == nullptr) {
        return CHAIN_END;
    }
    record->slot = sms_get_free_ef_sms_slot_in_sim(count);
    if (record->slot == 0) {
        return CHAIN_FAIL;
    }
    if (count.no_of_used_sms_entries == count.no_of_sms_entries - 1) {
        state.last_slot_used = true;
    }
    return CHAIN_NEXT;
}

chain_answer sms_sim_apdu_cmdrespcb_write(uint32_t, const void* p_params, uint32_t ctxt_id) {
    if (sms_answer_is_good(*static_cast<const UtaSimApduCmdRspParam*>(p_params), __func__)) {
        return CHAIN_END;
    }
    RIL_TRACE(TRACE_ERROR, "%s: write failure\n", __func__);
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    record.is_refused = true;
    record.cause = SMS_CAUSE_CARD;
    return CHAIN_FAIL;
}

chain_sent sms_write_in_sim(uint32_t sim_id, uint32_t ctxt_id) {
    const sms_book_keeping* const record = sms_record_of(ctxt_id);
    if (record == nullptr || record->card_full) {
        return CHAIN_DONE;
    }
    std::array<uint8_t, c_record_octets> content;
    content.fill(0xFF);
    content[0] = static_cast<uint8_t>(record->tpdu.status);
    std::copy_n(record->tpdu.data.begin(), std::min<size_t>(record->tpdu.length, content.size() - 1),
                content.begin() + 1);
    return sent(sms_update_record(sim_id, EF_SMS, record->slot, content, chain_callback<sms_sim_apdu_cmdrespcb_write>,
                                  ctxt_id));
}

// --- The card's word that it is full ---------------------------------------------------------------------------------

int32_t sms_update_mem_status_in_ef_smss(uint32_t sim_id, bool full, rilreq_rspcb callback, uint32_t ctxt_id) {
    UtaSimApduData apdu{};
    std::fill(std::begin(apdu.data), std::end(apdu.data), uint8_t{0xFF});
    const uint8_t command[] = {
        getClaByte(sim_id), SIM_UPDATE_BINARY, 0, 1, 1, static_cast<uint8_t>(full ? 0xFE : 0xFF)};
    std::copy(std::begin(command), std::end(command), apdu.data);
    apdu.length = sizeof(command);
    return sms_send_apdu(sim_id, EF_SMSS, apdu, callback, ctxt_id);
}

// Whatever came of it, the operation is over: the card is still full, or the record deleted.
template <bool full>
chain_answer sms_handle_mem_status_in_ef_smss_rspcb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    if (sms_answer_is_good(*static_cast<const UtaSimApduCmdRspParam*>(p_params), __func__)) {
        sms_mngr[sim_id].smss_memory_exceeded = full;
        RIL_TRACE(TRACE_EVENT, "%s: Flag update in SMSS success\n", __func__);
    }
    set_cause(ctxt_id, SMS_CAUSE_CARD);
    return CHAIN_END;
}

template <bool full>
chain_sent tell_memory_status(uint32_t sim_id, uint32_t ctxt_id) {
    return sent(sms_update_mem_status_in_ef_smss(
        sim_id, full, chain_callback<sms_handle_mem_status_in_ef_smss_rspcb<full>>, ctxt_id));
}

// --- The end of a write ----------------------------------------------------------------------------------------------

// The modem hears of every write that the card refused, as if it had been of an incoming message.
void refuse_write(uint32_t sim_id, uint32_t ctxt_id) {
    sms_agg_request_ack(sim_id, 0, sms_record_of(ctxt_id)->cause, ctxt_id);
}

// The write that was to take the last free record is over.
void tell_if_last_slot(uint32_t sim_id) {
    if (std::exchange(sms_mngr[sim_id].last_slot_used, false)) {
        RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_SIM_SMS_STORAGE_FULL, nullptr, 0);
    }
}

void ril_request_sms_write_tosim_onrequest_complete(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    const sms_book_keeping& record = *sms_record_of(ctxt_id);
    const bool is_over = succeeded || record.is_refused;
    if (succeeded && !record.card_full) {
        int32_t slot = record.slot;
        if (record.tpdu.status == 0) {
            ril_unsol_response_new_sms_on_sim(sim_id, record.slot);
        }
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &slot, sizeof(slot));
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: failed\n", __func__);
        if (record.is_refused) {
            refuse_write(sim_id, ctxt_id);
        }
        qelril_free_and_return_generic_failure(ctxt_id);
    }
    if (is_over) {
        tell_if_last_slot(sim_id);
    }
}

// A message that could not be written is refused to the network. One that nobody could be asked about stays with it.
void finish_incoming(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    const sms_book_keeping& record = *sms_record_of(ctxt_id);
    const bool is_over = succeeded || record.is_refused;
    if (succeeded && !record.card_full) {
        ril_unsol_response_new_sms_on_sim(sim_id, record.slot);
        if (sms_get_incoming_ind_ctxt_id(sim_id) < 0) {
            sms_set_incoming_ind_ctxt_id(sim_id, ctxt_id);
        } else {
            // Another message came meanwhile and waits for Android. This one is safe on the card.
            sms_agg_request_ack(sim_id, 1, 0, ctxt_id);
            qelril_free_and_return(ctxt_id);
        }
    } else {
        if (record.cause != 0) {
            refuse_write(sim_id, ctxt_id);
        }
        qelril_free_and_return(ctxt_id);
    }
    if (is_over) {
        tell_if_last_slot(sim_id);
    }
}

void finish_look(uint32_t, uint32_t ctxt_id, bool) {
    qelril_free_and_return(ctxt_id);
}

constexpr chain_step c_write_steps[] = {
    {sms_get_total_records_in_ef, sms_sim_apdu_cmdrespcb_select_ef},
    {sms_sim_msg_count_request, sms_sim_msg_count_rsp_cb},
    {sms_write_in_sim, sms_sim_apdu_cmdrespcb_write},
    {tell_memory_status<true>, sms_handle_mem_status_in_ef_smss_rspcb<true>},
};
constexpr chain c_write = {c_write_steps, {}, ril_request_sms_write_tosim_onrequest_complete};
constexpr chain c_write_incoming = {c_write_steps, {}, finish_incoming};
constexpr chain c_look = {c_write_steps, {}, finish_look};

// After the modem has read the card's messages.
void sms_sim_msg_cache_finished_ind_cb(uint32_t sim_id, const void* p_params) {
    if (*static_cast<const int32_t*>(p_params) != 0) {
        return;
    }
    const ril_request nobody = {sim_id, 0, nullptr};
    request_context context(nobody, __func__);
    if (context && context.create_multi_mod_priv(0)) {
        chain_start(c_look, sim_id, context.hand_over());
    }
}

// --- Deleting --------------------------------------------------------------------------------------------------------

chain_answer sms_sim_apdu_cmdrespcb_update(uint32_t sim_id, const void* p_params, uint32_t) {
    if (!sms_answer_is_good(*static_cast<const UtaSimApduCmdRspParam*>(p_params), __func__)) {
        return CHAIN_FAIL;
    }
    sms_mngr[sim_id].ef_sms_known = false;
    return sms_mngr[sim_id].smss_memory_exceeded ? CHAIN_NEXT : CHAIN_END;
}

chain_sent sms_update_in_sim(uint32_t sim_id, uint32_t ctxt_id) {
    std::array<uint8_t, c_record_octets> content;
    content.fill(0xFF);
    content[0] = 0;
    return sent(sms_update_record(sim_id, EF_SMS, sms_record_of(ctxt_id)->slot, content,
                                  chain_callback<sms_sim_apdu_cmdrespcb_update>, ctxt_id));
}

// The record is deleted in any case.
chain_sent tell_that_there_is_room(uint32_t sim_id, uint32_t ctxt_id) {
    return tell_memory_status<false>(sim_id, ctxt_id) == CHAIN_SENT ? CHAIN_SENT : CHAIN_DONE;
}

void ril_request_delete_onrequest_complete(uint32_t, uint32_t ctxt_id, bool succeeded) {
    if (!succeeded) {
        RIL_TRACE(TRACE_ERROR, "%s: Failure\n", "ril_request_sms_onrequest_complete");
    }
    qelril_complete_and_return(ctxt_id, succeeded ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

constexpr chain_step c_delete_steps[] = {
    {sms_update_in_sim, sms_sim_apdu_cmdrespcb_update},
    {tell_that_there_is_room, sms_handle_mem_status_in_ef_smss_rspcb<false>},
};
constexpr chain c_delete = {c_delete_steps, {}, ril_request_delete_onrequest_complete};

}  // namespace

int32_t sms_agg_write_msg_on_sim(request_context& context, uint32_t status, size_t pdu_length, std::string_view text) {
    sms_book_keeping* const record = sms_book_keeping_init(context);
    if (record == nullptr) {
        return -1;
    }
    if (text.size() >= record->sms_hex_input.size() || pdu_length > c_sms_tpdu_max) {
        RIL_TRACE(TRACE_ERROR, "%s: INVALID_PDU_MODE_PARAM\n", __func__);
        return -1;
    }
    text.copy(record->sms_hex_input.data(), text.size());
    record->sca_in_pdu = !text.starts_with("00");
    record->tpdu.status = static_cast<int32_t>(status);
    if (sms_make_final_pdu(context.sim_id(), *record) != 0) {
        return -1;
    }
    chain_start(c_write, context.sim_id(), context.hand_over());
    return 0;
}

void sms_write_incoming_on_sim(uint32_t sim_id, uint32_t ctxt_id) {
    constexpr int32_t c_received_unread = 3;
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    record.tpdu = record.incoming;
    record.tpdu.status = c_received_unread;
    chain_start(c_write_incoming, sim_id, ctxt_id);
}

int32_t sms_agg_delete_from_sim(request_context& context, uint8_t record) {
    sms_book_keeping* const book_keeping = sms_book_keeping_init(context);
    if (book_keeping == nullptr) {
        return -1;
    }
    book_keeping->slot = record;
    chain_start(c_delete, context.sim_id(), context.hand_over());
    return 0;
}

void ril_unsol_response_new_sms_on_sim(uint32_t sim_id, uint32_t slot) {
    const auto record = static_cast<int32_t>(slot);
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM, &record, sizeof(record));
}

void UtaMsSmsSimMsgCacheFinishedIndCb(uint32_t sim_id, int32_t cache_status) {
    qelril_post_utamsindcb(sim_id, &cache_status, sms_sim_msg_cache_finished_ind_cb);
}

void UtaMsSmsSimMsgCountRspCb(uint32_t sim_id, const UtaSmsSimMsgCountRspParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<sms_sim_msg_count_rsp_cb>);
}
