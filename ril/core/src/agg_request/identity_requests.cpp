#include <array>
#include <cstring>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// Each with a blank in front of the digits, in place of the nibble that is no digit.
struct identities {
    char imei[2 * sizeof(UtaSysImei::imei) + 1];
    char imeisv[2 * sizeof(UtaSysImei::imeisv) + 1];
};

constexpr size_t c_imei_end = 16;          // 15 digits
constexpr size_t c_imeisv_end = 17;        // 16 digits
constexpr size_t c_software_version = 15;  // its last two

int32_t ss_get_imei_imeisv(uint32_t sim_id, identities& out) {
    // No digits: a modem whose answer carries no numbers leaves them so.
    UtaSysImei numbers;
    memset(&numbers, 0xFF, sizeof(numbers));
    if (RemUtaMsSysReadImei(sim_id, &numbers) != 0) {
        return -1;
    }
    out = {};
    util_bcd2num(numbers.imei, out.imei, sizeof(out.imei) - 1, sizeof(numbers.imei), false);
    util_bcd2num(numbers.imeisv, out.imeisv, sizeof(out.imeisv) - 1, sizeof(numbers.imeisv), false);
    out.imei[0] = ' ';
    out.imei[c_imei_end] = '\0';
    out.imeisv[0] = ' ';
    out.imeisv[c_imeisv_end] = '\0';
    return 0;
}

}  // namespace

void ril_request_get_imei_imeisv_devid(const ril_request& request) {
    identities numbers;
    if (ss_get_imei_imeisv(request.sim_id, numbers) < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ss_get_imei_imeisv GENERIC_FAILURE\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    std::array<char*, 2> identity = {numbers.imei + 1, numbers.imeisv + c_software_version};
    if (request.number == RIL_REQUEST_GET_IMEI) {
        ril_request_complete(request.token, RIL_E_SUCCESS, identity[0], sizeof(char*));
    } else if (request.number == RIL_REQUEST_GET_IMEISV) {
        ril_request_complete(request.token, RIL_E_SUCCESS, identity[1], sizeof(char*));
    } else {
        request.succeed(identity);
    }
}
