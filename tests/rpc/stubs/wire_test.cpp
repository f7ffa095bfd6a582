// The wire encoding on its own, against bytes written by hand: what the records of the catalogue do not have.

#include "rpc/multi-client/rpc-stubs/ril/wire.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/rpc/stubs/hex.h"

namespace {

struct Buffer {
    alignas(4) std::array<uint8_t, 512> memory{};
    ExWriteCursor cursor{memory.data(), memory.data() + memory.size() - 1, false};

    std::string written() const {
        return to_text(Bytes(static_cast<const uint8_t*>(cursor.next + 1), memory.data() + memory.size()));
    }
};

ExReadCursor reader(const Bytes& bytes) {
    return {bytes.data(), bytes.data() + bytes.size(), false};
}

template <typename T>
void number(size_t (*pack)(const T*, ExWriteCursor&), size_t (*unpack)(T*, ExReadCursor&), T value, const char* text) {
    SCOPED_TRACE(text);
    const Bytes wire = hex(text);
    Buffer buffer;
    EXPECT_EQ(pack(&value, buffer.cursor), wire.size());
    EXPECT_EQ(buffer.written(), to_text(wire));
    T read{};
    ExReadCursor cursor = reader(wire);
    EXPECT_EQ(unpack(&read, cursor), wire.size());
    EXPECT_EQ(read, value);
}

TEST(Wire, Numbers) {
    number<int8_t>(EXPackINT8, EXUnpackINT8, -2, "02 01 FE");
    number<char>(EXPackchar, EXUnpackchar, 'A', "02 01 41");
    number<int16_t>(EXPackINT16, EXUnpackINT16, -2, "02 02 FF FE");
    number<uint32_t>(EXPackUINT32, EXUnpackUINT32, 0x12345678, "02 04 12 34 56 78");
    number<int32_t>(EXPackENUM, EXUnpackENUM, 0x0102, "02 04 00 00 01 02");
    number<uint64_t>(EXPackUINT64, EXUnpackUINT64, 0x0102030405060708, "02 08 01 02 03 04 05 06 07 08");
    // Only exactly 1 is true, and only FF.
    Buffer buffer;
    uint8_t flag = 2;
    EXPackBOOLEAN(&flag, buffer.cursor);
    EXPECT_EQ(buffer.written(), "01 01 00 ");
    const Bytes wire = hex("01 01 01");
    ExReadCursor cursor = reader(wire);
    EXUnpackBOOLEAN(&flag, cursor);
    EXPECT_EQ(flag, 0);
}

TEST(Wire, Headers) {
    const struct {
        uint32_t tag;
        uint32_t length;
        const char* wire;
    } c_cases[] = {{6, 127, "7F 06 7F"},
                   {127, 128, "7F 7F 81 80"},
                   {16384, 65536, "7F 81 80 00 83 00 00 01"},
                   {1, 0x12345678, "7F 01 84 78 56 34 12"}};
    for (const auto& it : c_cases) {
        const Bytes wire = hex(it.wire);
        Buffer buffer;
        EXPECT_EQ(EXWriteBERHeader(ExMakeTag(it.tag), buffer.cursor, it.length), wire.size());
        EXPECT_EQ(buffer.written(), to_text(wire));
        buffer.cursor = {buffer.memory.end() - wire.size() + 1, buffer.memory.end() - 1, false};
        EXPECT_EQ(EXWriteBERHeader(ExMakeTag(it.tag), buffer.cursor, it.length), 0U);
        ExReadCursor cursor = reader(wire);
        ExBerHeader header;
        EXPECT_EQ(EXReadBERHeader(cursor, header), wire.size());
        EXPECT_TRUE(header.tag == it.tag && header.length == it.length && header.header_size == wire.size());
        EXPECT_TRUE(header.tag_class == 0x40 && header.constructed == 1);
    }
}

// Of types that no record has. An element is cleared where there is none; an array of one byte less is too small.
TEST(Wire, OctetStrings) {
    const struct {
        uint32_t count;
        uint32_t type;
        size_t size;  // of the array
        const char* wire;
    } c_cases[] = {{0, c_octets_64, 8, "58 00 w0 w0"},
                   {3, c_octets_16, 6, "56 03 w8 w2 11 22 33 44 55 66 00 00"},
                   {1, c_octets_32, 4, "57 01 w4 w0 11 22 33 44"},
                   {1, c_octets_64, 8, "58 01 w8 w0 11 22 33 44 55 66 77 88"},
                   {4, 4, 4, "44 04 w4 w0 11 22 33 44"}};
    const Bytes source = hex("11 22 33 44 55 66 77 88");
    for (const auto& it : c_cases) {
        const Bytes wire = hex(it.wire);
        Buffer buffer;
        EXPECT_EQ(EXPackOCTETSTRINGStatic(source.data(), buffer.cursor, it.count, it.type), wire.size());
        EXPECT_EQ(buffer.written(), to_text(wire));
        Bytes read(it.size, 0xEE);
        ExReadCursor cursor = reader(wire);
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read.data(), it.size - 1, cursor), 0U) << it.wire;
        cursor = reader(wire);
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read.data(), it.size, cursor), wire.size());
        const Bytes expected =
            it.count == 0 ? Bytes(it.size) : Bytes(source.begin(), source.begin() + static_cast<long>(it.size));
        EXPECT_EQ(to_text(read), to_text(expected)) << it.wire;
    }
    Buffer buffer;
    ExPackEnumArray(source.data(), buffer.cursor, 1, 2);
    EXPECT_EQ(buffer.written(), to_text(hex("56 01 w4 w2 11 22 00 00")));
}

// The leak checker sees the blocks that a table still had, and misses those that it freed too.
TEST(MemTable, MoreBlocksThanItHasEntries) {
    for (const bool hand_over : {false, true}) {
        MemTable mem_table{};
        EXPECT_EQ(PgenAllocNew(0, mem_table), nullptr);
        uint8_t* blocks[12];
        for (uint8_t*& block : blocks) {
            block = static_cast<uint8_t*>(PgenAllocNew(3, mem_table));
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(block[0] | block[1] | block[2], 0);
        }
        EXPECT_EQ(mem_table.entries[9].order, 27U);
        if (hand_over) {
            HandOverMemTable(mem_table);
        }
        EXPECT_EQ(ReleaseMemTable(mem_table), 1);
        EXPECT_EQ(mem_table.entries[0].block, nullptr);
        EXPECT_EQ(mem_table.entries[9].block, nullptr);
        EXPECT_EQ(ReleaseMemTable(mem_table), 1);
        for (uint8_t* block : blocks) {
            RPC_MemFree(hand_over ? block : nullptr);
        }
    }
}

}  // namespace
