// What a request about a context carries from one step of its chain to the next: the private area of its own context.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

enum pdp_req_type : uint32_t { PDP_REQ_SETUP = 1, PDP_REQ_DEACTIVATE = 2, PDP_REQ_SETUP_DEFAULT = 5 };

// What Android asks for. The modem has two numbers for each, in an address too.
enum pdp_ip_type : uint32_t { PDP_IP = 1, PDP_IPV6 = 2, PDP_IPV4V6 = 3 };

enum pdp_dns_req : uint32_t { PDP_DNS_DONE = 0, PDP_DNS_IPV4 = 1, PDP_DNS_IPV6 = 2, PDP_DNS_IPV4_THEN_IPV6 = 3 };

struct pdp_auth {
    char username[65];
    char password[65];
    uint32_t auth_type;  // 1 or 2; 0: no authentication
};

struct T_GPRS_PDP_CONTEXT_DATA {
    pdp_req_type req_type;
    uint32_t uta_cid;
    char apn[101];
    uint32_t ip_type;                // first of pdp_ip_type; then the modem's: 1 or 4 IPv4, 2 or 5 IPv6, 3 or 6 both
    uint8_t ip_addr[20];             // IPv4 in front, IPv6 behind it
    UtaCallPsIpAddress primary_dns;  // type 0: none
    uint8_t num_secondary_dns;
    UtaCallPsIpAddress secondary_dns[c_secondary_dns_max];
    pdp_auth auth;
    char gateway[20];
    pdp_dns_req dns_req_state;
    bool undefined;  // the modem has answered that the context is gone
};

// That of a context, or null.
inline T_GPRS_PDP_CONTEXT_DATA* gprs_context_data(uint32_t ctxt_id) {
    return static_cast<T_GPRS_PDP_CONTEXT_DATA*>(rilreq_state_info[ctxt_id].p_priv_data);
}

// True when the address of the network's own context counts as IPv4, whatever type it has.
inline bool gprs_is_ipv4_by_force(const T_GPRS_PDP_CONTEXT_DATA& record) {
    return record.uta_cid == c_gprs_network_cid && record.ip_type != PDP_IP;
}
