#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

#include <android/log.h>

#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace uta {

// The name under which the callbacks of a dynamic row are recorded; null for any other id.
static const char* dynamic_name(uint16_t id) {
#define UTA_NAME_DYNAMIC_RESPONSE(name) #name
#define UTA_NAME_DYNAMIC_INDICATION(name) #name
#define UTA_NAME_CALL(name) nullptr
#define UTA_NAME_REQUEST(name) nullptr
#define UTA_NAME_ONE_WAY(name) nullptr
#define UTA_NAME_RESPONSE(name) nullptr
#define UTA_NAME_INDICATION(name) nullptr
#define UTA_NAME_IGNORED_RESPONSE(name) nullptr
#define UTA_NAME_IGNORED_INDICATION(name) nullptr
    struct Name {
        uint16_t id;
        const char* name;
    };
    static constexpr auto c_names = [] {
        std::array<Name, 8> names{};
        size_t count = 0;
        for (const Name& row : {
#define UTA_FUNCTION(id, tag, name, kind, ...) Name{id, UTA_NAME_##kind(name)},
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
             }) {
            if (row.name != nullptr) {
                names[count++] = row;
            }
        }
        return names;
    }();
    for (const Name& name : c_names) {
        if (name.id == id) {
            return name.name;
        }
    }
    return nullptr;
}

// False when there is no room for the callback: its response could not be delivered then. Without a callback nothing is
// recorded, nor for a stack that has no list: such a request goes out all the same.
static bool record_callback(uint32_t sim_id, uint16_t dynamic_id, Word callback) {
    return callback == 0 ||
           SetDynCBPtr(sim_id, dynamic_name(dynamic_id), reinterpret_cast<DynCallback>(callback)) < c_dyn_cb_entries;
}

// Records every callback that the parameters carry, also in a record. Functions without a sim_id use the list of 0.
static bool record_callbacks(const Function& function, const Word* words) {
    const uint32_t sim_id = function.has_sim ? static_cast<uint32_t>(words[0]) : 0;
    for (size_t i = 0; i < function.n_parameters; ++i) {
        const Parameter& parameter = parameters_of(function)[i];
        if (parameter.type == Type::callback) {
            if (!record_callback(sim_id, parameter.aux, words[i])) {
                return false;
            }
            continue;
        }
        if (parameter.type != Type::record || words[i] == 0) {
            continue;
        }
        for (const Field& field : fields_of(c_records[parameter.aux])) {
            if (field.type != Type::callback) {
                continue;
            }
            Word callback;
            memcpy(&callback, reinterpret_cast<const uint8_t*>(words[i]) + field.offset, sizeof(callback));
            if (!record_callback(sim_id, field.aux, callback)) {
                return false;
            }
        }
    }
    return true;
}

static uint32_t context_id_of(const Function& function, const Word* words) {
    const std::span<const Parameter> parameters = parameters_of(function);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].type == Type::context_id) {
            return static_cast<uint32_t>(words[i]);
        }
    }
    return RPCMakeContextId();
}

// An empty packet when there is nothing to send.
static std::span<uint8_t> prepare(const Function& function, uint32_t context_id, const Word* words,
                                  std::span<uint8_t> buffer) {
    if (function.has_callback && !record_callbacks(function, words)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s: no room for the callback of function %u\n", __func__,
                            function.id);
        return {};
    }
    const std::span<uint8_t> packet = pack_packet(function, context_id, words, buffer);
    if (packet.empty()) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s: function %u does not fit in a packet\n", __func__,
                            function.id);
    }
    return packet;
}

int32_t call(uint16_t id, const Word* words) {
    const Function& function = *find_function(id);
    const uint32_t context_id = context_id_of(function, words);
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    const std::span<uint8_t> packet = prepare(function, context_id, words, buffer);
    if (packet.empty()) {
        return c_rpc_transport_failure;
    }
    RpcReturn ret{};
    if (RPCSynchronousCall(id, context_id, packet, ret) == 0) {
        return c_rpc_transport_failure;
    }
    int32_t result = c_rpc_transport_failure;
    Refusal refusal;
    if (!unpack_return(function, {ret.body, ret.length}, words, result, &refusal)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s: return of function %u dropped, %s at byte %u\n", __func__,
                            function.id, refusal.why, static_cast<uint32_t>(refusal.at));
        result = c_rpc_transport_failure;
    }
    RPCReleaseReturn(ret);
    return result;
}

void send_one_way(uint16_t id, const Word* words) {
    const Function& function = *find_function(id);
    alignas(4) uint8_t buffer[c_rpc_packet_max];
    const std::span<uint8_t> packet = prepare(function, context_id_of(function, words), words, buffer);
    if (!packet.empty()) {
        AppSendPackedData(packet.data(), packet.size());
    }
}

}  // namespace uta
