#include "ril/core/src/gprs/fail_cause.h"

#include <telephony/ril.h>

#include <algorithm>
#include <array>

#include "ril/core/src/gprs/gprs.h"
#include "ril/utils/trace.h"

namespace {

struct fail_cause {
    int32_t uta_result;
    RIL_DataCallFailCause cause;
};

// 3GPP TS 24.008, 10.5.6.6.
constexpr std::array<fail_cause, 16> c_causes = {{
    {-162, PDP_FAIL_ONLY_SINGLE_BEARER_ALLOWED},
    {-161, PDP_FAIL_ONLY_IPV6_ALLOWED},
    {-160, PDP_FAIL_ONLY_IPV4_ALLOWED},
    {-159, PDP_FAIL_OPERATOR_BARRED},
    {-134, PDP_FAIL_NONE},
    {-133, PDP_FAIL_NSAPI_IN_USE},
    {-132, PDP_FAIL_ACTIVATION_REJECT_UNSPECIFIED},
    {-131, PDP_FAIL_ACTIVATION_REJECT_GGSN},
    {-130, PDP_FAIL_UNKNOWN_PDP_ADDRESS_TYPE},
    {-129, PDP_FAIL_MISSING_UKNOWN_APN},
    {-128, PDP_FAIL_INSUFFICIENT_RESOURCES},
    {-110, PDP_FAIL_USER_AUTHENTICATION},
    {-109, PDP_FAIL_SERVICE_OPTION_OUT_OF_ORDER},
    {-108, PDP_FAIL_SERVICE_OPTION_NOT_SUBSCRIBED},
    {-107, PDP_FAIL_SERVICE_OPTION_NOT_SUPPORTED},
    {-104, PDP_FAIL_OPERATOR_BARRED},
}};

std::array<int32_t, 2> s_last_data_call_fail_cause = {PDP_FAIL_ERROR_UNSPECIFIED, PDP_FAIL_ERROR_UNSPECIFIED};

int32_t map_error_cause_uta_to_ril(int32_t uta_result) {
    const auto* const row = std::find_if(c_causes.begin(), c_causes.end(),
                                         [&](const fail_cause& it) { return it.uta_result == uta_result; });
    return row == c_causes.end() ? PDP_FAIL_ERROR_UNSPECIFIED : row->cause;
}

}  // namespace

void fail_cause_start(uint32_t sim_id) {
    s_last_data_call_fail_cause[sim_id & 1U] = PDP_FAIL_ERROR_UNSPECIFIED;
}

void set_last_failure_error_cause(uint32_t sim_id, int32_t uta_result) {
    const int32_t cause = map_error_cause_uta_to_ril(uta_result);
    RIL_TRACE(TRACE_ERROR, "%s The Last error code is translated for sim_id %d as %d from uta error %d", __func__,
              static_cast<int>(sim_id), cause, uta_result);
    s_last_data_call_fail_cause[sim_id & 1U] = cause;
}

int32_t gprs_get_last_data_call_fail_cause(uint32_t sim_id) {
    return s_last_data_call_fail_cause[sim_id & 1U];
}
