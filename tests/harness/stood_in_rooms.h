// The rooms around the engine for a program that has the engine without them: empty, but for what is set here. Each of
// their functions gives way to a definition that the program brings, of its own or of a room under test.
#pragma once

#include <telephony/ril.h>

#include <cstdint>
#include <functional>

struct StoodInRooms {
    std::function<void(int32_t request, void* data, size_t length, RIL_Token token)> handler;
    std::function<int32_t()> modem_init;
    std::function<void()> module_exit;

    void reset() { *this = {}; }
};
extern StoodInRooms stood_in;

// Starts the engine under `env` / stops it, as the modem's events do.
void start_engine(const RIL_Env* env);
void stop_engine();
