// What the files of a data call's setup share.
#pragma once

#include <cstdint>

#include "ril/core/src/gprs/gprs.h"

struct T_GPRS_PDP_CONTEXT_DATA;

// Takes authentication and protocol from Android's texts. 0 or -1.
int32_t gprs_set_session_params(T_GPRS_PDP_CONTEXT_DATA& record, data_call_texts texts);
