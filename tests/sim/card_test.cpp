// The card through the real doors: indications in, properties and Android's record out.
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/harness/phone.h"

namespace {

const std::string c_sim_0 = "02 04 00 00 00 00";

std::string word(int value) {
    char text[32];
    snprintf(text, sizeof(text), "02 04 00 00 00 %02X ", static_cast<unsigned>(value));
    return text;
}

// UtaMsSimCardIndCb, removal.
const std::string c_removed = "02 04 00 00 00 3C 02 04 00 00 00 97 20 00 01 00 7F 81 17 28 7F 83 1F 1E" + word(0) +
                              word(0) + word(0) + word(2) + word(7) + c_sim_0;

// UtaMsSimInfoIndCb: the fields from the last to the first.
std::string info(int sim_ind, const char* app_class, int chv1, int chv2) {
    const std::string rest = word(0) + word(0) + word(0) + word(0) + word(0) + word(0) + word(0) + word(0);
    return "02 04 00 00 00 87 02 04 00 00 00 94 20 00 01 00 7F 81 14 73 7F 82 29 69" + rest +
           "02 01 0A 02 01 0A 02 01 0A 02 01 03" + word(chv2) + word(chv1) + "02 01" + app_class +
           // ten octets, with no padding
           "55 0A 02 04 00 00 00 0A 02 04 00 00 00 00 89 49 02 00 00 12 34 56 78 90" + word(sim_ind) + c_sim_0;
}

// UtaMsSimInitIndCb with a good result and an IMSI.
const std::string c_initialised =
    "02 04 00 00 00 55 02 04 00 00 00 95 20 00 01 00 7F 81 15 41 7F 82 2A 37" + word(0) + word(0) + word(0) +
    "55 08 02 04 00 00 00 08 02 04 00 00 00 00 29 26 10 00 00 00 00 10 02 01 08" + word(1) + word(0) + c_sim_0;

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "(unset)");
    return value;
}

RIL_CardStatus_v6 card_status(Phone& phone) {
    const auto answer = phone.answer(phone.request(RIL_REQUEST_GET_SIM_STATUS, nullptr, 0));
    RIL_CardStatus_v6 card{};
    EXPECT_EQ(answer.error, RIL_E_SUCCESS);
    EXPECT_EQ(answer.data.size(), sizeof(card));
    memcpy(&card, answer.data.data(), std::min(answer.data.size(), sizeof(card)));
    return card;
}

TEST(Card, InsertedInitialisedAndRemoved) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        EXPECT_EQ(card_status(phone).card_state, RIL_CARDSTATE_ABSENT);

        phone.android.reset();
        phone.modem.send(info(3, "FF", 2, 1));
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 2; }));
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1019, 1019}));
        EXPECT_EQ(card_status(phone).applications[0].app_state, RIL_APPSTATE_DETECTED);
        EXPECT_EQ(card_status(phone).applications[0].app_type, RIL_APPTYPE_USIM);
        EXPECT_EQ(property("ril.recovery.0.sim.state"), "PRESENT");
        EXPECT_EQ(property("ril.recovery.0.simtype"), "3G");
        EXPECT_EQ(property("ril.recovery.0"), "(unset)");

        phone.android.reset();
        phone.modem.send(c_initialised);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 1; }));
        EXPECT_EQ(card_status(phone).applications[0].app_state, RIL_APPSTATE_READY);
        EXPECT_EQ(property("ril.recovery.0"), "SIM_READY");
        EXPECT_EQ(property("ril.recovery.0.chv1"), "SIM_NOT_NEEDED");
        EXPECT_EQ(property("ril.recovery.0.chv2"), "SIM_NEEDED");

        phone.android.reset();
        phone.modem.send(c_removed);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 1; }));
        EXPECT_EQ(card_status(phone).card_state, RIL_CARDSTATE_ABSENT);
        phone.modem.send(info(5, "00", 0, 0));
        ASSERT_TRUE(soon([&] { return property("ril.recovery.0.sim.state") == "ABSENT"; }));
        EXPECT_TRUE(soon([&] { return card_status(phone).card_state == RIL_CARDSTATE_ERROR; }));
        EXPECT_EQ(property("ril.recovery.0.chv1"), "SIM_NOT_AVAILABLE");
    });
}

TEST(Card, LockedCardIsToldEachTime) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.android.reset();
        phone.modem.send(info(3, "01", 1, 1));
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 2; }));
        phone.modem.send(info(3, "01", 1, 1));
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 3; }));
        const RIL_CardStatus_v6 card = card_status(phone);
        EXPECT_EQ(card.applications[0].app_state, RIL_APPSTATE_PIN);
        EXPECT_EQ(card.applications[0].app_type, RIL_APPTYPE_SIM);
        EXPECT_EQ(card.applications[0].pin1, RIL_PINSTATE_ENABLED_NOT_VERIFIED);
    });
}

}  // namespace
