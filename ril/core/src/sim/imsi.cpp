#include "ril/core/src/sim/imsi.h"

#include <algorithm>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"

namespace {

constexpr uint16_t c_ef_imsi = 0x6F07;
constexpr uint8_t c_ef_imsi_size = 9;  // a length byte and the IMSI

void request_get_imsi_onrequest_complete(uint32_t sim_id, uint32_t ctxt_id) {
    const auto& imsi = s_sim_ms_data[sim_id].imsi;
    char text[2 * sizeof(imsi) + 1] = {};
    util_bcd2num(imsi.data(), text, sizeof(text) - 1, imsi.size(), false);
    // The first nibble is no digit (3GPP TS 24.008, 10.5.1.4).
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, text + 1, sizeof(char*));
}

void sim_apdu_cmd_req_read_imsi(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& answer = *static_cast<const UtaSimApduCmdRspParam*>(p_params);
    auto& imsi = s_sim_ms_data[sim_id].imsi;
    imsi = {};
    sim_apdu_status status;
    if (answer.result == 0 && sim_analyse_sim_apdu_result(answer, status) == 1) {
        const std::span<const uint8_t> file = sim_without_sw(sim_apdu_part(answer));
        if (file.size() < c_ef_imsi_size) {
            qelril_free_and_return_generic_failure(ctxt_id);
            return;
        }
        std::copy_n(file.begin() + 1, imsi.size(), imsi.begin());
    } else if (answer.result != 0) {
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: sim_analyze_apdu_result failed\n", __func__);
    }
    request_get_imsi_onrequest_complete(sim_id, ctxt_id);
}

int32_t sim_read_imsi(uint32_t sim_id, uint32_t ctxt_id) {
    UtaSimApduData apdu;
    sim_create_apdu_for_read_binary(sim_id, 0, c_ef_imsi_size, apdu);
    const UtaSimApduCmdReqParam request = {0, SIM_SELECT_AND_GET, sim_file_path(sim_id, c_sim_df_gsm, c_ef_imsi),
                                           &apdu};
    if (sim_apdu_cmd_req(sim_id, request, sim_apdu_cmd_req_read_imsi, ctxt_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_apdu_cmd_req failed\n", __func__);
        return -1;
    }
    return 0;
}

void sim_recovery_rsp_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    constexpr int32_t c_recovered = 2;
    const auto* const answer = static_cast<const UtaSimRecoveryResParams*>(p_params);
    if (answer != nullptr && answer->result == c_recovered) {
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
        return;
    }
    RIL_TRACE(TRACE_ERROR, "%s sim_recovery_res : %d", __func__, answer == nullptr ? -1 : answer->result);
    qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
}

}  // namespace

int32_t sim_get_imsi(uint32_t sim_id, uint32_t ctxt_id) {
    if (s_sim_ms_data[sim_id].imsi[0] != 0) {
        request_get_imsi_onrequest_complete(sim_id, ctxt_id);
        return 0;
    }
    if (sim_read_imsi(sim_id, ctxt_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_read_imsi Error\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsSimRecoveryRspCb(uint32_t sim_id, const UtaSimRecoveryResParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, sim_recovery_rsp_cb);
}
