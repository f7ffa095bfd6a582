// What the engine's own files share about the context table.
#pragma once

#include "ril/core/src/async_ril/async_ril.h"

// Empties the table for the next start. No RIL thread.
void context_table_start();

// Completes what is still in flight with RIL_E_RADIO_NOT_AVAILABLE and frees it. No RIL thread.
void context_table_abandon();
