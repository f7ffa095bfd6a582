// Every record that is spelled out, and packets of every form, against their bytes written by hand in records.txt.

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "tests/rpc/stubs/hex.h"

namespace {

alignas(4) uint8_t s_buffer[4 * c_rpc_packet_max];  // there are records that no packet holds

std::string last_bytes(size_t size) {
    return size == 0 ? "refused" : to_text(Bytes(std::end(s_buffer) - size, std::end(s_buffer)));
}

// What `wire` is read as, packed again, or "refused". A record has to be read to its end, and not behind that.
std::string repacked(const uta::Record& record, const Bytes& wire) {
    std::vector<std::max_align_t> memory(record.size / sizeof(std::max_align_t) + 1, std::max_align_t{});
    MemTable mem_table{};
    ExReadCursor cursor{wire.data(), wire.data() + wire.size(), false};
    std::string text = "refused";
    if (uta::unpack_record(record, memory.data(), cursor, mem_table)) {
        EXPECT_EQ(cursor.next, wire.data() + wire.size());
        ExWriteCursor writer{s_buffer, std::end(s_buffer) - 1, false};
        const size_t size = uta::pack_record(record, memory.data(), writer);
        text = last_bytes(size);
        // One byte less of room is too little, and what is below is somebody's.
        uint8_t* below = std::end(s_buffer) - size;
        *below = 0xEE;
        writer = {below + 1, std::end(s_buffer) - 1, false};
        EXPECT_TRUE(uta::pack_record(record, memory.data(), writer) == 0 && writer.failed && *below == 0xEE);
    }
    ReleaseMemTable(mem_table);
    return text;
}

// The same of a packet or a return behind its header, which has to be right.
std::string repacked(const uta::Function& function, bool is_return, const Bytes& body) {
    uta::Parameters parameters;
    uint32_t context_id = 0;
    int32_t result = 0;
    if (is_return ? !uta::unpack_return(function, body, context_id, result, parameters)
                  : !uta::unpack_packet(function, body, context_id, parameters)) {
        return "refused";
    }
    const auto packet = is_return ? uta::pack_return(function, context_id, result, parameters.words, s_buffer)
                                  : uta::pack_packet(function, context_id, parameters.words, s_buffer);
    const uint32_t index = function.id + (is_return ? 1000U : 0U);
    const Bytes header = hex("w" + std::to_string(packet.size()) + " w" + std::to_string(index));
    EXPECT_TRUE(std::equal(header.begin(), header.end(), packet.begin()));
    const std::string text = last_bytes(packet.size() - header.size());
    const auto less = std::span(s_buffer).last(packet.size() - 1);
    EXPECT_TRUE(is_return || uta::pack_packet(function, context_id, parameters.words, less).empty());
    return text;
}

std::string repacked(const std::string& name, const Bytes& wire) {
    const bool is_return = name.ends_with("()");
    if (const uta::Record* record = uta::find_record(name); record != nullptr) {
        return repacked(*record, wire);
    }
    const uta::Function* function = uta::find_function(name.substr(0, name.size() - (is_return ? 2 : 0)));
    return function != nullptr ? repacked(*function, is_return, wire) : "unknown";
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
        const std::string name = line.substr(0, line.find(' '));
        const size_t equals = line.find(" = ");
        Bytes wire = hex(line.substr(name.size(), equals - name.size()));
        if (equals != std::string::npos) {
            const std::string form = line.substr(equals + 3);
            EXPECT_EQ(repacked(name, wire), form == "refused" ? form : to_text(hex(form)));
            continue;
        }
        EXPECT_EQ(repacked(name, wire), to_text(wire));
        while (!name.ends_with(')') && !wire.empty()) {
            wire.pop_back();
            ASSERT_EQ(repacked(name, wire), "refused") << wire.size();
        }
        if (const uta::Record* record = uta::find_record(name); record != nullptr) {
            mark(*record, seen);
        }
    }
    for (const uta::Record& record : uta::c_records) {
        EXPECT_TRUE(!record.live || seen.contains(&record)) << uta::record_name(record) << " has no bytes";
    }
}

}  // namespace
