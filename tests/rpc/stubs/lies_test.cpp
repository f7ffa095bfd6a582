// Every function that comes in, with packets cut short at every byte and with every byte changed: never a read outside
// the packet (the packets are allocated exactly, so that the address sanitizer sees one), never a delivery from a
// packet that is cut, and one log line for each packet that is dropped.

#include <gtest/gtest.h>

#include <map>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/record_bytes.h"

namespace {

struct Incoming {
    const uta::Function* function;
    RpcUnpacker unpacker;
    std::vector<Bytes> bodies;
};

// Bodies of sound packets, one for each sample of the function's record.
std::vector<Bytes> sound_bodies(const uta::Function& function) {
    static const std::max_align_t s_zeroed[256] = {};  // larger than any record
    std::vector<const void*> samples;
    for (const uta::Parameter& parameter : uta::parameters_of(function)) {
        for (const RecordBytes& it : record_bytes()) {
            if (parameter.type == uta::Type::record && it.record == &uta::c_records[parameter.aux]) {
                samples.push_back(it.memory.data());
            }
        }
    }
    if (samples.empty()) {
        samples.push_back(s_zeroed);
    }
    std::vector<Bytes> bodies;
    for (const void* sample : samples) {
        uta::Word words[uta::c_max_parameters] = {};
        for (size_t i = 0; i < function.n_parameters; ++i) {
            words[i] =
                uta::parameters_of(function)[i].type == uta::Type::record ? reinterpret_cast<uta::Word>(sample) : 1;
        }
        alignas(4) uint8_t buffer[c_rpc_packet_max];
        const std::span<uint8_t> packet = uta::pack_packet(function, 0x20000105, words, buffer);
        bodies.emplace_back(packet.begin() + c_rpc_header_size, packet.end());
    }
    return bodies;
}

std::vector<Incoming> live_functions() {
    std::vector<Incoming> all;
    for (const RPCHostUnpackerRow* row = RPCUnpackerTable + 1; row->id != -1; ++row) {
        const uta::Function* function = uta::find_function(static_cast<uint32_t>(row->id));
        if (function != nullptr && !function->pending) {
            all.push_back({function, row->unpacker, sound_bodies(*function)});
        }
    }
    return all;
}

bool dropped(const Incoming& incoming, const Bytes& body) {
    log_lines().clear();
    EXPECT_EQ(incoming.unpacker(Bytes(body)), 0);
    EXPECT_LE(log_lines().size(), 1U);
    return !log_lines().empty();
}

TEST(Lies, CutPacketsAreNeverDelivered) {
    size_t packets = 0;
    for (const Incoming& incoming : live_functions()) {
        SCOPED_TRACE(uta::function_name(*incoming.function));
        for (const Bytes& body : incoming.bodies) {
            EXPECT_FALSE(dropped(incoming, body));
            for (size_t length = 0; length < body.size(); ++length, ++packets) {
                EXPECT_TRUE(dropped(incoming, Bytes(body.begin(), body.begin() + static_cast<long>(length)))) << length;
            }
        }
    }
    EXPECT_GT(packets, 3000U);
}

TEST(Lies, ChangedBytesAreHarmless) {
    for (const Incoming& incoming : live_functions()) {
        SCOPED_TRACE(uta::function_name(*incoming.function));
        for (const Bytes& body : incoming.bodies) {
            for (size_t at = 0; at < body.size(); ++at) {
                Bytes changed = body;
                for (const unsigned value :
                     {body[at] ^ 1U, body[at] ^ 0x80U, body[at] + 1U, body[at] - 1U, 0x7FU, 0x84U, 0xFFU, 0U}) {
                    changed[at] = static_cast<uint8_t>(value);
                    dropped(incoming, changed);
                }
            }
        }
    }
}

}  // namespace
