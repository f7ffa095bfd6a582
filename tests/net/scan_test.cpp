// The search for available networks.
#include <gtest/gtest.h>

#include "tests/net/packets.h"

namespace {

constexpr int c_query = RIL_REQUEST_QUERY_AVAILABLE_NETWORKS;

std::vector<uint32_t> ids(NetPhone& phone) {
    std::vector<uint32_t> all = phone.modem.received_ids();
    phone.modem.take_received();
    return all;
}

PHONE_TEST(NetPhone, Scan, RequestsByteForByte) {
    phone.modem.set_answer(c_scan, scan_result({{}}, 1));
    EXPECT_EQ(phone.ask(c_query), "0: 26201 2G|26201 2G|26201|available");
    ASSERT_TRUE(phone.modem.wait_for(c_ps_attach));
    EXPECT_EQ(phone.sent(), (std::vector<std::string>{"02 04 00 00 00 22 02 04 00 00 00 49 AA AA AA AA 7F 49 0F "
                                                      "7F 06 06 02 04 AA AA AA AA 02 04 00 00 00 00",
                                                      "02 04 00 00 00 22 02 04 00 00 01 20 AA AA AA AA 7F 01 0F "
                                                      "7F 06 06 02 04 AA AA AA AA 02 04 00 00 00 00"}));
}

PHONE_TEST(NetPhone, Scan, EntriesAsStrings) {
    phone.hear({registration({.mcc = 262, .mnc = 1})});
    const struct {
        Found found;
        const char* strings;
    } rows[] = {
        {{262, 1, 0, 1, 0}, "26201 2G|26201 2G|26201|current"},
        {{262, 1, 0, 2, 1}, "26201 3G(forbidden)|26201 3G(forbidden)|26201|current"},
        {{262, 1, 1, 3, 0}, "262001 4G|262001 4G|262001|current"},
        {{262, 2, 0, 3, 0}, "26202 4G|26202 4G|26202|available"},
        {{262, 2, 0, 0, 7}, "26202(forbidden)|26202(forbidden)|26202|forbidden"},
        {{1, 260, 1, 4, 0}, "001260|001260|001260|available"},
        {{1, 260, 0, 1, 0}, "001260 2G|001260 2G|001260|available"},
        {{1, 5, 2, 1, 0}, "00105 2G|00105 2G|00105|available"},
        {{1000, 65535, 1, 2, 1}, "999999 3G(forbidden)|999999 3G(forbidden)|999999|forbidden"},
        {{65535, 65535, 0, 1, 0}, "999999 2G|999999 2G|999999|available"},
    };
    std::vector<Found> found;
    std::string all = "0: ";
    for (const auto& row : rows) {
        phone.modem.set_answer(c_scan, scan_result({row.found}, 1));
        EXPECT_EQ(phone.ask(c_query), "0: " + std::string(row.strings));
        EXPECT_EQ(phone.android.completions().back().data.size(), 4 * sizeof(char*));
        found.push_back(row.found);
        all += (found.size() == 1 ? "" : "|") + std::string(row.strings);
    }
    phone.modem.set_answer(c_scan, scan_result(found, static_cast<uint32_t>(found.size())));
    EXPECT_EQ(phone.ask(c_query), all);
}

PHONE_TEST(NetPhone, Scan, NumbersOfEntries) {
    const struct {
        uint32_t count, rejected;
        size_t entries;
    } rows[] = {{30, 0, 30}, {31, 0, 30}, {255, 2, 30},       {0x7FFFFFFF, 0, 30}, {1, 0, 1},
                {0, 0, 0},   {3, 1, 0},   {0xFFFFFFFF, 0, 0}, {0x80000000, 0, 0},  {29, 0, 29}};
    size_t scans = 0;
    for (const auto& row : rows) {
        phone.modem.set_answer(c_scan, scan_result(std::vector<Found>(30), row.count, row.rejected));
        phone.ask(c_query);
        const FakeAndroid::Completion last = phone.android.completions().back();
        EXPECT_EQ(last.error, row.entries == 0 ? RIL_E_GENERIC_FAILURE : RIL_E_SUCCESS) << row.count;
        EXPECT_EQ(last.data.size(), row.entries * 4 * sizeof(char*)) << row.count;
        // Packet service comes back on all paths, and its answer finds nobody.
        EXPECT_TRUE(phone.modem.wait_for(c_ps_attach, ++scans));
        phone.hear({});
        EXPECT_EQ(ids(phone), (std::vector<uint32_t>{c_scan, c_ps_attach}));
    }
}

PHONE_TEST(NetPhone, Scan, WhatCannotBeSent) {
    phone.modem.set_return(c_scan, 3);
    EXPECT_EQ(phone.ask(c_query), "2");
    phone.modem.set_return(c_scan, 0);
    phone.modem.set_return(c_ps_attach, 3);
    phone.modem.set_answer(c_ps_attach, response(291, record("81 43", u32(0) + u32(0))));
    phone.modem.set_answer(c_scan, scan_result({{}}, 1));
    EXPECT_EQ(phone.ask(c_query), "0: 26201 2G|26201 2G|26201|available");
    // Each failure gave its context back: there is one for far more requests than there are contexts.
    phone.modem.set_return(c_scan, 3);
    for (int i = 0; i < 300; ++i) {
        phone.request(c_query, nullptr, 0);
    }
    phone.modem.set_return(c_scan, 0);
    phone.modem.set_return(c_ps_attach, 0);
    EXPECT_EQ(phone.ask(c_query), "0: 26201 2G|26201 2G|26201|available");
}

PHONE_TEST(NetPhone, Scan, WithoutAContextNothingIsSent) {
    for (int i = 0; i < 254; ++i) {
        phone.request(c_query, nullptr, 0);
    }
    phone.modem.take_received();
    for (const int request : {c_query, RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC}) {
        EXPECT_EQ(phone.ask(request), "2");
    }
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, "26201"), "2");
    EXPECT_TRUE(phone.sent().empty());
    phone.hear({registration({.rat = 2})});
    EXPECT_EQ(phone.ask(RIL_REQUEST_VOICE_REGISTRATION_STATE), "2");
}

}  // namespace
