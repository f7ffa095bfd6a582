// Every record that is spelled out, against its bytes written by hand.

#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "tests/rpc/stubs/record_bytes.h"

namespace {

Bytes pack(const uta::Record& record, const void* memory) {
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    ExWriteCursor cursor{buffer, buffer + sizeof(buffer) - 1, false};
    const size_t size = uta::pack_record(record, memory, cursor);
    EXPECT_FALSE(cursor.failed);
    Bytes bytes(cursor.next + 1, buffer + sizeof(buffer));
    EXPECT_EQ(size, bytes.size());
    return bytes;
}

// What `wire` is read as, packed again: every field came through if the bytes are the same.
Bytes unpack_and_pack(const uta::Record& record, const Bytes& wire, bool* whole) {
    std::vector<std::max_align_t> memory(record.size / sizeof(std::max_align_t) + 1, std::max_align_t{});
    MemTable mem_table{};
    ExReadCursor cursor{wire.data(), wire.data() + wire.size(), false};
    *whole = uta::unpack_record(record, memory.data(), cursor, mem_table) && cursor.next == cursor.end;
    Bytes packed = *whole ? pack(record, memory.data()) : Bytes{};
    ReleaseMemTable(mem_table);
    return packed;
}

TEST(Records, PackAsWrittenByHand) {
    for (const RecordBytes& it : record_bytes()) {
        EXPECT_EQ(to_text(pack(*it.record, it.memory.data())), to_text(it.wire)) << uta::record_name(*it.record);
    }
}

TEST(Records, UnpackWhatWasWrittenByHand) {
    for (const RecordBytes& it : record_bytes()) {
        bool whole = false;
        EXPECT_EQ(to_text(unpack_and_pack(*it.record, it.wire, &whole)), to_text(it.wire))
            << uta::record_name(*it.record);
        EXPECT_TRUE(whole) << uta::record_name(*it.record);
        for (size_t length = 0; length < it.wire.size(); ++length) {
            const Bytes cut(it.wire.begin(), it.wire.begin() + static_cast<long>(length));
            unpack_and_pack(*it.record, cut, &whole);
            EXPECT_FALSE(whole) << uta::record_name(*it.record) << " cut to " << length;
        }
    }
}

TEST(Records, CountsThatLie) {
    const struct {
        const uta::Record& record;
        const char* wire;
        const char* read;  // null for no record
    } c_cases[] = {
        // More octets than there are, the same as a number below zero, a count without any.
        {uta::record_of<UtaNvmParams>(),
         "7F 1A 2C 02 04 00*4 55 03 02 04 00*4 02 04 00 00 00 03 02 02 00 00*3 02 04 00 00 00 04 02 04 00*4 02 04 00*4",
         nullptr},
        {uta::record_of<UtaNvmParams>(),
         "7F 1A 2C 02 04 00*4 55 03 02 04 00*4 02 04 00 00 00 03 02 02 00 00*3 02 04 FF*4 02 04 00*4 02 04 00*4",
         nullptr},
        {uta::record_of<UtaNvmParams>(), "7F 1A 1A 02 04 00*4 05 00 02 04 00 00 00 09 02 04 00*4 02 04 00*4",
         "7F 1A 1A 02 04 00*4 05 00 02 04 00*4 02 04 00*4 02 04 00*4"},
        // Elements that are not there, and bytes that are nobody's.
        {uta::record_of<UtaCallCsSetUus1InfoParams>(), "7F 81 35 03 02 01 04", nullptr},
        {uta::record_of<UtaCallCsSetUus1InfoParams>(), "7F 81 35 03 02 01 FF", nullptr},
        {uta::record_of<UtaCallCsSetUus1InfoParams>(), "7F 81 35 06 02 01 00 02 01 00", "7F 81 35 03 02 01 00"},
    };
    for (const auto& it : c_cases) {
        bool whole = false;
        const Bytes read = unpack_and_pack(it.record, hex(it.wire), &whole);
        EXPECT_EQ(whole, it.read != nullptr) << it.wire;
        EXPECT_EQ(to_text(read), to_text(it.read != nullptr ? hex(it.read) : Bytes{})) << it.wire;
    }
}

// In the header of a record of numbers alone only the tag's number is not looked at.
TEST(Records, ABitOfAHeaderIsWrong) {
    for (const RecordBytes& it : record_bytes()) {
        for (size_t at = 0; it.record == &uta::record_of<UtaNetRegistrationInfoIndParam>() && at < 5; ++at) {
            Bytes wire = it.wire;
            wire[at] ^= 0x04;
            bool whole = false;
            unpack_and_pack(*it.record, wire, &whole);
            EXPECT_EQ(whole, at == 1 || at == 2) << at;
        }
    }
}

// A sender that writes lengths in the long form says the same.
TEST(Records, AnotherFormOfAHeaderIsReadToo) {
    const uta::Record& record = uta::record_of<UtaNetAttachReqParam>();
    bool whole = false;
    const Bytes other = hex(R"(
        7F 81 3E 81 2E
          02 04 00 00 00 01  02 04 00 00 00 02
          7F 7C 81 18  02 04 00 00 00 03  7F 7B 0F  02 81 04 00 00 00 04  02 02 00 05  02 02 00 06
          02 04 00 00 00 07)");
    const Bytes ours = hex(R"(
        7F 81 3E 2C
          02 04 00 00 00 01  02 04 00 00 00 02
          7F 7C 17  02 04 00 00 00 03  7F 7B 0E  02 04 00 00 00 04  02 02 00 05  02 02 00 06
          02 04 00 00 00 07)");
    EXPECT_EQ(to_text(unpack_and_pack(record, other, &whole)), to_text(ours));
    EXPECT_TRUE(whole);
}

TEST(Records, TextAlwaysEnds) {
    UtaSmsSendRspParam param{};
    for (const RecordBytes& it : record_bytes()) {
        if (it.record != &uta::record_of<UtaSmsSendRspParam>()) {
            continue;
        }
        Bytes wire = it.wire;
        std::fill_n(wire.begin() + 20, 152, uint8_t{'A'});
        MemTable mem_table{};
        ExReadCursor cursor{wire.data(), wire.data() + wire.size(), false};
        ASSERT_TRUE(uta::unpack_record(*it.record, &param, cursor, mem_table));
    }
    EXPECT_EQ(std::string(param.ack_pdu), std::string(151, 'A'));
}

}  // namespace
