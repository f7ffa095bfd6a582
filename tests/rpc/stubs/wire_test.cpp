// The wire encoding on its own, against bytes written by hand.

#include "rpc/multi-client/rpc-stubs/ril/wire.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "tests/rpc/stubs/hex.h"

namespace {

struct Buffer {
    alignas(4) std::array<uint8_t, 512> memory{};
    ExWriteCursor cursor{memory.data(), memory.data() + memory.size() - 1, false};

    Bytes written() const { return Bytes(static_cast<const uint8_t*>(cursor.next + 1), memory.data() + memory.size()); }
};

ExReadCursor reader(const Bytes& bytes) {
    return {bytes.data(), bytes.data() + bytes.size(), false};
}

struct Number {
    const char* name;
    std::function<size_t(ExWriteCursor&)> pack;
    std::function<size_t(ExReadCursor&)> unpack_and_compare;
    const char* wire;
};

template <typename T>
Number number(const char* name, size_t (*pack)(const T*, ExWriteCursor&), size_t (*unpack)(T*, ExReadCursor&), T value,
              const char* wire) {
    return {name, [=](ExWriteCursor& cursor) { return pack(&value, cursor); },
            [=](ExReadCursor& cursor) {
                T read{};
                const size_t size = unpack(&read, cursor);
                EXPECT_EQ(read, value) << name;
                return size;
            },
            wire};
}

TEST(Wire, NumbersInBothDirections) {
    const Number c_numbers[] = {
        number<uint8_t>("BOOLEAN", EXPackBOOLEAN, EXUnpackBOOLEAN, 1, "01 01 FF"),
        number<uint8_t>("BOOLEAN", EXPackBOOLEAN, EXUnpackBOOLEAN, 0, "01 01 00"),
        number<uint8_t>("UINT8", EXPackUINT8, EXUnpackUINT8, 0xA5, "02 01 A5"),
        number<int8_t>("INT8", EXPackINT8, EXUnpackINT8, -2, "02 01 FE"),
        number<char>("char", EXPackchar, EXUnpackchar, 'A', "02 01 41"),
        number<uint16_t>("UINT16", EXPackUINT16, EXUnpackUINT16, 0x1234, "02 02 12 34"),
        number<int16_t>("INT16", EXPackINT16, EXUnpackINT16, -1, "02 02 FF FF"),
        number<uint32_t>("UINT32", EXPackUINT32, EXUnpackUINT32, 0x12345678, "02 04 12 34 56 78"),
        number<int32_t>("INT32", EXPackINT32, EXUnpackINT32, -99, "02 04 FF FF FF 9D"),
        number<int32_t>("ENUM", EXPackENUM, EXUnpackENUM, 0x0102, "02 04 00 00 01 02"),
        number<uint64_t>("UINT64", EXPackUINT64, EXUnpackUINT64, 0x0102030405060708, "02 08 01 02 03 04 05 06 07 08"),
        number<int64_t>("INT64", EXPackINT64, EXUnpackINT64, -1, "02 08 FF*8"),
    };
    for (const Number& it : c_numbers) {
        SCOPED_TRACE(it.name);
        const Bytes wire = hex(it.wire);
        Buffer buffer;
        EXPECT_EQ(it.pack(buffer.cursor), wire.size());
        EXPECT_EQ(to_text(buffer.written()), to_text(wire));
        ExReadCursor cursor = reader(wire);
        EXPECT_EQ(it.unpack_and_compare(cursor), wire.size());
        EXPECT_EQ(cursor.next, cursor.end);
        // One byte short, in either direction: nothing is written or read, and it stays that way.
        Buffer small;
        small.cursor.base = small.cursor.next + 2 - wire.size();
        EXPECT_EQ(it.pack(small.cursor), 0U);
        EXPECT_TRUE(small.cursor.failed);
        EXPECT_TRUE(small.written().empty());
        const Bytes cut(wire.begin(), wire.end() - 1);
        for (const size_t length : {cut.size(), size_t{1}, size_t{0}}) {
            ExReadCursor short_cursor = reader(cut);
            short_cursor.end = short_cursor.next + length;
            uint64_t sink = 0;
            EXPECT_EQ(EXUnpackUINT64(&sink, short_cursor), 0U);
            EXPECT_TRUE(short_cursor.failed);
        }
    }
}

TEST(Wire, OnlyExactlyOneIsTrue) {
    Buffer buffer;
    const uint8_t two = 2;
    EXPackBOOLEAN(&two, buffer.cursor);
    EXPECT_EQ(buffer.written(), hex("01 01 00"));
    uint8_t flag = 9;
    const Bytes wire = hex("01 01 01");
    ExReadCursor cursor = reader(wire);
    EXUnpackBOOLEAN(&flag, cursor);
    EXPECT_EQ(flag, 0);
}

TEST(Wire, NumbersTakeAnyHeader) {
    struct {
        const char* wire;
        bool read;
    } const c_cases[] = {
        {"02 04 00 00 00 07", true},        // ours
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
    for (const auto& it : c_cases) {
        const Bytes wire = hex(it.wire);
        ExReadCursor cursor = reader(wire);
        int32_t value = 0;
        EXPECT_EQ(EXUnpackINT32(&value, cursor), it.read ? wire.size() : 0) << it.wire;
        EXPECT_EQ(cursor.failed, !it.read) << it.wire;
        EXPECT_EQ(value, it.read ? 7 : 0) << it.wire;
    }
}

TEST(Wire, Headers) {
    struct {
        uint32_t tag;
        uint32_t length;
        const char* wire;
    } const c_cases[] = {
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
        Buffer buffer;
        EXPECT_EQ(EXWriteBERHeader(ExMakeTag(it.tag), buffer.cursor, it.length), wire.size());
        EXPECT_EQ(to_text(buffer.written()), to_text(wire));
        ExReadCursor cursor = reader(wire);
        ExBerHeader header;
        EXPECT_EQ(EXReadBERHeader(cursor, header), wire.size());
        EXPECT_EQ(header.tag, it.tag);
        EXPECT_EQ(header.length, it.length);
        EXPECT_EQ(header.header_size, wire.size());
        EXPECT_EQ(header.tag_class, 0x40);
        EXPECT_EQ(header.constructed, 1);
    }
}

TEST(Wire, PacketHeaderAndContextId) {
    Buffer buffer;
    ExWriteContextId(buffer.cursor, 0x20000105);
    EXPECT_EQ(ExWriteBufferHeader(buffer.cursor, 44, 4), c_rpc_header_size);
    const Bytes wire = hex("02 04 00 00 00 10  02 04 00 00 00 2C  20 00 01 05");
    EXPECT_EQ(buffer.written(), wire);
    ExReadCursor cursor = reader(wire);
    uint32_t index = 0;
    uint32_t size = 0;
    uint32_t context_id = 0;
    EXPECT_EQ(ExReadBufferHeader(cursor, index, size), c_rpc_header_size);
    EXPECT_EQ(ExReadContextId(cursor, context_id), 4U);
    EXPECT_EQ(index, 44U);
    EXPECT_EQ(size, wire.size());
    EXPECT_EQ(context_id, 0x20000105U);
    const Bytes cut = hex("02 04 00 00 00 10 02 04 00 00 00");
    cursor = reader(cut);
    EXPECT_EQ(ExReadBufferHeader(cursor, index, size), 0U);
    EXPECT_TRUE(cursor.failed);
}

TEST(Wire, RawAndEmptyForms) {
    Buffer buffer;
    EXPECT_EQ(EXPackNULLStruct(buffer.cursor), 2U);
    EXPECT_EQ(EXPackVoid(buffer.cursor), 0U);
    EXPECT_EQ(EXPackUINT32BITFIELD(0x01020304, buffer.cursor), 4U);
    const Bytes wire = hex("01 02 03 04  05 00");
    EXPECT_EQ(buffer.written(), wire);
    ExReadCursor cursor{wire.data() + 4, wire.data() + 6, false};
    EXPECT_EQ(EXUnpackVoid(cursor), 0U);
    EXPECT_EQ(EXUnpackNULLStruct(cursor), 2U);
    cursor = {wire.data(), wire.data() + 4, false};
    EXPECT_EQ(EXUnpackNULLStruct(cursor), 0U);
    EXPECT_TRUE(cursor.failed);
}

TEST(Wire, OctetStringsInBothDirections) {
    struct {
        uint32_t count;
        uint32_t type;
        const char* static_form;
        const char* malloc_form;
    } const c_cases[] = {
        {0, c_octets_8, "55 00 02 04 00*4 02 04 00*4", "55 00 02 04 00*4 02 04 00*4"},
        {0, c_octets_64, "58 00 02 04 00*4 02 04 00*4", "58 00 02 04 00*4 02 04 00*4"},
        {4, c_octets_8, "55 04 02 04 00 00 00 04 02 04 00*4 11 22 33 44", "55 04 02 04 00*4 02 04 00*4 11 22 33 44"},
        {2, c_octets_16, "56 02 02 04 00 00 00 04 02 04 00*4 11 22 33 44", "56 02 02 04 00*4 02 04 00*4 11 22 33 44"},
        {3, c_octets_16, "56 03 02 04 00 00 00 08 02 04 00 00 00 02 11 22 33 44 55 66 00*2",
         "56 03 02 04 00*4 02 04 00 00 00 02 11 22 33 44 55 66 00*2"},
        {1, c_octets_32, "57 01 02 04 00 00 00 04 02 04 00*4 11 22 33 44", "57 01 02 04 00*4 02 04 00*4 11 22 33 44"},
        {1, c_octets_64, "58 01 02 04 00 00 00 08 02 04 00*4 11 22 33 44 55 66 77 88",
         "58 01 02 04 00*4 02 04 00*4 11 22 33 44 55 66 77 88"},
        {4, 4, "44 04 02 04 00 00 00 04 02 04 00*4 11 22 33 44", "44 04 02 04 00*4 02 04 00*4 11 22 33 44"},
    };
    const Bytes source = hex("11 22 33 44 55 66 77 88");
    for (const auto& it : c_cases) {
        SCOPED_TRACE(it.static_form);
        const size_t length = size_t{it.count} << ExOctetShift(it.type);
        Buffer buffer;
        const Bytes wire = hex(it.static_form);
        EXPECT_EQ(EXPackOCTETSTRINGStatic(source.data(), buffer.cursor, it.count, it.type), wire.size());
        EXPECT_EQ(to_text(buffer.written()), to_text(wire));
        Bytes read(8, 0xEE);
        ExReadCursor cursor = reader(wire);
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read.data(), read.size(), cursor), wire.size());
        Bytes expected(8, 0xEE);
        std::copy_n(source.begin(), length, expected.begin());
        if (length == 0) {
            std::fill_n(expected.begin(), size_t{1} << ExOctetShift(it.type), uint8_t{0});
        }
        EXPECT_EQ(to_text(read), to_text(expected));
        // A destination of one byte less.
        cursor = reader(wire);
        const size_t needed = length == 0 ? size_t{1} << ExOctetShift(it.type) : length;
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read.data(), needed - 1, cursor), 0U);
        EXPECT_TRUE(cursor.failed);

        Buffer other;
        const Bytes malloc_wire = hex(it.malloc_form);
        EXPECT_EQ(EXPackOCTETSTRINGMalloc(source.data(), other.cursor, it.count, it.type), malloc_wire.size());
        EXPECT_EQ(to_text(other.written()), to_text(malloc_wire));
        MemTable mem_table{};
        void* block = &mem_table;
        size_t block_length = 99;
        cursor = reader(malloc_wire);
        EXPECT_EQ(EXUnpackOCTETSTRINGMalloc(&block, &block_length, cursor, mem_table), malloc_wire.size());
        EXPECT_EQ(block_length, length);
        EXPECT_EQ(block == nullptr, length == 0);
        EXPECT_EQ(mem_table.entries[0].block, block);
        EXPECT_TRUE(block == nullptr || std::equal(source.begin(), source.begin() + static_cast<long>(length),
                                                   static_cast<const uint8_t*>(block)));
        ReleaseMemTable(mem_table);
    }
}

TEST(Wire, OctetStringsThatAreNull) {
    Buffer buffer;
    EXPECT_EQ(EXPackOCTETSTRINGMalloc(nullptr, buffer.cursor, 5, c_octets_8), 2U);
    const Bytes wire = hex("05 00");
    EXPECT_EQ(buffer.written(), wire);
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
    EXPECT_EQ(buffer.written(), hex("55 82 2C 01 02 04 00 00 01 2C 02 04 00*4 5A*300"));
    const Bytes other = hex("55 04 02 04 00*4 02 04 00*4 11 22 33 44");
    uint8_t read[4] = {9, 9, 9, 9};
    ExReadCursor cursor = reader(other);
    EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read, sizeof(read), cursor), 14U);
    EXPECT_EQ(read[0], 0);
    EXPECT_EQ(read[1], 9);
    EXPECT_EQ(cursor.end - cursor.next, 4);
}

TEST(Wire, OctetStringsThatLie) {
    for (const char* wire : {
             "55 05 02 04 00 00 00 05 02 04 00*4 11 22 33 44",                          // more elements than bytes
             "55 04 02 04 00 00 00 04 02 04 00 00 00 01 11 22 33 44",                   // padding that is not there
             "55 04 02 04 00 00 00 08 02 04 FF FF FF FF 11 22 33 44 00*4",              // so much that it wraps
             "55 84 FF FF FF FF 02 04 00 00 00 05 02 04 00*4 11 22 33 44",              // a count that wraps
             "58 84 01 00 00 20 02 04 00 00 00 08 02 04 00*4 11 22 33 44 55 66 77 88",  // the same through its shift
             "55 04 02 04 00 00 00 04 7F 04 00*4 11 22 33 44",                          // a record instead of the pad
         }) {
        const Bytes bytes = hex(wire);
        uint8_t read[16] = {};
        ExReadCursor cursor = reader(bytes);
        EXPECT_EQ(EXUnpackOCTETSTRINGStatic(read, sizeof(read), cursor), 0U) << wire;
        EXPECT_TRUE(cursor.failed) << wire;
        MemTable mem_table{};
        void* block = nullptr;
        cursor = reader(bytes);
        EXPECT_EQ(EXUnpackOCTETSTRINGMalloc(&block, nullptr, cursor, mem_table), 0U) << wire;
        EXPECT_EQ(block, nullptr) << wire;
        ReleaseMemTable(mem_table);
    }
}

TEST(Wire, EnumArraysByElementSize) {
    const Bytes source(8, 1);
    for (const auto& [size, first] :
         {std::pair<size_t, uint8_t>{1, 0x55}, {2, 0x56}, {4, 0x57}, {8, 0x58}, {3, 0x55}}) {
        Buffer buffer;
        ExPackEnumArray(source.data(), buffer.cursor, 1, size);
        EXPECT_EQ(buffer.written().front(), first) << size;
    }
}

TEST(MemTable, ElevenBlocksAreAllFreed) {
    MemTable mem_table{};
    EXPECT_EQ(PgenAllocNew(0, mem_table), nullptr);
    for (int i = 0; i < 11; ++i) {
        auto* block = static_cast<uint8_t*>(PgenAllocNew(3, mem_table));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[0] | block[1] | block[2], 0);
    }
    EXPECT_EQ(mem_table.entries[9].order, 27U);
    EXPECT_EQ(ReleaseMemTable(mem_table), 1);
    EXPECT_EQ(mem_table.entries[0].block, nullptr);
    EXPECT_EQ(ReleaseMemTable(mem_table), 1);
}

// The leak checker sees the blocks if the table still had them, and misses them if it freed them too.
TEST(MemTable, BlocksHandedOverBelongToTheirHolder) {
    MemTable mem_table{};
    void* blocks[12];
    for (void*& block : blocks) {
        block = PgenAllocNew(8, mem_table);
    }
    HandOverMemTable(mem_table);
    ReleaseMemTable(mem_table);
    for (void* block : blocks) {
        RPC_MemFree(block);
    }
    RPC_MemFree(nullptr);
}

}  // namespace
