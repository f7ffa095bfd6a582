// What Android asks of a new data call: whether it may be set up, on which device, and how.
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/gprs/pdp_context_data.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/core/src/gprs/setup.h"
#include "ril/core/src/net/net.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_retry_after_scan_ms = 10000;

uint32_t last_cid(uint32_t sim_id) {
    return c_gprs_cid_offset + static_cast<uint32_t>(gprs_devices(sim_id).size());
}

// A text that a record of the modem has no room for is refused before anything is sent.
bool has_room(const char* text, size_t room) {
    return text == nullptr || strnlen(text, room) < room;
}

bool take_wanted_cid(uint32_t sim_id, uint32_t wanted) {
    if (gprs_set_pdp_in_use_if_free(sim_id, wanted) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Requested PDP %d is in activation/deactivation state so wait..\n",
                  "gprs_check_n_print_setup_data_call_params", static_cast<int>(wanted));
        return false;
    }
    return true;
}

bool take_any_cid(uint32_t sim_id, uint32_t& uta_cid) {
    for (uint32_t cid = c_gprs_first_cid; cid <= last_cid(sim_id); ++cid) {
        if (gprs_set_pdp_in_use_if_free(sim_id, cid) == 0) {
            uta_cid = cid;
            return true;
        }
        RIL_TRACE(TRACE_ERROR, "%s: PDP = %d  is in activation/deactivation state\n",
                  "gprs_check_n_print_setup_data_call_params", static_cast<int>(cid));
    }
    RIL_TRACE(TRACE_ERROR, "%s: None of CIDs are available bailing out\n", "gprs_check_n_print_setup_data_call_params");
    return false;
}

bool is_given(const char* text, const char* missing) {
    if (text == nullptr) {
        RIL_TRACE(TRACE_ERROR, missing, "gprs_check_n_print_setup_data_call_params");
    }
    return text != nullptr;
}

template <size_t size>
void take_credential(char (&out)[size], const char* text, const char* missing) {
    if (text == nullptr) {
        RIL_TRACE(TRACE_ERROR, missing, "gprs_set_session_params");
        return;
    }
    gprs_copy_text(out, text);
}

int32_t set_authentication(pdp_auth& auth, data_call_texts texts) {
    constexpr long c_chap = 2;
    constexpr long c_last_type = 3;
    const long type = strtol(texts[DATA_CALL_AUTH_TYPE], nullptr, 10);
    if (type < 0 || type > c_last_type) {
        RIL_TRACE(TRACE_ERROR, "%s: Default No Authentication requested.\n", "gprs_set_session_params");
        return -1;
    }
    if (type == 0) {
        RIL_TRACE(TRACE_DETAIL, "%s: No Authentication requested...\n", "gprs_set_session_params");
        return 0;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: PAP Authentication requested...\n", "gprs_set_session_params");
    auth.auth_type = type == c_chap ? 2 : 1;
    take_credential(auth.username, texts[DATA_CALL_USER], "%s: ERROR Username is not given by android.\n");
    take_credential(auth.password, texts[DATA_CALL_PASSWORD], "%s: ERROR Password is not given by android.\n");
    return 0;
}

int32_t set_protocol(uint32_t& ip_type, const char* protocol) {
    if (strcasecmp(protocol, "IPV6") == 0) {
        ip_type = PDP_IPV6;
    } else if (strcasecmp(protocol, "IPV4V6") == 0) {
        ip_type = PDP_IPV4V6;
    } else if (strcasecmp(protocol, "IP") == 0) {
        ip_type = PDP_IP;
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: NW Tech type %s is not of type V4, V6 or V4v6\n", "gprs_set_session_params",
                  protocol);
        return -1;
    }
    return 0;
}

}  // namespace

uint32_t gprs_is_data_call_allowed(int32_t* retry_ms) {
    if (deactivate_pdp_beforenetscan == 1) {
        *retry_ms = c_retry_after_scan_ms;
        return 0;
    }
    return 1;
}

uint32_t gprs_cid_of_android(uint32_t sim_id, const char* number) {
    // Wide enough for every number that fits in a long of 32 bits; a wider long clamps farther out of the range.
    const int64_t uta_cid = int64_t{strtol(number, nullptr, 10)} + c_gprs_cid_offset;
    if (uta_cid < c_gprs_first_cid || uta_cid > last_cid(sim_id)) {
        RIL_TRACE(TRACE_ERROR, "%s pdp ctx id error", __func__);
        return 0;
    }
    return static_cast<uint32_t>(uta_cid);
}

// True when the device's access point starts with the one that is wanted.
static bool gprs_check_default_pdp_apn(const pdp_ctx_dev& dev, const char* apn) {
    return apn[0] != '\0' && strncmp(dev.apn, apn, strlen(apn)) == 0;
}

bool gprs_find_default_pdp(uint32_t sim_id, const char* apn, uint32_t& uta_cid) {
    for (pdp_ctx_dev& dev : gprs_devices(sim_id)) {
        if (apn != nullptr && gprs_check_default_pdp_apn(dev, apn)) {
            // A call that failed has given the device back, and the context is still there.
            if (gprs_find_device(sim_id, dev.uta_cid) == nullptr) {
                dev.dev_state = PDP_DEV_OPENING;
            }
            uta_cid = dev.uta_cid;
            return true;
        }
    }
    return false;
}

bool gprs_has_room_for_texts(data_call_texts texts) {
    const auto text = [&](size_t at) { return at < texts.size() ? texts[at] : nullptr; };
    return has_room(text(DATA_CALL_APN), sizeof(T_GPRS_PDP_CONTEXT_DATA::apn)) &&
           has_room(text(DATA_CALL_USER), sizeof(pdp_auth::username)) &&
           has_room(text(DATA_CALL_PASSWORD), sizeof(pdp_auth::password));
}

uint32_t gprs_check_n_print_setup_data_call_params(uint32_t sim_id, data_call_texts texts, uint32_t& uta_cid) {
    if (!is_given(texts[DATA_CALL_APN], "%s: APN is NULL or 0\n") ||
        !is_given(texts[DATA_CALL_AUTH_TYPE], "%s: Auth type is NULL\n") ||
        !is_given(texts[DATA_CALL_PROTOCOL], "%s: NW type is NULL\n")) {
        return 0;
    }
    if (texts.size() > DATA_CALL_CID && texts[DATA_CALL_CID] != nullptr) {
        uta_cid = gprs_cid_of_android(sim_id, texts[DATA_CALL_CID]);
        return uta_cid != 0 && take_wanted_cid(sim_id, uta_cid) ? 1 : 0;
    }
    return take_any_cid(sim_id, uta_cid) ? 1 : 0;
}

void gprs_release_choice(uint32_t sim_id, uint32_t uta_cid) {
    gprs_set_pdp_state(sim_id, PDP_DEV_FREE, uta_cid);
}

int32_t gprs_set_session_params(T_GPRS_PDP_CONTEXT_DATA& record, data_call_texts texts) {
    const auto text = [&](size_t at) { return at < texts.size() ? texts[at] : nullptr; };
    if (text(DATA_CALL_AUTH_TYPE) == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: No Authentication not set...\n", __func__);
        return -1;
    }
    if (text(DATA_CALL_PROTOCOL) == nullptr || set_authentication(record.auth, texts) != 0) {
        return -1;
    }
    return set_protocol(record.ip_type, texts[DATA_CALL_PROTOCOL]);
}
