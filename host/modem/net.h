// What the services of the modem know of the networks. Runs in the loop.
#pragma once

#include <cstdint>
#include <vector>

class Modem;

constexpr int32_t c_gsm = 1;  // a technology
constexpr int32_t c_umts = 2;

// A network of one technology as the air shows it, with the cell of the first site.
struct Network {
    uint16_t mcc;
    uint16_t mnc;
    bool three_digit_mnc;
    int32_t rat;  // 1 GSM, 2 UMTS, 3 LTE
    bool forbidden;
    int32_t band;
    uint16_t lac;
    uint32_t cell_id;
    uint16_t channel;  // ARFCN; of the others the downlink's
    uint16_t uplink;
    uint16_t code;  // BSIC; of the others the scrambling code, or what does its work
};

// A cell of it as a stack hears it.
struct Cell {
    const Network* network;
    uint32_t id;
    uint16_t channel;
    uint16_t code;
    uint8_t level;  // as radio.h has it
};

// Whether a stack is on the air and registered, so that it can be called.
bool stack_is_registered(uint32_t sim_id);
// And whether that is abroad.
bool stack_roams(uint32_t sim_id);
// And whether the network is one of 2G.
bool stack_is_on_gsm(uint32_t sim_id);

// The stack may use other technologies now: it moves to another cell of its network, or loses it.
void network_settings_changed(Modem& modem, uint32_t sim_id);
// Another site serves the stack: it moves to the cell there.
void serving_site_changed(Modem& modem, uint32_t sim_id);

// The cells that the stack hears of its network, the one that serves it first; none where nothing serves it.
std::vector<Cell> cells_around(uint32_t sim_id);
