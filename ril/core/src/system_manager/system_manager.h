// The modem's life: the modem manager's events, and what Android is told while the modem is away.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

enum modem_event : uint32_t {
    E_MODEM_DOWN = 0xB1000000,
    E_MODEM_UP = 0xB2000000,
    E_MODEM_RESET = 0xB3000000,
    E_MODEM_SHUTDOWN = 0xB4000000,
    E_MODEM_NONE = 0xFFFFFFFF,  // no event yet
};

// The handler of the modem manager's events. Its thread; blocks it for the whole start sequence.
void mehHandler(uint32_t event);

// The registration with the RPC daemon is over: from here on an E_MODEM_UP, also one that came before, starts the
// modem's services, and the daemon's end and return count as the modem's. RIL_Init's thread, once.
void modem_events_start();

// Asks the modem manager for a reset of the modem, in the first instance only. Any thread but the RIL thread; blocks
// until the RIL thread has run it.
extern "C" __attribute__((visibility("default"))) void ShutdownCb();

// E_MODEM_UP or E_MODEM_DOWN, whichever came last, E_MODEM_NONE before. Any thread.
uint32_t getLastModemEvent();

// 1 while the modem is away and requests are answered without it. Any thread.
uint32_t mmgr_get_spoof_command_state();

// Answers one request without the modem. rild's event thread.
void handleRequestNoModem(uint32_t sim_id, int32_t request, void* data, size_t length, RIL_Token token);

// Keeps a request for the preferred network type until the radio is on; it takes the place of one that was kept before.
// Without data or memory it fails at once. rild's event thread.
void saveNetPrefInfo(uint32_t sim_id, int32_t request, void* data, size_t length, RIL_Token token);
