// The unpackers of all functions that the modem calls, and the table that the dispatch thread finds them in.

#include <android/log.h>

#include <utility>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

// The entry points that no module defines.
#define UTA_DEFAULT_RESPONSE(name, ...) \
    __attribute__((weak)) void name(__VA_ARGS__) {}
#define UTA_DEFAULT_INDICATION UTA_DEFAULT_RESPONSE
#define UTA_DEFAULT_CALL(...)
#define UTA_DEFAULT_REQUEST(...)
#define UTA_DEFAULT_ONE_WAY(...)
#define UTA_DEFAULT_IGNORED_RESPONSE(...)
#define UTA_DEFAULT_IGNORED_INDICATION(...)
#define UTA_DEFAULT_DYNAMIC_RESPONSE(...)
#define UTA_DEFAULT_DYNAMIC_INDICATION(...)
#define UTA_FUNCTION(id, tag, name, kind, variation, ...) UTA_DEFAULT_##kind(name, __VA_ARGS__)
#define UTA_WITHOUT_ID(name, kind, variation, ...) UTA_DEFAULT_##kind(name, __VA_ARGS__)
#define SIM uint32_t
#define CTX uint32_t
#define I32(name) int32_t
#define ENUM(name) int32_t
#define U8(name) uint8_t
#define I16(name) int16_t
#define REC(record, name) const record*
#include "rpc/multi-client/rpc-stubs/ril/functions.def"

namespace uta {
namespace {

// Calls a function with the words of a row's parameters, each in its own type.
template <typename Parameters>
struct Deliver;

template <typename... P>
struct Deliver<List<P...>> {
    using Entry = void(typename P::Argument...);

    static void to(Entry* entry, const Word* words) { to(entry, words, std::index_sequence_for<P...>{}); }

    template <size_t... I>
    static void to(Entry* entry, const Word* words, std::index_sequence<I...>) {
        entry(P::value(words[I])...);
    }
};

// All callbacks recorded under `name`, in their order. None: the response has nobody to go to.
template <typename Row>
void deliver_dynamic(const char* name, const Function& function, const Word* words) {
    const uint32_t sim_id = function.has_sim ? static_cast<uint32_t>(words[0]) : 0;
    int32_t entry = 0;
    const int32_t count = GetDynCBPtrInfo(sim_id, name, &entry);
    for (int32_t i = 0; i < count; ++i) {
        Deliver<typename Row::Parameters>::to(reinterpret_cast<Callback<Row>*>(GetDynCBPtr(sim_id, entry, i)), words);
    }
}

using DeliverWords = void (*)(const Function& function, const Word* words);

// Without `deliver` the row is an ignored one.
int unpack(uint16_t id, std::span<const uint8_t> body, DeliverWords deliver) {
    const Function& function = *find_function(id);
    Parameters parameters;
    uint32_t context_id = 0;  // the header's; the entry point gets that of the parameters
    Refusal refusal;
    if (!unpack_packet(function, body, context_id, parameters, &refusal)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "RPCUnpack: packet of function %u dropped, %s at byte %u\n",
                            function.id, refusal.why, static_cast<uint32_t>(refusal.at));
        return 0;
    }
    if (deliver != nullptr) {
        deliver(function, parameters.words);
    }
    return 0;
}

#define UTA_UNPACKER_RESPONSE(name)                                                                                    \
    int RPCUnpack##name(std::span<const uint8_t> body) {                                                               \
        return unpack(row::name::id, body,                                                                             \
                      [](const Function&, const Word* words) { Deliver<row::name::Parameters>::to(&::name, words); }); \
    }
#define UTA_UNPACKER_INDICATION UTA_UNPACKER_RESPONSE
#define UTA_UNPACKER_IGNORED_RESPONSE(name)              \
    int RPCUnpack##name(std::span<const uint8_t> body) { \
        return unpack(row::name::id, body, nullptr);     \
    }
#define UTA_UNPACKER_IGNORED_INDICATION UTA_UNPACKER_IGNORED_RESPONSE
#define UTA_UNPACKER_DYNAMIC_RESPONSE(name)                                                  \
    int RPCUnpack##name##DynCb(std::span<const uint8_t> body) {                              \
        return unpack(row::name::id, body, [](const Function& function, const Word* words) { \
            deliver_dynamic<row::name>(#name, function, words);                              \
        });                                                                                  \
    }
#define UTA_UNPACKER_DYNAMIC_INDICATION UTA_UNPACKER_DYNAMIC_RESPONSE
#define UTA_UNPACKER_CALL(name)
#define UTA_UNPACKER_REQUEST(name)
#define UTA_UNPACKER_ONE_WAY(name)
#define UTA_FUNCTION(id, tag, name, kind, ...) UTA_UNPACKER_##kind(name)
#include "rpc/multi-client/rpc-stubs/ril/functions.def"

#define UTA_ROW_RESPONSE(id, name) {id, RPCUnpack##name},
#define UTA_ROW_INDICATION UTA_ROW_RESPONSE
#define UTA_ROW_IGNORED_RESPONSE UTA_ROW_RESPONSE
#define UTA_ROW_IGNORED_INDICATION UTA_ROW_RESPONSE
#define UTA_ROW_DYNAMIC_RESPONSE(id, name) {id, RPCUnpack##name##DynCb},
#define UTA_ROW_DYNAMIC_INDICATION UTA_ROW_DYNAMIC_RESPONSE
#define UTA_ROW_CALL(id, name) {0, nullptr},
#define UTA_ROW_REQUEST UTA_ROW_CALL
#define UTA_ROW_ONE_WAY UTA_ROW_CALL
#define UTA_FUNCTION(id, tag, name, kind, ...) UTA_ROW_##kind(id, name)
#define UTA_RESERVED UTA_FUNCTION
constexpr RPCHostUnpackerRow RPCHostUnpackerTable[] = {
    {-1, nullptr},
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
    {-1, nullptr},
};

}  // namespace
}  // namespace uta

const RPCHostUnpackerRow* const RPCUnpackerTable = uta::RPCHostUnpackerTable;
