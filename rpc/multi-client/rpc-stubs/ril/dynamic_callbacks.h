// Callbacks that are registered at run time: a few requests name the function that their response is to be delivered
// to. Callbacks stay registered for the life of the process.
//
// Any thread: one mutex guards the table. No callback runs under it.
#pragma once

#include <cstdint>

constexpr int32_t c_dyn_cb_entries = 50;    // names in each list
constexpr int32_t c_dyn_cb_callbacks = 10;  // callbacks of one name

// A callback without its type, which is that of the dynamic row `name`.
using DynCallback = void (*)();

// Records `callback` under `name` in the list of `sim_id`. The index of the entry; 0 for a null name or callback or a
// `sim_id` above 1; 50 when there is no room, be it for the name or for an eleventh callback of it.
int32_t SetDynCBPtr(uint32_t sim_id, const char* name, DynCallback callback);

// Number of callbacks under `name`, with `*entry` its index, or -1.
int32_t GetDynCBPtrInfo(uint32_t sim_id, const char* name, int32_t* entry);

// One callback of an entry; null for an index above 9 and where there is none.
DynCallback GetDynCBPtr(uint32_t sim_id, int32_t entry, int32_t callback);
