// What the handlers share.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// A context for the request, or -1 with none free: the request has failed then, under the name of `function`. RIL
// thread.
int32_t take_context(const char* function, RIL_Token token);
