#include "ril/core/src/sim/fcp.h"

#include <cstring>

#include "ril/core/src/sim/apdu.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint8_t c_tag_template = 0x62;
constexpr uint8_t c_tag_file_size = 0x80;
constexpr uint8_t c_tag_file_descriptor = 0x82;
constexpr uint8_t c_tag_file_id = 0x83;

// Places in the 2G record.
constexpr size_t c_file_size = 2;
constexpr size_t c_file_id = 4;
constexpr size_t c_file_type = 6;
constexpr size_t c_file_status = 11;
constexpr size_t c_length_behind = 12;
constexpr size_t c_structure = 13;
constexpr size_t c_record_length = 14;

constexpr uint8_t c_type_df = 2;
constexpr uint8_t c_type_ef = 4;

constexpr const char* c_template_structure = "ETSI TS 102 221, 11.1.1.3: FCP template TLV structure";
constexpr const char* c_template_tag = "ETSI TS 102 221, 11.1.1.3: FCP template tag";
constexpr const char* c_property_structure = "ETSI TS 102 221, 11.1.1.3: FCP property TLV structure";
constexpr const char* c_file_descriptor = "ETSI TS 102 221, 11.1.1.4.3: Invalid file descriptor";
constexpr const char* c_file_identifier = "ETSI TS 102 221, 11.1.1.4.4: Invalid file identifier";
constexpr const char* c_size_unsupported = "3GPP TS 51 011, 9.2.1: Unsupported file size";
constexpr const char* c_non_transparent = "ETSI TS 102 221, 11.1.1.4.3: Invalid non-transparent file descriptor";
constexpr const char* c_file_structure = "ETSI TS 102 221, 11.1.1.4.3: Invalid file structure";

uint8_t nibble(char c) {
    if (!ril_util_is_xdigit(c)) {
        return 0;
    }
    return static_cast<uint8_t>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

// Bytes that stand as text.
struct hex_bytes {
    std::string_view text;

    size_t size() const { return text.size() / 2; }
    uint8_t operator[](size_t i) const {
        return static_cast<uint8_t>((nibble(text[2 * i]) << 4U) | nibble(text[2 * i + 1]));
    }
    hex_bytes sub(size_t from, size_t count) const { return {text.substr(2 * from, 2 * count)}; }
    hex_bytes from(size_t from) const { return {text.substr(2 * from)}; }
};

struct hex_tlv {
    uint8_t tag;
    hex_bytes value;
};

// A tag, a length of one byte and that many bytes. False when they are not all there.
bool take_tlv(hex_bytes& rest, hex_tlv& tlv) {
    if (rest.size() < 2 || rest.size() - 2 < rest[1]) {
        return false;
    }
    tlv = {rest[0], rest.sub(2, rest[1])};
    rest = rest.from(size_t{2} + tlv.value.size());
    return true;
}

// Each of the following takes one property into the record: null, or what is wrong with it.

const char* take_file_structure(const hex_bytes& descriptor, ts_51011_record& record) {
    const unsigned structure = descriptor[0] & 7U;
    if (structure == 1) {
        record[c_structure] = 0;
        return nullptr;
    }
    if (descriptor.size() < 5) {
        return c_non_transparent;
    }
    ++record[c_length_behind];
    record[c_record_length] = descriptor[3];
    if (structure != 2 && structure != 6) {
        return c_file_structure;
    }
    record[c_structure] = structure == 2 ? 1 : 3;
    return nullptr;
}

const char* take_file_descriptor(const hex_bytes& value, ts_51011_record& record) {
    if (value.size() < 2) {
        return c_file_descriptor;
    }
    const uint8_t fdb = value[0];
    if ((fdb & 0xBFU) == 0x38U) {
        record[c_file_type] = c_type_df;
        return nullptr;
    }
    if ((fdb & 0xB0U) != 0) {
        record[c_file_type] = 0;
        return nullptr;
    }
    record[c_file_type] = c_type_ef;
    record[c_file_status] = 1;
    ++record[c_length_behind];
    return take_file_structure(value, record);
}

const char* take_two_bytes(const hex_bytes& value, ts_51011_record& record, size_t place, const char* otherwise) {
    if (value.size() != 2) {
        return otherwise;
    }
    record[place] = value[0];
    record[place + 1] = value[1];
    return nullptr;
}

const char* take_property(const hex_tlv& tlv, ts_51011_record& record) {
    switch (tlv.tag) {
        case c_tag_file_descriptor:
            return take_file_descriptor(tlv.value, record);
        case c_tag_file_id:
            return take_two_bytes(tlv.value, record, c_file_id, c_file_identifier);
        case c_tag_file_size:
            return take_two_bytes(tlv.value, record, c_file_size, c_size_unsupported);
        default:
            RIL_TRACE(TRACE_DETAIL, "%s:INVALID tlv.tag 0x%02X found (hit default case)\n",
                      "sim_convert_fcp_to_ts_51011", tlv.tag);
            return nullptr;
    }
}

const char* convert(hex_bytes text, ts_51011_record& record) {
    hex_tlv fcp{};
    if (!take_tlv(text, fcp)) {
        return c_template_structure;
    }
    if (fcp.tag != c_tag_template) {
        return c_template_tag;
    }
    record = {};
    for (hex_bytes rest = fcp.value; rest.size() > 0;) {
        hex_tlv tlv{};
        if (!take_tlv(rest, tlv)) {
            return c_property_structure;
        }
        if (const char* const wrong = take_property(tlv, record); wrong != nullptr) {
            return wrong;
        }
    }
    return nullptr;
}

}  // namespace

int32_t sim_convert_fcp_to_ts_51011(std::string_view hex, ts_51011_record& record) {
    const char* const wrong = convert({hex}, record);
    if (wrong != nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: FCP to TS 510 11: Specification violation: %s\n", __func__, wrong);
        return -1;
    }
    return 0;
}

int32_t sim_convert_sim_io_fcp(const char* response, char* out) {
    if (response == nullptr || out == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: !sr->simResponse || !cvt\n", __func__);
        return -1;
    }
    const std::string_view hex(response);
    if (hex.empty() || hex.size() % 2 != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: fcplen == 0\n", __func__);
        return -1;
    }
    ts_51011_record record;
    if (sim_convert_fcp_to_ts_51011(hex, record) != 0) {
        return -1;
    }
    sim_util_convert_bin_to_hex(record, out);
    return 0;
}
