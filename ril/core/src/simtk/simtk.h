// The SIM toolkit (ETSI TS 102 223): sorts the card's proactive commands into those that the modem carries out, those
// that are answered here and those that are Android's, and carries terminal responses, envelopes and the terminal
// profile to the card.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1. Operations give 0, or -1 with
// the reason logged.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ril/core/src/async_ril/request.h"

constexpr size_t c_stk_raw_max = 256;     // octets of a command, a response or an envelope
constexpr size_t c_stk_profile_max = 64;  // characters of a profile that are kept

using stk_profile_text = std::array<char, c_stk_profile_max + 1>;

// Start values of one SIM's state. Modem event thread, before the RIL thread has work.
void stk_module_init(uint32_t sim_id);

// --- Commands of the card --------------------------------------------------------------------------------------------

// Android's terminal response to the last command.
int32_t stk_send_terminal_response(uint32_t sim_id, const char* text);

// Android's answer to a call that the card asks for: 0 sets it up, 1 rejects it.
int32_t stk_call_setup_request_from_sim(uint32_t sim_id, uint8_t value);

// --- To the card -----------------------------------------------------------------------------------------------------

// The answer completes the request: with the status words too where the context's private area is a word that holds
// RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS.
int32_t stk_send_envelope_command(request_context& context, const char* text);

// The answer completes the request. A profile is 1 to 255 octets.
int32_t stk_set_terminal_profile(request_context& context, const char* text);

// The start of the profile that the card last took, or an empty text.
const stk_profile_text& stk_get_terminal_profile(uint32_t sim_id);
