// Takes the place of packet data and of the operators' names in the library that net_calls_test loads.
#include "tests/net/data_calls.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"

extern "C" __attribute__((visibility("default"))) DataCalls dun_test_data_calls;
DataCalls dun_test_data_calls = {
    {}, {}, {}, {}, &pdp_act_nok_flag, &deactivate_pdp_beforenetscan,
};

namespace {

constexpr uint32_t c_first_cid = 31;

DataCalls& calls = dun_test_data_calls;

void note(const char* format, uint32_t first, int second) {
    const size_t used = strlen(calls.did);
    snprintf(calls.did + used, sizeof(calls.did) - used, format, first, second);
}

// Everything is down: the search goes on with the same request.
void rsp_cb_deactivate(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)p_params;
    for (uint32_t& active : calls.active) {
        active = 0;
    }
    on_request_handler(sim_id, RIL_REQUEST_QUERY_AVAILABLE_NETWORKS, nullptr, 0, rilreq_state_info[ctxt_id].token);
    qelril_free_and_return(ctxt_id);
}

}  // namespace

uint32_t gprs_is_pdp_active(uint32_t sim_id, uint32_t index) {
    (void)sim_id;
    return calls.active[index];
}
RIL_Data_Call_Response_v6* gprs_get_pdp_info(uint32_t sim_id, uint32_t index) {
    (void)sim_id;
    return calls.told[index] ? &calls.list[index] : nullptr;
}
uint32_t gprs_get_cid(uint32_t sim_id, uint32_t index) {
    (void)sim_id;
    return c_first_cid + index;
}
void gprs_remove_data_call_list(uint32_t sim_id, uint32_t uta_cid) {
    (void)sim_id;
    note("remove %u (%d), ", uta_cid, calls.list[uta_cid - c_first_cid].active);
}
void gprs_network_deactivate(uint32_t sim_id, uint32_t uta_cid) {
    note("network %u sim %d, ", uta_cid, static_cast<int>(sim_id));
}

void UtaMsCallPsDeactivateRspCb(uint32_t sim_id, const UtaCallPsDeactivateRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, rsp_cb_deactivate);
}
