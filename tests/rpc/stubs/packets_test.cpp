// The modem's side of the worked exchange: it unpacks the request, and packs the return and the response.

#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "tests/rpc/stubs/hex.h"

namespace {

constexpr uint32_t c_context = 0x20000105;

Bytes bytes_of(std::span<const uint8_t> packet) {
    return Bytes(packet.begin(), packet.end());
}

TEST(ModemSide, UnpacksTheRequest) {
    const Bytes body =
        hex("20 00 01 05  7F 2C 16  7F 06 06 02 04 20 00 01 05  7F 81 00 03 02 01 01  02 04 00 00 00 00");
    uta::Parameters parameters;
    uint32_t context_id = 0;
    ASSERT_TRUE(uta::unpack_packet(*uta::find_function("UtaMsCallCsAcceptCallReq"), body, context_id, parameters));
    EXPECT_EQ(context_id, c_context);
    EXPECT_EQ(parameters.words[0], 0U);
    EXPECT_EQ(reinterpret_cast<const UtaCallCsCallId*>(parameters.words[1])->call_id, 1);
    EXPECT_EQ(parameters.words[2], c_context);
}

TEST(ModemSide, PacksTheReturnAndTheResponse) {
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    const uta::Word none[uta::c_max_parameters] = {};
    EXPECT_EQ(to_text(bytes_of(uta::pack_return(*uta::find_function(44), c_context, 0, none, buffer))),
              to_text(hex("02 04 00 00 00 16  02 04 00 00 04 14  20 00 01 05  02 04 00 00 00 00")));
    const UtaCallCsAcceptCallRspCbParams param{{1}, 0, 0};
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&param), c_context};
    EXPECT_EQ(to_text(bytes_of(uta::pack_packet(*uta::find_function(45), c_context, words, buffer))),
              to_text(hex("02 04 00 00 00 39  02 04 00 00 00 2D  20 00 01 05  7F 2D 26  7F 06 06 02 04 20 00 01 05 "
                          "7F 81 19 13  02 04 00 00 00 00  02 04 00 00 00 00  7F 81 00 03 02 01 01 "
                          "02 04 00 00 00 00")));
}

TEST(ModemSide, ReturnsOutputParametersLastFirst) {
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    uint8_t status = 9;
    uint8_t index = 8;
    int32_t applied = 7;
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&status), reinterpret_cast<uta::Word>(&index),
                               reinterpret_cast<uta::Word>(&applied)};
    EXPECT_EQ(to_text(bytes_of(uta::pack_return(*uta::find_function(310), 0x20000100, -1, words, buffer))),
              to_text(hex("02 04 00 00 00 22  02 04 00 00 05 1E  20 00 01 00  02 04 FF FF FF FF "
                          "02 04 00 00 00 07  02 01 08  02 01 09")));
}

// An array comes with its size in another parameter; output scalars have memory of their own.
TEST(ModemSide, UnpacksArraysAndOutputs) {
    uta::Parameters parameters;
    uint32_t context_id = 0;
    const Bytes info = hex(R"(
        20 00 01 00  7F 81 5F 24
          02 04 00 00 00 05
          7F 84 70 14  55 05 02 04 00 00 00 06 02 04 00 00 00 01  61 62 63 64 65 00
          02 04 00 00 00 04)");
    ASSERT_TRUE(uta::unpack_packet(*uta::find_function("UtaSysGetInfo"), info, context_id, parameters));
    EXPECT_EQ(parameters.words[0], 4U);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(parameters.words[1]), parameters.words[2]), "abcde");
    uta::Parameters mode;
    const Bytes tty = hex("20 00 01 00  7F 46 0C  02 04 00 00 00 09  02 04 00 00 00 00");
    ASSERT_TRUE(uta::unpack_packet(*uta::find_function("UtaMsCallCsGetTtyDeviceMode"), tty, context_id, mode));
    EXPECT_EQ(*reinterpret_cast<const int32_t*>(mode.words[1]), 9);
}

TEST(ModemSide, PendingRowsAreNeitherPackedNorUnpacked) {
    for (const uta::Function& function : uta::c_functions) {
        if (!function.pending) {
            continue;
        }
        alignas(4) uint8_t buffer[c_rpc_packet_max];
        const uta::Word words[uta::c_max_parameters] = {};
        uta::Parameters parameters;
        uint32_t context_id = 0;
        int32_t result = 0;
        const Bytes body = hex("20 00 01 00  02 04 00*4");
        EXPECT_TRUE(uta::pack_packet(function, 0, words, buffer).empty());
        EXPECT_TRUE(uta::pack_return(function, 0, 0, words, buffer).empty());
        EXPECT_FALSE(uta::unpack_packet(function, body, context_id, parameters));
        EXPECT_FALSE(uta::unpack_return(function, body, words, result));
    }
}

}  // namespace
