// Must not compile: the function's record is not spelled out.
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

int32_t request(const FormPending* param) {
    return RemFormPendingReq(0, param, 0);
}
