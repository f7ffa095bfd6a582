// Packet data: data calls, from Android's request to packets on a network interface, and back. What a scan and a detach
// ask of it stands in net/data_calls.h.
//
// Everything here runs on the RIL thread unless it says otherwise. A `uta_cid` is the modem's number of a context: from
// 31 on for those that Android asks for, which knows them from 1 on, and 1 for the one that the network activates.
#pragma once

#include <telephony/ril.h>

#include <cstdint>
#include <span>

#include "ril/core/src/async_ril/request.h"

// Makes the list of devices, without any data call. Modem event thread, before the RIL thread has work.
void gprs_init(uint32_t sim_id);
// Brings all interfaces down and forgets the devices of both SIMs. Modem event thread, without a RIL thread.
void gprs_exit();

// --- Setup -----------------------------------------------------------------------------------------------------------

// Where Android's texts stand in the data of a setup.
enum data_call_text : size_t {
    DATA_CALL_APN = 2,
    DATA_CALL_USER = 3,
    DATA_CALL_PASSWORD = 4,
    DATA_CALL_AUTH_TYPE = 5,  // "0" none, "1" PAP, "2" CHAP, "3" either
    DATA_CALL_PROTOCOL = 6,   // "IP", "IPV6", "IPV4V6"
    DATA_CALL_TEXTS = 7,      // so many have to be there
    DATA_CALL_CID = 8,        // optional: the number that Android wants for it
};
using data_call_texts = std::span<const char* const>;

// 1, or 0 with the time in milliseconds after which Android may try again.
uint32_t gprs_is_data_call_allowed(int32_t* retry_ms);

// True with the context's number when the network has activated a context for this access point by itself.
bool gprs_find_default_pdp(uint32_t sim_id, const char* apn, uint32_t& uta_cid);

// False when the access point, the user's name or the password is longer than the modem's records have room for.
bool gprs_has_room_for_texts(data_call_texts texts);

// Chooses the context's number and binds a device to it. 1, or 0 for texts that are missing or no good, or no device.
uint32_t gprs_check_n_print_setup_data_call_params(uint32_t sim_id, data_call_texts texts, uint32_t& uta_cid);

// Takes the chosen device back.
void gprs_release_choice(uint32_t sim_id, uint32_t uta_cid);

// Sets the call up on the device that `uta_cid` is bound to. The answer, good or bad, comes from here.
void gprs_set_up_new(request_context& context, data_call_texts texts, uint32_t uta_cid);
void gprs_set_up_default(request_context& context, data_call_texts texts, uint32_t uta_cid);

// --- Teardown --------------------------------------------------------------------------------------------------------

// The context's number for Android's, or 0 (logged) for one that no device can have.
uint32_t gprs_cid_of_android(uint32_t sim_id, const char* number);

// Takes the call of this context down on the request's own context. -1 when nothing was started: it is not up, or
// already on its way down, or there is no room.
int32_t gprs_deactivate(const ril_request& request, uint32_t uta_cid);

// --- What Android may ask --------------------------------------------------------------------------------------------

// More devices than the configuration allows do not exist.
constexpr size_t c_pdp_devices_max = 2;

// Copies what Android was told of the calls that are up into `out` and gives their number. The texts are the devices'.
size_t gprs_list_data_calls(uint32_t sim_id, RIL_Data_Call_Response_v6 (&out)[c_pdp_devices_max]);

int32_t gprs_get_last_data_call_fail_cause(uint32_t sim_id);  // RIL_DataCallFailCause
