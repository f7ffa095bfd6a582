#include "ril/core/src/agg_request/rows.h"

#include "ril/utils/trace.h"

void rows::refuse_data(const request_row& row, const ril_request& request) {
    RIL_TRACE(TRACE_ERROR, row.bad_data, row.function, static_cast<int>(request.sim_id));
    request.complete(RIL_E_GENERIC_FAILURE);
}
