// What the stubs send, against packets written by hand, and what they make of the returns.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/fake_transport.h"

using testing::ElementsAre;

namespace {

constexpr uint32_t c_context = 0x20000105;

class Stubs : public testing::Test {
protected:
    void SetUp() override {
        reset_fake_transport();
        clear_log();
    }
    void TearDown() override { EXPECT_EQ(fake_transport().unreleased, 0); }

    // Of a return: what stands behind its context id.
    static void answer(const std::string& body) { fake_transport().returns.push_back(hex("20 00 01 00 " + body)); }

    // The last packet behind its header, if that says its size and function `id`.
    static std::string sent(uint32_t id) {
        const FakeTransport& fake = fake_transport();
        if (fake.calls.empty() && fake.one_way.empty()) {
            return "nothing";
        }
        const Bytes packet = fake.calls.empty() ? fake.one_way.back() : fake.calls.back().packet;
        const Bytes header = hex("w" + std::to_string(packet.size()) + " w" + std::to_string(id));
        EXPECT_EQ(to_text(Bytes(packet.begin(), packet.begin() + 12)), to_text(header));
        return to_text(Bytes(packet.begin() + 12, packet.end()));
    }
};

TEST_F(Stubs, Send) {
    static const UtaCallCsCallId c_call{1};
    static const UtaSimRecoveryParams c_recovery{1};
    static const UtaSimReadBinaryReq c_read{2, 1};
    static const UtaSensorSrvHandle c_handle{7};
    const struct {
        void (*call)();
        uint32_t id;
        const char* packet;
        bool one_way = false;
    } c_cases[] = {
        {[] { RemUtaMsCallCsAcceptCallReq(0, &c_call, c_context); }, 44,
         "20 00 01 05  7F 2C 16  7F 06 06 02 04 20 00 01 05  7F 81 00 03 o1  w0"},
        {[] { RemUtaMsCallCsAcceptCallReq(0, nullptr, c_context); }, 44,
         "20 00 01 05  7F 2C 11  7F 06 06 02 04 20 00 01 05  05 00  w0"},
        {[] { RemUtaMsCallCsInit(1); }, 33, "20 00 01 00  7F 21 06  w1"},
        {[] { RemUtaAudioTtyDisable(); }, 102, "20 00 01 00  7F 66 00"},
        {[] { RemUtaMsCallCsSetTtyDeviceMode(0, 1); }, 311, "20 00 01 00  7F 03 0C  w1 w0"},  // a tag of its own
        {[] { RemUtaMsSimPbReadEntryReq(0, 1, -2, 3, c_context); }, 154,
         "20 00 01 05  7F 81 1A 1D  7F 06 06 02 04 20 00 01 05  h3 02 02 FF FE w1 w0"},
        {[] { RemUtaAudioSetMuteForSource(0xFF, 3, 0, 1); }, 97, "20 00 01 00  7F 61 0C  o1 o0 o3 o255"},
        // Without a function header, with a presence byte, both.
        {[] { RemUtaMsSmsSetMemoryAvailableReq(0, c_context); }, 353, "20 00 01 05  7F 06 06 02 04 20 00 01 05  w0"},
        {[] { RemUtaMsSimRecoveryReq(0, &c_recovery, c_context); }, 380,
         "20 00 01 05  7F 06 06 02 04 20 00 01 05  o0 w1 w0"},
        {[] { RemUtaMsSimRecoveryReq(0, nullptr, c_context); }, 380, "20 00 01 05  7F 06 06 02 04 20 00 01 05  o2 w0"},
        // A callback that is null, output parameters, an array that is null.
        {[] { RemUtaModeSetReq(1, c_context, nullptr); }, 226,
         "20 00 01 05  7F 81 62 15  w0  7F 06 06 02 04 20 00 01 05  w1"},
        {[] {
             int32_t mode = 9;
             RemUtaMsCallCsGetTtyDeviceMode(0, &mode);
         },
         70, "20 00 01 00  7F 46 0C  w9 w0"},
        {[] { RemUtaSysGetInfo(4, nullptr, 5); }, 223, "20 00 01 00  7F 81 5F 0E  w5  05 00  w4"},
        {[] { RemUtaMsSimCreateReadBinaryApdu(1, &c_read, nullptr); }, 356,
         "20 00 01 00  o2  o0 7F 83 10 07 o1 h2  w1"},
        {[] { RemUtaSensorSrvClose(&c_handle); }, 330, "20 00 01 00  7F 16 09  7F 03 06 w7", true},
        {[] { RemUtaBootShutdownReq(2); }, 376, "20 00 01 00  w2", true},
        {[] { RemUtaRfIncreaseTxPwrLimit4g(7, -2); }, 372, "20 00 01 00  02 02 FF FE  w7", true},
    };
    for (const auto& it : c_cases) {
        reset_fake_transport();
        it.call();
        EXPECT_EQ(sent(it.id), to_text(hex(it.packet)));
        EXPECT_EQ(fake_transport().calls.empty(), it.one_way) << it.packet;
    }
    static_assert(std::is_void_v<decltype(RemUtaBootShutdownReq(2))>);
}

TEST_F(Stubs, CallbackGoesOutAsItsAddress) {
    uta::Callback<uta::row::UtaModeSetRspCb>* function = [](uint32_t, int32_t, int32_t) {};
    RemUtaModeSetReq(1, c_context, function);
    const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(function));
    EXPECT_EQ(sent(226), to_text(hex("20 00 01 05  7F 81 62 15  w" + std::to_string(address) +
                                     "  7F 06 06 02 04 20 00 01 05  w1")));
    EXPECT_EQ(fake_transport().calls.back().context_id, c_context);
}

TEST_F(Stubs, OutputParameters) {
    answer("02 04 FF FF FF FE");
    EXPECT_EQ(RemUtaMsCallCsInit(1), -2);
    answer("w5");
    EXPECT_EQ(RemUtaModePresetReq(2), 5);
    answer("w0  7F 0D 06 w31");
    UtaCallPsPdpContextId cid{0};
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 31);
    // Three of them, last first, as far as the return goes.
    uint8_t status = 1;
    uint8_t index = 2;
    int32_t applied = 3;
    answer("w4 w7 o8");
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), 4);
    EXPECT_THAT((std::vector<int>{status, index, applied}), ElementsAre(1, 8, 7));
    // Damaged: the return as a whole is no answer, and nothing of it is taken.
    answer("w4 w5 o6 02 01");
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), c_rpc_transport_failure);
    EXPECT_THAT((std::vector<int>{status, index, applied}), ElementsAre(1, 8, 7));
    EXPECT_EQ(times_logged(), 1);
    answer("w0 w7 o8 o9");
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), 0);
    EXPECT_THAT((std::vector<int>{status, index, applied}), ElementsAre(9, 8, 7));
    // A record that is null, and memory that nobody wants.
    answer("w0 05 00");
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 31);
    answer("w0 7F 0D 06 w31");
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, nullptr), 0);
    answer("w0 w7");
    EXPECT_EQ(RemUtaMsCallCsGetTtyDeviceMode(0, nullptr), 0);
}

// The return of a call with presence bytes may have them or not.
TEST_F(Stubs, OutputRecordWithPresenceByte) {
    const std::string record = "7F 82 1D 82 1B 01  55 82 05 01 w261 w0  90 00*260  w2";
    UtaSimApduData apdu{};
    for (const std::string& returned :
         {record, "o0 " + record, std::string("o2"), std::string("05 00"), std::string()}) {
        apdu = {9, {}};
        answer("w0 " + returned);
        EXPECT_EQ(RemUtaMsSimCreateReadBinaryApdu(1, nullptr, &apdu), 0);
        EXPECT_EQ(apdu.length, returned.size() < record.size() ? 9 : 2) << returned;
    }
}

// The block of an output record becomes the caller's; one that nobody wants, or of a damaged return, is freed.
TEST_F(Stubs, OutputRecordWithAPointer) {
    const std::string start = "w0  7F 1A 2C  w1  55 03 w0 w3  07 08 09  00*3  w3  w4 ";
    UtaNvmParams nvm{};
    answer(start + "w5");
    EXPECT_EQ(RemUtaNvmRead(&nvm), 0);
    ASSERT_NE(nvm.data, nullptr);
    EXPECT_EQ(nvm.data[2], 9);
    EXPECT_EQ(nvm.area, 5U);
    RPC_MemFree(nvm.data);
    answer(start + "w5");
    EXPECT_EQ(RemUtaNvmRead(nullptr), 0);
    nvm = {};
    answer(start + "7F 04 00 00 00 05");
    EXPECT_EQ(RemUtaNvmRead(&nvm), c_rpc_transport_failure);
    EXPECT_EQ(nvm.data, nullptr);
}

TEST_F(Stubs, ArrayParameter) {
    char info[6] = "abcde";
    answer("w0  7F 84 70 12  55 03 w4 w1  56 31 32 00");
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), 0);
    EXPECT_STREQ(info, "V12");
    EXPECT_EQ(sent(223), to_text(hex("20 00 01 00  7F 81 5F 24  w5  7F 84 70 14  55 05 w6 w1  61 62 63 64 65 00  w4")));
    // More than the caller has room for.
    answer("w0  7F 84 70 14  55 06 w6 w0  56 31 32 33 34 35");
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), c_rpc_transport_failure);
    EXPECT_STREQ(info, "V12");
}

TEST_F(Stubs, RequestThatDoesNotFitIsNotSent) {
    std::vector<char> info(3000, 'x');
    for (const int32_t length : {3000, 1991}) {
        EXPECT_EQ(RemUtaSysGetInfo(4, info.data(), length), c_rpc_transport_failure);
        EXPECT_EQ(sent(223), "nothing");
        EXPECT_EQ(times_logged(), 1);
        clear_log();
    }
    RemUtaSysGetInfo(4, info.data(), 1990);
    EXPECT_EQ(fake_transport().calls.back().packet.size(), 2046U);
}

TEST_F(Stubs, NoSoundReturnIsATransportFailure) {
    EXPECT_EQ(RemUtaMsCallCsInit(0), c_rpc_transport_failure);  // nothing came
    for (const char* body : {"", "20 00 01", "20 00 01 00", "20 00 01 00  02 04 00 00 00", "20 00 01 00  7F 04 00*4"}) {
        fake_transport().returns.push_back(hex(body));
        EXPECT_EQ(RemUtaMsCallCsInit(0), c_rpc_transport_failure) << body;
    }
}

}  // namespace
