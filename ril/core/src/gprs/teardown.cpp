// How a data call ends: Android takes it down, all make room for a scan, or the network ends it.
#include <array>
#include <cstring>

#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/gprs/context_steps.h"
#include "ril/core/src/gprs/fail_cause.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/gprs/interface.h"
#include "ril/core/src/gprs/pdp_context_data.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/scan.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

// --- The steps -------------------------------------------------------------------------------------------------------

chain_sent gprs_deactivate_pdp_context(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsDeactivateReqParams param{{static_cast<int32_t>(gprs_context_data(ctxt_id)->uta_cid)}};
    if (param.id.cid == static_cast<int32_t>(c_gprs_network_cid)) {
        return CHAIN_NOT_SENT;
    }
    return RemUtaMsCallPsDeactivateReq(sim_id, &param, uta_context_id(ctxt_id)) == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

// A refusal is only recorded: the context is undefined all the same. Number 0 stands for all contexts.
chain_answer rsp_cb_deactivate(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallPsDeactivateRspCbParams*>(p_params);
    if (response.id.cid == 0 || response.result != 0) {
        set_last_failure_error_cause(sim_id, response.result);
    }
    if (response.id.cid != 0 && gprs_context_data(ctxt_id) == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR rilreqstate_info Priv data is NULL\n", __func__);
        set_last_failure_error_cause(sim_id, c_uta_no_cause);
        return CHAIN_FAIL;
    }
    return CHAIN_NEXT;
}

static int32_t send_undefine(uint32_t sim_id, uint32_t uta_cid, uint32_t ctxt_id) {
    const UtaCallPsUndefinePrimaryReqParams param{{static_cast<int32_t>(uta_cid)}};
    const int32_t result = RemUtaMsCallPsUndefinePrimaryReq(sim_id, &param, uta_context_id(ctxt_id));
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: undefine_pdp has returned ERROR for uta_cid %d\n", "rsp_cb_deactivate",
                  static_cast<int>(uta_cid));
    }
    return result;
}

chain_sent undefine_pdp(uint32_t sim_id, uint32_t ctxt_id) {
    if (send_undefine(sim_id, gprs_context_data(ctxt_id)->uta_cid, ctxt_id) != 0) {
        set_last_failure_error_cause(sim_id, c_uta_no_cause);
        return CHAIN_NOT_SENT;
    }
    return CHAIN_SENT;
}

chain_answer rsp_cb_undefine_primary(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const int32_t result = static_cast<const UtaCallPsUndefinePrimaryRspCbParams*>(p_params)->result;
    if (result != 0 || deactivate_pdp_beforenetscan != 0) {
        set_last_failure_error_cause(sim_id, result);
    }
    gprs_context_data(ctxt_id)->undefined = true;
    return result == 0 ? CHAIN_NEXT : CHAIN_FAIL;
}

chain_sent gprs_release_cid(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsPdpContextId cid{static_cast<int32_t>(gprs_context_data(ctxt_id)->uta_cid)};
    RemUtaMsCallPsReleasePdpContextId(sim_id, &cid);
    return CHAIN_DONE;
}

namespace {

// The interface of a call that is taken down from here.
int32_t bring_down_interface_of(uint32_t uta_cid) {
    char name[14];
    return gprs_interface_name_of_cid(uta_cid, name) ? gprs_bring_down_interface(name) : -1;
}

void free_device(uint32_t sim_id, uint32_t uta_cid) {
    if (gprs_set_dev_state(sim_id, uta_cid, PDP_DEV_DO_CLOSE) != 0) {
        RIL_TRACE(TRACE_ERROR, "data channel close failed.. retry mechanism needed\n");
    }
    gprs_set_pdp_state(sim_id, PDP_DEV_FREE, uta_cid);
}

// Goes on with a scan for the request of a context, whose place the scan's own context takes.
void scan_in_place_of(uint32_t sim_id, uint32_t ctxt_id) {
    RIL_TRACE(TRACE_EVENT, "%s: Start net scan\n", "bringdownalldatainterface");
    const ril_request request = {sim_id, RIL_REQUEST_QUERY_AVAILABLE_NETWORKS, rilreq_state_info[ctxt_id].token};
    qelril_free_and_return(ctxt_id);
    request_context context(request, "ril_request_query_available_networks");
    if (context) {
        net_scan_without_data_calls(sim_id, context.hand_over());
    }
}

// --- Android takes a call down ---------------------------------------------------------------------------------------

void ril_request_gprs_rsp_deactivate_data_call(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    const uint32_t uta_cid = gprs_context_data(ctxt_id)->uta_cid;
    if (deactivate_pdp_beforenetscan != 0 && gprs_context_data(ctxt_id)->undefined) {
        bring_down_interface_of(uta_cid);
        gprs_remove_data_call_list(sim_id, uta_cid);
        free_device(sim_id, uta_cid);
        scan_in_place_of(sim_id, ctxt_id);
        return;
    }
    if (!succeeded) {
        RIL_TRACE(TRACE_ERROR, "%s: Returning RIL_E_GENERIC_FAILURE to Android\n", __func__);
        gprs_set_pdp_state(sim_id, PDP_DEV_CONNECTED, uta_cid);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    const bool down = bring_down_interface_of(uta_cid) == 0;
    RIL_TRACE(down ? TRACE_EVENT : TRACE_ERROR,
              down ? "%s: Successfully brought down the interface\n" : "%s: Failed to bring down the interface\n",
              __func__);
    free_device(sim_id, uta_cid);
    qelril_complete_and_return(ctxt_id, down ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

enum : uint8_t { UNDO_RELEASE, UNDO_NOTHING };

constexpr std::array<chain_step, 1> c_release = {{{gprs_release_cid, nullptr}}};

constexpr std::array<chain_step, 3> c_deactivation_steps = {{
    {gprs_deactivate_pdp_context, rsp_cb_deactivate, UNDO_NOTHING},
    {undefine_pdp, rsp_cb_undefine_primary, UNDO_RELEASE},
    {gprs_release_cid, nullptr},
}};

constexpr chain c_deactivation = {c_deactivation_steps, c_release, ril_request_gprs_rsp_deactivate_data_call};

// Null, and nothing happened, without memory or a context.
T_GPRS_PDP_CONTEXT_DATA* take_context(RIL_Token token, uint32_t uta_cid, uint32_t& ctxt_id) {
    const int32_t free_id = qelril_get_free_ctxt_id(token);
    if (free_id < 0) {
        return nullptr;
    }
    ctxt_id = static_cast<uint32_t>(free_id);
    void* area = nullptr;
    if (qelril_create_priv_area(ctxt_id, sizeof(T_GPRS_PDP_CONTEXT_DATA), &area) != 0) {
        qelril_free_and_return(ctxt_id);
        return nullptr;
    }
    auto* const record = static_cast<T_GPRS_PDP_CONTEXT_DATA*>(area);
    record->req_type = PDP_REQ_DEACTIVATE;
    record->uta_cid = uta_cid;
    return record;
}

// --- All calls make room for a scan ----------------------------------------------------------------------------------

constexpr std::array<chain_step, 2> c_undefine_steps = {{
    {undefine_pdp, rsp_cb_undefine_primary, UNDO_RELEASE},
    {gprs_release_cid, nullptr},
}};

constexpr chain c_undefine = {c_undefine_steps, c_release,
                              [](uint32_t, uint32_t ctxt_id, bool) { qelril_free_and_return(ctxt_id); }};

// On a context of its own: the scan's is gone when the answer comes, which is what gives the number back to the modem.
void undefine_by_itself(uint32_t sim_id, uint32_t uta_cid) {
    uint32_t ctxt_id = 0;
    if (take_context(nullptr, uta_cid, ctxt_id) != nullptr) {
        chain_start(c_undefine, sim_id, ctxt_id, 0, UNDO_NOTHING);
    } else {
        send_undefine(sim_id, uta_cid, 0);
    }
}

void bringdownalldatainterface(uint32_t sim_id, uint32_t ctxt_id) {
    for (uint32_t index = 0; index < gprs_devices(sim_id).size(); ++index) {
        if (gprs_is_pdp_active(sim_id, index) != 1) {
            continue;
        }
        const uint32_t uta_cid = gprs_get_cid(sim_id, index);
        undefine_by_itself(sim_id, uta_cid);
        if (bring_down_interface_of(uta_cid) == 0) {
            gprs_remove_data_call_list(sim_id, uta_cid);
        }
        free_device(sim_id, uta_cid);
    }
    scan_in_place_of(sim_id, ctxt_id);
}

chain_sent deactivate_all(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsDeactivateReqParams every_context{};
    return RemUtaMsCallPsDeactivateReq(sim_id, &every_context, uta_context_id(ctxt_id)) == 0 ? CHAIN_SENT
                                                                                             : CHAIN_NOT_SENT;
}

void finish_clearing(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    if (!succeeded) {
        deactivate_pdp_beforenetscan = 0;  // no scan will end that lets data calls in again
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    bringdownalldatainterface(sim_id, ctxt_id);
    ril_unsol_data_call_list_change(sim_id);
}

constexpr std::array<chain_step, 1> c_clearing_steps = {{{deactivate_all, rsp_cb_deactivate}}};
constexpr chain c_clearing = {c_clearing_steps, {}, finish_clearing};

// --- The network ends a call -----------------------------------------------------------------------------------------

enum deactivation_origin : int32_t { DEACTIVATED_BY_NETWORK = 0 };

void ind_cb_deactivate(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallPsDeactivateIndCbParams*>(p_params);
    set_last_failure_error_cause(sim_id, indication.cause);
    const auto uta_cid = static_cast<uint32_t>(indication.id.cid);
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev == nullptr) {
        return;
    }
    if (dev->has_data_call) {
        gprs_remove_data_call_list(sim_id, uta_cid);
    }
    if (indication.origin != DEACTIVATED_BY_NETWORK && dev->dev_state == PDP_DEV_CLOSING) {
        RIL_TRACE(TRACE_EVENT, "%s: ME DEACT\n", __func__);
        return;
    }
    RIL_TRACE(TRACE_EVENT, "%s: NW DEACT, pdp_state: %d\n", __func__, static_cast<int>(dev->dev_state));
    if (uta_cid == c_gprs_network_cid && dev->dev_state == PDP_DEV_OPENING) {
        // The network's own context has ended before Android asked for it; nothing else would free its device.
        dev->apn[0] = '\0';
        dev->dev_state = PDP_DEV_FREE;
    }
    gprs_network_deactivate(sim_id, uta_cid);
    ril_unsol_data_call_list_change(sim_id);
}

// --- The network activates a context by itself -----------------------------------------------------------------------

chain_sent get_primary(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsGetPrimaryReqParams param{{static_cast<int32_t>(c_gprs_network_cid)}};
    return RemUtaMsCallPsGetPrimaryReq(sim_id, &param, uta_context_id(ctxt_id)) == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

chain_answer rsp_cb_getprimary(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)ctxt_id;
    const auto& response = *static_cast<const UtaCallPsGetPrimaryRspCbParams*>(p_params);
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, c_gprs_network_cid);
    if (response.result != 0 || dev == nullptr) {
        return CHAIN_FAIL;
    }
    memcpy(dev->apn, response.context.apn, sizeof(dev->apn));
    static_assert(sizeof(dev->apn) == sizeof(response.context.apn));
    return CHAIN_NEXT;
}

// A device whose access point is not known is of no use to anybody.
void forget_default_without_apn(uint32_t sim_id) {
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, c_gprs_network_cid);
    if (dev != nullptr && dev->dev_state == PDP_DEV_OPENING && dev->apn[0] == '\0') {
        dev->dev_state = PDP_DEV_FREE;
    }
}

constexpr std::array<chain_step, 1> c_default_steps = {{{get_primary, rsp_cb_getprimary}}};

constexpr chain c_default = {c_default_steps, {}, [](uint32_t sim_id, uint32_t ctxt_id, bool) {
                                 forget_default_without_apn(sim_id);
                                 qelril_free_and_return(ctxt_id);
                             }};

void ind_cb_ps_activate_status(uint32_t sim_id, const void* p_params) {
    const UtaCallPsPdpContextId id = static_cast<const UtaCallPsActivateStatusIndCbParams*>(p_params)->id;
    if (id.cid != static_cast<int32_t>(c_gprs_network_cid)) {
        RIL_TRACE(TRACE_EVENT, "%s: returning as cid %d came requested by android \n", __func__, id.cid);
        return;
    }
    gprs_set_pdp_in_use_if_free(sim_id, c_gprs_network_cid);
    const int32_t ctxt_id = qelril_get_free_ctxt_id(nullptr);
    if (ctxt_id < 0) {
        forget_default_without_apn(sim_id);
        return;
    }
    chain_start(c_default, sim_id, static_cast<uint32_t>(ctxt_id));
}

}  // namespace

int32_t gprs_deactivate(const ril_request& request, uint32_t uta_cid) {
    if (gprs_is_pdp_in_use(request.sim_id, uta_cid) != 0) {
        RIL_TRACE(TRACE_ERROR, "Mutilple request or request already in process\n");
        return -1;
    }
    uint32_t ctxt_id = 0;
    if (take_context(request.token, uta_cid, ctxt_id) == nullptr) {
        gprs_set_pdp_state(request.sim_id, PDP_DEV_CONNECTED, uta_cid);
        return -1;
    }
    chain_start(c_deactivation, request.sim_id, ctxt_id, 0, UNDO_NOTHING);
    return 0;
}

void bringdownconnection(uint32_t sim_id, uint32_t ctxt_id) {
    deactivate_pdp_beforenetscan = 1;
    chain_start(c_clearing, sim_id, ctxt_id);
}

void gprs_network_deactivate(uint32_t sim_id, uint32_t uta_cid) {
    pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s invalid pdp ctxt id\n", __func__);
        return;
    }
    if (dev->dev_state != PDP_DEV_CONNECTED) {
        RIL_TRACE(TRACE_ERROR, "%s pdp not active\n", __func__);
        return;
    }
    const UtaCallPsPdpContextId cid{static_cast<int32_t>(uta_cid)};
    if (RemUtaMsCallPsReleasePdpContextId(sim_id, &cid) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsCallPsReleasePdpContextId failed\n", __func__);
    }
    char name[14];
    if (!gprs_interface_name(gprs_index_of(sim_id, *dev), name) || gprs_bring_down_interface(name) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s gprs_bring_down_interface failed\n", __func__);
    }
    if (gprs_set_dev_state(sim_id, uta_cid, PDP_DEV_DO_CLOSE) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s gprs_set_dev_state failed\n", __func__);
    }
    gprs_set_pdp_state(sim_id, PDP_DEV_FREE, uta_cid);
}

void UtaMsCallPsDeactivateRspCb(uint32_t sim_id, const UtaCallPsDeactivateRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_deactivate>);
}

void UtaMsCallPsUndefinePrimaryRspCb(uint32_t sim_id, const UtaCallPsUndefinePrimaryRspCbParams* param,
                                     uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_undefine_primary>);
}

void UtaMsCallPsDeactivateIndCb(uint32_t sim_id, const UtaCallPsDeactivateIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, ind_cb_deactivate);
}

void UtaMsCallPsActivateStatusIndCb(uint32_t sim_id, const UtaCallPsActivateStatusIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, ind_cb_ps_activate_status);
}

void UtaMsCallPsGetPrimaryRspCb(uint32_t sim_id, const UtaCallPsGetPrimaryRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_getprimary>);
}
