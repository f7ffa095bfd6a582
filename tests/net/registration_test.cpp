// Registration: what the modem reports, what Android reads of it, and what Android is told.
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include "tests/net/packets.h"

namespace {

constexpr int c_voice = RIL_REQUEST_VOICE_REGISTRATION_STATE;
constexpr int c_data = RIL_REQUEST_DATA_REGISTRATION_STATE;
constexpr int c_tech = RIL_REQUEST_VOICE_RADIO_TECH;

const std::string c_nulls = "|(null)|(null)|(null)|(null)|(null)|(null)|(null)|(null)|(null)";

// Elements 0 to 3, the nine that are never there, the reason, the scrambling code.
std::string voice(const std::string& front, const std::string& code = "(null)") {
    return "0: " + front + c_nulls + "|0|" + code;
}

PHONE_TEST(NetPhone, Registration, NothingReportedYet) {
    EXPECT_EQ(phone.ask(c_voice), voice("4|(null)|(null)|0"));
    EXPECT_EQ(phone.android.completions().back().data.size(), 15 * sizeof(char*));
    EXPECT_EQ(phone.ask(c_data), "0: 4|(null)|(null)|0|4|1");
    EXPECT_EQ(phone.android.completions().back().data.size(), 6 * sizeof(char*));
    EXPECT_EQ(phone.ask(c_tech), "0: 0");
    phone.radio(0);
    EXPECT_EQ(phone.ask(c_tech), "1");
}

PHONE_TEST(NetPhone, Registration, StartsOverWithTheRadio) {
    phone.hear({registration({.rat = 3}), cell({.rat = 3}), attach_allowed(0)});
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, "none"), "2");
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE), "0: 1");
    phone.radio(0);
    phone.radio(1);
    EXPECT_EQ(phone.ask(c_tech), "0: 14");  // kept until the next reading
    EXPECT_EQ(phone.ask(c_data), "0: 4|(null)|(null)|0|4|1");
    EXPECT_EQ(phone.ask(c_tech), "0: 0");
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE), "0: 0");
}

PHONE_TEST(NetPhone, Registration, StatusOfVoiceAndData) {
    const struct {
        uint32_t cs, ps, roaming;
        const char *voice, *data, *heard;
    } rows[] = {
        {0, 0, 0, "1", "1", "1028:210 1002"},  {0, 0, 1, "5", "5", "1028:210 1002"}, {0, 1, 2, "1", "10", "1002"},
        {1, 0, 1, "10", "5", "1028:210 1002"}, {3, 3, 1, "4", "4", "1002"},          {2, 4, 1, "10", "10", "1002"},
        {0xFFFFFFFF, 3, 0, "10", "4", "1002"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(phone.hear({registration({.cs = row.cs, .ps = row.ps, .roaming = row.roaming})}), row.heard);
        // The place is the cell report's to tell, and without a place there is no technology.
        EXPECT_EQ(phone.ask(c_voice), voice(std::string(row.voice) + "|(null)|(null)|0"));
        EXPECT_EQ(phone.ask(c_data), "0: " + std::string(row.data) + "|(null)|(null)|0|1|1");
    }
}

PHONE_TEST(NetPhone, Registration, ReasonOfRejection) {
    const int reasons[] = {1, 1, 2, 3, 1, 1, 4, 1, 1, 1, 1, 5, 6, 7, 1, 8, 1, 9, 1};
    for (uint32_t cause = 0; cause < std::size(reasons); ++cause) {
        phone.hear({registration({.ps = 2, .second_cause = cause})});
        EXPECT_EQ(phone.ask(c_data), "0: 10|(null)|(null)|0|" + std::to_string(reasons[cause]) + "|1") << cause;
    }
}

PHONE_TEST(NetPhone, Registration, TechnologyAndWhenAndroidHearsOfIt) {
    const struct {
        std::string report;
        const char *tech, *heard;
    } rows[] = {
        {cell({.rat = 1}), "16", "1002"},
        {cell({.rat = 1}), "16", ""},
        {cell({.rat = 1, .gprs = 1}), "1", "1002"},
        {cell({.rat = 1, .gprs = 1, .edge = 1}), "2", "1002"},
        {cell({.rat = 1, .edge = 1, .hsdpa = 1}), "2", ""},
        {cell({.rat = 3}), "14", "1002"},
        {cell({.rat = 2}), "3", "1002"},
        {cell({.rat = 2, .hsupa = 1}), "10", "1002"},
        {cell({.rat = 2, .hsdpa = 1, .hsupa = 1}), "9", "1002"},
        {hspa(1, 1, 2), "15", "1002"},
        {cell({.rat = 2}), "15", ""},  // the cell says nothing about HSPA+
        {hspa(0, 0, 0), "3", "1002"},
        {cell({.rat = 7}), "0", "1002"},
        {hspa(1, 0, 0), "9", "1002"},  // of UMTS, whatever was before
        {cell({.rat = 1, .hsdpa = 1}), "16", "1002"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(phone.hear({row.report}), row.heard) << row.report;
        EXPECT_EQ(phone.ask(c_tech), std::string("0: ") + row.tech) << row.report;
    }
    EXPECT_EQ(phone.ask(c_voice), voice("4|12|abcd|16"));
    EXPECT_EQ(phone.ask(c_data), "0: 4|  12|abcd|16|4|1");
    // A registration tells of a new technology only to whoever asks.
    phone.hear({registration({.rat = 3}), cell({.rat = 1, .lac = 0xFEDC, .cell_id = 0}), registration({.rat = 3})});
    EXPECT_EQ(phone.ask(c_tech), "0: 16");
    EXPECT_EQ(phone.ask(c_voice), voice("1|fedc|(null)|14"));
    EXPECT_EQ(phone.ask(c_tech), "0: 14");
}

PHONE_TEST(NetPhone, Registration, ScramblingCodeOfUmts) {
    phone.hear({registration({.rat = 2}), cell({.rat = 2})});
    for (const auto& [code, text] : {std::pair{0x1FF, "1ff"}, {0, "0"}, {0xFFFF, "(null)"}}) {
        phone.modem.set_answer(c_scrambling_code, scrambling_code(static_cast<uint16_t>(code)));
        EXPECT_EQ(phone.ask(c_voice), voice("1|12|abcd|3", text));
    }
    EXPECT_EQ(phone.sent().front(),
              "02 04 00 00 00 22 02 04 00 00 01 5E AA AA AA AA 7F 02 0F 7F 06 06 02 04 AA AA AA AA "
              "02 04 00 00 00 00");
    phone.modem.set_return(c_scrambling_code, -1);
    EXPECT_EQ(phone.ask(c_voice), "2");
}

// The modem's answer comes late, twice, and on the context of another request.
PHONE_TEST(NetPhone, Registration, ScramblingCodeGoesToItsOwnRequestOnce) {
    phone.hear({registration({.rat = 2}), cell({.rat = 2})});
    RIL_Token open = phone.request(c_voice, nullptr, 0);
    RIL_Token other = phone.request(RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, nullptr, 0);
    ASSERT_EQ(phone.sent().size(), 2U);
    phone.reply(scrambling_code(3));
    phone.reply(scrambling_code(1), 1);
    EXPECT_EQ(phone.answer(open).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.android.completed(other), 0);
    phone.reply(scrambling_code(2), 1);
    EXPECT_EQ(phone.hear({}), "");
    EXPECT_TRUE(phone.android.completions().empty());
    phone.reply(attach_confirmed(262, 1, 0, 2));
    EXPECT_EQ(phone.answer(other).error, RIL_E_SUCCESS);
}

PHONE_TEST(NetPhone, Registration, BandsInTheirProperty) {
    const struct {
        uint32_t band;
        const char* name;
    } rows[] = {{18, "(unset)"}, {4, "GSM1800"},    {99, "GSM1800"},      {3, "GSM900"},        {255, "BAND_AUTOMATIC"},
                {50, "UMTS_I"},  {71, "UMTS_XXII"}, {72, "UMTS_INVALID"}, {18, "INVALID BAND"}, {14, "GSM_T_GSM810"}};
    for (const auto& row : rows) {
        EXPECT_EQ(phone.hear({registration({.ps = 1, .band = row.band})}), "1002");
        EXPECT_EQ(property("gsm.network.band"), row.name);
    }
    property_set("gsm.network.band", "mine");
    phone.hear({registration({.band = 14})});
    EXPECT_EQ(property("gsm.network.band"), "mine");
    EXPECT_EQ(property("gsm.network2.band"), "(unset)");
}

PHONE_TEST(NetPhone, Registration, ConflictOfTheTwoSims) {
    phone.hear({registration({}), cell({.rat = 1})});
    // Statuses are stored and nothing else: not the network, not its band, and Android is not told.
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 0, .cause = 22, .second_cause = 11, .rat = 3, .band = 7})}), "");
    EXPECT_EQ(property("gsm.network.band"), "GSM1800");
    EXPECT_EQ(phone.ask(c_voice), voice("4|12|abcd|16"));
    EXPECT_EQ(phone.ask(c_data), "0: 1|  12|abcd|16|1|1");
    // Meanwhile a new technology stays untold; the next report without a status belongs to the conflict, and the
    // one behind that, whose predecessor had another cause, does not.
    EXPECT_EQ(phone.hear({cell({.rat = 1, .edge = 1})}), "");
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 3, .cause = 5})}), "");
    EXPECT_EQ(phone.ask(c_data), "0: 4|  12|abcd|2|1|1");
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 3, .cause = 5})}), "1002");
    EXPECT_EQ(phone.hear({registration({.cs = 3, .ps = 3, .cause = 22})}), "");
    EXPECT_EQ(phone.hear({registration({.cs = 1, .ps = 3, .cause = 22})}), "1002");
    EXPECT_EQ(phone.hear({cell({.rat = 1, .gprs = 1})}), "1002");
}

struct SecondPhone : NetPhone {
    SecondPhone() : NetPhone({"--sim", "2"}, 1) {}
};

PHONE_TEST(SecondPhone, Registration, AnotherStacksReportsAreDropped) {
    EXPECT_EQ(phone.hear({registration({}, 0), cell({}, 0), hspa(1, 1, 1, 0), dual_sim_service(2, 0),
                          attach_allowed(1, 0), registration({}, 7)}),
              "");
    EXPECT_EQ(phone.ask(c_data), "0: 4|(null)|(null)|0|4|1");
    EXPECT_EQ(phone.hear({registration({}, 1), dual_sim_service(2, 1)}), "1028:210 1002 1028:210");
    EXPECT_EQ(property("gsm.network2.band"), "GSM1800");
    EXPECT_EQ(property("gsm.network.band"), "(unset)");
}

PHONE_TEST(NetPhone, Registration, ReportsThatLieAboutTheirLengthChangeNothing) {
    const std::string sound = cell({.rat = 3});
    std::string cut = sound;
    cut.replace(cut.find("7F 81 79"), 11, "7F 81 79 7F");
    EXPECT_EQ(phone.hear({cut, indication(89, "05 00 "), indication(82, record("81 47", u32(0)))}), "");
    EXPECT_EQ(phone.ask(c_tech), "0: 0");
    EXPECT_EQ(phone.hear({sound}), "1002");
}

}  // namespace
