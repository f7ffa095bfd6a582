// The network: what the modem says about registration, what Android hears of it, the selection of a network and the
// search for others, and the turn-taking of the two SIMs of a phone.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Start values of one SIM's state, at each start of the modem and at each power-on of the radio. Modem event thread
// before the RIL thread has work, or RIL thread.
void net_module_init(uint32_t sim_id);

// --- Registration ----------------------------------------------------------------------------------------------------

// Radio access technologies as the modem numbers them; any other value is none.
enum net_rat : uint32_t { NET_RAT_NONE = 0, NET_RAT_GSM = 1, NET_RAT_UMTS = 2, NET_RAT_LTE = 3 };

// 1 while registered for circuit-switched service.
uint32_t net_get_modem_registration_state(uint32_t sim_id);

// The card is gone, and the registration with it, whatever the modem said last.
void net_clear_modem_registration_state(uint32_t sim_id);

uint32_t net_get_rat(uint32_t sim_id);       // net_rat
uint32_t net_get_act(uint32_t sim_id);       // RIL_RadioTechnology, as of the last report or reading
uint32_t is_ps_registered(uint32_t sim_id);  // 1 while registered for packet service

// 1 from the start of a packet data activation until a data call was set up. Packet data writes it.
extern uint32_t pdp_act_nok_flag;

// 1 while the two SIMs are in each other's way.
uint32_t net_is_dual_sim_conflict();

// Android's registration state for voice: [0] status, [1] LAC, [2] cell id, [3] RIL_RadioTechnology, [13] reject
// reason.
constexpr size_t c_net_cs_values = 15;
void net_read_cs_registration_status(uint32_t sim_id, std::array<uint32_t, c_net_cs_values>& out);

struct net_ps_registration {
    uint32_t status;  // of Android
    uint32_t lac;
    uint32_t cell_id;
    uint32_t act;            // RIL_RadioTechnology
    uint32_t reject_reason;  // of Android
    uint32_t max_pdp_contexts;
};
void net_read_ps_registration_status(uint32_t sim_id, net_ps_registration& out);

// Tells Android to read the registration again.
void ril_unsol_response_voice_network_state_changed(uint32_t sim_id);

// --- Attach and selection --------------------------------------------------------------------------------------------

// 1 when the modem has permission to attach; it has until it says otherwise.
uint32_t net_attach_is_allowed(uint32_t sim_id);

// -1 an attach or scan is running or failed, 0 the last one succeeded, 1 the last attach was rejected with cause 1.
int32_t net_attach_status(uint32_t sim_id);

// How much Android wants to hear of the location, 0 to 2: 0, or -1 for another value.
int32_t net_location_update_status(uint32_t sim_id, uint32_t value);

// 0 automatic, 1 manual.
void net_read_operator_selection_mode(uint32_t sim_id, uint32_t* out);

// True for the SIM that carries data. Any thread, as is the next.
bool is_data_sim(uint32_t sim_id);

// True when that SIM's card is ready. The callers ask about the other SIM.
bool is_sim_can_register(uint32_t sim_id);

// 1 while data calls are brought down for a scan: packet data takes no new ones then.
extern uint32_t deactivate_pdp_beforenetscan;

// --- Declared here, defined by the room above (the card) -------------------------------------------------------------

// The modem has permission to attach from now on.
void net_attach_is_allowed_now(uint32_t sim_id);
