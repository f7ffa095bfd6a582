// Forms of fields and parameters that the catalogue has in records or functions still to come. The library's sources
// are built a second time for this test, on the made-up catalogue in forms/.

#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/fake_transport.h"

static std::string s_delivered;

static void on_dynamic(int32_t value, const FormItem* item) {
    s_delivered = std::to_string(value) + " " + std::to_string(item->first);
}

namespace {

TEST(Forms, Numbers) {
    const Bytes wire = hex(R"(
        7F 01 5E
          02 04 00 00 00 0E  02 04 00 00 00 0D
          57 02 02 04 00 00 00 08 02 04 00 00 00 00  44 33 22 11 88 77 66 55
          02 02 00 0B  02 02 00 0A  02 04 00 00 00 09  02 04 00 00 00 08
          02 08 FF*7 F9  02 08 00*7 06  02 04 00 00 00 05  02 02 FF FC  02 02 00 03  02 01 FE  01 01 FF)");
    const uta::Record& record = uta::record_of<FormNumbers>();
    FormNumbers numbers{1, -2, 3, -4, 5, 6, -7, 8, 9, {10, 11}, {0x11223344, 0x55667788}, {13, 14}};
    for (int round = 0; round < 2; ++round) {  // the numbers as they are, then as they were read
        alignas(4) uint8_t buffer[c_rpc_packet_max];
        ExWriteCursor cursor{buffer, buffer + sizeof(buffer) - 1, false};
        uta::pack_record(record, &numbers, cursor);
        EXPECT_EQ(to_text(Bytes(cursor.next + 1, buffer + sizeof(buffer))), to_text(wire));
        numbers = {};
        MemTable mem_table{};
        ExReadCursor reader{wire.data(), wire.data() + wire.size(), false};
        EXPECT_TRUE(uta::unpack_record(record, &numbers, reader, mem_table));
        EXPECT_EQ(reader.next, reader.end);
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

}  // namespace
