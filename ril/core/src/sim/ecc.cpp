#include "ril/core/src/sim/ecc.h"

#include <cutils/properties.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/call/ecc_list.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint16_t c_ef_ecc = 0x6FB7;
constexpr size_t c_packed_digits = 3;
constexpr size_t c_list_max = 90;  // characters of list and new number together

std::array<ecc_list, 2> s_sim_ecc_list{};
std::array<uint8_t, 2> s_sim_number_of_ecc_records{};
std::array<uint8_t, 2> s_sim_current_ecc_record{};  // being read, from 1
std::array<uint8_t, 2> s_sim_ecc_record_len{};
std::array<uint8_t, 2> s_sim_is_ecc_found{};  // 1 when the reading has ended, well or badly
// Of the reading under way. One that began before it, at an earlier refresh of the card, stores nothing any more: the
// records are counted for one.
std::array<uint32_t, 2> s_sim_ecc_context{};

void sim_update_ecc_list_properties(uint32_t sim_id) {
    char key[PROPERTY_KEY_MAX] = "ril.ecclist";
    if (sim_id != 0) {
        snprintf(key, sizeof(key), "ril.ecclist%d", static_cast<int>(sim_id));
    }
    static_assert(c_ecc_list_size >= PROPERTY_VALUE_MAX);
    char list[c_ecc_list_size] = {};
    property_get(key, list, "");
    for (size_t sim = 0; sim < s_sim_ecc_list.size(); ++sim) {
        for (size_t i = 0; i < s_sim_number_of_ecc_records[sim]; ++i) {
            char number[sizeof(ecc_entry::number) + 1] = {};
            memcpy(number, s_sim_ecc_list[sim].entries[i].number, sizeof(ecc_entry::number));
            // A record that is not in use has no digits, and an empty number in the list would match whatever is
            // dialled.
            if (number[0] != '\0' && sim_check_if_ecc_entry_already_available_else_update(list, number) != 0) {
                RIL_TRACE(TRACE_ERROR, "%s: No memory left in the %s buffer\n", __func__, key);
                break;
            }
        }
    }
    if (property_set(key, list) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Unable to add ECC num into %s\n", __func__, key);
    }
}

void sim_check_and_update_ecc_list(uint32_t sim_id) {
    for (uint32_t sim = 0; sim < s_sim_is_ecc_found.size(); ++sim) {
        if (sim_get_inserted_sim_type(sim) != SIM_CARD_TYPE_NO_TYPE && s_sim_is_ecc_found[sim] != 1) {
            RIL_TRACE(TRACE_DETAIL, "%s: Waiting 4 SIM %d to finish reading of ECC list\n", __func__,
                      static_cast<int>(sim));
            return;
        }
    }
    sim_update_ecc_list_properties(sim_id);
}

chain_answer sim_ecc_fcp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    if (ctxt_id != s_sim_ecc_context[sim_id]) {
        return CHAIN_FAIL;
    }
    sim_file_properties file;
    if (AGGSimAnalyseFilePropertyResult(static_cast<const UtaSimApduCmdRspParam*>(p_params), &file) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_FAILURE from AGGSimAnalyseFilePropertyResult, sim_id = %d\n", __func__,
                  static_cast<int>(sim_id));
        return CHAIN_END;
    }
    if (file.num_records == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: No Records found in EF ECC 6FB7 in SIM\n", __func__);
        return CHAIN_END;
    }
    // What the list has no room for is not read.
    s_sim_number_of_ecc_records[sim_id] = static_cast<uint8_t>(std::min<size_t>(file.num_records, c_ecc_entries));
    s_sim_ecc_record_len[sim_id] = file.record_len;
    s_sim_current_ecc_record[sim_id] = 1;
    return CHAIN_NEXT;
}

void store_number(uint32_t sim_id, std::span<const uint8_t> record) {
    ecc_list& list = s_sim_ecc_list[sim_id];
    ecc_entry& entry = list.entries[s_sim_current_ecc_record[sim_id] - size_t{1}];
    memset(entry.number, 0, sizeof(entry.number));
    util_bcd2num(record.data(), entry.number, sizeof(entry.number), std::min(record.size(), c_packed_digits), false);
    list.count = static_cast<uint8_t>(strnlen(entry.number, sizeof(entry.number)));
}

chain_answer sim_rpc_ecc_read_ecc_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    if (ctxt_id != s_sim_ecc_context[sim_id]) {
        return CHAIN_FAIL;
    }
    sim_read_result read;
    const int32_t rc = sms_sim_analyse_read_result(*static_cast<const UtaSimApduCmdRspParam*>(p_params), read);
    if (rc != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sw1 = 0x%x, sw2 = 0x%x, rc = %d, sim_id = %d\n", __func__, read.status.sw1,
                  read.status.sw2, rc, static_cast<int>(sim_id));
        return CHAIN_FAIL;
    }
    store_number(sim_id, read.data);
    if (s_sim_current_ecc_record[sim_id] >= s_sim_number_of_ecc_records[sim_id]) {
        RIL_TRACE(TRACE_DETAIL, "%s: Found all the recs, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return CHAIN_END;
    }
    ++s_sim_current_ecc_record[sim_id];
    return CHAIN_AGAIN;
}

UtaSimApduCmdReqParam ecc_request(uint32_t sim_id, sim_req_mode mode, UtaSimApduData* apdu) {
    return {0, mode, sim_file_path(sim_id, c_sim_df_gsm, c_ef_ecc), apdu};
}

chain_sent select_ecc(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaSimApduCmdReqParam request = ecc_request(sim_id, SIM_SELECT_AND_GET, nullptr);
    return sim_apdu_cmd_req(sim_id, request, chain_callback<sim_ecc_fcp_cb>, ctxt_id) == 0 ? CHAIN_SENT
                                                                                           : CHAIN_NOT_SENT;
}

chain_sent sim_rpc_util_read_record(uint32_t sim_id, uint32_t ctxt_id) {
    UtaSimApduData apdu;
    sms_sim_create_read_record_apdu(sim_id, s_sim_current_ecc_record[sim_id], s_sim_ecc_record_len[sim_id], apdu);
    const UtaSimApduCmdReqParam request = ecc_request(sim_id, SIM_SELECT_THEN_APDU, &apdu);
    return sim_apdu_cmd_req(sim_id, request, chain_callback<sim_rpc_ecc_read_ecc_cb>, ctxt_id) == 0 ? CHAIN_SENT
                                                                                                    : CHAIN_NOT_SENT;
}

// The numbers read so far count, however the reading has ended. One that could not even begin has not ended.
void end_reading(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    if (ctxt_id == s_sim_ecc_context[sim_id] && (succeeded || s_sim_current_ecc_record[sim_id] != 0)) {
        s_sim_is_ecc_found[sim_id] = 1;
        sim_check_and_update_ecc_list(sim_id);
    }
    qelril_free_and_return(ctxt_id);
}

constexpr chain_step c_steps[] = {
    {select_ecc, sim_ecc_fcp_cb},
    {sim_rpc_util_read_record, sim_rpc_ecc_read_ecc_cb},
};
constexpr chain c_ecc_chain = {c_steps, {}, end_reading};

}  // namespace

void sim_ecc_init(uint32_t sim_id) {
    s_sim_ecc_list[sim_id] = {};
    s_sim_number_of_ecc_records[sim_id] = 0;
    s_sim_current_ecc_record[sim_id] = 0;
    s_sim_ecc_record_len[sim_id] = 0;
    s_sim_is_ecc_found[sim_id] = 0;
}

void sim_ecc_file_properties(uint32_t sim_id, uint32_t ctxt_id) {
    s_sim_current_ecc_record[sim_id] = 0;
    s_sim_ecc_context[sim_id] = ctxt_id;
    chain_start(c_ecc_chain, sim_id, ctxt_id);
}

const ecc_list* sim_get_ecc_list(uint32_t sim_id) {
    return &s_sim_ecc_list[sim_id & 1U];
}

uint32_t sim_get_ecc_records(uint32_t sim_id) {
    return s_sim_number_of_ecc_records[sim_id & 1U];
}

int32_t sim_check_if_ecc_entry_already_available_else_update(char* list, const char* number) {
    const size_t length = strlen(list);
    const size_t number_length = strlen(number);
    if (length + number_length > c_list_max) {
        RIL_TRACE(TRACE_ERROR, "%s: no memory felt to copy new ECC Entry\n", __func__);
        return 1;
    }
    for (const char* item = list; *item != '\0';) {
        const size_t item_length = strcspn(item, ",");
        if (item_length == number_length && strncmp(item, number, number_length) == 0) {
            return 0;
        }
        item += item_length;
        item += *item == ',' ? 1 : 0;
    }
    snprintf(list + length, c_ecc_list_size - length, "%s%s", length == 0 ? "" : ",", number);
    return 0;
}
