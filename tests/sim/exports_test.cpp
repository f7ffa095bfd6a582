// What the library exports besides RIL_Init, found as a caller outside finds it: the PIN cache, and the card's logical
// channels.
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cstring>

#include "ril/core/src/reset/pin_cache.h"
#include "ril/core/src/sim/channels.h"
#include "tests/harness/wire_phone.h"

namespace {

#define EXPORTED(phone, name) reinterpret_cast<decltype(&(name))>((phone).symbol(#name))

const std::string c_identity = "1234567890";

// UtaMsSimInfoIndCb of a 3G card with that identity, whose PIN1 is asked for.
std::string card() {
    std::string zeros;
    for (int i = 0; i < 8; ++i) {
        zeros += u32(0);
    }
    return indication(148, record("82 29", zeros + u8(10) + u8(3) + u8(10) + u8(3) + u32(1) + u32(1) + u8(255) +
                                               octets(c_identity, 10) + u32(3)));
}

PHONE_TEST(WirePhone, PinCache, KeepsThePinOfOneCard) {
    const auto store = EXPORTED(phone, pin_cache_store);
    const auto get = EXPORTED(phone, get_cached_pin);
    char pin[PROPERTY_VALUE_MAX] = "untouched";
    EXPECT_EQ(get(0, "card", pin), -4);
    EXPECT_EQ(store(0, "card", "1234"), 0);
    EXPECT_EQ(store(7, "other", "5678"), 0);
    EXPECT_EQ(property("ril.cacheduicc0") + " " + property("ril.cachedpin0"), "card 1234");
    EXPECT_EQ(property("ril.cacheduicc1") + " " + property("ril.cachedpin1"), "other 5678");
    EXPECT_EQ(get(0, "other", pin), -2);
    EXPECT_EQ(get(0, "", pin), -2);
    EXPECT_EQ(get(0, nullptr, pin), -2);
    EXPECT_EQ(get(0, "card", nullptr), -2);
    EXPECT_STREQ(pin, "untouched");
    EXPECT_EQ(get(0, "card", pin), 0);
    EXPECT_STREQ(pin, "1234");

    EXPECT_EQ(store(0, "", "1234"), -1);
    EXPECT_EQ(store(0, nullptr, "1234"), -1);
    EXPECT_EQ(store(0, "new", ""), -1);
    EXPECT_EQ(get(0, "new", pin), -4);
    EXPECT_EQ(store(0, "new", std::string(200, '1').c_str()), -1);
    EXPECT_EQ(store(0, std::string(200, '1').c_str(), "1234"), -1);
    EXPECT_EQ(get(0, "new", pin), -4);

    EXPECT_EQ(EXPORTED(phone, encrypt)(0, "4321"), 0);
    EXPECT_EQ(EXPORTED(phone, decrypt)(0, pin), 0);
    EXPECT_STREQ(pin, "4321");
    EXPECT_EQ(EXPORTED(phone, encrypt)(0, nullptr), -1);
    EXPECT_EQ(EXPORTED(phone, decrypt)(0, pin), -4);
    EXPECT_EQ(EXPORTED(phone, decrypt)(0, nullptr), -1);
    EXPECT_EQ(EXPORTED(phone, cached_clear)(1), 0);
    EXPECT_EQ(property("ril.cacheduicc1") + property("ril.cachedpin1"), "(unset)(unset)");

    const auto use = EXPORTED(phone, get_use_cached_pin);
    EXPECT_EQ(use(0), -1);
    EXPECT_EQ(EXPORTED(phone, set_use_cached_pin)(0, 1), 0);
    EXPECT_EQ(use(0), 0);
    EXPECT_EQ(EXPORTED(phone, set_use_cached_pin)(0, 2), 0);
    EXPECT_EQ(use(0), -1);
    property_set("ril.usecachedpin0", "11");
    EXPECT_EQ(use(0), -1);

    const char* const memory = EXPORTED(phone, get_sim_pin)();
    EXPECT_STREQ(memory, "");
    EXPORTED(phone, store_sim_pin)("1234567890");
    EXPECT_STREQ(memory, "12345678");
    EXPORTED(phone, store_sim_pin)("12");
    EXPECT_STREQ(memory, "12");
    EXPORTED(phone, reset_pin_to_default)();
    EXPECT_STREQ(memory, "");
    for (const char* secret : {"1234", "5678", "4321"}) {
        EXPECT_EQ(radio_log().find(secret), std::string::npos);
    }
}

PHONE_TEST(WirePhone, PinCache, EntersThePinSilently) {
    const auto enter = EXPORTED(phone, silent_pin_entry);
    phone.hear({card()});
    enter(0);
    EXPORTED(phone, pin_cache_store)(0, "another", "1234");
    enter(0);
    enter(1);  // the other stack's card is another process's
    EXPECT_TRUE(phone.sent().empty());
    EXPORTED(phone, pin_cache_store)(0, c_identity.c_str(), "1234");
    // UtaMsSimGenPinRspCb: verified. More often than there are contexts.
    const std::string answer =
        response(176, record("83 56", u8(10) + u8(3) + u8(0) + u8(0x90) + u32(5) + u32(1) + u32(0) + u8(0)));
    for (int i = 0; i < 300; ++i) {
        enter(0);
        const std::vector<std::string> sent = phone.sent();
        ASSERT_EQ(sent.size(), 1U) << i;
        ASSERT_NE(sent[0].find("31 32 33 34 FF FF FF FF"), std::string::npos);
        ASSERT_EQ(phone.hear({phone.as_reply(answer)}), "");
    }
    EXPECT_EQ(property("ril.recovery.0.chv1"), "SIM_VERIFIED");
    EXPECT_TRUE(phone.android.completions().empty());
    EXPECT_EQ(radio_log().find("1234"), std::string::npos);
    phone.event(0xB1000000);
    phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
    enter(0);
    EXPECT_TRUE(phone.sent().empty());
}

// The last packet, and its completion behind this answer.
std::string exchange(WirePhone& phone, RIL_Token token, const std::string& answer) {
    phone.reply(answer);
    return WirePhone::text_of(phone.answer(token));
}

// UtaMsSimApplicationRspCb.
std::string application_answer(uint32_t kind, uint32_t channel) {
    return response(343,
                    record("83 1C", "05 00" + u16(0) + u8(0) + u8(0) + u8(0) + u8(0x90) + u32(kind) + u8(channel)));
}

// UtaMsSimApplicationReq: with the bare number as its context.
std::string application_request(const std::string& context, const char* channel, const char* id, const char* length,
                                const char* action) {
    return "02 04 00 00 00 55 02 04 00 00 01 56 " + context + " 7F 22 42 7F 06 06 02 04 " + context +
           " 7F 83 1B 2F 02 01 " + channel + " 7F 83 1A 22 55 10 02 04 00 00 00 11 02 04 00 00 00 01 " + id +
           " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 01 " + length + " 02 04 00 00 00 " + action +
           " 02 04 00 00 00 00";
}

PHONE_TEST(WirePhone, Channels, AreOpenedAndClosed) {
    const auto open = EXPORTED(phone, ril_request_sim_open_channel);
    const auto close = EXPORTED(phone, ril_request_sim_close_channel);
    uintptr_t number = 1000;
    const auto next = [&number] { return FakeAndroid::token(++number); };
    const auto last = [&number] { return FakeAndroid::token(number); };

    const struct {
        const char* name;
        const char* id;
    } names[] = {{"a0B1", "A0 B1"}, {"A0Bx", "A0 00"}, {"xA0B", "00 00"}, {"00FFFF", "00 FF"}};
    for (const auto& it : names) {
        open(0, it.name, strlen(it.name), next());
        const std::string sent = phone.sent().at(0);
        EXPECT_TRUE(phone.contexts.back().starts_with("00 00 00"));
        EXPECT_EQ(sent, application_request(phone.contexts.back(), "FF", it.id, "04", "00"));
        EXPECT_EQ(exchange(phone, last(), application_answer(0, 3)), "0: 3");
    }
    const uint8_t channel[4] = {3};
    close(0, channel, sizeof(channel), next());
    const std::string sent = phone.sent().at(0);
    EXPECT_EQ(sent, application_request(phone.contexts.back(), "03", "00 00", "00", "09"));
    EXPECT_EQ(exchange(phone, last(), application_answer(9, 3)), "0");
    close(0, channel, sizeof(channel), next());
    phone.sent();
    EXPECT_EQ(exchange(phone, last(), application_answer(5, 3)), "2");

    const auto fails = [&] { return WirePhone::text_of(phone.answer(last())) == "2" && phone.sent().empty(); };
    open(0, "A0B", 3, next());
    EXPECT_TRUE(fails());
    open(0, nullptr, 4, next());
    EXPECT_TRUE(fails());
    close(0, channel, 3, next());
    EXPECT_TRUE(fails());
    close(1, channel, 4, next());
    EXPECT_TRUE(fails());
    phone.modem.set_return(342, -1);
    open(0, "A0B1", 4, next());
    EXPECT_EQ(WirePhone::text_of(phone.answer(last())), "2");
    // The modem goes down with one open; then there is no engine.
    phone.modem.set_return(342, 0);
    open(0, "A0B1", 4, next());
    phone.event(0xB1000000);
    phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
    EXPECT_EQ(WirePhone::text_of(phone.answer(last())), "1");
    phone.sent();
    open(0, "A0B1", 4, next());
    EXPECT_TRUE(fails());
}

PHONE_TEST(WirePhone, Channels, CarryCommands) {
    const auto basic = EXPORTED(phone, ril_request_sim_transmit_basic);
    const auto channel = EXPORTED(phone, ril_request_sim_transmit_channel);
    // UtaMsSimApduCmdRspCb with three bytes of data and status words.
    const auto answer = [](uint32_t result) {
        const std::string none = octets("", 255);
        const std::string apdu = record("82 1D", octets(std::string("\x01\x02\x03\x90\0", 5), 261) + u32(5));
        return response(147, record("82 22", record("82 21", apdu + record("82 20", none) + u16(0) + u16(0) +
                                                                 record("82 1F", none) + u16(0) + u16(0)) +
                                                 u32(result) + u8(0)));
    };
    // The start of the buffer, its length and the channel.
    const auto sent_apdu = [&phone](const std::string& bytes, const char* length, const char* on) {
        const std::vector<std::string> sent = phone.sent();
        return sent.size() == 1 && sent[0].find(bytes) != std::string::npos &&
               sent[0].find("00 02 04 00 00 00 " + std::string(length) + " 7F 82 1C") != std::string::npos &&
               sent[0].ends_with(std::string("00 00 00 00 00 00 00 00 00 00 00 00 02 01 00 02 01 ") + on +
                                 " 02 04 00 00 00 00");
    };
    uintptr_t number = 1000;
    const auto next = [&number] { return FakeAndroid::token(++number); };
    const auto last = [&number] { return FakeAndroid::token(number); };
    RIL_SIM_IO_v6 io{};
    io.command = 0xA4;
    io.fileid = 0x102;
    io.p1 = 4;

    basic(0, &io, sizeof(io), next());  // no card: the class of a 2G card, which has the basic channel
    EXPECT_TRUE(sent_apdu("A0 A4 04 00 FF FF", "04", "00"));
    phone.reply(answer(0));
    EXPECT_EQ(phone.answer(last()).data, std::string("\x01\x02\x03\x90\0", 5));
    phone.hear({card()});
    io.p3 = 9;
    channel(0, &io, sizeof(io), next());
    EXPECT_TRUE(sent_apdu("00 A4 04 00 09 FF", "05", "02"));
    EXPECT_EQ(exchange(phone, last(), answer(1)), "2");
    EXPECT_NE(radio_log().find("UTA_SIM_GEN_RES_TYPE_WRONG_CID"), std::string::npos);
    std::string data = "A0\xFFz";
    io.data = data.data();
    io.p3 = 2;
    channel(0, &io, sizeof(io), next());
    EXPECT_TRUE(sent_apdu("00 A4 04 00 02 41 30 FF 7A FF", "09", "02"));
    phone.reply(answer(0));
    EXPECT_EQ(phone.answer(last()).error, RIL_E_SUCCESS);

    const auto fails = [&] { return WirePhone::text_of(phone.answer(last())) == "2" && phone.sent().empty(); };
    data = std::string(254, 'A');
    io.data = data.data();
    basic(0, &io, sizeof(io), next());
    EXPECT_NE(phone.sent().at(0).find("41 41 41 FF FF 00"), std::string::npos);  // 254 characters, and two bytes free
    phone.reply(answer(0));
    EXPECT_EQ(phone.answer(last()).error, RIL_E_SUCCESS);
    data = std::string(255, 'A');
    io.data = data.data();
    basic(0, &io, sizeof(io), next());
    EXPECT_TRUE(fails());
    basic(0, &io, sizeof(io) - 1, next());
    EXPECT_TRUE(fails());
    channel(0, nullptr, sizeof(io), next());
    EXPECT_TRUE(fails());
}

}  // namespace
