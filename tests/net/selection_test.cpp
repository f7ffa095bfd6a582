// Selection of a network, and the modem's answers to it.
#include <gtest/gtest.h>

#include "tests/net/packets.h"

namespace {

constexpr int c_automatic = RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC;
constexpr int c_manual = RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL;
constexpr int c_mode = RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE;
constexpr int c_voice = RIL_REQUEST_VOICE_REGISTRATION_STATE;

// UtaMsNetAttachReq: the context, the reserved words, RAT and PLMN, the mode, the SIM.
std::string attach_request(const std::string& three_digits, const std::string& mnc, const std::string& mcc,
                           const std::string& mode) {
    return "02 04 00 00 00 52 02 04 00 00 00 47 AA AA AA AA 7F 47 3F 7F 06 06 02 04 AA AA AA AA "
           "7F 81 3E 2C 02 04 00 00 00 00 02 04 00 00 00 00 7F 7C 17 02 04 00 00 00 00 7F 7B 0E 02 04 00 00 00 " +
           three_digits + " 02 02 " + mnc + " 02 02 " + mcc + " 02 04 00 00 00 " + mode + " 02 04 00 00 00 00";
}

PHONE_TEST(NetPhone, Selection, WhatGoesToTheModem) {
    const struct {
        const char* text;
        std::string packet;
    } rows[] = {
        {nullptr, attach_request("00", "FF FF", "FF FF", "00")},
        {"26201", attach_request("00", "00 01", "01 06", "01")},
        {"310260", attach_request("01", "01 04", "01 36", "01")},
        {"99999", attach_request("00", "00 63", "03 E7", "01")},
        {"000000", attach_request("01", "00 00", "00 00", "01")},
    };
    for (const auto& row : rows) {
        phone.request(row.text == nullptr ? c_automatic : c_manual, const_cast<char*>(row.text), sizeof(char*));
        const auto sent = phone.sent();
        ASSERT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0], row.packet);
        EXPECT_EQ(phone.ask(c_mode), row.text == nullptr ? "0: 0" : "0: 1");
    }
    EXPECT_EQ(phone.android.timers(), 0U);
}

PHONE_TEST(NetPhone, Selection, OperatorStringsOfEveryWrongKind) {
    EXPECT_EQ(phone.ask(c_manual, nullptr), "2");
    EXPECT_EQ(phone.ask(c_mode), "0: 0");
    const std::string long_text(100000, '1');
    for (const char* text : {"", "2", "2620", "2620111", "26 01", "2620a", "a6201", "-26201", "+2620", "26201 ",
                             "262.01", "0x262", "\x32\x36\x32\xB1\x31", "26201\n", long_text.c_str()}) {
        EXPECT_EQ(phone.ask(c_manual, text), "2") << text;
        EXPECT_EQ(phone.ask(c_mode), "0: 1");
    }
    EXPECT_TRUE(phone.sent().empty());
}

PHONE_TEST(NetPhone, Selection, ConfirmedAttach) {
    phone.modem.set_answer(c_attach, attach_confirmed(310, 260, 1, 3));
    EXPECT_EQ(phone.ask(c_manual, "310260"), "0");
    // Its network is the current one now, its technology the phone's; the status is a report's to tell.
    EXPECT_EQ(phone.hear({cell({.rat = 1}), registration({.cs = 1, .ps = 1})}), "1002 1002");
    phone.modem.set_answer(c_attach, attach_confirmed(310, 260, 1, 3));
    EXPECT_EQ(phone.ask(c_automatic), "0");
    EXPECT_EQ(phone.ask(c_voice).substr(0, 15), "0: 10|12|abcd|1");
    phone.modem.set_answer(c_scan, scan_result({{310, 260, 1, 3, 0}}, 1));
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_AVAILABLE_NETWORKS), "0: 310260 4G|310260 4G|310260|current");
    // The data SIM has nothing to tell the other process.
    EXPECT_EQ(property("gsm.nondatasim.registered"), "(unset)");
    // A request is answered whatever SIM its answer names.
    for (const uint32_t sim : {1U, 2U, 0xFFFFFFFFU}) {
        phone.modem.set_answer(c_attach, attach_confirmed(310, 260, 1, 3, sim));
        EXPECT_EQ(phone.ask(c_manual, "310260"), "0") << sim;
    }
}

PHONE_TEST(NetPhone, Selection, RejectedAttachAndWhatASendThatFailsTells) {
    phone.hear({registration({})});
    const auto reject = [&](uint32_t cause) {
        phone.modem.set_return(c_attach, 0);
        phone.modem.set_answer(c_attach, attach_rejected(cause));
        EXPECT_EQ(phone.ask(c_manual, "26201"), "2");
        phone.modem.set_return(c_attach, -5);
    };
    reject(11);
    EXPECT_EQ(phone.ask(c_voice).substr(0, 6), "0: 10|");
    EXPECT_EQ(phone.ask(c_manual, "26201"), "2");
    // Only what was rejected as illegal before a manual selection is told as that, until something else is tried.
    reject(1);
    EXPECT_EQ(phone.ask(c_manual, "26201"), "15");
    EXPECT_EQ(phone.ask(c_manual, "bad"), "15");
    EXPECT_EQ(phone.ask(c_automatic), "2");
    EXPECT_EQ(phone.ask(c_manual, "26201"), "2");
    reject(1);
    phone.modem.set_return(c_scan, 0);
    phone.modem.set_answer(c_scan, scan_result({}, 0));
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_AVAILABLE_NETWORKS), "2");
    EXPECT_EQ(phone.ask(c_manual, "26201"), "2");
}

PHONE_TEST(NetPhone, Selection, AnswersOnceWhateverTheModemSends) {
    RIL_Token token = phone.request(c_automatic, nullptr, 0);
    phone.sent();
    for (const std::string& answer :
         {attach_confirmed(262, 1, 0, 1), attach_rejected(1), attach_confirmed(262, 1, 0, 1), scan_result({}, 0)}) {
        phone.reply(answer);
    }
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
    phone.android.reset();
    phone.hear({});
    EXPECT_EQ(phone.android.completed(token), 0);
    EXPECT_EQ(phone.sent().size(), 0U);
}

PHONE_TEST(NetPhone, Attach, PermissionIsToldToAndroid) {
    EXPECT_EQ(phone.hear({attach_allowed(0)}), "");
    EXPECT_EQ(phone.hear({attach_allowed(2)}), "");
    EXPECT_EQ(phone.hear({attach_allowed(1)}), "1019");
    EXPECT_EQ(phone.hear({attach_allowed(1)}), "1019");
}

// A card that has become ready by one is not told ready by the next.
PHONE_TEST(NetPhone, Attach, PermissionMakesACardReadyThatWaitedForIt) {
    EXPECT_EQ(phone.hear({attach_allowed(0), card_initialised(), attach_allowed(0)}), "");
    EXPECT_EQ(phone.hear({attach_allowed(1)}), "1019");
    EXPECT_EQ(phone.hear({card_initialised()}), "");
}

PHONE_TEST(NetPhone, Attach, PacketServiceMovesTheNetworkOnlyWhileRegistered) {
    const auto current = [&](uint16_t mcc, uint16_t mnc) {
        phone.modem.set_answer(c_scan, scan_result({{mcc, mnc, 0, 0, 0}}, 1));
        return phone.ask(RIL_REQUEST_QUERY_AVAILABLE_NETWORKS).find("|current") != std::string::npos;
    };
    phone.hear({registration({.ps = 1}), ps_attached(262, 2, 5)});
    EXPECT_TRUE(current(262, 1));
    phone.hear(
        {registration({.ps = 0}), ps_attached(0xFFFF, 2, 5), ps_attached(262, 0xFFFF, 5), ps_attached(262, 2, 0xFFFF)});
    EXPECT_TRUE(current(262, 1));
    EXPECT_EQ(phone.hear({ps_attached(262, 2, 0)}), "");
    EXPECT_TRUE(current(262, 2));
}

PHONE_TEST(NetPhone, Attach, DetachWithoutDataCallsTellsAnEmptyList) {
    EXPECT_EQ(phone.hear({ps_detached(0), ps_detached(1)}), "1010 1010");
    EXPECT_TRUE(phone.sent().empty());
}

}  // namespace
