// Making and answering a call.
#include <cstring>

#include "ril/core/src/call/call.h"
#include "ril/core/src/profile/profile.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_emergency_digits_max = 6;
constexpr int32_t c_emergency_call = 2;

// 3GPP TS 24.008, 10.5.4.7: the octet behind the length of a called party number.
constexpr uint8_t c_international = 0x91;
constexpr uint8_t c_unknown = 0x81;

// Data that the element has no room for, or that are not there, are refused before anything was sent.
int32_t send_uus(uint32_t sim_id, const RIL_UUS_Info& uus) {
    UtaCallCsUus1Element element{};
    const auto length = static_cast<size_t>(uus.uusLength);
    if (uus.uusLength < 0 || length > sizeof(element.data) || uus.uusData == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: %d bytes refused\n", __func__, uus.uusLength);
        return -1;
    }
    element.type = uus.uusType;
    element.dcs = static_cast<uint8_t>(uus.uusDcs);
    element.length = static_cast<uint8_t>(length);
    memcpy(element.data, uus.uusData, length);
    UtaCallCsSetUus1InfoParams param{};
    param.elements = &element;
    param.count = 1;
    if (RemUtaMsCallCsSetUus1Info(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCallCsSetUus1Info failed\n", "callmngr_start_new_call");
        return -1;
    }
    return 0;
}

int32_t uta_clir(uint32_t sim_id, int32_t clir) {
    constexpr int32_t c_suppress_number = 2;
    constexpr int32_t c_display_number = 1;
    switch (clir) {
        case 1:
            return c_suppress_number;
        case 2:
            return c_display_number;
        default:
            return pAggprofileDB[sim_id % pAggprofileDB.size()].clir_n;
    }
}

}  // namespace

int32_t callmngr_start_new_call(uint32_t sim_id, const char* number, int32_t clir, const RIL_UUS_Info* uus,
                                uint32_t context_id) {
    if (number == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s no number, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return -1;
    }
    if (uus != nullptr && uus->uusLength != 0 && send_uus(sim_id, *uus) != 0) {
        return -1;
    }
    UtaCallCsSetupVoiceCallReqParams param{};
    static_assert(sizeof(param.number) == c_number_digits_max + 1);
    const size_t length = strnlen(number, sizeof(param.number));
    if (length > c_number_digits_max) {
        RIL_TRACE(TRACE_ERROR, "%s Phone number is larger than 81 digits\n", __func__);
        return -1;
    }
    memcpy(param.number, number, length);
    if (length <= c_emergency_digits_max && callmngr_is_ecc(sim_id, number, param.emergency.category) == 1) {
        param.call_type = c_emergency_call;
    }
    param.clir = uta_clir(sim_id, clir);
    param.number_type = number[0] == '+' ? c_international : c_unknown;
    if (RemUtaMsCallCsSetupVoiceCallReq(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s-- Call to UtaCallCsSetupVoiceCallReq failed\n", __func__);
        return -1;
    }
    return 0;
}

int32_t callmngr_answer_call(uint32_t sim_id, const callmngr_call& ringing, uint32_t context_id) {
    const UtaCallCsCallId call_id{static_cast<uint8_t>(ringing.call_id)};
    if (RemUtaMsCallCsAcceptCallReq(sim_id, &call_id, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsCallCsAcceptCallReq failed, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return -1;
    }
    return 0;
}
