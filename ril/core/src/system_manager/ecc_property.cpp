// The emergency numbers that Android is told of before any card or network has named its own.
#include <cutils/properties.h>

#include <array>
#include <cstdio>

#include "ril/core/src/call/ecc_hardcoded.h"
#include "ril/core/src/sim/ecc.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/utils/trace.h"

namespace {

// A record of the modem's memory: three bytes of packed digits, two of packed digits of a country code, others that
// nobody here reads.
struct nvm_ecc_record {
    std::array<uint8_t, 3> eccno;
    std::array<uint8_t, 2> unread;
    std::array<uint8_t, 2> mcc;
    uint8_t last;
};

constexpr nvm_ecc_record c_nvm_records[] = {
    {{0x12, 0x0F, 0xFF}, {0x02, 0x02}, {0xFF, 0xFF}, 0x08},
    {{0x12, 0x2F, 0xFF}, {0x02, 0x7F}, {0xFF, 0xFF}, 0x08},
    {{0x11, 0x0F, 0xFF}, {0x02, 0x01}, {0xFF, 0xFF}, 0x08},
    {{0x11, 0x9F, 0xFF}, {0x02, 0x03}, {0xFF, 0xFF}, 0x08},
};

// Packed digits, high nibble first, up to the first nibble that is none.
template <size_t size>
std::array<char, 2 * size + 1> boot_decode_nvm_eccno(const std::array<uint8_t, size>& packed) {
    constexpr char c_digits[] = "0123456789*#";
    std::array<char, 2 * size + 1> text{};
    for (size_t i = 0; i < 2 * size; ++i) {
        const unsigned nibble = i % 2 == 0 ? packed[i / 2] >> 4U : packed[i / 2] & 0xFU;
        if (nibble >= sizeof(c_digits) - 1) {
            break;
        }
        text[i] = c_digits[nibble];
    }
    return text;
}

// 0, or 1 with no room left.
int32_t add_unless_empty(char* list, const char* number) {
    return number[0] == '\0' ? 0 : sim_check_if_ecc_entry_already_available_else_update(list, number);
}

}  // namespace

void boot_read_ecc_list_from_nvm(uint32_t sim_id) {
    char key[PROPERTY_KEY_MAX] = "ril.ecclist";
    if (sim_id != 0) {
        snprintf(key, sizeof(key), "ril.ecclist%d", static_cast<int>(sim_id));
    }
    static_assert(c_ecc_list_size >= PROPERTY_VALUE_MAX);
    char list[c_ecc_list_size] = {};
    property_get(key, list, "");
    for (const ecc_entry& entry : callmngr_ecc_hardcoded_list) {
        if (add_unless_empty(list, entry.number) != 0) {
            break;
        }
    }
    for (const nvm_ecc_record& record : c_nvm_records) {
        if (add_unless_empty(list, boot_decode_nvm_eccno(record.eccno).data()) != 0 ||
            add_unless_empty(list, boot_decode_nvm_eccno(record.mcc).data()) != 0) {
            RIL_TRACE(TRACE_ERROR, "%s: No memory left in the %s buffer\n", __func__, key);
            break;
        }
    }
    if (property_set(key, list) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Unable to add ECC num into %s\n", __func__, key);
    }
}
