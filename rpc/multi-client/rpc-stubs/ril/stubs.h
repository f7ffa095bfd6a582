// The client's side of every UTA function that goes to the modem: RemUta<Function>, with exactly the parameters of its
// row in functions.def.
//
//     int32_t result = RemUtaMsNetAttachReq(sim_id, &param, context_id);
//
// A call or request blocks until the return packet is there, at most 5 seconds, and gives the modem's return value, 0
// for success; c_rpc_transport_failure (-99) when the packet does not fit, cannot be sent or has no sound answer, or
// when a callback parameter cannot be recorded. A one-way function gives nothing. Records are passed by pointer; a null
// one goes out as such. Output parameters are written only when the result is the modem's, and only as far as the
// return packet carries them. Any thread.
//
// A callback parameter takes a function of the type uta::Callback<uta::row::UtaMsCpsSetModeRsp>, after the dynamic row
// that will be delivered to it; it runs on the RPC dispatch thread.
//
// A function whose record is not spelled out in records.def does not compile when it is called.
#pragma once

#include <cstdint>
#include <type_traits>

#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace uta {

// Packs `words`, sends the packet, waits for the return and unpacks it.
int32_t call(uint16_t id, const Word* words);

// Packs `words` and sends the packet.
void send_one_way(uint16_t id, const Word* words);

template <typename Row, typename Parameters = typename Row::Parameters>
struct Stub;

template <typename Row, typename... P>
struct Stub<Row, List<P...>> {
    using Result = std::conditional_t<Row::kind == Kind::ONE_WAY, void, int32_t>;

    Result operator()(typename P::Argument... arguments) const {
        static_assert(List<P...>::live, "a record of this function is not spelled out in records.def");
        const Word words[sizeof...(P) + 1] = {P::word(arguments)..., 0};
        if constexpr (Row::kind == Kind::ONE_WAY) {
            send_one_way(Row::id, words);
        } else {
            return call(Row::id, words);
        }
    }
};

}  // namespace uta

#define UTA_STUB_CALL(name) inline constexpr uta::Stub<uta::row::name> Rem##name{};
#define UTA_STUB_REQUEST UTA_STUB_CALL
#define UTA_STUB_ONE_WAY UTA_STUB_CALL
#define UTA_STUB_RESPONSE(name)
#define UTA_STUB_INDICATION(name)
#define UTA_STUB_IGNORED_RESPONSE(name)
#define UTA_STUB_IGNORED_INDICATION(name)
#define UTA_STUB_DYNAMIC_RESPONSE(name)
#define UTA_STUB_DYNAMIC_INDICATION(name)
#define UTA_FUNCTION(id, tag, name, kind, ...) UTA_STUB_##kind(name)
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
#undef UTA_STUB_CALL
#undef UTA_STUB_REQUEST
#undef UTA_STUB_ONE_WAY
#undef UTA_STUB_RESPONSE
#undef UTA_STUB_INDICATION
#undef UTA_STUB_IGNORED_RESPONSE
#undef UTA_STUB_IGNORED_INDICATION
#undef UTA_STUB_DYNAMIC_RESPONSE
#undef UTA_STUB_DYNAMIC_INDICATION
