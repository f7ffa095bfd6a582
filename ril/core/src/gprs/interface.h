// The network interface of a data call. Each function opens a socket of its own and closes it; 0, or -1 with a log
// line. Any thread; the calls into the kernel are short.
#pragma once

#include <cstdint>

struct T_GPRS_PDP_CONTEXT_DATA;

// Configures the interface of the context's device with the context's addresses and fills `gateway`. A failure leaves
// the interface down, with what was set until then.
int32_t bringup_nw(uint32_t sim_id, T_GPRS_PDP_CONTEXT_DATA& record);

// -1 only when neither protocol could be brought down.
int32_t gprs_bring_down_interface(const char* name);

// The text of an address of 20 bytes by its type: IPv4, IPv6, or both with a blank between. Another type leaves `out`
// as it is.
void gprs_ip_addr_to_char(char (&out)[56], uint32_t type, const uint8_t (&address)[20]);

// The first four bytes in dotted decimal.
void callps_ipaddrto_char(char (&out)[56], const uint8_t (&address)[20]);
