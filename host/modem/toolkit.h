// The card's toolkit, for the services of the modem. Runs in the loop.
#pragma once

#include <cstddef>
#include <cstdint>

class Modem;

// A message with data for the card has come (3GPP TS 31.111, 7.1): its application does what its text says.
void toolkit_took_download(Modem& modem, uint32_t sim_id, size_t octets);
