// The setup of a data call, from a number of the modem for it to a configured interface.
#include "ril/core/src/gprs/setup.h"

#include <array>
#include <cstring>

#include "ril/core/src/async_ril/chain.h"
#include "ril/core/src/gprs/context_steps.h"
#include "ril/core/src/gprs/data_call_list.h"
#include "ril/core/src/gprs/fail_cause.h"
#include "ril/core/src/gprs/interface.h"
#include "ril/core/src/gprs/pdp_context_data.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/core/src/net/net.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_pap = 1;
constexpr int32_t c_connect_value = 6;
constexpr int32_t c_last_ip_type = 6;

UtaCallPsPdpContextId id_of(const T_GPRS_PDP_CONTEXT_DATA& record) {
    return {static_cast<int32_t>(record.uta_cid)};
}

// A refusal of the modem is why the call failed.
chain_answer take_result(uint32_t sim_id, int32_t result) {
    if (result == 0) {
        return CHAIN_NEXT;
    }
    set_last_failure_error_cause(sim_id, result);
    return CHAIN_FAIL;
}

chain_answer fail_without_cause(uint32_t sim_id) {
    set_last_failure_error_cause(sim_id, c_uta_no_cause);
    return CHAIN_FAIL;
}

chain_sent sent(int32_t result) {
    return result == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

// The same where a failure to send is recorded.
chain_sent sent_or_recorded(uint32_t sim_id, int32_t result) {
    if (result != 0) {
        set_last_failure_error_cause(sim_id, c_uta_no_cause);
    }
    return sent(result);
}

// --- Define ----------------------------------------------------------------------------------------------------------

chain_sent define_pdp(uint32_t sim_id, uint32_t ctxt_id) {
    const T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    UtaCallPsDefinePrimaryReqParams param{};
    param.context.id = id_of(record);
    memcpy(param.context.apn, record.apn, sizeof(record.apn));
    static_assert(sizeof(param.context.apn) == sizeof(record.apn));
    param.context.address.ip_type = static_cast<int32_t>(record.ip_type);
    return sent(RemUtaMsCallPsDefinePrimaryReq(sim_id, &param, uta_context_id(ctxt_id)));
}

chain_answer rsp_cb_define_primary(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)ctxt_id;
    return take_result(sim_id, static_cast<const UtaCallPsDefinePrimaryRspCbParams*>(p_params)->result);
}

// --- Authentication --------------------------------------------------------------------------------------------------

chain_sent authenticate(uint32_t sim_id, uint32_t ctxt_id) {
    const T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    if (record.auth.auth_type == 0) {
        return CHAIN_DONE;
    }
    UtaCallPsSetAuthenticationReqParams param{};
    param.id = id_of(record);
    static_assert(sizeof(param.username) == sizeof(record.auth.username));
    static_assert(sizeof(param.password) == sizeof(record.auth.password));
    memcpy(param.username, record.auth.username, sizeof(param.username));
    memcpy(param.password, record.auth.password, sizeof(param.password));
    param.auth_type = c_pap;
    return sent_or_recorded(sim_id, RemUtaMsCallPsSetAuthenticationReq(sim_id, &param, uta_context_id(ctxt_id)));
}

chain_answer rsp_cb_set_authentication(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)ctxt_id;
    return take_result(sim_id, static_cast<const UtaCallPsSetAuthenticationRspCbParams*>(p_params)->result);
}

// --- Name servers, asked for -----------------------------------------------------------------------------------------

pdp_dns_req first_dns_request(uint32_t ip_type) {
    switch (ip_type) {
        case 1:
        case 4:
            return PDP_DNS_IPV4;
        case 3:
        case 6:
            return PDP_DNS_IPV4_THEN_IPV6;
        default:
            return PDP_DNS_IPV6;
    }
}

int32_t send_dns_request(uint32_t sim_id, uint32_t ctxt_id, pdp_dns_req type) {
    const UtaCallPsSetReqDnsReqParams param{id_of(*gprs_context_data(ctxt_id)), static_cast<int32_t>(type)};
    return RemUtaMsCallPsSetReqDnsReq(sim_id, &param, uta_context_id(ctxt_id));
}

// Runs once more for the second protocol.
chain_sent set_dns_req(uint32_t sim_id, uint32_t ctxt_id) {
    T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    if (record.dns_req_state == PDP_DNS_IPV4_THEN_IPV6) {
        record.dns_req_state = PDP_DNS_DONE;
        return sent(send_dns_request(sim_id, ctxt_id, PDP_DNS_IPV6));
    }
    record.dns_req_state = first_dns_request(record.ip_type);
    const pdp_dns_req type = record.dns_req_state == PDP_DNS_IPV6 ? PDP_DNS_IPV6 : PDP_DNS_IPV4;
    const int32_t result = send_dns_request(sim_id, ctxt_id, type);
    return record.auth.auth_type == 0 ? sent_or_recorded(sim_id, result) : sent(result);
}

chain_answer rsp_cb_set_req_dns(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const chain_answer answer =
        take_result(sim_id, static_cast<const UtaCallPsSetReqDnsRspCbParams*>(p_params)->result);
    T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    if (answer == CHAIN_NEXT && record.dns_req_state == PDP_DNS_IPV4_THEN_IPV6) {
        return CHAIN_AGAIN;
    }
    record.dns_req_state = PDP_DNS_DONE;
    return answer;
}

// --- Activate --------------------------------------------------------------------------------------------------------

chain_sent activate(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsActivateReqParams param{id_of(*gprs_context_data(ctxt_id)), 0};
    return sent(RemUtaMsCallPsActivateReq(sim_id, &param, uta_context_id(ctxt_id)));
}

chain_answer rsp_cb_activate(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallPsActivateRspCbParams*>(p_params);
    RIL_TRACE(TRACE_DETAIL, "%s: result = %d, SM cause = %d, context_id = %x\n", __func__, response.result,
              response.sm_cause, ctxt_id);
    return take_result(sim_id, response.result);
}

// --- The address -----------------------------------------------------------------------------------------------------

chain_sent get_ip_addr(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsGetNegIpAddrReqParams param{id_of(*gprs_context_data(ctxt_id))};
    return sent(RemUtaMsCallPsGetNegIpAddrReq(sim_id, &param, uta_context_id(ctxt_id)));
}

chain_answer rsp_cb_get_ip_addr(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallPsGetNegIpAddrRspCbParams*>(p_params);
    if (response.result != 0) {
        return take_result(sim_id, response.result);
    }
    const UtaCallPsIpAddress& address = response.address;
    if (address.ip_type < 1 || address.ip_type > c_last_ip_type) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR IP address type is invalid %d \n", __func__, address.ip_type);
        return fail_without_cause(sim_id);
    }
    T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    record.ip_type = static_cast<uint32_t>(address.ip_type);
    memcpy(record.ip_addr, address.ip_addr, sizeof(record.ip_addr));
    return CHAIN_NEXT;
}

// --- Name servers, given ---------------------------------------------------------------------------------------------

chain_sent get_dns(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsGetNegotiatedDnsReqParams param{id_of(*gprs_context_data(ctxt_id))};
    return sent_or_recorded(sim_id, RemUtaMsCallPsGetNegotiatedDnsReq(sim_id, &param, uta_context_id(ctxt_id)));
}

chain_answer rsp_cb_get_dns(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallPsGetNegotiatedDnsRspCbParams*>(p_params);
    if (response.result != 0) {
        return take_result(sim_id, response.result);
    }
    if (response.primary_dns.ip_type < 0 || response.primary_dns.ip_type > c_last_ip_type) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR Primary DNS type is incorrect %d\n", __func__, response.primary_dns.ip_type);
        return fail_without_cause(sim_id);
    }
    if (response.num_secondary_dns > c_secondary_dns_max) {
        RIL_TRACE(TRACE_ERROR, "%s: num of Secondary DNS = %dis more than expected = %d\n", __func__,
                  response.num_secondary_dns, static_cast<int>(c_secondary_dns_max));
        return fail_without_cause(sim_id);
    }
    T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    record.primary_dns = response.primary_dns;
    record.num_secondary_dns = response.num_secondary_dns;
    memcpy(record.secondary_dns, response.secondary_dns, sizeof(record.secondary_dns));
    return CHAIN_NEXT;
}

// --- Connect ---------------------------------------------------------------------------------------------------------

chain_sent connect(uint32_t sim_id, uint32_t ctxt_id) {
    const UtaCallPsConnectReqParams param{id_of(*gprs_context_data(ctxt_id)), c_connect_value};
    return sent_or_recorded(sim_id, RemUtaMsCallPsConnectReq(sim_id, &param, uta_context_id(ctxt_id)));
}

// The network's own context was never asked for its address.
void take_default_address(T_GPRS_PDP_CONTEXT_DATA& record, const UtaCallPsNegotiatedAddress& address) {
    constexpr size_t c_ipv4_at = 8;
    record.ip_type = static_cast<uint32_t>(address.address_type);
    if (record.ip_type == PDP_IP) {
        memcpy(record.ip_addr, address.address, sizeof(record.ip_addr));
    } else {
        memcpy(record.ip_addr, address.address + c_ipv4_at, sizeof(uint32_t));
    }
}

chain_answer rsp_cb_connect(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallPsConnectRspCbParams*>(p_params);
    T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    if (record.uta_cid == c_gprs_network_cid) {
        take_default_address(record, response.connection.address);
    }
    if (response.result != 0) {
        return take_result(sim_id, response.result);
    }
    const bool up = gprs_set_dev_state(sim_id, record.uta_cid, PDP_DEV_DO_OPEN) == 0 &&
                    gprs_dev_connect(sim_id, record.uta_cid, response) == 0 && bringup_nw(sim_id, record) == 0;
    return up ? CHAIN_NEXT : fail_without_cause(sim_id);
}

// --- The chain -------------------------------------------------------------------------------------------------------

// A channel that was not opened yet is passed over.
chain_sent close_channel(uint32_t sim_id, uint32_t ctxt_id) {
    const uint32_t uta_cid = gprs_context_data(ctxt_id)->uta_cid;
    const pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid);
    if (dev != nullptr && dev->dev_state != PDP_DEV_OPENING) {
        gprs_set_dev_state(sim_id, uta_cid, PDP_DEV_DO_CLOSE);
    }
    return CHAIN_DONE;
}

enum : uint8_t { UNDO_CONNECTION, UNDO_ACTIVATION, UNDO_DEFINITION, UNDO_CHOICE };

constexpr std::array<chain_step, 4> c_undo = {{
    {close_channel, nullptr},
    {gprs_deactivate_pdp_context, rsp_cb_deactivate},
    {undefine_pdp, rsp_cb_undefine_primary},
    {gprs_release_cid, nullptr},
}};

constexpr uint8_t c_first_of_default = 5;

constexpr std::array<chain_step, 7> c_steps = {{
    {define_pdp, rsp_cb_define_primary, UNDO_CHOICE},
    {authenticate, rsp_cb_set_authentication, UNDO_DEFINITION},
    {set_dns_req, rsp_cb_set_req_dns, UNDO_DEFINITION},
    {activate, rsp_cb_activate, UNDO_DEFINITION},
    {get_ip_addr, rsp_cb_get_ip_addr, UNDO_ACTIVATION},
    {get_dns, rsp_cb_get_dns, UNDO_ACTIVATION},
    {connect, rsp_cb_connect, UNDO_CONNECTION},
}};
static_assert(c_steps[c_first_of_default].send == get_dns);

void ril_request_gprs_rsp_setup_data_call(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    const T_GPRS_PDP_CONTEXT_DATA& record = *gprs_context_data(ctxt_id);
    pdp_ctx_dev* const dev = succeeded ? gprs_find_device(sim_id, record.uta_cid) : nullptr;
    if (dev == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: Returning RIL_E_GENERIC_FAILURE to Android\n", __func__);
        gprs_set_pdp_state(sim_id, PDP_DEV_FREE, record.uta_cid);
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    gprs_add_data_call_list(sim_id, record, *dev);
    pdp_act_nok_flag = 0;
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &dev->data_call.response, sizeof(dev->data_call.response));
}

constexpr chain c_setup = {c_steps, c_undo, ril_request_gprs_rsp_setup_data_call};

// --- Its start -------------------------------------------------------------------------------------------------------

T_GPRS_PDP_CONTEXT_DATA* gprs_alloc_global_ctx_data(request_context& context, pdp_req_type type, uint32_t uta_cid) {
    auto* const record = context.create_area<T_GPRS_PDP_CONTEXT_DATA>();
    if (record == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR malloc failed to create p_pdp_ctxt_data\n", __func__);
        gprs_set_pdp_state(context.sim_id(), PDP_DEV_FREE, uta_cid);
        return nullptr;
    }
    record->req_type = type;
    record->uta_cid = uta_cid;
    return record;
}

// The modem's number counts. One that has a device already belongs to another call, which keeps it.
int32_t obtain_cid(uint32_t sim_id, T_GPRS_PDP_CONTEXT_DATA& record) {
    UtaCallPsPdpContextId obtained{};
    if (RemUtaMsCallPsObtainPdpContextId(sim_id, &obtained) != 0) {
        gprs_set_pdp_state(sim_id, PDP_DEV_FREE, record.uta_cid);
        return -1;
    }
    const auto uta_cid = static_cast<uint32_t>(obtained.cid);
    if (uta_cid == record.uta_cid) {
        return 0;
    }
    RIL_TRACE(TRACE_EVENT, "%s: Change local generated cid %d to modem returned %d\n",
              "gprs_obtain_cid_n_alloc_ctx_data", static_cast<int>(record.uta_cid), static_cast<int>(uta_cid));
    gprs_set_pdp_state(sim_id, PDP_DEV_FREE, record.uta_cid);
    record.uta_cid = uta_cid;
    return gprs_set_pdp_in_use_if_free(sim_id, uta_cid);
}

}  // namespace

void gprs_set_up_new(request_context& context, data_call_texts texts, uint32_t uta_cid) {
    T_GPRS_PDP_CONTEXT_DATA* const record = gprs_alloc_global_ctx_data(context, PDP_REQ_SETUP, uta_cid);
    if (record == nullptr || obtain_cid(context.sim_id(), *record) != 0) {
        return;
    }
    if (gprs_set_session_params(*record, texts) != 0) {
        gprs_release_cid(context.sim_id(), context.id());
        gprs_set_pdp_state(context.sim_id(), PDP_DEV_FREE, record->uta_cid);
        return;
    }
    gprs_copy_text(record->apn, texts[DATA_CALL_APN]);
    pdp_act_nok_flag = 1;
    chain_start(c_setup, context.sim_id(), context.hand_over(), 0, UNDO_CHOICE);
}

void gprs_set_up_default(request_context& context, data_call_texts texts, uint32_t uta_cid) {
    T_GPRS_PDP_CONTEXT_DATA* const record = gprs_alloc_global_ctx_data(context, PDP_REQ_SETUP_DEFAULT, uta_cid);
    if (record == nullptr) {
        return;
    }
    if (gprs_set_session_params(*record, texts) != 0) {
        gprs_set_pdp_state(context.sim_id(), PDP_DEV_FREE, uta_cid);
        return;
    }
    chain_start(c_setup, context.sim_id(), context.hand_over(), c_first_of_default);
}

void UtaMsCallPsDefinePrimaryRspCb(uint32_t sim_id, const UtaCallPsDefinePrimaryRspCbParams* param,
                                   uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_define_primary>);
}

void UtaMsCallPsSetAuthenticationRspCb(uint32_t sim_id, const UtaCallPsSetAuthenticationRspCbParams* param,
                                       uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_set_authentication>);
}

void UtaMsCallPsSetReqDnsRspCb(uint32_t sim_id, const UtaCallPsSetReqDnsRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_set_req_dns>);
}

void UtaMsCallPsActivateRspCb(uint32_t sim_id, const UtaCallPsActivateRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_activate>);
}

void UtaMsCallPsGetNegIpAddrRspCb(uint32_t sim_id, const UtaCallPsGetNegIpAddrRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_get_ip_addr>);
}

void UtaMsCallPsGetNegotiatedDnsRspCb(uint32_t sim_id, const UtaCallPsGetNegotiatedDnsRspCbParams* param,
                                      uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_get_dns>);
}

void UtaMsCallPsConnectRspCb(uint32_t sim_id, const UtaCallPsConnectRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, chain_callback<rsp_cb_connect>);
}
