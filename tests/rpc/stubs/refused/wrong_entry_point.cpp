// Must not compile: the row has a record, and the definition has none.
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"

void UtaMsCallCsAcceptCallRspCb(uint32_t) {}
