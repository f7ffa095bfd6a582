// What an answer to a selection says of the file.
#include <algorithm>
#include <iterator>

#include "ril/core/src/sim/apdu.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_invalid_param = -5;
constexpr uint8_t c_tag_fcp_template = 0x62;
constexpr size_t c_2g_answer_min = 13;
constexpr uint16_t c_shareable_bit = 0x38;

uint16_t two_bytes(std::span<const uint8_t> data, size_t at) {
    return static_cast<uint16_t>(data[at] << 8U | data[at + 1]);
}

// --- The 2G form (3GPP TS 51.011, 9.2.1) ---

uint32_t access_of_nibble(unsigned nibble) {
    constexpr uint32_t c_first[] = {UAT_SIM_ACCESS_ALW, SIM_ACCESS_CHV1, SIM_ACCESS_CHV2, SIM_ACCESS_RESERVED};
    if (nibble < std::size(c_first)) {
        return c_first[nibble];
    }
    return nibble == 15 ? UAT_SIM_ACCESS_NEV : UAT_SIM_ACCESS_ADM;
}

void req_get_sim_file_property(std::span<const uint8_t> data, sim_file_properties& out) {
    if (data.size() < c_2g_answer_min) {
        return;
    }
    out.file_size = two_bytes(data, 2);
    out.file_id = two_bytes(data, 4);
    switch (data[6]) {
        case 1:
            out.file_type = SIM_FILE_MF;
            return;
        case 2:
            out.file_type = SIM_FILE_DF;
            return;
        case 4:
            out.file_type = SIM_FILE_EF;
            break;
        default:
            return;
    }
    out.access.read = access_of_nibble(data[8] >> 4U);
    out.access.update = access_of_nibble(data[8] & 0xFU);
    out.access.rehabilitate = access_of_nibble(data[10] >> 4U);
    out.access.invalidate = access_of_nibble(data[10] & 0xFU);
    out.invalidated = (data[11] & 1U) == 0 ? 1 : 0;
    out.readable_when_invalidated = (data[11] >> 2U) & 1U;
    if (data.size() > 13) {
        constexpr uint32_t c_structures[] = {SIM_STRUCTURE_TRANSPARENT, SIM_STRUCTURE_LINEAR_FIXED,
                                             SIM_STRUCTURE_UNKNOWN, SIM_STRUCTURE_CYCLIC};
        out.file_structure = data[13] < std::size(c_structures) ? c_structures[data[13]] : SIM_STRUCTURE_UNKNOWN;
    }
    if (data[12] >= 2 && data.size() > 14) {
        out.record_len = data[14];
        if (out.record_len != 0) {
            out.num_records = static_cast<uint8_t>(out.file_size / out.record_len);
        }
    }
}

// --- The FCP template (ETSI TS 102 221, 11.1.1) ---

struct tlv_view {
    uint8_t tag;
    std::span<const uint8_t> value;  // as much of it as is there
};

// The next TLV of `rest`; false at the end.
bool next_tlv(std::span<const uint8_t>& rest, tlv_view& tlv) {
    if (rest.size() < 2) {
        return false;
    }
    const size_t length = std::min<size_t>(rest[1], rest.size() - 2);
    tlv = {rest[0], rest.subspan(2, length)};
    rest = rest.subspan(2 + length);
    return true;
}

// An access mode byte of the compact and the expanded form (ETSI TS 102 221, 9.3.2).
void set_access(uint8_t mode, uint32_t condition, sim_access_conditions& access) {
    if ((mode & 0x01U) != 0) {
        access.read = condition;
    }
    if ((mode & 0x02U) != 0) {
        access.update = condition;
    }
    if ((mode & 0x10U) != 0) {
        access.rehabilitate = condition;
    }
    if ((mode & 0x08U) != 0) {
        access.invalidate = condition;
    }
}

uint32_t access_of_key_reference(uint8_t key) {
    if ((key >= 1 && key <= 4) || key == 17) {
        return SIM_ACCESS_CHV1;
    }
    return key >= 0x81 && key <= 0x84 ? SIM_ACCESS_CHV2 : UAT_SIM_ACCESS_ADM;
}

// A condition of the expanded form, or what `condition` was for a tag that is none.
uint32_t access_of_condition(const tlv_view& tlv, uint32_t condition) {
    constexpr uint8_t c_key_reference = 0x83;
    switch (tlv.tag) {
        case 0x97:
            return UAT_SIM_ACCESS_NEV;
        case 0x90:
            return UAT_SIM_ACCESS_ALW;
        case 0xA4: {
            std::span<const uint8_t> inside = tlv.value;
            for (tlv_view reference{}; next_tlv(inside, reference);) {
                if (reference.tag == c_key_reference && !reference.value.empty()) {
                    return access_of_key_reference(reference.value[0]);
                }
            }
            return UAT_SIM_ACCESS_ADM;
        }
        default:
            return condition;
    }
}

void req_get_usim_file_access(std::span<const uint8_t> data, sim_access_conditions& access) {
    constexpr uint8_t c_tag_mode = 0x80;
    constexpr uint8_t c_tag_or = 0xA0;
    constexpr uint8_t c_tag_expanded = 0xAB;
    uint32_t condition = UAT_SIM_ACCESS_ADM;
    while (data.size() >= 2) {
        if (data[0] == c_tag_expanded) {
            data = data.subspan(2);
            continue;
        }
        tlv_view tlv{};
        next_tlv(data, tlv);
        if (tlv.tag != c_tag_mode || tlv.value.empty()) {
            continue;
        }
        const uint8_t mode = tlv.value[0];
        // The condition is the next TLV, or the first one inside it.
        if (tlv_view next{}; next_tlv(data, next)) {
            if (next.tag == c_tag_or) {
                std::span<const uint8_t> inside = next.value;
                tlv_view first{};
                condition = next_tlv(inside, first) ? access_of_condition(first, condition) : condition;
            } else {
                condition = access_of_condition(next, condition);
            }
        }
        set_access(mode, condition, access);
    }
}

uint32_t access_of_compact(uint8_t condition) {
    switch (condition) {
        case 0x00:
            return UAT_SIM_ACCESS_ALW;
        case 0x10:
            return SIM_ACCESS_CHV1;
        case 0xFF:
            return UAT_SIM_ACCESS_NEV;
        default:
            return UAT_SIM_ACCESS_ADM;
    }
}

constexpr uint8_t c_mode_bits[] = {0x01, 0x02, 0x04, 0x08, 0x10};

// The mode's bits from the highest one down have their conditions one behind the other.
void take_compact_access(std::span<const uint8_t> value, sim_access_conditions& access) {
    if (value.empty()) {
        return;
    }
    size_t at = value.size();
    for (const uint8_t bit : c_mode_bits) {
        if ((value[0] & bit) != 0 && at > 1) {
            --at;
            set_access(bit, access_of_compact(value[at]), access);
        }
    }
}

void take_file_descriptor(std::span<const uint8_t> value, sim_file_properties& out) {
    if (value.size() == 5) {
        out.record_len = value[3];
        out.num_records = value[4];
    }
    if (value.empty()) {
        return;
    }
    const unsigned kind = value[0] & c_shareable_bit;
    out.file_type = kind == 0x38 ? SIM_FILE_DF : kind == 0 || kind == 8 ? SIM_FILE_EF : SIM_FILE_UNKNOWN;
    switch (value[0] & 7U) {
        case 1:
            out.file_structure = SIM_STRUCTURE_TRANSPARENT;
            break;
        case 2:
            out.file_structure = SIM_STRUCTURE_LINEAR_FIXED;
            break;
        case 6:
            out.file_structure = SIM_STRUCTURE_CYCLIC;
            break;
        default:
            out.file_structure = SIM_STRUCTURE_UNKNOWN;
            break;
    }
}

void take_rule_reference(std::span<const uint8_t> value, sim_file_properties& out) {
    if (value.size() < 3) {
        return;
    }
    out.ref_format = 1;
    out.rule = {two_bytes(value, 0), value.size() > 3 ? value[3] : value[2]};
}

void take_property(const tlv_view& tlv, sim_file_properties& out) {
    const std::span<const uint8_t> value = tlv.value;
    switch (tlv.tag) {
        case 0x80:
            out.file_size = value.size() >= 2 ? two_bytes(value, 0) : out.file_size;
            break;
        case 0x82:
            take_file_descriptor(value, out);
            break;
        case 0x83:
            out.file_id = value.size() >= 2 ? two_bytes(value, 0) : out.file_id;
            break;
        case 0x8A:
            out.invalidated = !value.empty() && (value[0] & 0xFDU) == 4 ? 1 : 0;
            out.readable_when_invalidated = 0;
            break;
        case 0x8B:
            take_rule_reference(value, out);
            break;
        case 0x8C:
            out.ref_format = 0;
            take_compact_access(value, out.access);
            break;
        case 0xAB:
            out.ref_format = 0;
            req_get_usim_file_access(value, out.access);
            break;
        default:
            break;
    }
}

void req_get_usim_file_property(std::span<const uint8_t> data, sim_file_properties& out) {
    if (data.size() < 2) {
        return;
    }
    const size_t start = data[1] == data.size() - 2 ? 2 : 3;  // behind a length of one or of two bytes
    std::span<const uint8_t> rest = data.subspan(std::min(start, data.size()));
    for (tlv_view tlv{}; next_tlv(rest, tlv);) {
        take_property(tlv, out);
    }
}

}  // namespace

int32_t AGGSimAnalyseFilePropertyResult(const UtaSimApduCmdRspParam* answer, sim_file_properties* out) {
    if (answer == nullptr || out == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s:UTA_ERROR_INVALID_PARAM\n", __func__);
        return c_invalid_param;
    }
    *out = {};
    const std::span<const uint8_t> df = sim_df_part(*answer);
    const std::span<const uint8_t> ef = sim_ef_part(*answer);
    out->status.id = static_cast<uint16_t>(answer->file.df_id);
    if (sim_get_apdu_status(df, out->status) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_get_apdu_status DF failed\n", __func__);
        return 0;
    }
    out->status.id = static_cast<uint16_t>(answer->file.ef_id);
    if (sim_get_apdu_status(ef, out->status) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_get_apdu_status EF failed\n", __func__);
        return 0;
    }
    if (!isSuccessResult(out->status.sw1, out->status.sw2)) {
        return 0;
    }
    const std::span<const uint8_t> part = ef.size() >= 2 ? ef : df;
    if (part.size() < 2) {
        return -1;
    }
    const std::span<const uint8_t> data = sim_without_sw(part);
    if (!data.empty() && data[0] == c_tag_fcp_template) {
        req_get_usim_file_property(data, *out);
    } else {
        req_get_sim_file_property(data, *out);
    }
    return 0;
}
