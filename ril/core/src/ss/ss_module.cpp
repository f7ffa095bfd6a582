#include "ril/core/src/ss/dtmf.h"
#include "ril/core/src/ss/ss.h"
#include "ril/core/src/ss/ussd.h"

void ss_module_init(uint32_t sim_id) {
    ss_ussd_session_start(sim_id);
    ss_dtmf_start();
}
