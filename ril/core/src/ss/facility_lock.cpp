#include "ril/core/src/ss/facility_lock.h"

#include <array>
#include <cstring>

#include "ril/core/src/profile/profile.h"
#include "ril/core/src/sim/pin.h"
#include "ril/utils/trace.h"

namespace {

struct facility {
    char name[3];
    char mmi_code[5];  // 3GPP TS 22.030, annex B
    // Null where nobody serves the facility.
    int32_t (*handler)(uint32_t sim_id, int32_t row, int32_t mode, const char* password, int32_t service_class,
                       uint32_t ctxt_id);
};

constexpr std::array<facility, 16> s_ss_clck_facilities_array = {{
    {"AO", "33", nullptr},
    {"OI", "331", nullptr},
    {"AI", "35", nullptr},
    {"IR", "351", nullptr},
    {"OX", "332", nullptr},
    {"AB", "330", nullptr},
    {"AG", "333", nullptr},
    {"AC", "353", nullptr},
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
