// Uses every stub that can be used, so that a library with this file in it holds the whole catalogue.

#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

template <typename Row, typename... P>
static void use(const uta::Stub<Row, uta::List<P...>>& stub) {
    if constexpr (uta::List<P...>::live) {
        stub(typename P::Argument{}...);
    }
}

extern "C" __attribute__((visibility("default"))) void use_all_stubs();

void use_all_stubs() {
#define USE_CALL(name) use(Rem##name);
#define USE_REQUEST USE_CALL
#define USE_ONE_WAY USE_CALL
#define USE_RESPONSE(name)
#define USE_INDICATION(name)
#define USE_IGNORED_RESPONSE(name)
#define USE_IGNORED_INDICATION(name)
#define USE_DYNAMIC_RESPONSE(name)
#define USE_DYNAMIC_INDICATION(name)
#define UTA_FUNCTION(id, tag, name, kind, ...) USE_##kind(name)
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
}
