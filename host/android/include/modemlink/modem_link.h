// The modem manager's door: modem events in, requests out.
#pragma once

#include <stdint.h>

extern "C" {
#pragma GCC visibility push(default)

// Registers the process's handler of modem events under the code `client`. From then on `handler(event)` is called once
// per event, in order, on a thread of this library, which the handler may keep as long as it likes; events that come
// meanwhile wait. A manager that isn't there yet, or that restarts, is waited for. A second call replaces the handler.
// 0, or -1 for a null handler or when no thread can be had. Any thread.
int registerMEH(uint32_t client, void (*handler)(uint32_t event));

// Hands `request` to the modem manager. 0 when it has it, -1 when no manager is connected. Does not block. Any thread.
int reqMEH(uint32_t request);

#pragma GCC visibility pop
}
