// Attach to packet service and detach from it, as the modem tells of them.
#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

constexpr int32_t c_detach_by_network = 0;

void rsp_net_ps_attach(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)p_params;
    RIL_TRACE(TRACE_DETAIL, "%s: sim_id = %d, context_id = %x\n", __func__, static_cast<int>(sim_id), ctxt_id);
}

void net_ps_attach_ind(uint32_t sim_id, const void* p_params) {
    const UtaNetLai& area = static_cast<const UtaNetPsAttachIndParam*>(p_params)->rai.lai;
    if (area.plmn.mcc == c_net_unspecified || area.plmn.mnc == c_net_unspecified || area.lac.lac == c_net_unspecified) {
        RIL_TRACE(TRACE_ERROR, "%s: mcc, mnc or lac is unspecified, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return;
    }
    if (is_ps_registered(sim_id) == 1) {
        net_registered_info& info = net_info(sim_id);
        info.mcc = area.plmn.mcc;
        info.mnc = area.plmn.mnc;
        info.three_digit_mnc = static_cast<uint8_t>(area.plmn.three_digit_mnc);
    }
}

void drop_data_call(uint32_t sim_id, uint32_t index, bool by_network) {
    const uint32_t uta_cid = gprs_get_cid(sim_id, index);
    RIL_Data_Call_Response_v6* const told = gprs_get_pdp_info(sim_id, index);
    if (told != nullptr) {
        told->active = 1;
    }
    gprs_remove_data_call_list(sim_id, uta_cid);
    if (by_network) {
        RIL_TRACE(TRACE_EVENT, "%s: NW DEACT\n", "net_ps_detach_ind");
        gprs_network_deactivate(sim_id, uta_cid);
    } else {
        RIL_TRACE(TRACE_EVENT, "%s: ME DEACT\n", "net_ps_detach_ind");
    }
}

void net_ps_detach_ind(uint32_t sim_id, const void* p_params) {
    const bool by_network = static_cast<const UtaNetPsDetachIndParam*>(p_params)->origin == c_detach_by_network;
    for (int32_t index = 0; index < ril_config_get_max_gprs_pdp_context(); ++index) {
        if (gprs_is_pdp_active(sim_id, static_cast<uint32_t>(index)) == 1) {
            drop_data_call(sim_id, static_cast<uint32_t>(index), by_network);
        }
    }
    ril_unsol_data_call_list_change(sim_id);
}

}  // namespace

void UtaMsNetPsAttachRspCb(uint32_t sim_id, const UtaNetPsAttachResParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, rsp_net_ps_attach);
}

void UtaMsNetPsAttachIndCb(uint32_t sim_id, const UtaNetPsAttachIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_ps_attach_ind);
}

void UtaMsNetPsDetachIndCb(uint32_t sim_id, const UtaNetPsDetachIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_ps_detach_ind);
}
