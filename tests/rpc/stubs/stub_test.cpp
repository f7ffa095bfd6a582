// What the stubs make of returns and the entry points' side of packets, around the codec that record_test.cpp tries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <thread>

#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/hex.h"

// --- A transport that keeps what the stubs send and answers with what a test has laid out ----------------------------

static std::vector<Bytes> s_sent;
static std::deque<std::string> s_returns;  // their bodies behind the context id; without one a call finds no answer
static int s_unreleased = 0;               // returns that nobody has released

uint32_t RPCMakeContextId() {
    return 0x20000100;
}

int AppSendPackedData(const uint8_t* packet, size_t length) {
    s_sent.emplace_back(packet, packet + length);
    return 1;
}

void RPCReleaseReturn(RpcReturn& ret) {
    free(ret.body);
    --s_unreleased;
}

int RPCSynchronousCall(uint32_t, uint32_t, std::span<const uint8_t> packet, RpcReturn& ret) {
    AppSendPackedData(packet.data(), packet.size());
    if (s_returns.empty()) {
        return 0;
    }
    const Bytes body = hex("20 00 01 00 " + s_returns.front());
    s_returns.pop_front();
    ret = {static_cast<uint8_t*>(malloc(body.size())), body.size()};  // exactly as long: a read past the end shows
    std::copy(body.begin(), body.end(), ret.body);
    ++s_unreleased;
    return 1;
}

// --- What was delivered, in order ------------------------------------------------------------------------------------

static std::string s_delivered;

static void on_mode(uint32_t sim_id, int32_t mode, uint32_t context_id, int32_t result) {
    s_delivered += "mode " + std::to_string(sim_id) + std::to_string(mode) + std::to_string(context_id & 0xFF) +
                   std::to_string(result) + " ";
}

static void on_mode_too(uint32_t, int32_t, uint32_t, int32_t) {
    s_delivered += "mode too ";
}

namespace {

class Stubs : public testing::Test {
protected:
    void SetUp() override {
        s_sent.clear();
        s_delivered.clear();
        clear_log();
    }
    void TearDown() override { EXPECT_EQ(s_unreleased, 0); }

    static std::string delivered() { return std::exchange(s_delivered, {}); }

    // `body` begins at the context id. The copy is exactly as long: a read past the end shows.
    static void receive(int32_t id, const char* body) {
        const RPCHostUnpackerRow* row = RPCUnpackerTable + 1;
        while (row->id != id) {
            ++row;
        }
        EXPECT_EQ(row->unpacker(hex(body)), 0);
    }
};

TEST_F(Stubs, OutputParameters) {
    s_returns = {"02 04 FF FF FF FE", "w4 w7 o8", "w4 w5 o6 02 01", "w0 05 00", "w0 7F 0D 06 w31", "w0 7F 0D 06 w31"};
    EXPECT_EQ(RemUtaMsCallCsInit(1), -2);
    // Three of them, last first, as far as the return goes.
    uint8_t status = 1;
    uint8_t index = 2;
    int32_t applied = 3;
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), 4);
    EXPECT_TRUE(status == 1 && index == 8 && applied == 7);
    // Damaged: the return as a whole is no answer, and nothing of it is taken.
    EXPECT_EQ(RemCsiUtaMsTpcGetState(0, &status, &index, &applied), c_rpc_transport_failure);
    EXPECT_TRUE(status == 1 && index == 8 && applied == 7);
    EXPECT_EQ(times_logged(), 1);
    // A record that is null, one that is there, and memory that nobody wants.
    UtaCallPsPdpContextId cid{9};
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 9);
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, &cid), 0);
    EXPECT_EQ(cid.cid, 31);
    EXPECT_EQ(RemUtaMsCallPsObtainPdpContextId(0, nullptr), 0);
    // No sound return is a transport failure, as is none.
    s_returns = {"", "02 04 00 00 00", "7F 04 00*4"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(RemUtaMsCallCsInit(0), c_rpc_transport_failure);
    }
}

// The block of an output record becomes the caller's; one that nobody wants, or of a damaged return, is freed.
TEST_F(Stubs, OutputRecordWithAPointer) {
    const std::string start = "w0  7F 1A 2C  w1  55 03 w0 w3  07 08 09  00*3  w3  w4 ";
    s_returns = {start + "w5", start + "w5", start + "7F 04 00 00 00 05"};
    UtaNvmParams nvm{};
    EXPECT_EQ(RemUtaNvmRead(&nvm), 0);
    ASSERT_NE(nvm.data, nullptr);
    EXPECT_TRUE(nvm.data[2] == 9 && nvm.area == 5);
    RPC_MemFree(nvm.data);
    EXPECT_EQ(RemUtaNvmRead(nullptr), 0);
    nvm = {};
    EXPECT_EQ(RemUtaNvmRead(&nvm), c_rpc_transport_failure);
    EXPECT_EQ(nvm.data, nullptr);
}

TEST_F(Stubs, ArrayParameter) {
    char info[3000] = "abcde";
    s_returns = {"w0  7F 84 70 12  55 03 w4 w1  56 31 32 00", "w0  7F 84 70 14  55 06 w6 w0  56 31 32 33 34 35"};
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), 0);
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 5), c_rpc_transport_failure);  // more than the caller has room for
    EXPECT_STREQ(info, "V12");
    // A request that does not fit in a packet is not sent.
    clear_log();
    RemUtaSysGetInfo(4, info, 1990);
    EXPECT_EQ(s_sent.back().size(), 2046U);
    EXPECT_EQ(RemUtaSysGetInfo(4, info, 1991), c_rpc_transport_failure);
    EXPECT_EQ(s_sent.size(), 3U);
    EXPECT_EQ(times_logged(), 1);
}

TEST_F(Stubs, WhatNobodyTakesDoesNothingAndAPacketThatLiesIsLogged) {
    receive(164, "20 00 01 05  7F 81 24 15  7F 06 06 02 04 20 00 01 05  w7  w0");  // an ignored one
    receive(80, "20 00 01 05  7F 50 0F  7F 06 06 02 04 20 00 01 05  w0");          // without an entry point
    EXPECT_EQ(times_logged(), 0);
    receive(77, "20 00 01 05  7F 4D 25  7F 06 06 02 04 20 00 01 05  7F 81 40 13 w3 w2 w1 w1");
    EXPECT_EQ(times_logged("packet of function 77 dropped"), 1);
}

TEST_F(Stubs, DynamicCallbacks) {
    // Nobody registered yet: dropped.
    const char* c_response = "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1  w1";
    receive(227, c_response);
    EXPECT_EQ(delivered(), "");
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode, 0x20000105);
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode_too, 0x20000105);
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode, 0x20000105);
    receive(227, c_response);
    EXPECT_EQ(delivered(), "mode 1159 mode too ");
    // The other stack has a list of its own, and a stack beyond the second has none.
    receive(227, "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1 w0");
    receive(227, "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1 02 04 FF FF FF FF");
    EXPECT_EQ(delivered(), "");
    RemUtaMsCpsSetModeReq(2, 1, 0, on_mode, 0x20000105);
    EXPECT_EQ(s_sent.size(), 4U);
}

template <size_t N>
void numbered() {}

template <size_t... N>
std::vector<DynCallback> callbacks(std::index_sequence<N...>) {
    return {numbered<N>...};
}

// Each function has a body of its own, but for the linker's merging, which is off here.
TEST_F(Stubs, RefuseTheEleventhCallbackAndTheFiftyFirstName) {
    const std::vector<DynCallback> all = callbacks(std::make_index_sequence<11>{});
    const std::string name(100, 'n');  // kept to 79 characters
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 10; ++i) {
        threads.emplace_back([&, i] { EXPECT_LT(SetDynCBPtr(1, name.c_str(), all[i]), 50); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(SetDynCBPtr(1, name.c_str(), all[10]), 50);
    int32_t entry = -1;
    EXPECT_EQ(GetDynCBPtrInfo(1, name.c_str(), &entry), 10);
    EXPECT_NE(GetDynCBPtr(1, entry, 9), nullptr);
    EXPECT_EQ(GetDynCBPtr(1, entry, 10), nullptr);
    EXPECT_TRUE(GetDynCBPtr(1, 50, 0) == nullptr && GetDynCBPtr(2, 0, 0) == nullptr);
    EXPECT_EQ(GetDynCBPtrInfo(0, "never", &entry), -1);
    int32_t last = 0;
    for (int i = 0; last < 50 && i < 60; ++i) {
        last = SetDynCBPtr(1, ("name" + std::to_string(i)).c_str(), all[0]);
    }
    EXPECT_EQ(last, 50);
    // A request whose callback finds no room is not sent.
    EXPECT_EQ(RemUtaMsCpsSetSimModeReq(1, 1, on_mode, 0x20000105), c_rpc_transport_failure);
    EXPECT_TRUE(s_sent.empty());
    EXPECT_EQ(times_logged(), 1);
}

}  // namespace
