// The modem asks before it carries out a command of the card or refreshes what it knows of its files, and the answer is
// always yes. Where the indication carries no record, the answer's other fields are 0.
#include "ril/core/src/async_ril/async_ril.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_agreed = 255;

void simtk_refresh_fcn_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaSimTkRefreshFcnIndParam*>(p_params);
    const UtaSimTkRefreshFcnRspParam param = {c_agreed, indication.simtk_transaction_id};
    RemUtaMsSimTkRefreshFcnRsp(sim_id, &param);
}

void simtk_refresh_confirm_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaSimTkRefreshConfirmIndParam*>(p_params);
    RemUtaMsSimTkRefreshConfirmRsp(sim_id, &indication.simtk_transaction_id);
}

void simtk_exec_dtmf_indcb(uint32_t sim_id, const void*) {
    const UtaSimTkExecSendDtmfRspParam param = {c_agreed};
    RemUtaMsSimTkExecDtmfRsp(sim_id, &param);
}

void simtk_exec_ss_ussd_indcb(uint32_t sim_id, const void* p_params) {
    const auto* const indication = static_cast<const UtaSimTkExecSsUssdIndParam*>(p_params);
    UtaSimTkExecSsUssdRspParam param{};
    param.result = c_agreed;
    param.id = indication == nullptr ? uint8_t{0} : indication->id;
    RemUtaMsSimTkExecSsUssdRsp(sim_id, &param);
}

void simtk_exec_sms_pp_indcb(uint32_t sim_id, const void* p_params) {
    const auto* const indication = static_cast<const UtaSimTkExecSmsPpIndParam*>(p_params);
    UtaSimTkExecSmsPpRspParam param{};
    param.result = c_agreed;
    param.id = indication == nullptr ? uint8_t{0} : indication->id;
    RemUtaMsSimTkExecSmsPpRsp(sim_id, &param);
}

}  // namespace

void UtaMsSimTkRefreshFcnIndCb(uint32_t sim_id, const UtaSimTkRefreshFcnIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_refresh_fcn_ind_cb);
}

void UtaMsSimTkRefreshConfirmIndCb(uint32_t sim_id, const UtaSimTkRefreshConfirmIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_refresh_confirm_ind_cb);
}

void UtaMsSimTkExecDtmfIndCb(uint32_t sim_id, const UtaSimTkExecDtmfIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_exec_dtmf_indcb);
}

void UtaMsSimTkExecSsUssdIndCb(uint32_t sim_id, const UtaSimTkExecSsUssdIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_exec_ss_ussd_indcb);
}

void UtaMsSimTkExecSmsPpIndCb(uint32_t sim_id, const UtaSimTkExecSmsPpIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_exec_sms_pp_indcb);
}
