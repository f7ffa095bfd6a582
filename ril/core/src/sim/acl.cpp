#include "ril/core/src/sim/acl.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/context.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint16_t c_ef_ust = 0x6F38;
constexpr uint16_t c_ef_est = 0x6F56;
constexpr uint16_t c_ef_acl = 0x6F57;
constexpr size_t c_apns = 100;
constexpr size_t c_apn_compared = 100;  // characters

// Services 34 and 35, enabled services table and access point control, in the fifth byte; access point control is the
// third bit of the first byte among the enabled ones.
constexpr size_t c_ust_byte = 4;
constexpr uint8_t c_ust_services = 0x02 | 0x04;
constexpr uint8_t c_est_acl = 0x04;

struct sim_ef_acl_data {
    uint32_t acl_enabled;
    uint32_t acl_apn_count;
    std::array<char*, c_apns> acl_apn;  // owned; dotted text
};
std::array<sim_ef_acl_data, 2> s_sim_ef_acl_data{};

// What the chain keeps on its context.
struct acl_reading {
    uint16_t file_size;  // of the file that was selected last
};

acl_reading& reading_of(uint32_t ctxt_id) {
    return *static_cast<acl_reading*>(sim_priv_of(ctxt_id)->caller_priv);
}

// --- EF_ACL ---

// The labels of an access point's name (3GPP TS 23.003, 9.1) as dotted text; false for one that runs past the end.
bool join_labels(std::span<const uint8_t> value, char* text) {
    for (size_t at = 0; at < value.size();) {
        const size_t length = value[at];
        if (length > value.size() - at - 1) {
            return false;
        }
        if (at != 0) {
            *text++ = '.';
        }
        memcpy(text, &value[at] + 1, length);
        text += length;
        at += 1 + length;
    }
    return true;
}

void store_apn(sim_ef_acl_data& acl, std::span<const uint8_t> value) {
    auto* const text = static_cast<char*>(MEM_ALLOC(value.size() + 1));
    if (text == nullptr) {
        return;
    }
    if (!join_labels(value, text)) {
        RIL_TRACE(TRACE_ERROR, "%s: a label runs past its end\n", "sim_extract_list_of_apns_from_ef_acl");
        MEM_FREE(text);
        return;
    }
    acl.acl_apn[acl.acl_apn_count++] = text;
}

// The file without its status words: a count, and as many TLVs.
void sim_extract_list_of_apns_from_ef_acl(sim_ef_acl_data& acl, std::span<const uint8_t> file) {
    constexpr uint8_t c_tag_apn = 0xDD;
    const uint8_t entries = file.empty() ? 0 : file[0];
    if (entries == 0) {
        RIL_TRACE(TRACE_DETAIL, "%s: no APNs present in EF ACL\n", __func__);
        return;
    }
    uint8_t offset = 1;
    for (uint8_t seen = 0; seen < entries && acl.acl_apn_count < c_apns; ++seen) {
        if (size_t{offset} + 1 >= file.size()) {
            return;
        }
        const uint8_t tag = file[offset];
        const uint8_t length = file[offset + size_t{1}];
        const std::span<const uint8_t> rest = file.subspan(offset + size_t{2});
        if (tag == c_tag_apn && length != 0) {
            if (length <= rest.size()) {
                store_apn(acl, rest.first(length));
            } else {
                RIL_TRACE(TRACE_ERROR, "%s: a TLV runs past the file\n", __func__);
            }
        }
        offset = static_cast<uint8_t>(offset + length + 2);
    }
}

// --- The chain: each file is selected for its size and then read whole ---

const UtaSimApduCmdRspParam& answer_of(const void* p_params) {
    return *static_cast<const UtaSimApduCmdRspParam*>(p_params);
}

chain_sent send(uint32_t sim_id, const UtaSimApduCmdReqParam& request, rilreq_rspcb callback, uint32_t ctxt_id) {
    if (sim_apdu_cmd_req(sim_id, request, callback, ctxt_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UTA_FAILURE sim_apdu_cmd_req, sim_id = %d\n", "sim_select_ust_ef",
                  static_cast<int>(sim_id));
        return CHAIN_NOT_SENT;
    }
    return CHAIN_SENT;
}

template <uint16_t file, chain_take take>
chain_sent select_file(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaSimApduCmdReqParam request = {0, SIM_SELECT_AND_GET, sim_file_path(sim_id, c_sim_df_gsm, file), nullptr};
    return send(sim_id, request, chain_callback<take>, ctxt_id);
}

template <uint16_t file, chain_take take>
chain_sent read_file(uint32_t sim_id, uint32_t ctxt_id) {
    UtaSimApduData apdu;
    sim_create_apdu_for_read_binary(sim_id, 0, static_cast<uint8_t>(reading_of(ctxt_id).file_size), apdu);
    const UtaSimApduCmdReqParam request = {0, SIM_SELECT_THEN_APDU, sim_file_path(sim_id, c_sim_df_gsm, file), &apdu};
    return send(sim_id, request, chain_callback<take>, ctxt_id);
}

struct select_words {
    const char* failed;
    const char* empty;
};

chain_answer take_selection(uint32_t ctxt_id, const void* p_params, const char* function, const select_words& words) {
    sim_file_properties file;
    if (AGGSimAnalyseFilePropertyResult(&answer_of(p_params), &file) != 0) {
        RIL_TRACE(TRACE_ERROR, words.failed, function);
        return CHAIN_FAIL;
    }
    if (file.file_size == 0) {
        RIL_TRACE(TRACE_ERROR, words.empty, function);
        return CHAIN_FAIL;
    }
    reading_of(ctxt_id).file_size = file.file_size;
    return CHAIN_NEXT;
}

chain_answer sim_select_ef_sst_or_ust_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    return take_selection(
        ctxt_id, p_params, __func__,
        {"%s: selection of SST or UST EF file failed\n", "%s: No data found in EF SST or UST 6F38 in SIM\n"});
}

chain_answer sim_select_est_ef_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    return take_selection(
        ctxt_id, p_params, __func__,
        {"%s: Error in selection of SST or UST EF file\n", "%s: No data found in EF EST 6F56 in SIM\n"});
}

chain_answer sim_select_acl_ef_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    return take_selection(
        ctxt_id, p_params, __func__,
        {"%s:Error in selection of SST or UST EF file\n", "%s: No data found in EF ACL 6F57 in SIM\n"});
}

bool take_read(uint32_t sim_id, const void* p_params, const char* function, sim_read_result& read) {
    const int32_t rc = sms_sim_analyse_read_result(answer_of(p_params), read);
    if (rc != 0) {
        RIL_TRACE(TRACE_ERROR, "%s sw1 = 0x%x, sw2 = 0x%x, rc = %d, sim_id = %d\n", function, read.status.sw1,
                  read.status.sw2, rc, static_cast<int>(sim_id));
    }
    return rc == 0;
}

chain_answer sim_read_binary_sst_ust_ef_cb(uint32_t sim_id, const void* p_params, uint32_t) {
    sim_read_result read;
    if (!take_read(sim_id, p_params, __func__, read)) {
        return CHAIN_FAIL;
    }
    // The whole answer: the length counts the status words.
    const std::span<const uint8_t> table = sim_apdu_part(answer_of(p_params));
    if (table.size() <= c_ust_byte || (table[c_ust_byte] & c_ust_services) != c_ust_services) {
        RIL_TRACE(TRACE_DETAIL, "%s UST EF len : %d EST & ACL services not enabled\n", __func__,
                  static_cast<int>(table.size()));
        return CHAIN_END;
    }
    return CHAIN_NEXT;
}

chain_answer sim_read_binary_est_ef_cb(uint32_t sim_id, const void* p_params, uint32_t) {
    sim_read_result read;
    if (!take_read(sim_id, p_params, __func__, read)) {
        return CHAIN_FAIL;
    }
    const std::span<const uint8_t> table = sim_apdu_part(answer_of(p_params));
    if (table.empty() || (table[0] & c_est_acl) == 0) {
        return CHAIN_END;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: ACL check reqd\n", __func__);
    s_sim_ef_acl_data[sim_id].acl_enabled = 1;
    return CHAIN_NEXT;
}

chain_answer sim_read_binary_acl_ef_cb(uint32_t sim_id, const void* p_params, uint32_t) {
    sim_read_result read;
    if (!take_read(sim_id, p_params, __func__, read)) {
        return CHAIN_FAIL;
    }
    sim_extract_list_of_apns_from_ef_acl(s_sim_ef_acl_data[sim_id], sim_without_sw(sim_apdu_part(answer_of(p_params))));
    return CHAIN_END;
}

void sim_release_acl_book_keeping_data(uint32_t, uint32_t ctxt_id, bool) {
    qelril_free_and_return(ctxt_id);
}

constexpr chain_step c_steps[] = {
    {select_file<c_ef_ust, sim_select_ef_sst_or_ust_cb>, sim_select_ef_sst_or_ust_cb},
    {read_file<c_ef_ust, sim_read_binary_sst_ust_ef_cb>, sim_read_binary_sst_ust_ef_cb},
    {select_file<c_ef_est, sim_select_est_ef_cb>, sim_select_est_ef_cb},
    {read_file<c_ef_est, sim_read_binary_est_ef_cb>, sim_read_binary_est_ef_cb},
    {select_file<c_ef_acl, sim_select_acl_ef_cb>, sim_select_acl_ef_cb},
    {read_file<c_ef_acl, sim_read_binary_acl_ef_cb>, sim_read_binary_acl_ef_cb},
};
constexpr chain c_acl_chain = {c_steps, {}, sim_release_acl_book_keeping_data};

// The first characters of a name, in capitals and without its dots.
struct compared_apn {
    std::array<char, c_apn_compared> text{};
    size_t length = 0;

    explicit compared_apn(const char* apn) {
        const size_t size = apn == nullptr ? 0 : strnlen(apn, c_apn_compared);
        for (size_t i = 0; i < size; ++i) {
            if (apn[i] != '.') {
                const bool lower = apn[i] >= 'a' && apn[i] <= 'z';
                text[length++] = static_cast<char>(lower ? apn[i] - 'a' + 'A' : apn[i]);
            }
        }
    }
    bool operator==(const compared_apn& other) const = default;
};

}  // namespace

void sim_clear_acl(uint32_t sim_id) {
    sim_ef_acl_data& acl = s_sim_ef_acl_data[sim_id];
    for (size_t i = 0; i < acl.acl_apn_count; ++i) {
        MEM_FREE(std::exchange(acl.acl_apn[i], nullptr));
    }
    acl.acl_enabled = 0;
    acl.acl_apn_count = 0;
}

void sim_select_ust_ef(uint32_t sim_id) {
    const int32_t ctxt_id = qelril_get_free_ctxt_id(nullptr);
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: could not get free rilreq_state_info array element\n", __func__);
        return;
    }
    void* reading = nullptr;
    if (qelril_create_multi_mod_priv(static_cast<uint32_t>(ctxt_id), 0, sizeof(acl_reading), &reading) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: malloc failed\n", __func__);
        qelril_free_and_return(static_cast<uint32_t>(ctxt_id));
        return;
    }
    chain_start(c_acl_chain, sim_id, static_cast<uint32_t>(ctxt_id));
}

uint32_t sim_check_apn_listed_in_acl(uint32_t sim_id, const char* apn) {
    const sim_ef_acl_data& acl = s_sim_ef_acl_data[sim_id];
    if (acl.acl_enabled != 1) {
        RIL_TRACE(TRACE_DETAIL, "%s ACL is not enabled\n", __func__);
        return 1;
    }
    const compared_apn wanted(apn);
    for (size_t i = 0; i < acl.acl_apn_count; ++i) {
        if (compared_apn(acl.acl_apn[i]) == wanted) {
            RIL_TRACE(TRACE_DETAIL, "%s found a match of USER APN in ACL\n", __func__);
            return 1;
        }
    }
    RIL_TRACE(TRACE_DETAIL, "%s user APN is not listed in ACL\n", __func__);
    return 0;
}
