// What the network answers to a service: its state, or that the operation was done.
#include <algorithm>
#include <array>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/ss/ss.h"
#include "ril/core/src/ss/ussd.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

enum op_code : int32_t {
    UTA_SS_OC_ACTIVATION = 0,
    UTA_SS_OC_DEACTIVATION = 1,
    UTA_SS_OC_ERASURE = 3,
    UTA_SS_OC_INTERROGATION = 4,
};

constexpr int32_t UTA_SS_BSG_ALL_SERVICES = 0;
constexpr size_t c_entries_max = std::size(UtaSsCallForwardingIndParamStruct{}.entries);

void complete(uint32_t ctxt_id, RIL_Errno error) {
    qelril_complete_and_return(ctxt_id, error, nullptr, 0);
}

template <size_t count>
void complete_with(uint32_t ctxt_id, std::array<int32_t, count> values) {
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, values.data(), sizeof(values));
}

// A list tells at most as many entries as it has places.
template <class Answer>
auto entries_of(const Answer& answer) {
    return std::span(answer.entries).first(std::min<size_t>(answer.count, std::size(answer.entries)));
}

// 1 for an active service.
int32_t ss_get_status_code(int32_t status) {
    constexpr uint32_t c_active = 0xAA;  // by status
    constexpr int32_t c_statuses = 8;
    return status >= 0 && status < c_statuses ? static_cast<int32_t>(c_active >> status & 1U) : 0;
}

// Android's service class.
int32_t ss_get_basic_service_group(int32_t group) {
    switch (group) {
        case 3:
            return 2;
        case 4:
            return 4;
        case 5:
            return 8;
        case 10:
        case 13:
            return 32;
        case 11:
        case 12:
            return 16;
        case 14:
        case 255:
            return 256;
        default:
            return 1;
    }
}

RIL_CallForwardInfo forward_info(const UtaSsCallForwardingEntry& entry, int32_t reason) {
    constexpr int32_t c_international = 145;  // 3GPP TS 24.008, 10.5.4.7
    constexpr int32_t c_unknown = 129;
    RIL_CallForwardInfo info{};
    info.status = ss_get_status_code(entry.status);
    info.reason = reason;
    info.serviceClass = ss_get_basic_service_group(entry.basic_service_group);
    info.number = const_cast<char*>(entry.number);  // Android's interface has no const
    if (entry.number[0] != '\0') {
        info.toa = entry.number[0] == '+' ? c_international : c_unknown;
        info.timeSeconds = entry.time;
    }
    return info;
}

void complete_with_forwarding(uint32_t ctxt_id, const UtaSsCallForwardingIndParamStruct& answer) {
    int32_t reason = 0;
    if (const void* area = rilreq_state_info[ctxt_id].p_priv_data; area != nullptr) {
        reason = *static_cast<const int32_t*>(area);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: p_priv_data NULL, can't get reason code\n", "ss_async_UtaMsSsCallForwardingIndCb");
    }
    std::array<RIL_CallForwardInfo, c_entries_max> infos;
    std::array<RIL_CallForwardInfo*, c_entries_max> list;
    size_t count = 0;
    for (const UtaSsCallForwardingEntry& entry : entries_of(answer)) {
        infos[count] = forward_info(entry, reason);
        list[count] = &infos[count];
        ++count;
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, list.data(), count * sizeof(void*));
}

// An operation that is none of the known ones has failed.
void ss_async_UtaMsSsCallForwardingIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const auto& answer = *static_cast<const UtaSsCallForwardingIndParamStruct*>(p_params);
    if (answer.op_code == UTA_SS_OC_INTERROGATION) {
        complete_with_forwarding(ctxt_id, answer);
        return;
    }
    const bool is_done = answer.op_code >= UTA_SS_OC_ACTIVATION && answer.op_code <= UTA_SS_OC_ERASURE;
    complete(ctxt_id, is_done ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void complete_with_waiting(uint32_t ctxt_id, const UtaSsCallWaitingIndParamStruct& answer) {
    constexpr int32_t c_mask_max = 128;
    int32_t mask = 0;
    for (const UtaSsCallWaitingEntry& entry : entries_of(answer)) {
        if (ss_get_status_code(entry.status) == 1) {
            mask |= ss_get_basic_service_group(entry.basic_service_group);
        }
    }
    if (mask > 0 && mask <= c_mask_max) {
        complete_with<2>(ctxt_id, {1, mask});
    } else {
        complete_with<1>(ctxt_id, {0});
    }
}

void ss_async_UtaMsSsCallWaitingIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const auto& answer = *static_cast<const UtaSsCallWaitingIndParamStruct*>(p_params);
    if (answer.op_code == UTA_SS_OC_INTERROGATION) {
        complete_with_waiting(ctxt_id, answer);
        return;
    }
    const bool is_done = answer.op_code == UTA_SS_OC_ACTIVATION || answer.op_code == UTA_SS_OC_DEACTIVATION;
    complete(ctxt_id, is_done ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
}

void ss_async_UtaMsSsCallBarringIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    constexpr int32_t c_op_code_max = 6;
    const auto& answer = *static_cast<const UtaSsCallBarringIndParamStruct*>(p_params);
    const auto entries = entries_of(answer);
    int32_t result = 0;
    if (answer.op_code <= c_op_code_max && !entries.empty()) {
        const bool all_services = answer.basic_service_group == UTA_SS_BSG_ALL_SERVICES;
        result = ss_get_status_code(all_services ? entries.front().status : entries.back().status);
    }
    complete_with<1>(ctxt_id, {result});
}

// Of a subscriber without a setting of his own, what the modem keeps.
int32_t read_clir_setting(uint32_t sim_id) {
    constexpr int32_t c_nvm_clir_read = 9;
    UtaCpsNvmReadDataParam param{};
    param.item = c_nvm_clir_read;
    if (RemUtaMsCpsNvmRead(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCpsNvmRead Failed\n", "ss_async_UtaMsSsClirIndCb");
        return 0;
    }
    return param.value;
}

void ss_async_UtaMsSsClirIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    constexpr std::array<int32_t, 3> c_of_setting = {0, 2, 1};      // Android's number
    constexpr std::array<int32_t, 3> c_of_restriction = {1, 3, 4};  // 3GPP TS 27.007, 7.7, parameter m
    constexpr int32_t c_unknown = 2;
    const auto& answer = *static_cast<const UtaSsClirIndParamStruct*>(p_params);
    int32_t status = 0;
    if (answer.status != 0) {
        const auto restriction = static_cast<uint32_t>(answer.cli_restriction);
        status = restriction < c_of_restriction.size() ? c_of_restriction[restriction] : c_unknown;
    }
    uint32_t setting = pAggprofileDB[sim_id % pAggprofileDB.size()].clir_n;
    if (setting == 0) {
        setting = static_cast<uint32_t>(read_clir_setting(sim_id));
    }
    complete_with<2>(ctxt_id, {setting < c_of_setting.size() ? c_of_setting[setting] : 0, status});
}

int32_t clip_status(int32_t status) {
    switch (status) {
        case 2:
            return 0;
        case 1:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7:
            return 1;
        default:
            return 2;
    }
}

const char* colp_text(int32_t status) {
    switch (status) {
        case 1:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7:
            return "Connected Line ID Presentation Service is Enabled";
        case 0:
        case 2:
            return "Connected Line ID Presentation Service is Disabled";
        default:
            return c_colp_unknown;
    }
}

void ss_async_UtaMsSsIdentificationStatusIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& answer = *static_cast<const UtaSsIdentificationStatusIndParamStruct*>(p_params);
    int32_t result = 2;
    if (answer.service_code == UTA_SS_SC_CLIP) {
        result = clip_status(answer.status);
        pAggprofileDB[sim_id % pAggprofileDB.size()].clir_m = static_cast<uint16_t>(result);
    } else if (answer.service_code == UTA_SS_SC_COLP) {
        ss_onUnsolicited_ussd(sim_id, colp_text(answer.status), c_ussd_notify);
    }
    complete_with<1>(ctxt_id, {result});
}

void ss_async_UtaMsSsChangePwIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    (void)p_params;
    complete(ctxt_id, RIL_E_SUCCESS);
}

// The exchange is over; what it was about has been told before.
void ss_async_UtaMsSsEndIndCb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    (void)p_params;
    (void)ctxt_id;
}

}  // namespace

void UtaMsSsCallForwardingIndCb(uint32_t sim_id, const UtaSsCallForwardingIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsCallForwardingIndCb);
}

void UtaMsSsCallWaitingIndCb(uint32_t sim_id, const UtaSsCallWaitingIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsCallWaitingIndCb);
}

void UtaMsSsCallBarringIndCb(uint32_t sim_id, const UtaSsCallBarringIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsCallBarringIndCb);
}

void UtaMsSsClirIndCb(uint32_t sim_id, const UtaSsClirIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsClirIndCb);
}

void UtaMsSsIdentificationStatusIndCb(uint32_t sim_id, const UtaSsIdentificationStatusIndParamStruct* param,
                                      uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsIdentificationStatusIndCb);
}

void UtaMsSsChangePwIndCb(uint32_t sim_id, const UtaSsChangePwIndParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_async_UtaMsSsChangePwIndCb);
}

void UtaMsSsEndIndCb(uint32_t sim_id, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, nullptr, context_id, ss_async_UtaMsSsEndIndCb);
}
