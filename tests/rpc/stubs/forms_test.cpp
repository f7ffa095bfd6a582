// Forms of fields and parameters that the catalogue has in records or functions still to come. The library's sources
// are built a second time for this test, on the made-up catalogue in forms/.

#include <gtest/gtest.h>

#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/fake_transport.h"

static std::string s_delivered;

void FormIndCb(uint32_t, const FormElements* param) {
    s_delivered = std::to_string(param->n_items) + " " + std::to_string(param->last);
}

static void on_dynamic(int32_t value, const FormItem* item) {
    s_delivered = std::to_string(value) + " " + std::to_string(item->first);
}

namespace {

template <typename T>
Bytes pack(const T& value) {
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    ExWriteCursor cursor{buffer, buffer + sizeof(buffer) - 1, false};
    uta::pack_record(uta::record_of<T>(), &value, cursor);
    return Bytes(cursor.next + 1, buffer + sizeof(buffer));
}

// One record read from exactly `wire`, with its blocks.
template <typename T>
struct Read {
    T value;
    MemTable mem_table{};
    bool whole;

    explicit Read(const Bytes& wire) {
        memset(&value, 0, sizeof(value));  // {} clears a union's first member only
        ExReadCursor cursor{wire.data(), wire.data() + wire.size(), false};
        whole = uta::unpack_record(uta::record_of<T>(), &value, cursor, mem_table) && cursor.next == cursor.end;
    }
    explicit Read(const char* wire) : Read(hex(wire)) {}
    ~Read() { ReleaseMemTable(mem_table); }
};

template <typename T>
void both_ways(const T& value, const char* text) {
    const Bytes wire = hex(text);
    EXPECT_EQ(to_text(pack(value)), to_text(wire));
    const Read<T> read(wire);
    EXPECT_TRUE(read.whole) << text;
    EXPECT_EQ(to_text(pack(read.value)), to_text(wire));
    for (size_t length = 0; length < wire.size(); ++length) {
        EXPECT_FALSE(Read<T>(Bytes(wire.begin(), wire.begin() + static_cast<long>(length))).whole) << length;
    }
}

constexpr const char* c_two_items = "7F 02 08 02 02 00 04 02 02 00 03  7F 02 08 02 02 00 02 02 02 00 01";

TEST(Forms, Numbers) {
    both_ways(FormNumbers{1, -2, 3, -4, 5, 6, -7, 8, 9, {10, 11}, {12, 13}}, R"(
        7F 01 48
          02 04 00 00 00 0D  02 04 00 00 00 0C  02 02 00 0B  02 02 00 0A  02 04 00 00 00 09  02 04 00 00 00 08
          02 08 FF*7 F9  02 08 00*7 06  02 04 00 00 00 05  02 02 FF FC  02 02 00 03  02 01 FE  01 01 FF)");
}

TEST(Forms, Arrays) {
    both_ways(FormArrays{{0x11223344, 0x55667788}, {{1, 2}, {3, 4}}, {9, 9, 9}, {'a', 'b'}},
              (std::string("7F 03 3E  55 03 02 04 00 00 00 04 02 04 00 00 00 01  61 62 00  00 ") + c_two_items +
               " 57 02 02 04 00 00 00 08 02 04 00*4  44 33 22 11 88 77 66 55")
                  .c_str());
}

TEST(Forms, CountedOctets) {
    uint8_t first[] = {1, 2};
    uint8_t second[] = {7, 8, 9};
    both_ways(FormOctets{2, first, second, 3}, R"(
        7F 04 30
          02 04 00 00 00 03  55 03 02 04 00*4 02 04 00 00 00 03  07 08 09  00*3
          55 02 02 04 00*4 02 04 00 00 00 03  01 02  00*3  02 01 02)");
    both_ways(FormOctets{0, nullptr, nullptr, 0}, "7F 04 0D  02 04 00*4  05 00  05 00  02 01 00");
    // A count is never more than there is.
    EXPECT_FALSE(Read<FormOctets>("7F 04 1C  02 04 00 00 00 04  55 03 02 04 00*4 02 04 00 00 00 00  07 08 09"
                                  "  05 00  02 01 00")
                     .whole);
    EXPECT_FALSE(Read<FormOctets>("7F 04 1C  02 04 FF FF FF FF  55 03 02 04 00*4 02 04 00 00 00 00  07 08 09"
                                  "  05 00  02 01 00")
                     .whole);
    const Read<FormOctets> null("7F 04 0D  02 04 00 00 00 09  05 00  05 00  02 01 09");
    EXPECT_TRUE(null.whole);
    EXPECT_EQ(null.value.first_count, 0);
    EXPECT_EQ(null.value.second_count, 0);
}

TEST(Forms, ElementsStandLast) {
    FormItem items[] = {{1, 2}, {3, 4}};
    FormPlainItem plain[] = {{5}, {6}, {7}};
    const std::string tail = std::string("02 01 07  02 01 06  02 01 05  ") + c_two_items;
    both_ways(FormElements{2, items, 3, plain, 8},
              ("7F 05 2C  02 04 00 00 00 08  02 02 00 03  02 01 02 " + tail).c_str());
    both_ways(FormElements{0, nullptr, 0, nullptr, 8}, "7F 05 0D  02 04 00 00 00 08  02 02 00 00  02 01 00");
    for (const char* counts :
         {"02 02 00 03  02 01 03 ", "02 02 00 02  02 01 02 ", "02 02 FF FF  02 01 02 ", "02 02 00 03  02 01 FF "}) {
        EXPECT_FALSE(Read<FormElements>(hex("7F 05 2C  02 04 00 00 00 08 " + (counts + tail))).whole) << counts;
    }
}

TEST(Forms, OptionalsAndUnions) {
    FormItem item{1, 2};
    FormOctets octets{};
    both_ways(FormOptional{nullptr, nullptr}, "7F 07 04  05 00  05 00");
    both_ways(FormOptional{&octets, &item}, R"(
        7F 07 1B  7F 02 08 02 02 00 02 02 02 00 01  7F 04 0D  02 04 00*4  05 00  05 00  02 01 00)");
    both_ways(FormUnion{{.item = {1, 2}}, 3}, "7F 08 0E  02 01 03  7F 02 08 02 02 00 02 02 02 00 01");
    both_ways(FormUnion{{.optional = {nullptr, nullptr}}, 4}, "7F 08 0A  02 01 04  7F 07 04 05 00 05 00");
    both_ways(FormUnion{{}, 9}, "7F 08 03  02 01 09");
}

// More blocks than the table has entries: the leak checker counts them.
TEST(Forms, ManyBlocks) {
    FormItem item{1, 2};
    std::vector<FormOptional> list(12, FormOptional{nullptr, &item});
    const Bytes wire = pack(FormMany{12, list.data()});
    const Read<FormMany> read(wire);
    ASSERT_TRUE(read.whole);
    EXPECT_EQ(read.value.list[11].item->second, 2);
    EXPECT_EQ(pack(read.value), wire);
}

TEST(Forms, FixedRecordWithALongHeader) {
    FormLarge large{};
    for (int i = 0; i < 50; ++i) {
        large.values[i] = 50 - i;
    }
    std::string text = "7F 0A 82 2C 01 ";
    for (int i = 1; i <= 50; ++i) {
        char number[32];
        snprintf(number, sizeof(number), " 02 04 00 00 00 %02X", i);
        text += number;
    }
    both_ways(large, text.c_str());
    for (size_t at = 0; at < 5; ++at) {
        Bytes wire = hex(text);
        wire[at] ^= 0x04;
        EXPECT_EQ(Read<FormLarge>(wire).whole, at == 1) << at;  // only the tag number is not looked at
    }
}

class FormStubs : public testing::Test {
protected:
    void SetUp() override {
        reset_fake_transport();
        s_delivered.clear();
        log_lines().clear();
    }
    static void answer(const std::string& body) { fake_transport().returns.push_back(hex(body)); }
    static int receive(int32_t id, const char* body) {
        for (const RPCHostUnpackerRow* row = RPCUnpackerTable + 1; row->id != -1; ++row) {
            if (row->id == id) {
                return row->unpacker(hex(body));
            }
        }
        return -1;
    }
};

TEST_F(FormStubs, OutputRecordWithPresenceByte) {
    const FormItem in{1, 2};
    const std::string item = "7F 02 08 02 02 00 06 02 02 00 05";
    for (const std::string& returned : {item, "02 01 00 " + item}) {
        FormItem out{3, 4};
        answer("20 00 01 00  02 04 00*4 " + returned);
        EXPECT_EQ(RemFormReadReq(1, &in, &out), 0);
        EXPECT_EQ(out.first, 5);
        EXPECT_EQ(out.second, 6);
    }
    EXPECT_EQ(to_text(fake_transport().calls.back().packet),
              to_text(hex("02 04 00 00 00 32  02 04 00 00 00 01  20 00 01 00 "
                          "02 01 00  7F 02 08 02 02 00 04 02 02 00 03 "
                          "02 01 00  7F 02 08 02 02 00 02 02 02 00 01  02 04 00 00 00 01")));
    FormItem out{3, 4};
    for (const char* returned : {"02 01 02", "05 00", ""}) {
        answer(std::string("20 00 01 00  02 04 00*4 ") + returned);
        EXPECT_EQ(RemFormReadReq(1, &in, &out), 0);
        EXPECT_EQ(out.first, 3);
    }
}

// The blocks of output records become the caller's; those that nobody wants are freed.
TEST_F(FormStubs, OutputRecordsWithPointers) {
    const std::string list = "7F 05 18  02 04 00 00 00 08  02 02 00 00  02 01 01  7F 02 08 02 02 00 02 02 02 00 01 ";
    const std::string nvm = "7F 04 1E  05 00*5";
    const std::string octets = "7F 04 1C  02 04 00 00 00 03  55 03 02 04 00*4 02 04 00*4  07 08 09  05 00  02 01 00";
    FormOctets out{};
    FormElements elements{};
    answer("20 00 01 00  02 04 00*4 " + list + octets);
    EXPECT_EQ(RemFormNvmRead(&out, &elements), 0);
    ASSERT_NE(out.second, nullptr);
    EXPECT_EQ(out.second[2], 9);
    ASSERT_NE(elements.items, nullptr);
    EXPECT_EQ(elements.items[0].second, 2);
    RPC_MemFree(out.second);
    RPC_MemFree(elements.items);

    out = {};
    answer("20 00 01 00  02 04 00*4 " + list + octets);
    EXPECT_EQ(RemFormNvmRead(&out, nullptr), 0);
    RPC_MemFree(out.second);

    out = {};
    elements = {};
    answer("20 00 01 00  02 04 00*4 " + list + nvm);
    EXPECT_EQ(RemFormNvmRead(&out, &elements), c_rpc_transport_failure);
    EXPECT_EQ(out.second, nullptr);
}

TEST_F(FormStubs, OneWayWithAFunctionHeader) {
    const FormItem handle{1, 2};
    RemFormClose(&handle);
    EXPECT_EQ(to_text(fake_transport().one_way.at(0)),
              to_text(hex("02 04 00 00 00 1E  02 04 00 00 00 03  20 00 01 00  7F 09 0B "
                          "7F 02 08 02 02 00 02 02 02 00 01")));
}

TEST_F(FormStubs, CallbackInARecord) {
    const FormCallback callback{on_dynamic};
    RemFormSubscribe(&callback, 0);
    EXPECT_EQ(receive(5, "20 00 01 00  7F 05 11  7F 02 08 02 02 00 02 02 02 00 01  02 04 00 00 00 07"), 0);
    EXPECT_EQ(s_delivered, "7 1");
}

TEST_F(FormStubs, ElementsReachTheEntryPoint) {
    EXPECT_EQ(receive(6,
                      "20 00 01 00  7F 06 21  7F 05 18  02 04 00 00 00 08  02 02 00 00  02 01 01 "
                      "7F 02 08 02 02 00 02 02 02 00 01  02 04 00 00 00 00"),
              0);
    EXPECT_EQ(s_delivered, "1 8");
    EXPECT_TRUE(log_lines().empty());
}

}  // namespace
