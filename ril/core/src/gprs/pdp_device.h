// The modem's data devices: each carries the packets of one data call, between the modem and the network interface with
// the device's index. What becomes of a device is told here in named steps. RIL thread.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "rpc/multi-client/rpc-stubs/ril/records.h"

constexpr uint32_t c_gprs_network_cid = 1;  // of the context that the network activates by itself
constexpr uint32_t c_gprs_first_cid = 31;
constexpr uint32_t c_gprs_cid_offset = 30;  // between the modem's number and Android's

enum pdp_dev_state : uint32_t {
    PDP_DEV_FREE = 0,
    PDP_DEV_OPENING = 1,    // bound to a context
    PDP_DEV_OPEN = 3,       // its data channel is open
    PDP_DEV_CONNECTED = 4,  // the data call is up
    PDP_DEV_CLOSING = 6,    // Android takes it down
    PDP_DEV_CLOSED = 7,
};
enum pdp_dev_request : uint32_t { PDP_DEV_DO_OPEN = 2, PDP_DEV_DO_CLOSE = 5 };

constexpr size_t c_ip_text_size = 56;  // an IPv4 address, a blank and an IPv6 address
constexpr size_t c_secondary_dns_max = 16;

// What Android was told of a data call. The pointers of the response are to the texts below it.
struct pdp_data_call {
    RIL_Data_Call_Response_v6 response;
    char type[8];
    char ifname[14];
    char addresses[c_ip_text_size];
    char dnses[(c_secondary_dns_max + 1) * c_ip_text_size + 1];
    char gateways[20];
};

struct pdp_ctx_dev {
    pdp_dev_state dev_state;
    int32_t channel_handle;    // 0: no channel
    char modem_dev_name[100];  // empty: none is configured
    bool has_data_call;
    pdp_data_call data_call;
    uint32_t uta_cid;  // while the device is not free
    char apn[101];     // of a context that the network activated
};

// As much of the text as has room, and returns `out`.
template <size_t size>
char* gprs_copy_text(char (&out)[size], const char* text) {
    const size_t length = strnlen(text, size - 1);
    memcpy(out, text, length);
    out[length] = '\0';
    return out;
}

std::span<pdp_ctx_dev> gprs_devices(uint32_t sim_id);

// The device that is bound to the context, or null. Its index with the next, which wants a device of that SIM.
pdp_ctx_dev* gprs_find_device(uint32_t sim_id, uint32_t uta_cid);
uint32_t gprs_index_of(uint32_t sim_id, const pdp_ctx_dev& dev);

// Binds a free device to the context. 0, or -1 when there is none or when the context has a device.
int32_t gprs_set_pdp_in_use_if_free(uint32_t sim_id, uint32_t uta_cid);

// Puts the devices that are bound to the context into a state, whatever they held.
void gprs_set_pdp_state(uint32_t sim_id, pdp_dev_state state, uint32_t uta_cid);

// Android takes the call down: 0, or -1 when it is not up.
int32_t gprs_is_pdp_in_use(uint32_t sim_id, uint32_t uta_cid);

// Opens the channel of a device that is bound, or closes that of one that is open. 0, or -1 when the modem refuses.
int32_t gprs_set_dev_state(uint32_t sim_id, uint32_t uta_cid, pdp_dev_request request);

// Connects the open channel with the context. 0, also for a device that is not open; -1 when the modem refuses.
int32_t gprs_dev_connect(uint32_t sim_id, uint32_t uta_cid, const UtaCallPsConnectRspCbParams& connection);

// Writes the name of an interface, "veth" and the number, which may have 13 characters. False when it has more.
bool gprs_interface_name(uint32_t number, char (&out)[14]);
// The same of the interface that a teardown takes down: that of the context's place among Android's.
bool gprs_interface_name_of_cid(uint32_t uta_cid, char (&out)[14]);
