// Every record that is spelled out, against its bytes written by hand in records.txt.

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "tests/rpc/stubs/hex.h"

namespace {

// What `wire` is read as, packed again, or "refused". It has to be read to its end, and not behind that.
std::string repacked(const uta::Record& record, const Bytes& wire) {
    std::vector<std::max_align_t> memory(record.size / sizeof(std::max_align_t) + 1, std::max_align_t{});
    MemTable mem_table{};
    ExReadCursor cursor{wire.data(), wire.data() + wire.size(), false};
    std::string text = "refused";
    if (uta::unpack_record(record, memory.data(), cursor, mem_table)) {
        EXPECT_EQ(cursor.next, wire.data() + wire.size());
        alignas(4) uint8_t buffer[4 * c_rpc_packet_max];  // there are records that no packet holds
        ExWriteCursor writer{buffer, buffer + sizeof(buffer) - 1, false};
        const size_t size = uta::pack_record(record, memory.data(), writer);
        text = to_text(Bytes(buffer + sizeof(buffer) - size, buffer + sizeof(buffer)));
    }
    ReleaseMemTable(mem_table);
    return text;
}

// A record and those inside it.
void mark(const uta::Record& record, std::set<const uta::Record*>& seen) {
    seen.insert(&record);
    for (const uta::Field& field : uta::fields_of(record)) {
        if (field.record != uta::c_no_record) {
            mark(uta::c_records[field.record], seen);
        }
    }
}

TEST(Records, AreAsWrittenByHand) {
    std::set<const uta::Record*> seen;
    std::ifstream file(RECORDS_TXT);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#')) {
            continue;
        }
        SCOPED_TRACE(line);
        const uta::Record* record = uta::find_record(line.substr(0, line.find(' ')));
        ASSERT_NE(record, nullptr);
        mark(*record, seen);
        Bytes wire = hex(line.substr(line.find(' ')));
        EXPECT_EQ(repacked(*record, wire), to_text(wire));
        while (!wire.empty()) {
            wire.pop_back();
            ASSERT_EQ(repacked(*record, wire), "refused") << wire.size();
        }
    }
    for (const uta::Record& record : uta::c_records) {
        EXPECT_TRUE(!record.live || seen.contains(&record)) << uta::record_name(record) << " has no bytes";
    }
}

TEST(Records, InAnotherFormOrDamaged) {
    const struct {
        const char* record;
        const char* wire;
        const char* read;
    } c_cases[] = {
        // More octets than there are, the same as a number below zero, a count without any.
        {"UtaNvmParams", "7F 1A 2C w0 55 03 w0 w3 02 02 00 00*3 w4 w0 w0", nullptr},
        {"UtaNvmParams", "7F 1A 2C w0 55 03 w0 w3 02 02 00 00*3 w4294967295 w0 w0", nullptr},
        {"UtaNvmParams", "7F 1A 1A w0 05 00 w9 w0 w0", "7F 1A 1A w0 05 00 w0 w0 w0"},
        // Elements that are not there, and bytes that are nobody's.
        {"UtaCallCsSetUus1InfoParams", "7F 81 35 03 o4", nullptr},
        {"UtaCallCsSetUus1InfoParams", "7F 81 35 03 o255", nullptr},
        {"UtaCallCsSetUus1InfoParams", "7F 81 35 06 o0 o0", "7F 81 35 03 o0"},
        // A sender that writes lengths in the long form says the same, and so does one with other tags.
        {"UtaNetAttachReqParam", "7F 81 3E 81 2E w1 w2 7F 7C 81 18 w3 7F 7B 0F 02 81 04 00 00 00 04 h5 h6 w7",
         "7F 81 3E 2C w1 w2 7F 7C 17 w3 7F 7B 0E w4 h5 h6 w7"},
        {"UtaNetAttachRejParam", "7F 85 44 12 w1 0A 04 00 00 00 02 w3", "7F 81 40 12 w1 w2 w3"},
        {"UtaNetAttachRejParam", "7B 81 40 12 w1 w2 w3", nullptr},
        {"UtaNetAttachRejParam", "7F 81 40 16 w1 w2 w3", nullptr},
        {"UtaNetAttachRejParam", "7F 81 40 11 w1 w2 w3", nullptr},
    };
    for (const auto& it : c_cases) {
        EXPECT_EQ(repacked(*uta::find_record(it.record), hex(it.wire)),
                  it.read != nullptr ? to_text(hex(it.read)) : "refused")
            << it.wire;
    }
}

TEST(Records, TextAlwaysEnds) {
    EXPECT_EQ(repacked(uta::record_of<UtaCallCsCallStatusIndParams>(),
                       hex("7F 81 32 6E 55 52 w83 w1 41*82 00 w2 7F 81 00 03 o3")),
              to_text(hex("7F 81 32 6E 55 52 w83 w1 41*81 00*2 w2 7F 81 00 03 o3")));
}

}  // namespace
