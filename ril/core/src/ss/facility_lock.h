// The facilities that Android locks, unlocks and asks after (3GPP TS 27.007, 7.4). RIL thread.
#pragma once

#include <cstdint>

// Mode 0 unlocks, 1 locks, 2 queries. A null password is none. 0 when the answer comes on the context, or has come;
// otherwise nothing is on its way: -1 for a name that is no facility, a negative value of the facility's own.
int32_t ss_set_facility_lock(uint32_t sim_id, const char* name, int32_t mode, const char* password,
                             int32_t service_class, uint32_t ctxt_id);
