// The settings per SIM, and the small conversions that the handlers share.
#include "ril/core/src/profile/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ril/utils/conversion.h"

namespace {

TEST(Profile, CharacterSets) {
    const struct {
        const char* name;
        int32_t result;
        uint32_t cscs;
    } cases[] = {{"UCS2", 0, 1}, {"pcDn", 0, 6}, {"UCS22", -10, 77}, {nullptr, -10, 77}};
    memset(static_cast<void*>(pAggprofileDB.data()), 0x5A, sizeof(pAggprofileDB));
    agg_module_init();
    for (const auto& c : cases) {
        pAggprofileDB[1].cscs = 77;
        EXPECT_EQ(ril_set_terminal_adaptor_value(1, c.name), c.result);
        EXPECT_EQ(pAggprofileDB[1].cscs, c.cscs) << (c.name == nullptr ? "(null)" : c.name);
        EXPECT_EQ(pAggprofileDB[0].cscs, 3U);
    }
}

TEST(Profile, NotificationSwitches) {
    const uint32_t cases[][4] = {
        {0x00001, 0, 1, 0}, {0xFFFFFFFF, 0, 0, 0}, {0x1FFFF, 0, 0, 1}, {0x10002, 11, 9, 9}, {0x20001, 11, 9, 9}};
    for (const auto& [value, refusal, n, m] : cases) {
        pAggprofileDB[0].cssn_data = {9, 9};
        EXPECT_EQ(ril_set_supplement_service_notification(0, value), -static_cast<int32_t>(refusal)) << value;
        EXPECT_EQ(pAggprofileDB[0].cssn_data.n, n) << value;
        EXPECT_EQ(pAggprofileDB[0].cssn_data.m, m) << value;
    }
}

TEST(Conversion, SwappedBcd) {
    const struct {
        std::vector<uint8_t> src;
        bool plus;
        size_t room;
        const char* text;
    } cases[] = {
        {{0x21, 0x43}, false, 3, "123"},
        {{0xBA, 0xDC}, false, 20, "*#p?"},
        {{0x1F, 0x22}, false, 20, ""},
        {{0x21, 0xE4, 0x3E}, false, 20, "124243"},  // each 14 repeats its own nibble
        {{0x91, 0x94, 0x21}, true, 20, "+194912"},
        {{0x91, 0x81, 0x21}, true, 20, "191812"},
        {{0x91, 0x94}, true, 1, "+"},
    };
    for (const auto& c : cases) {
        // Exactly as large as it is allowed to be, so that a byte too many is seen.
        const std::vector<uint8_t> src(c.src);
        std::vector<char> dst(c.room, '\0');
        util_bcd2num(src.data(), dst.data(), dst.size(), src.size(), c.plus);
        EXPECT_EQ(std::string(dst.begin(), std::find(dst.begin(), dst.end(), '\0')), c.text) << "row " << &c - cases;
    }
}

}  // namespace
