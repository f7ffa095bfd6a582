#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/em/em.h"

void ril_request_get_neighboring_cell_ids(request_context& context) {
    if (net_request_neighbouring_cells(context.sim_id(), context.id()) == 0) {
        context.in_flight();
    }
}

void ril_request_get_cellinfo_list(request_context& context) {
    if (net_request_cell_info_list(context.sim_id(), context.id()) == 0) {
        context.in_flight();
    }
}

void ril_request_set_unsol_cell_info_list_rate(const ril_request& request, int32_t rate) {
    const bool good = net_set_cell_info_rate(request.sim_id, static_cast<uint32_t>(rate)) == 0;
    request.complete(good ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void ril_request_set_eng_mode(const ril_request& request, int32_t mode) {
    request.complete(em_mode_enable_or_disable(request.sim_id, mode) == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void ril_request_query_eng_mode(const ril_request& request) {
    request.succeed(em_get_status(request.sim_id));
}
