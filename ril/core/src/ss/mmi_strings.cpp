// The services as the strings that a user would key in: 3GPP TS 22.030, 6.5.2, with the codes of its annexes B and C.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ril/core/src/net/net.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/ss/ss.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr const char* SS_HASH = "#";
constexpr const char* SS_STAR = "*";
constexpr const char* SS_STAR_HASH = "*#";
constexpr const char* SS_STAR_STAR = "**";
constexpr const char* SS_HASH_HASH = "##";
constexpr const char* SS_CLIR_STRING = "*#31#";
constexpr const char* SS_CLIP_STRING = "*#30#";
constexpr const char* SS_CPWD_PASSWORD_CHANGE_CODE_A = "03";
constexpr const char* SS_CPWD_PASSWORD_CHANGE_CODE_B = "330";
constexpr const char* SS_CCWA_MODE_ENABLE_STR = "*43";
constexpr const char* SS_CCWA_MODE_DISABLE_STR = "#43";
constexpr const char* SS_CCWA_MODE_QUERY_STR = "*#43";
constexpr const char* SS_CCWA_CLASS_VOICE_STR = "*11";
constexpr const char* SS_CCWA_CLASS_DATA_STR = "*20";
constexpr const char* SS_CCWA_CLASS_FAX_STR = "*13";

constexpr size_t c_string_size = 256;
constexpr size_t c_password_max = 8;

// Android's service classes by their basic service codes; any other has none.
constexpr struct {
    int32_t service_class;
    const char* mmi_code;
} s_ss_mmi_code_Info_class_lut[] = {{13, "10"}, {1, "11"},   {12, "12"},  {4, "13"},  {8, "16"},
                                    {5, "19"},  {240, "20"}, {160, "21"}, {80, "22"}, {16, "24"},
                                    {32, "25"}, {64, "26"},  {128, "27"}};

// Null for a class without a code.
const char* mmi_code_of_class(int32_t service_class) {
    for (const auto& row : s_ss_mmi_code_Info_class_lut) {
        if (row.service_class == service_class) {
            return row.mmi_code;
        }
    }
    return nullptr;
}

const char* ss_get_sub_string_for_call_forward_reason(int32_t reason) {
    constexpr const char* c_reasons[] = {"21", "67", "61", "62", "002", "004"};
    return reason >= 0 && reason < static_cast<int32_t>(std::size(c_reasons)) ? c_reasons[reason] : "";
}

const char* ss_get_sub_string_for_call_forward_mode(int32_t mode) {
    constexpr const char* c_modes[] = {SS_HASH, SS_STAR, SS_STAR_HASH, SS_STAR_STAR, SS_HASH_HASH};
    return mode >= 0 && mode < static_cast<int32_t>(std::size(c_modes)) ? c_modes[mode] : "";
}

// Those with a time that the network waits for an answer.
bool reason_has_time(int32_t reason) {
    constexpr int32_t c_no_reply = 2;
    constexpr int32_t c_all = 4;
    constexpr int32_t c_all_conditional = 5;
    return reason == c_no_reply || reason == c_all || reason == c_all_conditional;
}

// A service string in the making. What does not fit makes it too long, and it is never sent.
class MmiString {
public:
    MmiString& add(const char* text) {
        const size_t length = strnlen(text, sizeof(m_text));
        m_fits = m_fits && m_length + length < sizeof(m_text);
        if (m_fits) {
            memcpy(m_text + m_length, text, length);
            m_length += length;
        }
        return *this;
    }
    int32_t send(uint32_t sim_id, uint32_t context_id) const {
        if (!m_fits) {
            RIL_TRACE(TRACE_ERROR, "%s: string too long\n", __func__);
            return -1;
        }
        return ss_send_ussd_string(sim_id, m_text, c_ussd_dcs, context_id);
    }

private:
    char m_text[c_string_size] = "";
    size_t m_length = 0;
    bool m_fits = true;
};

int32_t ss_handle_call_forwarding(uint32_t sim_id, const RIL_CallForwardInfo& info, uint32_t context_id) {
    MmiString string;
    string.add(ss_get_sub_string_for_call_forward_mode(info.status));
    string.add(ss_get_sub_string_for_call_forward_reason(info.reason));
    if (info.status == SS_MODE_DISABLE || info.status == SS_MODE_QUERY) {
        return string.add(SS_HASH).send(sim_id, context_id);
    }
    const char* service = mmi_code_of_class(info.serviceClass);
    char time[4] = "";  // three digits at most
    if (info.status == SS_MODE_REGISTER && reason_has_time(info.reason)) {
        snprintf(time, sizeof(time), "%d", info.timeSeconds);
    }
    // An item that is not there leaves its star to those behind it.
    const char* const items[] = {info.number, service, time[0] != '\0' ? time : nullptr};
    size_t last = std::size(items);
    while (last > 0 && items[last - 1] == nullptr) {
        --last;
    }
    for (size_t i = 0; i < last; ++i) {
        string.add(SS_STAR).add(items[i] != nullptr ? items[i] : "");
    }
    return string.add(SS_HASH).send(sim_id, context_id);
}

bool is_password(const char* password) {
    return strnlen(password, c_password_max + 1) <= c_password_max;
}

}  // namespace

int32_t ss_set_query_call_forwarding(uint32_t sim_id, const RIL_CallForwardInfo& info, uint32_t context_id) {
    if (net_get_modem_registration_state(sim_id) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: not attached to network\n", __func__);
        return -1;
    }
    return ss_handle_call_forwarding(sim_id, info, context_id);
}

int32_t ss_handle_call_waiting(uint32_t sim_id, int32_t mode, int32_t service_class, uint32_t context_id) {
    MmiString string;
    if (mode == SS_MODE_QUERY) {
        return string.add(SS_CCWA_MODE_QUERY_STR).add(SS_HASH).send(sim_id, context_id);
    }
    if (mode == SS_MODE_ENABLE) {
        string.add(SS_CCWA_MODE_ENABLE_STR);
    } else if (mode == SS_MODE_DISABLE) {
        string.add(SS_CCWA_MODE_DISABLE_STR);
    }
    switch (service_class) {
        case 1:
            string.add(SS_CCWA_CLASS_VOICE_STR);
            break;
        case 2:
            string.add(SS_CCWA_CLASS_DATA_STR);
            break;
        case 4:
            string.add(SS_CCWA_CLASS_FAX_STR);
            break;
        default:
            break;
    }
    return string.add(SS_HASH).send(sim_id, context_id);
}

// A mode that no barring has is refused.
int32_t ss_handle_call_barring(uint32_t sim_id, const char* mmi_code, int32_t mode, const char* password,
                               int32_t service_class, uint32_t context_id) {
    MmiString string;
    if (mode == SS_MODE_QUERY) {
        return string.add(SS_STAR_HASH).add(mmi_code).add(SS_HASH).send(sim_id, context_id);
    }
    const char* given = password != nullptr ? password : "";
    if ((mode != SS_MODE_ENABLE && mode != SS_MODE_DISABLE) || !is_password(given)) {
        RIL_TRACE(TRACE_ERROR, "%s: mode %d or the password's length refused\n", __func__, mode);
        return -1;
    }
    string.add(mode == SS_MODE_ENABLE ? SS_STAR : SS_HASH).add(mmi_code).add(SS_STAR).add(given);
    const char* service = mmi_code_of_class(service_class);
    if (service != nullptr) {
        string.add(SS_STAR).add(service);
    }
    return string.add(SS_HASH).send(sim_id, context_id);
}

int32_t ss_change_barring_pwd(uint32_t sim_id, const char* old_password, const char* new_password,
                              uint32_t context_id) {
    if (old_password == nullptr || new_password == nullptr || !is_password(old_password) ||
        !is_password(new_password)) {
        RIL_TRACE(TRACE_ERROR, "%s: no passwords, or too long ones\n", __func__);
        return -1;
    }
    MmiString string;
    for (const char* item :
         {SS_CPWD_PASSWORD_CHANGE_CODE_A, SS_CPWD_PASSWORD_CHANGE_CODE_B, old_password, new_password, new_password}) {
        string.add(SS_STAR).add(item);
    }
    return string.add(SS_HASH).send(sim_id, context_id);
}

int32_t ss_read_clir_status(uint32_t sim_id, uint32_t context_id) {
    return ss_send_ussd_string(sim_id, SS_CLIR_STRING, c_ussd_dcs, context_id);
}

int32_t ss_read_CallingPresentation(uint32_t sim_id, uint32_t context_id) {
    return ss_send_ussd_string(sim_id, SS_CLIP_STRING, c_ussd_dcs, context_id);
}

int32_t ss_set_clir_status(uint32_t sim_id, int32_t value) {
    constexpr int32_t c_nvm_clir_write = 8;
    constexpr int32_t c_invocation = 1;
    constexpr int32_t c_suppression = 2;
    uint16_t& clir_n = pAggprofileDB[sim_id % pAggprofileDB.size()].clir_n;
    clir_n = value == c_invocation ? 2 : value == c_suppression ? 1 : 0;
    UtaCpsNvmWriteDataParam param{};
    param.item = c_nvm_clir_write;
    param.value = clir_n;
    if (RemUtaMsCpsNvmWrite(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Remote call returned FAILURE\n", __func__);
        return -1;
    }
    return 0;
}

int32_t ss_set_ss_notification(uint32_t sim_id, uint32_t value) {
    const auto n = static_cast<uint16_t>(value);
    if (n > 1) {
        RIL_TRACE(TRACE_ERROR, "%s: cssn_data.n !(0/1)\n", __func__);
        return -1;
    }
    pAggprofileDB[sim_id % pAggprofileDB.size()].cssn_data = {n, 0};
    return 0;
}
