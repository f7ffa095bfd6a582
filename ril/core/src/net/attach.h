// How a selection of a network goes to the modem and comes back.
#pragma once

#include <cstdint>

constexpr uint32_t c_cops_automatic = 0;
constexpr uint32_t c_cops_manual = 1;

struct net_cops_command {
    uint32_t mode;
    const char* numeric;  // MCC and MNC as 5 or 6 digits; manual selection only
};

// Sends a selection on the context of a request. A failure to send completes the request and frees the context; else
// the modem's answer does. RIL thread, or rild's event thread under the engine's run lock.
void net_select(uint32_t sim_id, const net_cops_command& command, uint32_t ctxt_id);

// Automatic selection, now or once the other SIM has registered, on the same terms. RIL thread.
void net_select_automatic_in_turn(uint32_t sim_id, uint32_t ctxt_id);

// The SIM without data has registered: the process of the data SIM waits for it. RIL thread.
void net_tell_other_sim_registered();
