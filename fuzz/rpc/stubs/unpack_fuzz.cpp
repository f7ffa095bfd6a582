// Every unpacker with any bytes. The first two bytes are a function id, the rest is a packet behind its header.
//
// A function that comes in goes through the dispatch table, like a packet on the receive socket; one that goes out is
// unpacked as a modem unpacks a call, and as the client unpacks its return. What is accepted is packed again, which
// reads every value and follows every pointer, and has to stay the same from the second time on: a block whose count is
// 0 goes out as a string of no octets and comes back as a null pointer.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

uint32_t RPCMakeContextId() {
    return 0x20000100;
}
int AppSendPackedData(const uint8_t*, size_t) {
    return 1;
}
void RPCReleaseReturn(RpcReturn&) {}
int RPCSynchronousCall(uint32_t, uint32_t, std::span<const uint8_t>, RpcReturn&) {
    return 0;
}

extern "C" __attribute__((visibility("default"))) int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

namespace {

// Packs what was unpacked from `body`, or gives nothing if it is refused.
std::vector<uint8_t> unpack_and_pack(const uta::Function& function, std::span<const uint8_t> body) {
    alignas(4) static uint8_t s_buffer[1 << 18];
    uta::Parameters parameters;
    uint32_t context_id = 0;
    if (!uta::unpack_packet(function, body, context_id, parameters)) {
        return {};
    }
    const std::span<uint8_t> packet = uta::pack_packet(function, context_id, parameters.words, s_buffer);
    return {packet.begin(), packet.end()};
}

void packet_stays_the_same(const uta::Function& function, std::span<const uint8_t> body) {
    const std::vector<uint8_t> once = unpack_and_pack(function, body);
    if (once.empty()) {
        return;
    }
    const std::vector<uint8_t> twice = unpack_and_pack(function, std::span(once).subspan(c_rpc_header_size));
    if (twice.empty() || twice != unpack_and_pack(function, std::span(twice).subspan(c_rpc_header_size))) {
        abort();
    }
}

// Output memory of the size that each parameter says; arrays have eight elements.
void unpack_return(const uta::Function& function, std::span<const uint8_t> body) {
    const std::span<const uta::Parameter> parameters = uta::parameters_of(function);
    std::vector<uint8_t> memory[uta::c_max_parameters];
    uta::Word words[uta::c_max_parameters] = {};
    for (size_t i = 0; i < parameters.size(); ++i) {
        const bool record = parameters[i].type == uta::Type::record;
        memory[i].resize(record ? uta::c_records[parameters[i].aux].size : 8);
        words[i] = parameters[i].output ? reinterpret_cast<uta::Word>(memory[i].data()) : 8;
    }
    int32_t result = 0;
    uta::unpack_return(function, body, words, result);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (!parameters[i].output || parameters[i].type != uta::Type::record) {
            continue;
        }
        for (const uta::Field& field : uta::fields_of(uta::c_records[parameters[i].aux])) {
            if (field.type == uta::Type::counted_octets) {  // the caller's to free
                void* block = nullptr;
                memcpy(&block, memory[i].data() + field.offset, sizeof(block));
                RPC_MemFree(block);
            }
        }
    }
}

void on_mode(uint32_t, int32_t, uint32_t, int32_t) {}

}  // namespace

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int32_t s_entry = SetDynCBPtr(0, "UtaMsCpsSetModeRsp", reinterpret_cast<DynCallback>(&on_mode));
    const uta::Function* function = size < 2 ? nullptr : uta::find_function(data[0] | uint32_t{data[1]} << 8);
    if (function == nullptr || s_entry != 0) {
        return 0;
    }
    const std::span<const uint8_t> body(data + 2, size - 2);
    packet_stays_the_same(*function, body);
    if (uta::is_outgoing(function->kind)) {
        unpack_return(*function, body);
        return 0;
    }
    for (const RPCHostUnpackerRow* row = RPCUnpackerTable + 1; row->id != -1; ++row) {
        if (row->id == function->id) {
            row->unpacker(body);
        }
    }
    return 0;
}
