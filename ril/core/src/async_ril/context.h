// What the engine's own files share about the context table.
#pragma once

#include "ril/core/src/async_ril/async_ril.h"

// Held by the RIL thread while it runs a message, and by a timer or the teardown while they touch contexts: so a
// request is completed by one of them, and no private area goes away under a callback.
class RunLock {
public:
    RunLock();
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;
};

// Empties the table for the next start. No RIL thread.
void context_table_start();

// Completes what is still in flight with RIL_E_RADIO_NOT_AVAILABLE and frees it. No RIL thread.
void context_table_abandon();
