#include "ril/core/src/gprs/data_call_list.h"

#include <array>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/gprs/gprs.h"
#include "ril/core/src/gprs/interface.h"
#include "ril/core/src/gprs/pdp_context_data.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/core/src/net/data_calls.h"

namespace {

constexpr int c_data_call_active = 2;  // and up; 1 is down by now

const char* type_name(uint32_t ip_type) {
    switch (ip_type) {
        case PDP_IPV6:
            return "IPV6";
        case PDP_IPV4V6:
            return "IPV4V6";
        default:
            return "IP";
    }
}

// A name server without an address leaves no place.
void append_dns(char (&out)[sizeof(pdp_data_call::dnses)], const UtaCallPsIpAddress& dns) {
    char text[c_ip_text_size] = {};
    gprs_ip_addr_to_char(text, static_cast<uint32_t>(dns.ip_type), dns.ip_addr);
    const size_t used = strlen(out);
    if (text[0] != '\0') {
        const size_t blank = used == 0 ? 0 : 1;
        out[used] = ' ';
        strcpy(out + used + blank, text);
    }
}

bool gprs_is_dns_present(const T_GPRS_PDP_CONTEXT_DATA& record) {
    return record.primary_dns.ip_type != 0 || record.num_secondary_dns != 0;
}

void write_dnses(const T_GPRS_PDP_CONTEXT_DATA& record, char (&out)[sizeof(pdp_data_call::dnses)]) {
    append_dns(out, record.primary_dns);
    for (size_t i = 0; i < record.num_secondary_dns; ++i) {
        append_dns(out, record.secondary_dns[i]);
    }
}

}  // namespace

void gprs_add_data_call_list(uint32_t sim_id, const T_GPRS_PDP_CONTEXT_DATA& record, pdp_ctx_dev& dev) {
    dev.data_call = {};
    pdp_data_call& call = dev.data_call;
    RIL_Data_Call_Response_v6& response = call.response;
    response.suggestedRetryTime = -1;
    response.cid = static_cast<int>(record.uta_cid == c_gprs_network_cid ? c_gprs_network_cid
                                                                         : record.uta_cid - c_gprs_cid_offset);
    response.active = c_data_call_active;
    response.type = gprs_copy_text(call.type, type_name(record.ip_type));
    gprs_interface_name(gprs_index_of(sim_id, dev), call.ifname);
    response.ifname = call.ifname;
    if (gprs_is_ipv4_by_force(record)) {
        callps_ipaddrto_char(call.addresses, record.ip_addr);
    } else {
        gprs_ip_addr_to_char(call.addresses, record.ip_type, record.ip_addr);
    }
    response.addresses = call.addresses;
    if (gprs_is_dns_present(record)) {
        write_dnses(record, call.dnses);
        response.dnses = call.dnses;
    }
    response.gateways = gprs_copy_text(call.gateways, record.gateway);
    dev.has_data_call = true;
}

void gprs_remove_data_call_list(uint32_t sim_id, uint32_t uta_cid) {
    if (pdp_ctx_dev* const dev = gprs_find_device(sim_id, uta_cid); dev != nullptr) {
        dev->has_data_call = false;
        dev->apn[0] = '\0';
    }
}

RIL_Data_Call_Response_v6* gprs_get_pdp_info(uint32_t sim_id, uint32_t index) {
    const std::span<pdp_ctx_dev> devices = gprs_devices(sim_id);
    return index < devices.size() && devices[index].has_data_call ? &devices[index].data_call.response : nullptr;
}

size_t gprs_list_data_calls(uint32_t sim_id, RIL_Data_Call_Response_v6 (&out)[c_pdp_devices_max]) {
    size_t count = 0;
    for (uint32_t index = 0; index < gprs_devices(sim_id).size(); ++index) {
        const RIL_Data_Call_Response_v6* const told = gprs_get_pdp_info(sim_id, index);
        if (gprs_is_pdp_active(sim_id, index) == 1 && told != nullptr) {
            out[count++] = *told;
        }
    }
    return count;
}

void ril_unsol_data_call_list_change(uint32_t sim_id) {
    RIL_Data_Call_Response_v6 calls[c_pdp_devices_max];
    const size_t count = gprs_list_data_calls(sim_id, calls);
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_DATA_CALL_LIST_CHANGED, count == 0 ? nullptr : calls,
                            count * sizeof(calls[0]));
}
