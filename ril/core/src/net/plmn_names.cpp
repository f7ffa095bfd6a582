#include "ril/core/src/net/plmn_names.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ril/core/src/net/net.h"
#include "ril/core/src/net/operator_table.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

template <size_t size>
void copy_name(char (&out)[size], const char* name, size_t length) {
    const size_t copied = strnlen(name, std::min(length, size - 1));
    memcpy(out, name, copied);
    out[copied] = '\0';
}

template <size_t size, size_t length>
void copy_text(char (&out)[size], const char (&text)[length]) {
    copy_name(out, text, length);
}

// False when the modem has no names, or did not answer at all.
bool ask_modem(uint32_t sim_id, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc,
               UtaNetGetPlmnListDataOutputParam& data, net_plmn_names& out, bool& answered) {
    const UtaNetGetPlmnListDataInputParam wanted = {mcc, mnc, three_digit_mnc};
    const int32_t result = RemUtaMsNetGetPlmnListData(sim_id, &wanted, &data);
    answered = result != c_rpc_transport_failure;
    if (result != 0) {
        return false;
    }
    copy_text(out.long_name, data.long_name);
    copy_text(out.short_name, data.short_name);
    copy_text(out.country, data.country);
    return true;
}

}  // namespace

void net_write_plmn_digits(char* out, size_t size, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc) {
    const int country = std::min(mcc, c_net_code_max);
    const int network = std::min(mnc, c_net_code_max);
    if (three_digit_mnc == 1) {
        snprintf(out, size, "%03d%03d", country, network);
    } else {
        snprintf(out, size, "%03d%02d", country, network);
    }
}

bool net_get_plmn_name_by_id(uint32_t sim_id, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc, bool ask,
                             net_plmn_names& out) {
    out = {};
    out.mcc = std::min(mcc, c_net_code_max);
    out.mnc = std::min(mnc, c_net_code_max);
    bool answered = false;
    if (ask) {
        auto* const data =
            static_cast<UtaNetGetPlmnListDataOutputParam*>(MEM_ALLOC(sizeof(UtaNetGetPlmnListDataOutputParam)));
        if (data == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: malloc failed for plmn long name or short name or country name\n", __func__);
            return true;
        }
        const bool named = ask_modem(sim_id, mcc, mnc, three_digit_mnc, *data, out, answered);
        MEM_FREE(data);
        if (named) {
            return true;
        }
        RIL_TRACE(TRACE_ERROR, "%s: Failed to get PLMN data list\n", __func__);
    }
    net_write_plmn_digits(out.long_name, sizeof(out.long_name), mcc, mnc, three_digit_mnc);
    net_write_plmn_digits(out.short_name, sizeof(out.short_name), mcc, mnc, three_digit_mnc);
    if (const net_operator* const found = net_find_operator(mcc, mnc); found != nullptr) {
        copy_name(out.long_name, found->long_name, c_net_name_size);
        copy_name(out.short_name, found->short_name, c_net_name_size);
        copy_name(out.country, net_operator_country(*found), c_net_name_size);
    }
    return answered;
}

int32_t net_read_plmn_params(uint32_t sim_id, char** out, net_plmn_format format) {
    const net_registered_info& info = net_info(sim_id);
    if (info.is_registered != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: Network is unregistered, sim_id = %d\n", __func__, static_cast<int>(sim_id));
    } else {
        switch (format) {
            case PLMN_LONG_NAME:
                snprintf(*out, c_net_plmn_text_size, "%s", info.long_name);
                return 0;
            case PLMN_SHORT_NAME:
                snprintf(*out, c_net_plmn_text_size, "%s", info.short_name);
                return 0;
            case PLMN_NUMERIC:
                net_write_plmn_digits(*out, c_net_plmn_text_size, info.mcc, info.mnc, info.three_digit_mnc);
                return 0;
            default:
                RIL_TRACE(TRACE_ERROR, "%s: PLMN format not found, sim_id = %d\n", __func__, static_cast<int>(sim_id));
                break;
        }
    }
    MEM_FREE(*out);
    *out = nullptr;
    return -1;
}
