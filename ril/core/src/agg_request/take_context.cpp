#include "ril/core/src/agg_request/take_context.h"

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/trace.h"

int32_t take_context(const char* function, RIL_Token token) {
    const int32_t ctxt_id = qelril_get_free_ctxt_id(token);
    if (ctxt_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR out of free rilreq_state_info array elements\n", function);
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
    }
    return ctxt_id;
}
