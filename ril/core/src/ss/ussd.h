// What the answers of the services share with USSD.
#pragma once

#include <cstdint>

// Types of RIL_UNSOL_ON_USSD.
constexpr char c_ussd_notify = '0';
constexpr char c_ussd_request = '1';
constexpr char c_ussd_terminated = '2';
constexpr char c_ussd_not_supported = '4';

// Tells Android: the type, and with a notification or request the text, which may be empty.
void ss_onUnsolicited_ussd(uint32_t sim_id, const char* text, char type);

// Services of which the network tells whether the user has them (3GPP TS 24.080, 4.5).
constexpr int32_t UTA_SS_SC_CLIP = 16;
constexpr int32_t UTA_SS_SC_COLP = 18;
constexpr const char* c_colp_unknown = "Connected Line ID Presentation Service Status is Unknown";

// No network waits for an answer.
void ss_ussd_session_start(uint32_t sim_id);
