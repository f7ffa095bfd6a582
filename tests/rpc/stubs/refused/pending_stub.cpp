// Must not compile: the function's record is not spelled out.
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

int32_t request(UtaModeStartupDetails* details) {
    return RemUtaModeGetStartupDetails(details);
}
