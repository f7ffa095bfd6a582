// What the stubs send, against packets written by hand, and what they make of the returns.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/fake_transport.h"

namespace {

constexpr uint32_t c_context = 0x20000105;

class Stubs : public testing::Test {
protected:
    void SetUp() override {
        reset_fake_transport();
        log_lines().clear();
    }
    void TearDown() override { EXPECT_EQ(fake_transport().unreleased, 0); }

    static void answer(const char* body) { fake_transport().returns.push_back(hex(body)); }

    static std::string sent() {
        return fake_transport().calls.empty() ? "nothing" : to_text(fake_transport().calls.back().packet);
    }
};

// The worked exchange: accept call 1, return 0.
TEST_F(Stubs, RequestWithContext) {
    answer("20 00 01 05  02 04 00 00 00 00");
    const UtaCallCsCallId call{1};
    EXPECT_EQ(RemUtaMsCallCsAcceptCallReq(0, &call, c_context), 0);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 29  02 04 00 00 00 2C  20 00 01 05  7F 2C 16 "
                                  "7F 06 06 02 04 20 00 01 05  7F 81 00 03 02 01 01  02 04 00 00 00 00")));
    EXPECT_EQ(fake_transport().calls.back().id, 44U);
    EXPECT_EQ(fake_transport().calls.back().context_id, c_context);
}

TEST_F(Stubs, NullRecord) {
    RemUtaMsCallCsAcceptCallReq(0, nullptr, c_context);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 24  02 04 00 00 00 2C  20 00 01 05  7F 2C 11 "
                                  "7F 06 06 02 04 20 00 01 05  05 00  02 04 00 00 00 00")));
}

TEST_F(Stubs, CallWithoutContext) {
    answer("20 00 01 00  02 04 FF FF FF FE");
    EXPECT_EQ(RemUtaMsCallCsInit(1), -2);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 19  02 04 00 00 00 21  20 00 01 00  7F 21 06 "
                                  "02 04 00 00 00 01")));
}

TEST_F(Stubs, EnumeratedResult) {
    answer("20 00 01 00  02 04 00 00 00 05");
    EXPECT_EQ(RemUtaModePresetReq(2), 5);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 1A  02 04 00 00 00 E1  20 00 01 00  7F 81 61 06 "
                                  "02 04 00 00 00 02")));
}

TEST_F(Stubs, NoParameters) {
    RemUtaAudioTtyDisable();
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 13  02 04 00 00 00 66  20 00 01 00  7F 66 00")));
}

TEST_F(Stubs, TagOfItsOwn) {
    RemUtaMsCallCsSetTtyDeviceMode(0, 1);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 1F  02 04 00 00 01 37  20 00 01 00  7F 03 0C "
                                  "02 04 00 00 00 01  02 04 00 00 00 00")));
}

TEST_F(Stubs, ScalarsOfEveryWidth) {
    RemUtaMsSimPbReadEntryReq(0, 1, -2, 3, c_context);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 31  02 04 00 00 00 9A  20 00 01 05  7F 81 1A 1D "
                                  "7F 06 06 02 04 20 00 01 05  02 02 00 03  02 02 FF FE  02 04 00 00 00 01 "
                                  "02 04 00 00 00 00")));
    RemUtaAudioSetMuteForSource(0xFF, 3, 0, 1);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 1F  02 04 00 00 00 61  20 00 01 00  7F 61 0C "
                                  "02 01 01  02 01 00  02 01 03  02 01 FF")));
}

TEST_F(Stubs, OutputParameters) {
    answer("20 00 01 00  02 04 00 00 00 00  02 04 00 00 00 03");
    int32_t mode = 9;
    EXPECT_EQ(RemUtaMsCallCsGetTtyDeviceMode(0, &mode), 0);
    EXPECT_EQ(mode, 3);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 1F  02 04 00 00 00 46  20 00 01 00  7F 46 0C "
                                  "02 04 00 00 00 09  02 04 00 00 00 00")));

    answer("20 00 01 00  02 04 00 00 00 00  7F 0D 06 02 04 00 00 00 1F");
    UtaCallPsPdpContextId cid{0};
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 31);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 22  02 04 00 00 00 03  20 00 01 00  7F 03 0F "
                                  "7F 0D 06 02 04 00 00 00 00  02 04 00 00 00 00")));

    // Three of them, last first.
    answer("20 00 01 00  02 04 00 00 00 00  02 04 00 00 00 07  02 01 08  02 01 09");
    uint8_t status = 0;
    uint8_t index = 0;
    int32_t applied = 0;
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), 0);
    EXPECT_THAT((std::vector<int>{status, index, applied}), testing::ElementsAre(9, 8, 7));
}

TEST_F(Stubs, OutputParametersAreReadAsFarAsTheReturnGoes) {
    uint8_t status = 1;
    uint8_t index = 2;
    int32_t applied = 3;
    answer("20 00 01 00  02 04 00 00 00 04  02 04 00 00 00 07  02 01 08");
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), 4);
    EXPECT_THAT((std::vector<int>{status, index, applied}), testing::ElementsAre(1, 8, 7));
    // Damaged: the return as a whole is no answer, and nothing of it is taken.
    answer("20 00 01 00  02 04 00 00 00 04  02 04 00 00 00 05  02 01 06  02 01");
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), c_rpc_transport_failure);
    EXPECT_THAT((std::vector<int>{status, index, applied}), testing::ElementsAre(1, 8, 7));
    EXPECT_EQ(log_lines().size(), 1U);
    // A record that is null, and memory that nobody wants.
    UtaCallPsPdpContextId cid{5};
    answer("20 00 01 00  02 04 00 00 00 00  05 00");
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 5);
    answer("20 00 01 00  02 04 00 00 00 00  7F 0D 06 02 04 00 00 00 1F");
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, nullptr), 0);
    answer("20 00 01 00  02 04 00 00 00 00  02 04 00 00 00 07");
    EXPECT_EQ(RemUtaMsCallCsGetTtyDeviceMode(0, nullptr), 0);
}

// The block of an output record becomes the caller's; one that nobody wants, or of a damaged return, is freed.
TEST_F(Stubs, OutputRecordWithAPointer) {
    const std::string start =
        "20 00 01 00  02 04 00*4  7F 1A 2C  02 04 00 00 00 01  55 03 02 04 00*4 02 04 00 00 00 03  07 08 09  00*3 "
        "02 04 00 00 00 03  02 04 00 00 00 04 ";
    UtaNvmParams nvm{};
    answer((start + "02 04 00 00 00 05").c_str());
    EXPECT_EQ(RemUtaNvmRead(&nvm), 0);
    ASSERT_NE(nvm.data, nullptr);
    EXPECT_EQ(nvm.data[2], 9);
    EXPECT_EQ(nvm.area, 5U);
    RPC_MemFree(nvm.data);
    answer((start + "02 04 00 00 00 05").c_str());
    EXPECT_EQ(RemUtaNvmRead(nullptr), 0);
    nvm = {};
    answer((start + "7F 04 00 00 00 05").c_str());
    EXPECT_EQ(RemUtaNvmRead(&nvm), c_rpc_transport_failure);
    EXPECT_EQ(nvm.data, nullptr);
}

TEST_F(Stubs, ArrayParameter) {
    char info[6] = "abcde";
    answer("20 00 01 00  02 04 00 00 00 00  7F 84 70 12  55 03 02 04 00 00 00 04 02 04 00 00 00 01  56 31 32 00");
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), 0);
    EXPECT_STREQ(info, "V12");
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 38  02 04 00 00 00 DF  20 00 01 00  7F 81 5F 24 "
                                  "02 04 00 00 00 05 "
                                  "7F 84 70 14  55 05 02 04 00 00 00 06 02 04 00 00 00 01  61 62 63 64 65 00 "
                                  "02 04 00 00 00 04")));
    // More than the caller has room for.
    answer("20 00 01 00  02 04 00 00 00 00  7F 84 70 14  55 06 02 04 00 00 00 06 02 04 00 00 00 00  56 31 32 33 34 35");
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), c_rpc_transport_failure);
    EXPECT_STREQ(info, "V12");
    RemUtaSysGetInfo(4, nullptr, 5);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 22  02 04 00 00 00 DF  20 00 01 00  7F 81 5F 0E "
                                  "02 04 00 00 00 05  05 00  02 04 00 00 00 04")));
}

TEST_F(Stubs, RequestThatDoesNotFitIsNotSent) {
    std::vector<char> info(3000, 'x');
    for (const int32_t length : {3000, 1991}) {
        EXPECT_EQ(RemUtaSysGetInfo(4, info.data(), length), c_rpc_transport_failure);
        EXPECT_EQ(sent(), "nothing");
        EXPECT_EQ(log_lines().size(), 1U);
        log_lines().clear();
    }
    RemUtaSysGetInfo(4, info.data(), 1990);
    EXPECT_EQ(fake_transport().calls.back().packet.size(), 2046U);
}

TEST_F(Stubs, NoFunctionHeader) {
    RemUtaMsSmsSetMemoryAvailableReq(0, c_context);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 1F  02 04 00 00 01 61  20 00 01 05 "
                                  "7F 06 06 02 04 20 00 01 05  02 04 00 00 00 00")));
}

TEST_F(Stubs, PresenceByte) {
    const UtaSimRecoveryParams param{1};
    RemUtaMsSimRecoveryReq(0, &param, c_context);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 28  02 04 00 00 01 7C  20 00 01 05 "
                                  "7F 06 06 02 04 20 00 01 05  02 01 00  02 04 00 00 00 01  02 04 00 00 00 00")));
    RemUtaMsSimRecoveryReq(0, nullptr, c_context);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 22  02 04 00 00 01 7C  20 00 01 05 "
                                  "7F 06 06 02 04 20 00 01 05  02 01 02  02 04 00 00 00 00")));
}

TEST_F(Stubs, OneWay) {
    RemUtaBootShutdownReq(2);
    RemUtaRfIncreaseTxPwrLimit4g(7, -2);
    EXPECT_TRUE(fake_transport().calls.empty());
    ASSERT_EQ(fake_transport().one_way.size(), 2U);
    EXPECT_EQ(to_text(fake_transport().one_way[0]),
              to_text(hex("02 04 00 00 00 16  02 04 00 00 01 78  20 00 01 00  02 04 00 00 00 02")));
    EXPECT_EQ(to_text(fake_transport().one_way[1]),
              to_text(hex("02 04 00 00 00 1A  02 04 00 00 01 74  20 00 01 00  02 02 FF FE  02 04 00 00 00 07")));
    static_assert(std::is_void_v<decltype(RemUtaBootShutdownReq(2))>);
}

TEST_F(Stubs, CallbackGoesOutAsItsAddress) {
    const auto callback = [](uint32_t, int32_t, int32_t) {};
    uta::Callback<uta::row::UtaModeSetRspCb>* function = callback;
    RemUtaModeSetReq(1, c_context, function);
    const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(function));
    char text[16];
    snprintf(text, sizeof(text), "%02X %02X %02X %02X", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF,
             address & 0xFF);
    EXPECT_EQ(sent(), to_text(hex(std::string("02 04 00 00 00 29  02 04 00 00 00 E2  20 00 01 05  7F 81 62 15 "
                                              "02 04 ") +
                                  text + "  7F 06 06 02 04 20 00 01 05  02 04 00 00 00 01")));
    RemUtaModeSetReq(1, c_context, nullptr);
    EXPECT_EQ(sent(), to_text(hex("02 04 00 00 00 29  02 04 00 00 00 E2  20 00 01 05  7F 81 62 15 "
                                  "02 04 00 00 00 00  7F 06 06 02 04 20 00 01 05  02 04 00 00 00 01")));
}

TEST_F(Stubs, NoSoundReturnIsATransportFailure) {
    EXPECT_EQ(RemUtaMsCallCsInit(0), c_rpc_transport_failure);  // nothing came
    for (const char* body : {"", "20 00 01", "20 00 01 00", "20 00 01 00  02 04 00 00 00", "20 00 01 00  7F 04 00*4"}) {
        answer(body);
        EXPECT_EQ(RemUtaMsCallCsInit(0), c_rpc_transport_failure) << body;
    }
}

}  // namespace
