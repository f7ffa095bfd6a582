// The entry points of all responses and indications that have one, with exactly the parameters of their rows in
// functions.def. The modules define those that they handle; a definition with another parameter list is another
// function, which -Wmissing-declarations refuses. One that no module defines does nothing.
//
// They run on the RPC dispatch thread, one at a time. A record belongs to the unpacker and is valid until the entry
// point returns; what it points to as well. It is null only in functions with a presence byte.
#pragma once

#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/rows.h"

#define UTA_ENTRY_RESPONSE(name, ...) void name(__VA_ARGS__);
#define UTA_ENTRY_INDICATION UTA_ENTRY_RESPONSE
#define UTA_ENTRY_CALL(...)
#define UTA_ENTRY_REQUEST(...)
#define UTA_ENTRY_ONE_WAY(...)
#define UTA_ENTRY_IGNORED_RESPONSE(...)
#define UTA_ENTRY_IGNORED_INDICATION(...)
#define UTA_ENTRY_DYNAMIC_RESPONSE(...)
#define UTA_ENTRY_DYNAMIC_INDICATION(...)
#define UTA_FUNCTION(id, tag, name, kind, variation, ...) UTA_ENTRY_##kind(name, __VA_ARGS__)
#define UTA_WITHOUT_ID(name, kind, variation, ...) UTA_ENTRY_##kind(name, __VA_ARGS__)
#define SIM uint32_t sim_id
#define CTX uint32_t context_id
#define I32(name) int32_t name
#define ENUM(name) int32_t name
#define U8(name) uint8_t name
#define I16(name) int16_t name
#define REC(record, name) const record* name
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
#undef UTA_ENTRY_RESPONSE
#undef UTA_ENTRY_INDICATION
#undef UTA_ENTRY_CALL
#undef UTA_ENTRY_REQUEST
#undef UTA_ENTRY_ONE_WAY
#undef UTA_ENTRY_IGNORED_RESPONSE
#undef UTA_ENTRY_IGNORED_INDICATION
#undef UTA_ENTRY_DYNAMIC_RESPONSE
#undef UTA_ENTRY_DYNAMIC_INDICATION
