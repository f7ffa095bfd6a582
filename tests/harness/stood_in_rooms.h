// The rooms around the engine for a program that has the engine without them: empty, but for what is set here. Each of
// their functions gives way to a definition that the program brings, of its own or of a room under test.
#pragma once

#include <telephony/ril.h>

#include <atomic>
#include <cstdint>
#include <functional>

#include "ril/core/src/system_manager/system_manager.h"

struct StoodInRooms {
    std::function<void(int32_t request, void* data, size_t length, RIL_Token token)> handler;
    std::function<int32_t()> modem_init;
    std::function<void()> module_exit;
    std::atomic<uint32_t> spoofing{0};
    std::atomic<uint32_t> last_event{E_MODEM_UP};
    int32_t sim_status = 0;
    // What the rooms were told.
    int argc = 0;
    void (*event_handler)(uint32_t event) = nullptr;
    RIL_Token saved_net_pref = nullptr;

    void reset();
};
extern StoodInRooms stood_in;

// Starts the engine under `env`, spoofing off / stops it, spoofing on, as the modem's events do.
void start_engine(const RIL_Env* env);
void stop_engine();
