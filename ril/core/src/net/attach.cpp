// Attaching to a network: the selection that asks for it, its answers, and the modem's permission.
#include "ril/core/src/net/attach.h"

#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_illegal_cause = 1;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

uint16_t number_of(const char* digits, size_t count) {
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        value = value * 10 + static_cast<uint32_t>(digits[i] - '0');
    }
    return static_cast<uint16_t>(value);
}

// "26201" or "310260" (ITU-T E.212, 6). 0 or -1.
int32_t net_get_plmn_from_operator_name(const char* name, UtaNetPlmn& plmn) {
    constexpr size_t c_mcc_digits = 3;
    constexpr size_t c_digits_min = 5;
    constexpr size_t c_digits_max = 6;
    const size_t length = strnlen(name, c_digits_max + 1);
    if (length < c_digits_min || length > c_digits_max) {
        RIL_TRACE(TRACE_ERROR, "%s: Operator name length is not 5 or 6 digits long\n", __func__);
        return -1;
    }
    for (size_t i = 0; i < length; ++i) {
        if (!is_digit(name[i])) {
            RIL_TRACE(TRACE_ERROR, "%s: Operator name contains non digits\n", __func__);
            return -1;
        }
    }
    plmn.mcc = number_of(name, c_mcc_digits);
    plmn.mnc = number_of(name + c_mcc_digits, length - c_mcc_digits);
    plmn.three_digit_mnc = length == c_digits_max ? 1 : 0;
    return 0;
}

int32_t net_send_cops_cmd(uint32_t sim_id, const net_cops_command& command, uint32_t context_id) {
    UtaNetAttachReqParam param{};
    UtaNetPlmn& plmn = param.network.plmn;
    if (command.mode == c_cops_automatic) {
        net_db(sim_id).operator_selection_mode = c_cops_automatic;
        net_set_attach_status(sim_id, ATTACH_RUNNING_OR_FAILED);
        plmn.mcc = c_net_unspecified;
        plmn.mnc = c_net_unspecified;
    } else if (command.mode == c_cops_manual) {
        net_db(sim_id).operator_selection_mode = c_cops_manual;
        if (net_get_plmn_from_operator_name(command.numeric, plmn) != 0) {
            return -1;
        }
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: Network selection mode not found, sim_id = %d\n", __func__,
                  static_cast<int>(sim_id));
        return -1;
    }
    param.selection_mode = static_cast<int32_t>(command.mode);
    if (RemUtaMsNetAttachReq(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR,
                  command.mode == c_cops_manual
                      ? "%s: COPS_MODE_MANUAL Call to UtaMsNetAttachReq failed, sim_id = %d\n"
                      : "%s: COPS_MODE_AUTOMATIC Call to UtaMsNetAttachReq failed, sim_id = %d\n",
                  __func__, static_cast<int>(sim_id));
        return -1;
    }
    return 0;
}

void net_attach_cnf(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& confirmation = *static_cast<const UtaNetAttachCnfParam*>(p_params);
    net_store_network(sim_id, confirmation.network);
    net_info(sim_id).is_registered = 1;
    net_set_attach_status(sim_id, ATTACH_SUCCEEDED);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
    if (!is_data_sim(sim_id)) {
        net_tell_other_sim_registered();
    }
}

void net_attach_rej(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& rejection = *static_cast<const UtaNetAttachRejParam*>(p_params);
    net_set_attach_status(sim_id,
                          rejection.reject_cause == c_illegal_cause ? ATTACH_ILLEGAL : ATTACH_RUNNING_OR_FAILED);
    net_info(sim_id).is_registered = 0;
    net_info(sim_id).cs_status = 1;
    qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
}

void net_is_attach_allowed_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto allowed =
        static_cast<uint32_t>(static_cast<const UtaNetIsAttachAllowedIndParams*>(p_params)->is_attach_allowed);
    net_attach_allowed[sim_id & 1U] = allowed;
    if (allowed == 1) {
        net_attach_is_allowed_now(sim_id);
    }
}

}  // namespace

void net_select(uint32_t sim_id, const net_cops_command& command, uint32_t ctxt_id) {
    const int32_t result = net_send_cops_cmd(sim_id, command, uta_context_id(ctxt_id));
    if (result == 0) {
        return;
    }
    if (result == -1 && net_attach_status(sim_id) == ATTACH_ILLEGAL) {
        RIL_TRACE(TRACE_ERROR, "%s ERROR RIL_E_ILLEGAL_SIM_OR_ME, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        qelril_complete_and_return(ctxt_id, RIL_E_ILLEGAL_SIM_OR_ME, nullptr, 0);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s RIL_E_GENERIC_FAILURE, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
    }
}

void UtaMsNetAttachCnfCb(uint32_t sim_id, const UtaNetAttachCnfParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_attach_cnf);
}

void UtaMsNetAttachRejCb(uint32_t sim_id, const UtaNetAttachRejParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_attach_rej);
}

void UtaMsNetIsAttachAllowedIndCb(uint32_t sim_id, const UtaNetIsAttachAllowedIndParams* param) {
    qelril_post_utamsindcb(sim_id, param, net_is_attach_allowed_ind_cb);
}
