#include "ril/core/src/ss/facility_lock.h"

#include <array>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/profile/profile.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/ss/ss.h"
#include "ril/utils/trace.h"

namespace {

struct facility {
    char name[3];
    char mmi_code[5];  // 3GPP TS 22.030, annex B
    // Null where nobody serves the facility.
    int32_t (*handler)(uint32_t sim_id, int32_t row, int32_t mode, const char* password, int32_t service_class,
                       uint32_t ctxt_id);
};

int32_t ss_handle_barring_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                   int32_t service_class, uint32_t ctxt_id);

constexpr std::array<facility, 16> s_ss_clck_facilities_array = {{
    {"AO", "33", ss_handle_barring_facility},
    {"OI", "331", ss_handle_barring_facility},
    {"AI", "35", ss_handle_barring_facility},
    {"IR", "351", ss_handle_barring_facility},
    {"OX", "332", ss_handle_barring_facility},
    {"AB", "330", ss_handle_barring_facility},
    {"AG", "333", ss_handle_barring_facility},
    {"AC", "353", ss_handle_barring_facility},
    {"PN", "", sim_handle_sim_lock_personalisation_facility},
    {"PU", "", sim_handle_sim_lock_personalisation_facility},
    {"PP", "", sim_handle_sim_lock_personalisation_facility},
    {"PC", "", sim_handle_sim_lock_personalisation_facility},
    {"PS", "", sim_handle_sim_lock_personalisation_facility},
    {"SC", "", ss_handle_simcard_lock_facility},
    {"FD", "", ss_handle_fixed_dialing_lock_facility},
    {"", "", nullptr},
}};
static_assert(s_ss_clck_facilities_array[c_first_sim_lock_row].handler == sim_handle_sim_lock_personalisation_facility);

int32_t ss_handle_barring_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                   int32_t service_class, uint32_t ctxt_id) {
    return ss_handle_call_barring(sim_id, s_ss_clck_facilities_array[static_cast<size_t>(row)].mmi_code, mode, password,
                                  service_class, uta_context_id(ctxt_id));
}

}  // namespace

int32_t ss_set_facility_lock(uint32_t sim_id, const char* name, int32_t mode, const char* password,
                             int32_t service_class, uint32_t ctxt_id) {
    pAggprofileDB[sim_id & 1U].facility_mode = static_cast<uint16_t>(mode);
    for (size_t row = 0; row < s_ss_clck_facilities_array.size(); ++row) {
        const facility& it = s_ss_clck_facilities_array[row];
        if (strcmp(name, it.name) != 0) {
            continue;
        }
        if (it.handler == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: operation not supported (cme error 4)\n", __func__);
            return -1;
        }
        return it.handler(sim_id, static_cast<int32_t>(row), mode, password, service_class, ctxt_id);
    }
    return -1;
}
