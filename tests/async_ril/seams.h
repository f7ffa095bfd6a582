// The rooms around the engine, as the test wants them.
#pragma once

#include <telephony/ril.h>

#include <functional>

#include "ril/core/src/async_ril/async_ril.h"

struct Seams {
    std::function<void(int32_t request, void* data, size_t length, RIL_Token token)> handler;
    std::function<int32_t()> modem_init;
    std::function<void()> module_exit;
    std::atomic<uint32_t> spoofing{0};
    std::atomic<uint32_t> last_event{0};
    int32_t sim_status = 0;
    int argc = 0;
    RIL_Token saved_net_pref = nullptr;
    int saved_net_type = -1;

    static Seams& instance();
    void reset();
};

// Starts the engine with the fake Android / stops it. Each test does both.
void start_engine();
void stop_engine();
