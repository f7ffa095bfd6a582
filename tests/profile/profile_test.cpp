// The settings per SIM, and the small conversions that the handlers share.
#include "ril/core/src/profile/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ril/utils/conversion.h"

namespace {

TEST(Profile, DefaultsOfBothRows) {
    memset(static_cast<void*>(pAggprofileDB.data()), 0x5A, sizeof(pAggprofileDB));
    agg_module_init();
    for (const agg_profile& row : pAggprofileDB) {
        EXPECT_EQ(row.cscs, 3U);
        EXPECT_EQ(row.clir_n + row.clir_m + row.ussd_state + row.cssn_data.n + row.cssn_data.m + row.facility_mode, 0);
    }
}

TEST(Profile, CharacterSets) {
    const struct {
        const char* name;
        int32_t result;
        uint32_t cscs;
    } cases[] = {{"UCS2", 0, 1}, {"pcDn", 0, 6}, {"UCS22", -10, 77}, {nullptr, -10, 77}};
    agg_module_init();
    for (const auto& c : cases) {
        pAggprofileDB[1].cscs = 77;
        EXPECT_EQ(ril_set_terminal_adaptor_value(1, c.name), c.result);
        EXPECT_EQ(pAggprofileDB[1].cscs, c.cscs) << (c.name == nullptr ? "(null)" : c.name);
        EXPECT_EQ(pAggprofileDB[0].cscs, 3U);
    }
}

TEST(Profile, NotificationSwitches) {
    const struct {
        uint32_t value;
        int32_t result;
        uint16_t n, m;
    } cases[] = {{0x10001, 0, 1, 1},    {0x00001, 0, 1, 0},   {0x10000, 0, 0, 1},     {0, 0, 0, 0},
                 {0xFFFFFFFF, 0, 0, 0}, {0x1FFFF, 0, 0, 1},   {0xFFFF0001, 0, 1, 0},  {0x10002, -11, 9, 9},
                 {0x20001, -11, 9, 9},  {0x1FFFE, -11, 9, 9}, {0xFFFE0001, -11, 9, 9}};
    for (const auto& c : cases) {
        pAggprofileDB[0].cssn_data = {9, 9};
        EXPECT_EQ(ril_set_supplement_service_notification(0, c.value), c.result) << std::hex << c.value;
        EXPECT_EQ(pAggprofileDB[0].cssn_data.n, c.n) << std::hex << c.value;
        EXPECT_EQ(pAggprofileDB[0].cssn_data.m, c.m) << std::hex << c.value;
    }
}

TEST(Conversion, StatusWords) {
    for (unsigned sw1 = 0; sw1 < 256; ++sw1) {
        for (unsigned sw2 = 0; sw2 < 256; ++sw2) {
            EXPECT_EQ(isSuccessResult(static_cast<uint8_t>(sw1), static_cast<uint8_t>(sw2)),
                      sw1 == 0x91 || (sw1 == 0x90 && sw2 == 0));
        }
    }
}

TEST(Conversion, SwappedBcd) {
    const struct {
        std::vector<uint8_t> src;
        bool plus;
        size_t room;
        const char* text;
    } cases[] = {
        {{0x21, 0xF3}, false, 20, "123"},
        {{0x21, 0x43}, false, 20, "1234"},
        {{0x21, 0x43}, false, 3, "123"},
        {{0xBA, 0xDC}, false, 20, "*#p?"},
        {{0x1F, 0x22}, false, 20, ""},
        {{0xF1, 0x22}, false, 20, "1"},
        {{0x21, 0xE4, 0x3E}, false, 20, "124243"},  // each 14 repeats its own nibble
        {{0x2E, 0x22}, false, 20, ""},
        {{0xE2, 0x22}, false, 20, "2"},
        {{0x91, 0x94, 0x21}, true, 20, "+194912"},
        {{0x91, 0x94, 0x21}, false, 20, "194912"},
        {{0x91, 0x18, 0x21}, true, 20, "+198112"},
        {{0x91, 0x81, 0x21}, true, 20, "191812"},
        {{0x91, 0x31, 0x21}, true, 20, "191312"},
        {{0x91, 0x94}, true, 1, "+"},
        {{0x91, 0x94}, true, 0, ""},
        {{0x91}, true, 20, "19"},
        {{}, true, 20, ""},
    };
    for (const auto& c : cases) {
        // Exactly as large as it is allowed to be, so that a byte too many is seen.
        const std::vector<uint8_t> src(c.src);
        std::vector<char> dst(c.room, '\0');
        util_bcd2num(src.data(), dst.data(), dst.size(), src.size(), c.plus);
        EXPECT_EQ(std::string(dst.begin(), std::find(dst.begin(), dst.end(), '\0')), c.text) << "row " << &c - cases;
    }
}

TEST(Conversion, HexText) {
    const struct {
        const char* text;
        size_t room;
        int32_t result;
        uint32_t length;
        const char* bytes;  // what stands in the room afterwards, '~' where it was left alone
    } cases[] = {
        {"4A6b", 4, 0, 2, "Jk.~"},       {"4A6b", 2, 0, 2, "Jk"},  // no terminator
        {"4A6b7", 3, 0, 2, "Jk."},                                 // odd
        {"4A6b", 1, -1, 2, "~"},         {"", 2, 0, 0, ".~"},         {"4", 2, 0, 0, ".~"},
        {"4A6g6c", 4, -10, 3, "J~~~"},   {"4A g", 4, -10, 2, "J~~~"}, {"g04A", 4, -10, 2, ".~~~"},
        {"/0:0@0G0", 4, -10, 4, ".~~~"},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> dst(c.room, '~');
        uint32_t length = 99;
        EXPECT_EQ(ril_convert_hexbuffer_to_string(c.text, strlen(c.text), dst.data(), dst.size(), &length), c.result);
        EXPECT_EQ(length, c.length) << c.text;
        std::string bytes;
        for (const uint8_t byte : dst) {
            bytes += byte == 0 ? '.' : static_cast<char>(byte);
        }
        EXPECT_EQ(bytes, c.bytes) << c.text;
        EXPECT_EQ(ril_convert_hexbuffer_to_string(c.text, strlen(c.text), dst.data(), dst.size(), nullptr), c.result);
    }
    uint8_t byte = 0;
    uint32_t length = 99;
    EXPECT_EQ(ril_convert_hexbuffer_to_string(nullptr, 2, &byte, 1, &length), -1);
    EXPECT_EQ(ril_convert_hexbuffer_to_string("00", 2, nullptr, 1, &length), -1);
    EXPECT_EQ(length, 99U);
}

TEST(Conversion, HexDigits) {
    const std::string digits = "0123456789abcdefABCDEF";
    for (int c = -128; c < 128; ++c) {
        const char character = static_cast<char>(c);
        EXPECT_EQ(ril_util_is_xdigit(character), c != 0 && digits.find(character) != std::string::npos) << c;
    }
}

}  // namespace
