// What a scan, a detach and the registration do beside data calls, and names that are longer than their place.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "tests/net/data_calls.h"
#include "tests/net/packets.h"

namespace {

constexpr int c_query = RIL_REQUEST_QUERY_AVAILABLE_NETWORKS;
constexpr int c_data = RIL_REQUEST_DATA_REGISTRATION_STATE;
constexpr uint32_t c_deactivate = 23;
constexpr const char* c_configuration = "/system/etc/dun-ril/repository.txt";

// A phone with room for these calls.
class PhoneWithCalls : public NetPhone {
public:
    PhoneWithCalls() : NetPhone(configured()) {}
    DataCalls& calls = *static_cast<DataCalls*>(symbol(c_data_calls_symbol));

private:
    static std::vector<std::string> configured() {
        std::ofstream(c_configuration) << "[control]\ngprs_max_pdp_context=" << c_data_calls << "\n";
        return {};
    }
};

std::string deactivated() {
    return response(24, record("68", record("0D", u32(0)) + u32(0)));
}

PHONE_TEST(PhoneWithCalls, Calls, ScanBringsThemDownFirst) {
    phone.calls.active[1] = 1;
    RIL_Token token = phone.request(c_query, nullptr, 0);
    const auto sent = phone.sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0],
              "02 04 00 00 00 2E 02 04 00 00 00 17 AA AA AA AA 7F 17 1B 7F 06 06 02 04 AA AA AA AA "
              "7F 67 09 7F 0D 06 02 04 00 00 00 00 02 04 00 00 00 00");
    EXPECT_EQ(*phone.calls.deactivate_pdp_beforenetscan, 1U);
    EXPECT_EQ(phone.android.completed(token), 0);
    phone.modem.set_answer(c_scan, scan_result({}, 0));
    phone.reply(deactivated());
    EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
    ASSERT_TRUE(phone.modem.wait_for(c_ps_attach));
    phone.hear({});
    EXPECT_EQ(*phone.calls.deactivate_pdp_beforenetscan, 0U);
    EXPECT_EQ(phone.modem.received_ids(), (std::vector<uint32_t>{c_scan, c_ps_attach}));
}

PHONE_TEST(PhoneWithCalls, Calls, AScanThatCannotBeginLetsNewCallsIn) {
    phone.calls.active[0] = 1;
    phone.modem.set_return(c_deactivate, -1);
    EXPECT_EQ(phone.ask(c_query), "2");
    EXPECT_EQ(*phone.calls.deactivate_pdp_beforenetscan, 0U);
    phone.modem.set_return(c_deactivate, 0);
    phone.modem.set_answer(c_deactivate, deactivated());
    phone.modem.set_return(c_scan, -1);
    EXPECT_EQ(phone.ask(c_query), "2");
    EXPECT_EQ(*phone.calls.deactivate_pdp_beforenetscan, 0U);
}

PHONE_TEST(PhoneWithCalls, Calls, TheLastOneDecidesWhetherNewOnesMayComeAfterAScan) {
    for (const auto& [first, last] : {std::pair{1U, 0U}, {0U, 1U}, {1U, 1U}, {0U, 0U}}) {
        phone.calls.active[0] = phone.calls.active[1] = 0;
        RIL_Token token = phone.request(c_query, nullptr, 0);
        phone.sent();
        phone.calls.active[0] = first;
        phone.calls.active[1] = last;
        phone.reply(scan_result({{}}, 1));
        EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
        phone.hear({});
        phone.sent();
        EXPECT_EQ(*phone.calls.deactivate_pdp_beforenetscan, last);
    }
}

PHONE_TEST(PhoneWithCalls, Calls, DetachEndsThem) {
    phone.calls.active[0] = phone.calls.active[1] = 1;
    phone.calls.told[0] = true;
    EXPECT_EQ(phone.hear({ps_detached(0)}), "1010");
    EXPECT_STREQ(phone.calls.did, "remove 31 (1), network 31 sim 0, remove 32 (0), network 32 sim 0, ");
    memset(phone.calls.did, 0, sizeof(phone.calls.did));
    EXPECT_EQ(phone.hear({ps_detached(1)}), "1010");
    EXPECT_STREQ(phone.calls.did, "remove 31 (1), remove 32 (0), ");
}

PHONE_TEST(PhoneWithCalls, Calls, ConflictDuringAnActivation) {
    phone.hear({registration({}), cell({.rat = 1})});
    *phone.calls.pdp_act_nok_flag = 1;
    EXPECT_EQ(phone.ask(c_data), "0: 1|  12|abcd|16|1|2");
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 3, .cause = 22, .second_cause = 3})}), "1002");
    EXPECT_EQ(phone.ask(RIL_REQUEST_VOICE_REGISTRATION_STATE).substr(0, 5), "0: 1|");
    EXPECT_EQ(phone.ask(c_data), "0: 4|  12|abcd|16|1|2");
    EXPECT_EQ(phone.hear({cell({.rat = 1, .edge = 1})}), "1002");
    *phone.calls.pdp_act_nok_flag = 2;
    EXPECT_EQ(phone.hear({cell({.rat = 1})}), "");
    EXPECT_EQ(phone.ask(c_data), "0: 1|  12|abcd|16|1|2");
    *phone.calls.pdp_act_nok_flag = 0;
    EXPECT_EQ(phone.ask(c_data), "0: 1|  12|abcd|16|1|2");
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 3, .cause = 22})}), "");
    EXPECT_EQ(phone.ask(c_data), "0: 4|  12|abcd|16|1|2");
}

}  // namespace
