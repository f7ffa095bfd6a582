// What the network says about calls (3GPP TS 22.082, 22.083, 22.088), their names (3GPP TS 22.096), and who makes the
// ringback tone.
#include <algorithm>
#include <cstring>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/decode/ussd_text.h"
#include "ril/core/src/profile/profile.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

// RIL_SuppSvcNotification::code by the modem's type of notification.
struct Notification {
    int32_t uta_type;
    int32_t code;
    const char* name;
};

constexpr Notification c_mo_notifications[] = {
    {3, 3, "UTA_CALL_CS_NOTIFICATION_WAITING"},
    {6, 2, "UTA_CALL_CS_NOTIFICATION_OUTGOING_CALL_FORWARDED"},
    {8, 0, "UTA_CALL_CS_NOTIFICATION_CFU_IS_ACTIVE"},
    {9, 1, "conditional forwarding"},
    {10, 1, "conditional forwarding"},
    {11, 1, "conditional forwarding"},
    {12, 1, "conditional forwarding"},
    {14, 7, "UTA_CALL_CS_NOTIFICATION_CLIR_REJECTED"},
    {17, 8, "UTA_CALL_CS_NOTIFICATION_INCOMING_CALL_DEFLECTED"},
    {18, 5, "UTA_CALL_CS_NOTIFICATION_OUTGOING_CALL_BARRED"},
    {22, 6, "UTA_CALL_CS_NOTIFICATION_INCOMING_CALL_BARRED"},
};

constexpr Notification c_mt_notifications[] = {
    {0, 2, "UTA_CALL_CS_NOTIFICATION_CALL_HELD"},
    {1, 3, "UTA_CALL_CS_NOTIFICATION_CALL_RETRIEVED"},
    {2, 4, "UTA_CALL_CS_NOTIFICATION_JOINED_MPTY"},
    {4, 0, "UTA_CALL_CS_NOTIFICATION_FORWARDED_CALL_INCOMING"},
    {5, 10, "UTA_CALL_CS_NOTIFICATION_INCOMING_CALL_FORWARDED"},
};

constexpr int32_t c_cssi_cug = 4;
constexpr int32_t c_cssu_cug = 1;

const Notification* find_notification(std::span<const Notification> table, int32_t uta_type) {
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const Notification& it) { return it.uta_type == uta_type; });
    return row != table.end() ? &*row : nullptr;
}

const agg_cssn& switches(uint32_t sim_id) {
    return pAggprofileDB[sim_id % pAggprofileDB.size()].cssn_data;
}

int32_t type_of_address(const char* number) {
    constexpr int32_t c_international = 145;  // 3GPP TS 24.008, 10.5.4.7
    constexpr int32_t c_unknown = 129;
    return number[0] == '+' ? c_international : c_unknown;
}

// False, with a log line, for a call that is not in the table.
bool find_call(const char* function, uint32_t sim_id, int32_t call_id, uint32_t& slot, callmngr_call& call) {
    slot = callmngr_get_call_info_by_call_id(sim_id, call_id, call);
    if (slot >= c_call_slots) {
        RIL_TRACE(TRACE_ERROR, "%s: no call %d, sim_id = %d\n", function, call_id, static_cast<int>(sim_id));
        return false;
    }
    return true;
}

void send_notification(uint32_t sim_id, int32_t notification_type, int32_t code, int32_t index, callmngr_call& call) {
    RIL_SuppSvcNotification notification{};
    notification.notificationType = notification_type;
    notification.code = code;
    notification.index = index;
    notification.type = type_of_address(call.tel_num);
    notification.number = call.tel_num;
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_SUPP_SVC_NOTIFICATION, &notification, sizeof(notification));
}

void ril_unsol_cssi(uint32_t sim_id, int32_t code, int32_t index, callmngr_call& call) {
    send_notification(sim_id, 0, code, code == c_cssi_cug ? index : 0, call);
}

void OnUnsolicited_CSSU(uint32_t sim_id, int32_t code, int32_t index, callmngr_call& call) {
    send_notification(sim_id, 1, code, code == c_cssu_cug ? index : 0, call);
}

void callmngr_call_unsol_resp_cssi(uint32_t sim_id, int32_t uta_type, callmngr_call& call) {
    if (switches(sim_id).n == 0) {
        return;
    }
    const Notification* notification = find_notification(c_mo_notifications, uta_type);
    if (notification == nullptr) {
        RIL_TRACE(TRACE_DETAIL, "%s No case for notification type = %d,sim_id = %d\n", __func__, uta_type,
                  static_cast<int>(sim_id));
        return;
    }
    RIL_TRACE(TRACE_DETAIL, "%s %s, sim_id = %d\n", __func__, notification->name, static_cast<int>(sim_id));
    ril_unsol_cssi(sim_id, notification->code, 0, call);
}

void callmngr_call_unsol_resp_cssu(uint32_t sim_id, int32_t uta_type, callmngr_call& call) {
    if (switches(sim_id).m == 0) {
        return;
    }
    const Notification* notification = find_notification(c_mt_notifications, uta_type);
    if (notification == nullptr) {
        RIL_TRACE(TRACE_DETAIL, "%s No code found for notification type,sim_id = %d\n", __func__,
                  static_cast<int>(sim_id));
        return;
    }
    RIL_TRACE(TRACE_DETAIL, "%s %s, sim_id = %d\n", __func__, notification->name, static_cast<int>(sim_id));
    OnUnsolicited_CSSU(sim_id, notification->code, 0, call);
}

void callmngr_cs_notification_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsNotificationIndCbParams*>(p_params);
    uint32_t slot = 0;
    callmngr_call call;
    if (find_call(__func__, sim_id, indication.call.call_id, slot, call)) {
        callmngr_call_unsol_resp_cssi(sim_id, indication.type, call);
        callmngr_call_unsol_resp_cssu(sim_id, indication.type, call);
    }
}

// Closed user groups, 3GPP TS 22.085.
void callmngr_cs_cug_info_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsCugInfoIndCbParams*>(p_params);
    uint32_t slot = 0;
    callmngr_call call;
    if (!find_call(__func__, sim_id, indication.call.call_id, slot, call)) {
        return;
    }
    if (switches(sim_id).n != 0) {
        ril_unsol_cssi(sim_id, c_cssi_cug, indication.index, call);
    }
    if (switches(sim_id).m != 0 && call.is_mt == 1) {
        OnUnsolicited_CSSU(sim_id, c_cssu_cug, indication.index, call);
    }
}

// Android reads the name with the next list of calls.
void callmngr_calling_name_info_ind(uint32_t sim_id, const void* p_params) {
    constexpr uint8_t c_alphabet_bits = 0x0C;  // 3GPP TS 23.038, clause 5
    constexpr uint8_t c_alphabet_octets = 0x04;
    constexpr uint8_t c_alphabet_ucs2 = 0x08;
    const auto& indication = *static_cast<const UtaCallCsCallingNameInfoIndCbParams*>(p_params);
    uint32_t slot = 0;
    callmngr_call call;
    if (!find_call(__func__, sim_id, indication.call.call_id, slot, call)) {
        return;
    }
    call.name_presentation = static_cast<uint32_t>(indication.name_presentation);
    memset(call.calling_name, 0, sizeof(call.calling_name));
    const std::span name(indication.data, std::min<size_t>(indication.length, sizeof(indication.data)));
    switch (indication.dcs & c_alphabet_bits) {
        case c_alphabet_octets:
            ss_copy_text(name, call.calling_name);
            break;
        case c_alphabet_ucs2:
            ss_util_text_from_ucs2(name, call.calling_name);
            break;
        default:
            ss_unpack_7_bit_char(name, call.calling_name);
            break;
    }
    callmngr_set_call_info(sim_id, slot, call);
}

void ril_unsol_ringback_tone(uint32_t sim_id, int32_t start) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RINGBACK_TONE, &start, sizeof(start));
}

void callmngr_cs_call_progress_ind(uint32_t sim_id, const void* p_params) {
    constexpr int32_t c_ring_back = 1;
    constexpr int32_t c_tone_of_network = 3;
    constexpr int32_t c_no_tone_of_network = 4;
    uint8_t& in_band = callmngr_in_band_availability(sim_id);
    switch (static_cast<const UtaCallCsProgressIndCbParams*>(p_params)->progress) {
        case c_ring_back:
            ril_unsol_ringback_tone(sim_id, 1);
            break;
        case c_tone_of_network:
            if (in_band == 1) {
                in_band = 0;
                ril_unsol_ringback_tone(sim_id, 0);
            }
            break;
        case c_no_tone_of_network:
            if (in_band == 0) {
                in_band = 1;
                ril_unsol_ringback_tone(sim_id, 1);
            }
            break;
        default:
            break;
    }
}

}  // namespace

void UtaMsCallCsProgressIndCb(uint32_t sim_id, const UtaCallCsProgressIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_call_progress_ind);
}

void UtaMsCallCsNotificationIndCb(uint32_t sim_id, const UtaCallCsNotificationIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_notification_ind);
}

void UtaMsCallCsCugInfoIndCb(uint32_t sim_id, const UtaCallCsCugInfoIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_cug_info_ind);
}

void UtaMsCallCsCallingNameInfoIndCb(uint32_t sim_id, const UtaCallCsCallingNameInfoIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_calling_name_info_ind);
}
