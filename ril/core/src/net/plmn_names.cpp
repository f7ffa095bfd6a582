#include "ril/core/src/net/plmn_names.h"

#include <algorithm>
#include <cstdio>

void net_write_plmn_digits(char* out, size_t size, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc) {
    const int country = std::min(mcc, c_net_code_max);
    const int network = std::min(mnc, c_net_code_max);
    if (three_digit_mnc == 1) {
        snprintf(out, size, "%03d%03d", country, network);
    } else {
        snprintf(out, size, "%03d%02d", country, network);
    }
}
