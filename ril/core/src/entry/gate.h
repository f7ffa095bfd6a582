// The functions of the record that RIL_Init gives rild. They run on rild's event thread, one at a time.
#pragma once

#include <telephony/ril.h>

#include <cstddef>

// Answers one request or passes it to the RIL thread; returns when its handler has run.
void on_request(int request, void* data, size_t datalen, RIL_Token token);
RIL_RadioState on_radio_state();
int on_supports(int request);     // 1 supported, 0 not
void on_cancel(RIL_Token token);  // no request can be cancelled
const char* on_get_version();

// The handler of SIGUSR1, which does nothing: a signal with a handler cuts short the system call that the RIL thread
// may be in when it is told to end.
void qelril_signal_handler(int signal);
