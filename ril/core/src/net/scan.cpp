#include "ril/core/src/net/scan.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/data_calls.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/core/src/net/plmn_names.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

uint32_t deactivate_pdp_beforenetscan = 0;

namespace {

constexpr size_t c_operators_max = std::size(UtaNetScanResParam{}.entries);

enum operator_status : uint32_t { OPERATOR_UNKNOWN, OPERATOR_AVAILABLE, OPERATOR_CURRENT, OPERATOR_FORBIDDEN };

constexpr std::array<const char*, 4> s_p_operator_status = {"unknown", "available", "current", "forbidden"};

struct operator_info {
    char longname[32];
    char shortname[32];
    char mcc_mnc[7];
    operator_status status;
};

std::array<std::array<operator_info, c_operators_max>, 2> net_operator_info;
std::array<uint32_t, 2> number_of_available_plmns{};

// Per network: long name, short name, numeric, status.
constexpr size_t c_strings_per_operator = 4;
using plmn_list = std::array<const char*, c_strings_per_operator * c_operators_max>;

uint32_t pdp_contexts() {
    return static_cast<uint32_t>(std::max(ril_config_get_max_gprs_pdp_context(), 0));
}

bool any_pdp_is_active(uint32_t sim_id) {
    for (uint32_t index = 0; index < pdp_contexts(); ++index) {
        if (gprs_is_pdp_active(sim_id, index) == 1) {
            return true;
        }
    }
    return false;
}

const char* rat_suffix(int32_t rat) {
    switch (rat) {
        case NET_RAT_GSM:
            return " 2G";
        case NET_RAT_UMTS:
            return " 3G";
        case NET_RAT_LTE:
            return " 4G";
        default:
            return "";
    }
}

// Name and suffixes. The name gives way where they do not fit: what the suffixes say is what tells two entries of one
// operator apart. A character of several octets (RFC 3629) goes whole.
template <size_t size>
void write_name(char (&out)[size], const char* name, const char* rat, const char* forbidden) {
    const size_t room = size - 1 - strlen(rat) - strlen(forbidden);
    size_t length = strlen(name);
    if (length > room) {
        length = room;
        while (length > 0 && (static_cast<uint8_t>(name[length]) & 0xC0U) == 0x80U) {
            --length;
        }
    }
    snprintf(out, size, "%.*s%s%s", static_cast<int>(length), name, rat, forbidden);
}

// `ask` turns false when a name lookup is not answered at all: a silent modem would hold the RIL thread for each entry.
void store_operator(uint32_t sim_id, const UtaNetScanEntry& entry, bool& ask, operator_info& out) {
    const UtaNetPlmn& plmn = entry.network.plmn;
    const auto three_digit_mnc = static_cast<uint32_t>(plmn.three_digit_mnc);
    net_plmn_names names;
    ask = net_get_plmn_name_by_id(sim_id, plmn.mcc, plmn.mnc, three_digit_mnc, ask, names);
    const bool forbidden = entry.forbidden != 0;
    const net_registered_info& info = net_info(sim_id);
    if (plmn.mcc == info.mcc && plmn.mnc == info.mnc) {
        out.status = OPERATOR_CURRENT;
    } else {
        out.status = forbidden ? OPERATOR_FORBIDDEN : OPERATOR_AVAILABLE;
    }
    const char* const rat = rat_suffix(entry.network.rat);
    const char* const forbidden_suffix = forbidden ? "(forbidden)" : "";
    write_name(out.longname, names.long_name, rat, forbidden_suffix);
    write_name(out.shortname, names.short_name, rat, forbidden_suffix);
    net_write_plmn_digits(out.mcc_mnc, sizeof(out.mcc_mnc), plmn.mcc, plmn.mnc, three_digit_mnc);
}

// The number of strings.
size_t net_get_plmn_list(uint32_t sim_id, plmn_list& list) {
    size_t used = 0;
    for (size_t i = 0; i < number_of_available_plmns[sim_id & 1U]; ++i) {
        const operator_info& info = net_operator_info[sim_id & 1U][i];
        list[used++] = info.longname;
        list[used++] = info.shortname;
        list[used++] = info.mcc_mnc;
        list[used++] = s_p_operator_status[info.status];
    }
    return used;
}

int32_t net_scan_available_networks(uint32_t sim_id, uint32_t context_id) {
    net_operator_info[sim_id & 1U] = {};
    net_set_attach_status(sim_id, ATTACH_RUNNING_OR_FAILED);
    if (RemUtaMsNetScanReq(sim_id, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsNetScanReq failed, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return -1;
    }
    return 0;
}

// Packet service was given up for the search. The answer finds its context free and is dropped.
void net_PSattach_afternetscan(uint32_t sim_id, uint32_t context_id) {
    if (RemUtaMsNetPsAttachReq(sim_id, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsNetPsAttachReq failed, sim_id = %d\n", __func__, static_cast<int>(sim_id));
    }
}

void answer_with_operators(uint32_t sim_id, const UtaNetScanResParam& result, uint32_t ctxt_id) {
    RIL_Token token = rilreq_state_info[ctxt_id].token;
    if (result.rejected == 1 || result.count <= 0) {
        RIL_TRACE(TRACE_ERROR, "%s: error either net scan is rejected = %d, or PLMN list came null, sim_id = %d\n",
                  "net_scan_rsp", result.rejected, static_cast<int>(sim_id));
        net_set_attach_status(sim_id, ATTACH_RUNNING_OR_FAILED);
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    // The modem may have found more than a record holds.
    const size_t count = std::min(static_cast<size_t>(result.count), c_operators_max);
    bool ask = true;
    for (size_t i = 0; i < count; ++i) {
        store_operator(sim_id, result.entries[i], ask, net_operator_info[sim_id & 1U][i]);
    }
    number_of_available_plmns[sim_id & 1U] = static_cast<uint32_t>(count);
    net_set_attach_status(sim_id, ATTACH_SUCCEEDED);
    plmn_list list{};
    const size_t strings = net_get_plmn_list(sim_id, list);
    ril_request_complete(token, RIL_E_SUCCESS, list.data(), strings * sizeof(list[0]));
}

void net_scan_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    for (uint32_t index = 0; index < pdp_contexts(); ++index) {
        deactivate_pdp_beforenetscan = gprs_is_pdp_active(sim_id, index) == 1 ? 1 : 0;
    }
    answer_with_operators(sim_id, *static_cast<const UtaNetScanResParam*>(p_params), ctxt_id);
    net_PSattach_afternetscan(sim_id, uta_context_id(ctxt_id));
    qelril_free_and_return(ctxt_id);
}

}  // namespace

void net_scan_start(uint32_t sim_id) {
    number_of_available_plmns[sim_id & 1U] = 0;
    net_operator_info[sim_id & 1U] = {};
}

void net_scan_without_data_calls(uint32_t sim_id, uint32_t ctxt_id) {
    if (any_pdp_is_active(sim_id)) {
        bringdownconnection(sim_id, ctxt_id);
    } else if (net_scan_available_networks(sim_id, uta_context_id(ctxt_id)) != 0) {
        // No answer will come that lets data calls in again.
        deactivate_pdp_beforenetscan = 0;
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}

void UtaMsNetScanRspCb(uint32_t sim_id, const UtaNetScanResParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_scan_rsp);
}
