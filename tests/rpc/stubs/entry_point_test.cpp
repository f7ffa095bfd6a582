// What comes in through the unpacker table, in packets written by hand, and what the entry points get.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/fake_transport.h"

using testing::ElementsAre;

// What was delivered, in order: one line for each entry point that ran.
static std::vector<std::string> s_delivered;

template <typename... Values>
static void delivered(const char* name, Values... values) {
    std::string line = name;
    ((line += " " + std::to_string(values)), ...);
    s_delivered.push_back(line);
}

void UtaMsCallCsAcceptCallRspCb(uint32_t sim_id, const UtaCallCsAcceptCallRspCbParams* param, uint32_t context_id) {
    delivered("accept", sim_id, param->call.call_id, param->field_2, param->field_3, context_id);
}

void UtaMsNetAttachRejCb(uint32_t sim_id, const UtaNetAttachRejParam* param, uint32_t context_id) {
    delivered("reject", sim_id, param->reject_cause, param->field_2, param->field_3, context_id);
}

void UtaMsSimFullAccessIndCb(uint32_t sim_id) {
    delivered("full access", sim_id);
}

void UtaMsSimRecoveryRspCb(uint32_t sim_id, const UtaSimRecoveryResParams* param, uint32_t context_id) {
    delivered("recovery", sim_id, param == nullptr ? -1 : param->result, context_id);
}

void UtaMsSmsSetMemoryAvailableRspCb(uint32_t sim_id, int32_t value, uint32_t context_id) {
    delivered("memory", sim_id, value, context_id);
}

void UtaMsSimApduCmdRspCb(uint32_t sim_id, const UtaSimApduCmdRspParam* param, uint32_t) {
    delivered("apdu", sim_id, param->file.apdu == nullptr ? -1 : param->file.apdu->length);
}

static void on_mode(uint32_t sim_id, int32_t mode, uint32_t context_id, int32_t result) {
    delivered("mode", sim_id, mode, context_id, result);
}

static void on_mode_too(uint32_t, int32_t, uint32_t, int32_t) {
    delivered("mode too");
}

static void on_measured(int32_t context, int32_t result, const UtaSensorValue* value) {
    delivered("measured", context, result, value->degrees);
}

static void on_shutdown(uint32_t context_id, int32_t value) {
    delivered("shutdown", context_id, value);
}

namespace {

class EntryPoints : public testing::Test {
protected:
    void SetUp() override {
        reset_fake_transport();
        clear_log();
        s_delivered.clear();
    }

    // `body` begins at the context id. The copy is exactly as long: a read past the end shows.
    static void receive(int32_t id, const char* body) {
        const Bytes bytes = hex(body);
        for (const RPCHostUnpackerRow* row = RPCUnpackerTable + 1; row->id != -1; ++row) {
            if (row->id == id) {
                EXPECT_EQ(row->unpacker(bytes), 0);
                return;
            }
        }
        FAIL() << id << " has no unpacker";
    }
};

TEST_F(EntryPoints, Response) {
    receive(45,
            "20 00 01 05  7F 2D 26  7F 06 06 02 04 20 00 01 05 "
            "7F 81 19 13  w0  w0  7F 81 00 03 o1  w0");
    EXPECT_THAT(s_delivered, ElementsAre("accept 0 1 0 0 536871173"));
}

// The header's context id, tags and classes, the function's header, what follows the last field or parameter.
TEST_F(EntryPoints, WhatNobodyReadsMayBeAnything) {
    const char* c_bodies[] = {
        "20 00 01 FF  7F 63 25  7F 07 06 02 04 20 00 01 05 "
        "7F 81 41 12  w3  w2  w1  w1",
        "20 00 01 05  FF 4D 7F  1F 06 06 42 04 20 00 01 05 "
        "42 14  22 04 00 00 00 03  7F 01 00 00 00 00 02  02 81 09 00 00 00 01  82 04 00 00 00 01",
        "20 00 01 05  7F 4D 01  7F 06 06 02 04 20 00 01 05 "
        "7F 81 40 15  w3  w2  w1  o0  w1  o0",
    };
    for (const char* body : c_bodies) {
        receive(77, body);
    }
    EXPECT_EQ(s_delivered, std::vector<std::string>(3, "reject 1 1 2 3 536871173"));
}

// Without a record, without a function header, with a presence byte.
TEST_F(EntryPoints, Variations) {
    receive(150, "20 00 01 00  7F 81 16 06  w1");
    receive(354, "20 00 01 05  7F 06 06 02 04 20 00 01 05  02 04 FF FF FF FF  w0");
    receive(381, "20 00 01 05  7F 06 06 02 04 20 00 01 05  o0  w2  w0");
    receive(381, "20 00 01 05  7F 06 06 02 04 20 00 01 05  o2  w0");
    EXPECT_THAT(s_delivered, ElementsAre("full access 1", "memory 0 -1 536871173", "recovery 0 2 536871173",
                                         "recovery 0 -1 536871173"));
}

TEST_F(EntryPoints, OptionalRecordWithinARecord) {
    receive(147,
            "20 00 01 05  7F 81 13 82 5E 02  7F 06 06 02 04 20 00 01 05 "
            "7F 82 22 82 49 02  7F 82 21 82 3A 02  05 00 "
            "7F 82 20 82 0E 01  55 81 FF w255 w0  00*255  h2  h3 "
            "7F 82 1F 82 0E 01  55 81 FF w255 w0  00*255  h2  h3 "
            "w0  o0  w1");
    receive(147,
            "20 00 01 05  7F 81 13 82 77 03  7F 06 06 02 04 20 00 01 05 "
            "7F 82 22 82 62 03  7F 82 21 82 53 03 "
            "7F 82 1D 82 1B 01  55 82 05 01 02 04 00 00 01 05 w0  90 00*260  w2 "
            "7F 82 20 82 0E 01  55 81 FF w255 w0  00*255  h2  h3 "
            "7F 82 1F 82 08 01  55 81 F9 w249 w0  00*249  h2  h3 "
            "w0  o0  w1");
    EXPECT_THAT(s_delivered, ElementsAre("apdu 1 -1", "apdu 1 2"));
    EXPECT_EQ(times_logged(), 0);
}

TEST_F(EntryPoints, IgnoredAndUndefinedOnesDoNothing) {
    receive(164, "20 00 01 05  7F 81 24 15  7F 06 06 02 04 20 00 01 05  w7  w0");
    receive(80, "20 00 01 05  7F 50 0F  7F 06 06 02 04 20 00 01 05  w0");
    EXPECT_TRUE(s_delivered.empty());
    EXPECT_EQ(times_logged(), 0);
}

TEST_F(EntryPoints, PacketsThatLieAreDroppedWithOneLine) {
    for (const char* body : {
             "20 00 01 05  7F 4D 11  7F 06 06 02 04 20 00 01 05  05 00  w1",    // no record
             "20 00 01 05  7F 4D 25  7F 06 06 02 04 20 00 01 05  7F 81 40 13 "  // record too long
             "w3  w2  w1  w1",
             "20 00 01 05  7F 4D 25  7F 06 06 02 04 20 00 01 05  7F 81 40 0C "  // too short
             "w3  w2  w1  w1",
             "20 00 01",
             "",
         }) {
        clear_log();
        receive(77, body);
        EXPECT_TRUE(s_delivered.empty()) << body;
        EXPECT_EQ(times_logged(), 1) << body;
    }
}

// Their packets are dropped with one line, and neither packed nor unpacked.
TEST_F(EntryPoints, PendingRows) {
    for (const uta::Function& function : uta::c_functions) {
        if (!function.pending) {
            continue;
        }
        SCOPED_TRACE(function.id);
        if (!uta::is_outgoing(function.kind)) {
            clear_log();
            receive(function.id, "20 00 01 05  7F 06 06 02 04 20 00 01 05");
            EXPECT_EQ(times_logged(), 1);
        }
        alignas(4) uint8_t buffer[c_rpc_packet_max];
        const uta::Word words[uta::c_max_parameters] = {};
        uta::Parameters parameters;
        uint32_t context_id = 0;
        int32_t result = 0;
        const Bytes body = hex("20 00 01 00  w0");
        EXPECT_TRUE(uta::pack_packet(function, 0, words, buffer).empty());
        EXPECT_TRUE(uta::pack_return(function, 0, 0, words, buffer).empty());
        EXPECT_FALSE(uta::unpack_packet(function, body, context_id, parameters));
        EXPECT_FALSE(uta::unpack_return(function, body, words, result));
    }
}

TEST_F(EntryPoints, DynamicCallbacks) {
    // Nobody registered yet: dropped.
    const char* c_response = "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1  w1";
    receive(227, c_response);
    EXPECT_TRUE(s_delivered.empty());
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode, 0x20000105);
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode_too, 0x20000105);
    RemUtaMsCpsSetModeReq(1, 1, 0, on_mode, 0x20000105);
    receive(227, c_response);
    EXPECT_THAT(s_delivered, ElementsAre("mode 1 1 536871173 9", "mode too"));
    // The other stack has a list of its own, and a stack beyond the second has none.
    s_delivered.clear();
    receive(227,
            "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1 "
            "w0");
    receive(227,
            "20 00 01 05  7F 81 63 1B  w9  7F 06 06 02 04 20 00 01 05  w1 "
            "02 04 FF FF FF FF");
    EXPECT_TRUE(s_delivered.empty());
    RemUtaMsCpsSetModeReq(2, 1, 0, on_mode, 0x20000105);
    EXPECT_EQ(fake_transport().calls.size(), 4U);
    // Without a sim_id it is the first list; without a function header.
    RemUtaBootPrepareShutdownReq(1, 0x20000105, on_shutdown);
    ASSERT_EQ(fake_transport().one_way.size(), 1U);
    receive(375, "20 00 01 05  w3  7F 06 06 02 04 20 00 01 05");
    // From a record.
    const UtaSensorCallback callback{on_measured};
    RemUtaSensorTpcbOpen(nullptr, &callback, 1, 4);
    receive(312, "20 00 01 00  7F 82 38 19  7F 0E 0A w1 h2  w3  w4");
    EXPECT_THAT(s_delivered, ElementsAre("shutdown 536871173 3", "measured 4 3 2"));
}

template <size_t N>
void numbered() {}

template <size_t... N>
std::vector<DynCallback> callbacks(std::index_sequence<N...>) {
    return {numbered<N>...};
}

// Each function has a body of its own, but for the linker's merging, which is off here.
TEST(DynamicCallbacks, RefusesTheEleventhAndTheFiftyFirst) {
    const std::vector<DynCallback> all = callbacks(std::make_index_sequence<11>{});
    const int32_t entry = SetDynCBPtr(1, "eleven", all[0]);
    for (size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(SetDynCBPtr(1, "eleven", all[i]), entry);
    }
    EXPECT_EQ(SetDynCBPtr(1, "eleven", all[10]), 50);
    int32_t found = -1;
    EXPECT_EQ(GetDynCBPtrInfo(1, "eleven", &found), 10);
    EXPECT_EQ(found, entry);
    EXPECT_EQ(GetDynCBPtr(1, entry, 9), all[9]);
    EXPECT_EQ(GetDynCBPtr(1, entry, 10), nullptr);
    EXPECT_EQ(GetDynCBPtr(1, 50, 0), nullptr);
    EXPECT_EQ(GetDynCBPtr(2, 0, 0), nullptr);

    EXPECT_EQ(SetDynCBPtr(0, nullptr, all[0]), 0);
    EXPECT_EQ(SetDynCBPtr(2, "name", all[0]), 0);
    EXPECT_EQ(GetDynCBPtrInfo(0, "never", &found), -1);
    EXPECT_EQ(GetDynCBPtrInfo(2, "eleven", &found), -1);
    int32_t last = 0;
    for (int i = 0; last < 50 && i < 60; ++i) {
        last = SetDynCBPtr(1, ("name" + std::to_string(i)).c_str(), all[0]);
    }
    EXPECT_EQ(last, 50);
    // A request whose callback finds no room is not sent.
    reset_fake_transport();
    clear_log();
    EXPECT_EQ(RemUtaMsCpsSetSimModeReq(1, 1, on_mode, 0x20000105), c_rpc_transport_failure);
    EXPECT_TRUE(fake_transport().calls.empty());
    EXPECT_EQ(times_logged(), 1);
}

// Four threads register two callbacks each while a fifth reads: nothing is lost, and what is read is whole.
TEST(DynamicCallbacks, AreSafeWithAllThreads) {
    const std::vector<DynCallback> all = callbacks(std::make_index_sequence<8>{});
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&all, i] {
            SetDynCBPtr(0, "threads", all[2 * i]);
            SetDynCBPtr(0, "threads", all[2 * i + 1]);
        });
    }
    threads.emplace_back([] {
        int32_t entry = 0;
        for (int32_t seen = 0; seen < 8;) {
            const int32_t count = GetDynCBPtrInfo(0, "threads", &entry);
            EXPECT_GE(count, seen == 0 ? -1 : seen);
            for (seen = std::max(seen, count); seen > 0 && GetDynCBPtr(0, entry, seen - 1) == nullptr;) {
                ADD_FAILURE();
                return;
            }
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A name is kept to 79 characters.
TEST(DynamicCallbacks, LongNames) {
    const std::string name(100, 'n');
    const DynCallback callback = numbered<0>;
    const int32_t entry = SetDynCBPtr(0, name.c_str(), callback);
    EXPECT_EQ(SetDynCBPtr(0, name.c_str(), callback), entry);
    int32_t found = -1;
    EXPECT_EQ(GetDynCBPtrInfo(0, name.c_str(), &found), 1);
    EXPECT_EQ(found, entry);
}

}  // namespace
