// The card through the real doors: indications in, properties and Android's record out.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/harness/wire_phone.h"

namespace {

// UtaMsSimCardIndCb, removal.
const std::string c_removed =
    "02 04 00 00 00 3C 02 04 00 00 00 97 20 00 01 00 7F 81 17 28 7F 83 1F 1E 02 04 00 00 00 00 02 04 00 00 00 00 "
    "02 04 00 00 00 00 02 04 00 00 00 02 02 04 00 00 00 07 02 04 00 00 00 00";

// UtaMsSimInfoIndCb: the fields from the last to the first.
std::string info(uint32_t sim_ind, const char* app_class, uint32_t chv1, uint32_t chv2) {
    const std::string rest = u32(0) + u32(0) + u32(0) + u32(0) + u32(0) + u32(0) + u32(0) + u32(0);
    return "02 04 00 00 00 87 02 04 00 00 00 94 20 00 01 00 7F 81 14 73 7F 82 29 69" + rest +
           "02 01 0A 02 01 0A 02 01 0A 02 01 03" + u32(chv2) + u32(chv1) + "02 01" + app_class +
           // ten octets, with no padding
           "55 0A 02 04 00 00 00 0A 02 04 00 00 00 00 89 49 02 00 00 12 34 56 78 90" + u32(sim_ind) + u32(0);
}

RIL_CardStatus_v6 card_status(Phone& phone) {
    const auto answer = phone.answer(phone.request(RIL_REQUEST_GET_SIM_STATUS, nullptr, 0));
    RIL_CardStatus_v6 card{};
    EXPECT_EQ(answer.error, RIL_E_SUCCESS);
    EXPECT_EQ(answer.data.size(), sizeof(card));
    memcpy(&card, answer.data.data(), std::min(answer.data.size(), sizeof(card)));
    return card;
}

PHONE_TEST(WirePhone, Card, InsertedInitialisedAndRemoved) {
    EXPECT_EQ(card_status(phone).card_state, RIL_CARDSTATE_ABSENT);

    EXPECT_EQ(phone.hear({info(3, "FF", 2, 1)}), "1019 1019");
    EXPECT_EQ(card_status(phone).applications[0].app_state, RIL_APPSTATE_DETECTED);
    EXPECT_EQ(card_status(phone).applications[0].app_type, RIL_APPTYPE_USIM);
    EXPECT_EQ(property("ril.recovery.0.sim.state"), "PRESENT");
    EXPECT_EQ(property("ril.recovery.0.simtype"), "3G");
    EXPECT_EQ(property("ril.recovery.0"), "(unset)");

    EXPECT_EQ(phone.hear({card_initialised()}), "1019");
    EXPECT_EQ(card_status(phone).applications[0].app_state, RIL_APPSTATE_READY);
    EXPECT_EQ(property("ril.recovery.0"), "SIM_READY");
    EXPECT_EQ(property("ril.recovery.0.chv1"), "SIM_NOT_NEEDED");
    EXPECT_EQ(property("ril.recovery.0.chv2"), "SIM_NEEDED");

    EXPECT_EQ(phone.hear({c_removed}), "1019");
    EXPECT_EQ(card_status(phone).card_state, RIL_CARDSTATE_ABSENT);
    phone.hear({info(5, "00", 0, 0)});
    EXPECT_EQ(property("ril.recovery.0.sim.state"), "ABSENT");
    EXPECT_EQ(card_status(phone).card_state, RIL_CARDSTATE_ERROR);
    EXPECT_EQ(property("ril.recovery.0.chv1"), "SIM_NOT_AVAILABLE");
}

PHONE_TEST(WirePhone, Card, LockedCardIsToldEachTime) {
    EXPECT_EQ(phone.hear({info(3, "01", 1, 1)}), "1019 1019");
    EXPECT_EQ(phone.hear({info(3, "01", 1, 1)}), "1019");
    const RIL_CardStatus_v6 card = card_status(phone);
    EXPECT_EQ(card.applications[0].app_state, RIL_APPSTATE_PIN);
    EXPECT_EQ(card.applications[0].app_type, RIL_APPTYPE_SIM);
    EXPECT_EQ(card.applications[0].pin1, RIL_PINSTATE_ENABLED_NOT_VERIFIED);
}

}  // namespace
