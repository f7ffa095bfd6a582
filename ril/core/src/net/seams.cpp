// Stands in for what is not there yet. Each gives way to the definition of the module it belongs to.
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/data_calls.h"

[[gnu::weak]] uint32_t gprs_is_pdp_active(uint32_t, uint32_t) {
    return 0;
}
[[gnu::weak]] RIL_Data_Call_Response_v6* gprs_get_pdp_info(uint32_t, uint32_t) {
    return nullptr;
}
[[gnu::weak]] uint32_t gprs_get_cid(uint32_t, uint32_t) {
    return 0;
}
[[gnu::weak]] void gprs_remove_data_call_list(uint32_t, uint32_t) {}
[[gnu::weak]] void gprs_network_deactivate(uint32_t, uint32_t) {}

// An empty list is told without data.
[[gnu::weak]] void ril_unsol_data_call_list_change(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_DATA_CALL_LIST_CHANGED, nullptr, 0);
}
