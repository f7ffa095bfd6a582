// USSD (3GPP TS 22.090, 24.090): strings to the network, its texts to Android, and whether it waits for an answer.
#include "ril/core/src/ss/ussd.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/decode/ussd_text.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/ss/ss.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

enum ussd_type : int32_t {
    UTA_SS_USSD_IT_MO_DATA = 0,
    UTA_SS_USSD_IT_MO_REQUEST = 1,
    UTA_SS_USSD_IT_NO_NOTIFY = 2,
    UTA_SS_USSD_IT_NO_REQUEST = 3,
};

constexpr size_t c_ussd_octets = sizeof(UtaSsSendUssdParamStruct::data);
constexpr size_t c_text_size = 255;  // of a text for Android, its terminator included

std::array<bool, 2> s_ss_ussd_session_to_continue;  // the network waits for the user's answer

bool& session_to_continue(uint32_t sim_id) {
    return s_ss_ussd_session_to_continue[sim_id % s_ss_ussd_session_to_continue.size()];
}

agg_profile& profile(uint32_t sim_id) {
    return pAggprofileDB[sim_id % pAggprofileDB.size()];
}

// The octets of the packed string, or 0 for one that has none or too many.
size_t pack(const char* string, uint8_t (&data)[c_ussd_octets]) {
    uint8_t packed[c_ussd_octets + 2];
    const size_t length = ss_pack_chars_to_septets(string, packed);
    if (length > c_ussd_octets) {
        return 0;
    }
    memcpy(data, packed, length);
    return length;
}

int32_t answer_network(uint32_t sim_id, const char* string, uint8_t dcs, uint32_t context_id) {
    UtaSsRespondUssdParamStruct param{};
    param.ussd_type = UTA_SS_USSD_IT_NO_REQUEST;
    param.length = static_cast<uint16_t>(pack(string, param.data));
    param.dcs = dcs;
    if (param.length == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Length is less than 0\n", "ss_send_ussd_string");
        return -1;
    }
    if (RemUtaMsSsRespondUssd(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSsRespondUssd failed\n", "ss_send_ussd_string");
        return -1;
    }
    session_to_continue(sim_id) = false;
    return 0;
}

// --- What the network says -------------------------------------------------------------------------------------------

enum class Coding { NONE, GSM, OCTETS, UCS2, UCS2_WITH_LANGUAGE };

// 3GPP TS 23.038, clause 5.
Coding coding_of(uint8_t dcs) {
    constexpr uint8_t c_alphabet_bits = 0x0C;
    constexpr uint8_t c_alphabet_octets = 0x04;
    constexpr uint8_t c_alphabet_ucs2 = 0x08;
    constexpr uint8_t c_gsm_with_language = 16;
    constexpr uint8_t c_ucs2_with_language = 17;
    switch (dcs >> 4) {
        case 4:
        case 5:
        case 6:
        case 7:
        case 9:
        case 15:
            switch (dcs & c_alphabet_bits) {
                case c_alphabet_octets:
                    return Coding::OCTETS;
                case c_alphabet_ucs2:
                    return Coding::UCS2;
                default:
                    return Coding::GSM;
            }
        case 0:
        case 2:
        case 3:
            return Coding::GSM;
        default:
            return dcs == c_gsm_with_language    ? Coding::GSM
                   : dcs == c_ucs2_with_language ? Coding::UCS2_WITH_LANGUAGE
                                                 : Coding::NONE;
    }
}

void decode(const char* function, const UtaSsUssdParamStruct& ussd, char (&text)[c_text_size]) {
    constexpr size_t c_language_octets = 2;
    const std::span data(ussd.data, std::min<size_t>(ussd.length, sizeof(ussd.data)));
    switch (coding_of(ussd.dcs)) {
        case Coding::GSM:
            ss_unpack_7_bit_char(data, text);
            break;
        case Coding::OCTETS:
            ss_copy_text(data, text);
            break;
        case Coding::UCS2:
            ss_util_text_from_ucs2(data, text);
            break;
        case Coding::UCS2_WITH_LANGUAGE:
            ss_util_text_from_ucs2(data.subspan(std::min(data.size(), c_language_octets)), text);
            break;
        case Coding::NONE:
            RIL_TRACE(TRACE_ERROR, "%s: UNKNOWN DATA CODING SCHEME = 0x%02X\n", function, ussd.dcs);
            break;
    }
}

void tell_android(const char* function, uint32_t sim_id, const UtaSsUssdParamStruct& ussd, const char* text,
                  char type) {
    if (type == c_ussd_notify && ussd.length == 0) {
        RIL_TRACE(TRACE_DETAIL, "%s: Empty string, no need to send to Android\n", function);
        return;
    }
    ss_onUnsolicited_ussd(sim_id, text, type);
}

char unexpected(const char* function, int32_t ussd_type) {
    RIL_TRACE(TRACE_ERROR, "%s: Unexpected ussd_type %d (sending Operation Not Supported to Android)\n", function,
              ussd_type);
    return c_ussd_not_supported;
}

void ss_uta_ms_ss_ussd_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& ussd = *static_cast<const UtaSsUssdParamStruct*>(p_params);
    char type = c_ussd_notify;
    switch (ussd.ussd_type) {
        case UTA_SS_USSD_IT_MO_DATA:
        case UTA_SS_USSD_IT_MO_REQUEST:
            session_to_continue(sim_id) = false;
            break;
        case UTA_SS_USSD_IT_NO_REQUEST:
            type = c_ussd_request;
            session_to_continue(sim_id) = true;
            break;
        default:
            type = unexpected(__func__, ussd.ussd_type);
            break;
    }
    char text[c_text_size] = "";
    if (profile(sim_id).ussd_state == SS_USSD_SEND && ussd.length != 0 && type != c_ussd_not_supported) {
        decode(__func__, ussd, text);
    }
    tell_android(__func__, sim_id, ussd, text, type);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
}

// Nobody waits for the answer to the acknowledgement: its context is free by then.
void ss_send_ussd_response_for_no_notification(uint32_t sim_id) {
    const ril_request request{sim_id, 0, nullptr};
    const request_context context(request, __func__);
    if (!context) {
        return;
    }
    UtaSsRespondUssdParamStruct param{};
    param.ussd_type = UTA_SS_USSD_IT_NO_NOTIFY;
    param.dcs = c_ussd_dcs;
    RemUtaMsSsRespondUssd(sim_id, &param, context.uta_id());
}

void ss_uta_ms_ss_ussd_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& ussd = *static_cast<const UtaSsUssdParamStruct*>(p_params);
    char type = c_ussd_notify;
    switch (ussd.ussd_type) {
        case UTA_SS_USSD_IT_NO_NOTIFY:
            ss_send_ussd_response_for_no_notification(sim_id);
            session_to_continue(sim_id) = false;
            break;
        case UTA_SS_USSD_IT_NO_REQUEST:
            type = c_ussd_request;
            session_to_continue(sim_id) = true;
            break;
        default:
            type = unexpected(__func__, ussd.ussd_type);
            break;
    }
    char text[c_text_size] = "";
    if (ussd.length != 0 && type != c_ussd_not_supported) {
        decode(__func__, ussd, text);
    }
    tell_android(__func__, sim_id, ussd, text, type);
}

}  // namespace

void ss_ussd_session_start(uint32_t sim_id) {
    session_to_continue(sim_id) = false;
}

int32_t ss_send_ussd_string(uint32_t sim_id, const char* string, uint8_t dcs, uint32_t context_id) {
    RIL_TRACE(TRACE_SECRET, "%s: %s\n", __func__, string);
    if (session_to_continue(sim_id)) {
        return answer_network(sim_id, string, dcs, context_id);
    }
    UtaSsSendUssdParamStruct param{};
    param.length = static_cast<uint16_t>(pack(string, param.data));
    param.dcs = dcs;
    if (param.length == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Length is <= 0\n", __func__);
        return -1;
    }
    if (RemUtaMsSsSendUssdReq(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSsSendUssdReq failed\n", __func__);
        return -1;
    }
    return 0;
}

int32_t ss_set_supplement_service_data(uint32_t sim_id, ss_ussd_command command, const char* string, uint8_t dcs,
                                       uint32_t context_id) {
    profile(sim_id).ussd_state = command;
    if (command == SS_USSD_CANCEL) {
        RemUtaMsSsAbort(sim_id, context_id);
        session_to_continue(sim_id) = false;
        return 0;
    }
    return ss_send_ussd_string(sim_id, string, dcs, context_id);
}

uint16_t ril_request_get_supplement_service_data(uint32_t sim_id) {
    return profile(sim_id).ussd_state;
}

void ss_onUnsolicited_ussd(uint32_t sim_id, const char* text, char type) {
    const char type_text[] = {type, '\0'};
    const char* const strings[] = {type_text, text[0] != '\0' ? text : nullptr};
    const bool has_text = type == c_ussd_notify || type == c_ussd_request;
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_ON_USSD, strings, has_text ? sizeof(strings) : sizeof(strings[0]));
}

void UtaMsSsUssdRspCb(uint32_t sim_id, const UtaSsUssdParamStruct* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, ss_uta_ms_ss_ussd_rsp_cb);
}

void UtaMsSsUssdIndCb(uint32_t sim_id, const UtaSsUssdParamStruct* param) {
    qelril_post_utamsindcb(sim_id, param, ss_uta_ms_ss_ussd_ind_cb);
}
