// The wire encoding on its own, against bytes written by hand.

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

// In both directions, and one byte short: nothing is written or read then.
template <typename T>
void number(size_t (*pack)(const T*, ExWriteCursor&), size_t (*unpack)(T*, ExReadCursor&), T value, const char* text) {
    SCOPED_TRACE(text);
    Bytes wire = hex(text);
    Buffer buffer;
    EXPECT_EQ(pack(&value, buffer.cursor), wire.size());
    EXPECT_EQ(buffer.written(), to_text(wire));
    T read{};
    ExReadCursor cursor = reader(wire);
    EXPECT_EQ(unpack(&read, cursor), wire.size());
    EXPECT_EQ(read, value);
    Buffer small;
    small.cursor.base = small.cursor.next + 2 - wire.size();
    EXPECT_EQ(pack(&value, small.cursor), 0U);
    EXPECT_TRUE(small.cursor.failed && small.written().empty());
    for (wire.pop_back(); !wire.empty(); wire.pop_back()) {
        cursor = reader(wire);
        read = {};
        EXPECT_EQ(unpack(&read, cursor), 0U);
        EXPECT_TRUE(cursor.failed && read == T{});
    }
}

TEST(Wire, Numbers) {
    number<uint8_t>(EXPackBOOLEAN, EXUnpackBOOLEAN, 1, "01 01 FF");
    number<uint8_t>(EXPackBOOLEAN, EXUnpackBOOLEAN, 0, "01 01 00");
    number<uint8_t>(EXPackUINT8, EXUnpackUINT8, 0xA5, "02 01 A5");
    number<int8_t>(EXPackINT8, EXUnpackINT8, -2, "02 01 FE");
    number<char>(EXPackchar, EXUnpackchar, 'A', "02 01 41");
    number<uint16_t>(EXPackUINT16, EXUnpackUINT16, 0x1234, "02 02 12 34");
    number<int16_t>(EXPackINT16, EXUnpackINT16, -1, "02 02 FF FF");
    number<uint32_t>(EXPackUINT32, EXUnpackUINT32, 0x12345678, "02 04 12 34 56 78");
    number<int32_t>(EXPackINT32, EXUnpackINT32, -99, "02 04 FF FF FF 9D");
    number<int32_t>(EXPackENUM, EXUnpackENUM, 0x0102, "02 04 00 00 01 02");
    number<uint64_t>(EXPackUINT64, EXUnpackUINT64, 0x0102030405060708, "02 08 01 02 03 04 05 06 07 08");
    number<int64_t>(EXPackINT64, EXUnpackINT64, -1, "02 08 FF*8");
}

TEST(Wire, OnlyExactlyOneIsTrue) {
    Buffer buffer;
    const uint8_t two = 2;
    EXPackBOOLEAN(&two, buffer.cursor);
    EXPECT_EQ(buffer.written(), "01 01 00 ");
    uint8_t flag = 9;
    const Bytes wire = hex("01 01 01");
    ExReadCursor cursor = reader(wire);
    EXUnpackBOOLEAN(&flag, cursor);
    EXPECT_EQ(flag, 0);
}

TEST(Wire, NumbersTakeAnyHeader) {
    const std::pair<const char*, bool> c_cases[] = {
        {"0A 04 00 00 00 07", true},        // another tag
        {"02 01 00 00 00 07", true},        // a length that is not 4
        {"02 81 04 00 00 00 07", true},     // a long length
        {"1F 81 01 04 00 00 00 07", true},  // a long tag
        {"7F 06 04 00 00 00 07", true},     // of a record
        {"62 04 00 00 00 07", true},        // another class, constructed
        {"02 80 00 00 00 07", false},       // a length of no bytes
        {"02 85 00 00 00 00 07", false},    // a length of five
        {"1F FF FF FF FF 7F 04 00 00 00 07", false},
    };
    for (const auto& [text, read] : c_cases) {
        const Bytes wire = hex(text);
        ExReadCursor cursor = reader(wire);
        int32_t value = 0;
        EXPECT_EQ(EXUnpackINT32(&value, cursor), read ? wire.size() : 0) << text;
        EXPECT_EQ(value, read ? 7 : 0) << text;
    }
}

TEST(Wire, Headers) {
    const struct {
        uint32_t tag;
        uint32_t length;
        const char* wire;
    } c_cases[] = {
        {71, 0, "7F 47 00"},
        {6, 127, "7F 06 7F"},
        {127, 128, "7F 7F 81 80"},
        {128, 200, "7F 81 00 81 C8"},
        {205, 256, "7F 81 4D 82 00 01"},
        {619, 300, "7F 84 6B 82 2C 01"},
        {16384, 65536, "7F 81 80 00 83 00 00 01"},
        {1, 0x12345678, "7F 01 84 78 56 34 12"},
    };
    for (const auto& it : c_cases) {
        SCOPED_TRACE(it.wire);
        const Bytes wire = hex(it.wire);
        for (const size_t room : {wire.size() - 1, wire.size(), size_t{512}}) {
            Buffer buffer;
            buffer.cursor.base = buffer.memory.data() + buffer.memory.size() - room;
            const size_t written = EXWriteBERHeader(ExMakeTag(it.tag), buffer.cursor, it.length);
            EXPECT_EQ(written, room < wire.size() ? 0 : wire.size());
            EXPECT_EQ(buffer.written(), room < wire.size() ? "" : to_text(wire));
        }
        ExReadCursor cursor = reader(wire);
        ExBerHeader header;
        EXPECT_EQ(EXReadBERHeader(cursor, header), wire.size());
        EXPECT_TRUE(header.tag == it.tag && header.length == it.length && header.header_size == wire.size());
        EXPECT_TRUE(header.tag_class == 0x40 && header.constructed == 1);
    }
}

TEST(Wire, PacketHeaderAndContextId) {
    Buffer buffer;
    ExWriteContextId(buffer.cursor, 0x20000105);
    EXPECT_EQ(ExWriteBufferHeader(buffer.cursor, 44, 4), c_rpc_header_size);
    const Bytes wire = hex("w16 w44 20 00 01 05");
    EXPECT_EQ(buffer.written(), to_text(wire));
    ExReadCursor cursor = reader(wire);
    uint32_t index = 0;
    uint32_t size = 0;
    uint32_t context_id = 0;
    EXPECT_EQ(ExReadBufferHeader(cursor, index, size), c_rpc_header_size);
    EXPECT_EQ(ExReadContextId(cursor, context_id), 4U);
    EXPECT_TRUE(index == 44 && size == wire.size() && context_id == 0x20000105);
    cursor = {wire.data(), wire.data() + 11, false};
    EXPECT_EQ(ExReadBufferHeader(cursor, index, size), 0U);
    EXPECT_TRUE(cursor.failed);
}

TEST(Wire, RawAndEmptyForms) {
    Buffer buffer;
    EXPECT_EQ(EXPackNULLStruct(buffer.cursor) + EXPackVoid(buffer.cursor), 2U);
    EXPECT_EQ(EXPackUINT32BITFIELD(0x01020304, buffer.cursor), 4U);
    const Bytes wire = hex("01 02 03 04  05 00");
    EXPECT_EQ(buffer.written(), to_text(wire));
    ExReadCursor cursor{wire.data() + 4, wire.data() + 6, false};
    EXPECT_EQ(EXUnpackVoid(cursor) + EXUnpackNULLStruct(cursor), 2U);
    cursor = reader(wire);
    EXPECT_EQ(EXUnpackNULLStruct(cursor), 0U);
    EXPECT_TRUE(cursor.failed);
}

TEST(Wire, OctetStringsInBothDirections) {
    const struct {
        uint32_t count;
        uint32_t type;
        const char* head;
        uint32_t pad;
    } c_cases[] = {{0, c_octets_8, "55 00", 0},  {0, c_octets_64, "58 00", 0}, {4, c_octets_8, "55 04", 0},
                   {3, c_octets_8, "55 03", 1},  {2, c_octets_16, "56 02", 0}, {3, c_octets_16, "56 03", 2},
                   {1, c_octets_32, "57 01", 0}, {1, c_octets_64, "58 01", 0}, {4, 4, "44 04", 0}};
    const Bytes source = hex("11 22 33 44 55 66 77 88");
    for (const auto& it : c_cases) {
        SCOPED_TRACE(it.head);
        const uint32_t length = it.count << ExOctetShift(it.type);
        const Bytes data(source.begin(), source.begin() + length);
        const std::string tail = "w" + std::to_string(it.pad) + " " + to_text(data) + "00*" + std::to_string(it.pad);
        const Bytes wire = hex(it.head + (" w" + std::to_string(length + it.pad) + " ") + tail);
        for (const size_t room : {wire.size() - 1, wire.size(), size_t{512}}) {
            Buffer buffer;
            buffer.cursor.base = buffer.memory.data() + buffer.memory.size() - room;
            EXPECT_EQ(EXPackOCTETSTRINGStatic(source.data(), buffer.cursor, it.count, it.type),
                      room < wire.size() ? 0 : wire.size());
            EXPECT_EQ(buffer.written(), room < wire.size() ? "" : to_text(wire));
        }
        // An element is cleared where there is none. A destination of one byte less is too small.
        const size_t needed = length == 0 ? size_t{1} << ExOctetShift(it.type) : length;
        for (const size_t capacity : {needed, needed - 1}) {
            Bytes read(8, 0xEE);
            ExReadCursor cursor = reader(wire);
            EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read.data(), capacity, cursor), capacity < needed ? 0 : wire.size());
            Bytes expected(8, 0xEE);
            std::copy_n((length == 0 ? Bytes(8) : source).begin(), capacity < needed ? 0 : needed, expected.begin());
            EXPECT_EQ(to_text(read), to_text(expected));
        }
        Buffer other;
        const Bytes malloc_wire = hex(std::string(it.head) + " w0 " + tail);
        EXPECT_EQ(EXPackOCTETSTRINGMalloc(source.data(), other.cursor, it.count, it.type), malloc_wire.size());
        EXPECT_EQ(other.written(), to_text(malloc_wire));
        MemTable mem_table{};
        void* block = &mem_table;
        size_t block_length = 99;
        ExReadCursor cursor = reader(malloc_wire);
        EXPECT_EQ(EXUnpackOCTETSTRINGMalloc(&block, &block_length, cursor, mem_table), malloc_wire.size());
        EXPECT_EQ(block_length, length);
        EXPECT_EQ(mem_table.entries[0].block, block);
        EXPECT_TRUE(length == 0 ? block == nullptr : memcmp(block, data.data(), length) == 0);
        ReleaseMemTable(mem_table);
    }
}

TEST(Wire, OctetStringsThatAreNull) {
    Buffer buffer;
    EXPECT_EQ(EXPackOCTETSTRINGMalloc(nullptr, buffer.cursor, 5, c_octets_8), 2U);
    EXPECT_EQ(buffer.written(), "05 00 ");
    const Bytes wire = hex("05 00");
    MemTable mem_table{};
    void* block = &mem_table;
    ExReadCursor cursor = reader(wire);
    EXPECT_EQ(EXUnpackOCTETSTRINGMalloc(&block, nullptr, cursor, mem_table), 2U);
    EXPECT_EQ(block, nullptr);
    uint8_t untouched = 7;
    cursor = reader(wire);
    EXPECT_EQ(EXUnpackOCTETSTRINGStatic(&untouched, 1, cursor), 2U);
    EXPECT_EQ(untouched, 7);
}

// A count in the long form, and a string of the other form read with this function: only its head is consumed.
TEST(Wire, OctetStringCountsAndForms) {
    const Bytes source(300, 0x5A);
    Buffer buffer;
    EXPackOCTETSTRINGStatic(source.data(), buffer.cursor, 300, c_octets_8);
    EXPECT_EQ(buffer.written(), to_text(hex("55 82 2C 01 w300 w0 5A*300")));
    const Bytes other = hex("55 04 w0 w0 11 22 33 44");
    uint8_t read[4] = {9, 9, 9, 9};
    ExReadCursor cursor = reader(other);
    EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read, sizeof(read), cursor), 14U);
    EXPECT_TRUE(read[0] == 0 && read[1] == 9);
}

TEST(Wire, OctetStringsThatLie) {
    for (const char* wire : {
             "55 05 w5 w0 11 22 33 44",                          // more elements than bytes
             "55 04 w4 w1 11 22 33 44",                          // padding that is not there
             "55 04 w8 02 04 FF*4 11 22 33 44 00*4",             // so much that it wraps
             "55 84 FF*4 w5 w0 11 22 33 44",                     // a count that wraps
             "58 84 01 00 00 20 w8 w0 11 22 33 44 55 66 77 88",  // the same through its shift
             "55 04 w4 7F 04 00*4 11 22 33 44",                  // a record instead of the pad
         }) {
        const Bytes bytes = hex(wire);
        uint8_t read[16] = {};
        ExReadCursor cursor = reader(bytes);
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read, sizeof(read), cursor), 0U) << wire;
        MemTable mem_table{};
        void* block = nullptr;
        ExReadCursor again = reader(bytes);
        EXPECT_EQ(EXUnpackOCTETSTRINGMalloc(&block, nullptr, again, mem_table), 0U) << wire;
        EXPECT_TRUE(cursor.failed && again.failed && block == nullptr) << wire;
        ReleaseMemTable(mem_table);
    }
}

TEST(Wire, EnumArraysByElementSize) {
    const Bytes source(8, 1);
    for (const auto& [size, first] :
         {std::pair<size_t, const char*>{1, "55 "}, {2, "56 "}, {4, "57 "}, {8, "58 "}, {3, "55 "}}) {
        Buffer buffer;
        ExPackEnumArray(source.data(), buffer.cursor, 1, size);
        EXPECT_EQ(buffer.written().substr(0, 3), first) << size;
    }
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
