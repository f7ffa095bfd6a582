// Why a call ended or failed: the modem's causes in Android's.
#include "ril/core/src/call/call.h"
#include "ril/utils/trace.h"

namespace {

// The modem's causes below 128 are those of 3GPP TS 24.008, 10.5.4.11.
constexpr struct {
    int32_t uta;
    uint32_t android;
    const char* name;
} c_causes[] = {
    {8, CALL_FAIL_CALL_BARRED, "CALL_FAIL_CALL_BARRED"},
    {268, CALL_FAIL_CALL_BARRED, "CALL_FAIL_CALL_BARRED"},
    {386, CALL_FAIL_CALL_BARRED, "CALL_FAIL_CALL_BARRED"},
    {1013, CALL_FAIL_CALL_BARRED, "CALL_FAIL_CALL_BARRED"},
    {16, CALL_FAIL_NORMAL, "CALL_FAIL_NORMAL"},
    {21, CALL_FAIL_NORMAL, "CALL_FAIL_NORMAL"},
    {17, CALL_FAIL_BUSY, "CALL_FAIL_BUSY"},
    {291, CALL_FAIL_BUSY, "CALL_FAIL_BUSY"},
    {42, CALL_FAIL_CONGESTION, "CALL_FAIL_CONGESTION"},
    {380, CALL_FAIL_CONGESTION, "CALL_FAIL_CONGESTION"},
    {47, CALL_FAIL_ERROR_UNSPECIFIED, "CALL_FAIL_RESSOURCES_UNAVAILABLE"},
    {290, CALL_FAIL_ERROR_UNSPECIFIED, "CALL_FAIL_RESSOURCES_UNAVAILABLE"},
    {1127, CALL_FAIL_ERROR_UNSPECIFIED, "CALL_FAIL_RESSOURCES_UNAVAILABLE"},
    {58, CALL_FAIL_ERROR_UNSPECIFIED, "CALL_FAIL_BEARER_CAPABILITY_NOT_AVAILABLE"},
    {68, CALL_FAIL_ACM_LIMIT_EXCEEDED, "CALL_FAIL_ACM_LIMIT_EXCEEDED"},
    {88, CALL_FAIL_ERROR_UNSPECIFIED, "CALL_FAIL_INCOMPATIBLE_DESTINATION"},
    {279, CALL_FAIL_FDN_BLOCKED, "CALL_FAIL_FDN_BLOCKED"},
};

}  // namespace

uint32_t callmngr_failure_cause(uint32_t sim_id, int32_t cause) {
    uint32_t android = CALL_FAIL_ERROR_UNSPECIFIED;
    const char* name = "CALL_FAIL_ERROR_UNSPECIFIED";
    for (const auto& row : c_causes) {
        if (row.uta == cause) {
            android = row.android;
            name = row.name;
            break;
        }
    }
    RIL_TRACE(TRACE_DETAIL, "%s: cause = %d %s, sim_id = %d\n", __func__, cause, name, static_cast<int>(sim_id));
    return android;
}
