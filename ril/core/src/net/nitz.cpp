// The network's name and time as it sends them itself (3GPP TS 22.042, network identity and time zone).
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/decode/decode.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

// The coding octet of a name (3GPP TS 24.008, 10.5.3.5a).
constexpr uint8_t c_coding_mask = 0x70;
constexpr uint8_t c_coding_ucs2 = 0x10;
constexpr uint8_t c_spare_bits_mask = 0x07;
constexpr uint8_t c_spare_bits_full = 7;  // a whole septet is spare: the last one is no character

constexpr uint8_t c_gsm_default_alphabet = 0;  // as a cell broadcast's coding scheme, 3GPP TS 23.038, clause 5
constexpr size_t c_work_extra = 32;
constexpr size_t c_septets_max = 64;

// Decodes a name with its coding octet in front; `out` is left cleared where that fails. False without memory.
bool get_network_name(std::span<const uint8_t> data, char (&out)[c_net_name_size]) {
    memset(out, 0, sizeof(out));
    const size_t work_size = data.size() + c_work_extra;
    char* const work = static_cast<char*>(MEM_ALLOC(work_size));
    if (work == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s malloc failed\n", "net_nitz_info_ind");
        return false;
    }
    std::array<uint16_t, c_septets_max> text{};
    size_t length = 0;
    if ((data[0] & c_coding_mask) == c_coding_ucs2) {
        decode_ucs2(text, &length, data.subspan(1), DECODE_LANGUAGE_NONE);
    } else {
        uint32_t kind = 0;
        if (decode_gsm(text, c_gsm_default_alphabet, data.subspan(1), &length, true, &kind, AGG_CSCS_GSM) != 1) {
            RIL_TRACE(TRACE_ERROR, "%s decode_gsm failed\n", __func__);
            length = 0;
        }
    }
    if ((data[0] & c_spare_bits_mask) == c_spare_bits_full && length > 0) {
        --length;
    }
    length = std::min(length, text.size());
    size_t written = 0;
    if (uint16str_to_str({work, work_size}, {text.data(), length}, 1, DECODE_KIND_GSM, &written) == 1) {
        memcpy(out, work, std::min({written, strnlen(work, work_size), sizeof(out) - 1}));
    } else {
        RIL_TRACE(TRACE_ERROR, "%s uint16str_to_str failed\n", __func__);
    }
    MEM_FREE(work);
    return true;
}

enum name_result { NAME_NONE, NAME_TAKEN, NAME_NO_MEMORY };

template <size_t room>
name_result take_name(const uint8_t (&octets)[room], uint8_t length, const char* failed,
                      char (&name)[c_net_name_size]) {
    if (length == 0 || octets[0] == 0) {
        return NAME_NONE;
    }
    char decoded[c_net_name_size];
    if (!get_network_name({octets, std::min<size_t>(length, room)}, decoded)) {
        return NAME_NO_MEMORY;
    }
    if (decoded[0] == '\0') {
        RIL_TRACE(TRACE_ERROR, "%s get_network_name(%s)failed \n", "net_nitz_info_ind", failed);
        return NAME_NONE;
    }
    memcpy(name, decoded, sizeof(name));
    return NAME_TAKEN;
}

bool write_system_time(char* out, size_t size) {
    const time_t now = time(nullptr);
    if (now == static_cast<time_t>(-1)) {
        RIL_TRACE(TRACE_ERROR, "%s: failed to convert local time to calender time\n", "net_update_nitz_time");
        return false;
    }
    tm utc{};
    if (gmtime_r(&now, &utc) == nullptr || strftime(out, size, "%y/%m/%d,%T", &utc) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: failed to convert to gmt\n", "net_update_nitz_time");
        return false;
    }
    return true;
}

void ril_unsol_nitz_time_received(uint32_t sim_id, const char* text) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_NITZ_TIME_RECEIVED, text, strlen(text));
}

void net_update_nitz_time(uint32_t sim_id, const UtaNetNitzInfoIndParam& nitz) {
    const int timezone = nitz.is_timezone_available == 1 ? nitz.timezone : 0;  // quarters of an hour
    const int dst = nitz.is_dst_available == 1 ? nitz.dst : 0;
    char date[32];
    if (nitz.is_time_available == 1) {
        snprintf(date, sizeof(date), "%02d/%02d/%02d,%02d:%02d:%02d", nitz.year % 100, nitz.month, nitz.day, nitz.hour,
                 nitz.minute, nitz.second);
    } else if (nitz.is_timezone_available != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: timezone not available\n", __func__);
        return;
    } else if (!write_system_time(date, sizeof(date))) {
        return;
    }
    char text[48];
    snprintf(text, sizeof(text), "%s%+d,%d", date, timezone, dst);
    ril_unsol_nitz_time_received(sim_id, text);
}

void net_nitz_info_ind(uint32_t sim_id, const void* p_params) {
    const auto& nitz = *static_cast<const UtaNetNitzInfoIndParam*>(p_params);
    net_registered_info& info = net_info(sim_id);
    const name_result longname = take_name(nitz.long_name, nitz.long_name_length, "longname", info.long_name);
    if (longname == NAME_NO_MEMORY) {
        return;
    }
    const name_result shortname = take_name(nitz.short_name, nitz.short_name_length, "shortname", info.short_name);
    if (shortname == NAME_NO_MEMORY) {
        return;
    }
    if (longname == NAME_TAKEN || shortname == NAME_TAKEN) {
        RIL_TRACE(TRACE_EVENT, "%s nitz name present\n", __func__);
        if (net_is_dual_sim_conflict() == 0) {
            ril_unsol_response_voice_network_state_changed(sim_id);
        }
    } else {
        RIL_TRACE(TRACE_EVENT, "%s nitz name !present\n", __func__);
    }
    net_update_nitz_time(sim_id, nitz);
}

}  // namespace

void UtaMsNetNitzInfoIndCb(uint32_t sim_id, const UtaNetNitzInfoIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_nitz_info_ind);
}
