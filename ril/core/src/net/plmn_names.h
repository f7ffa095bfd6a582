// The names of an operator.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ril/core/src/net/net_state.h"

constexpr uint16_t c_net_code_max = 999;  // of an MCC and an MNC (ITU-T E.212, 6)

struct net_plmn_names {
    char long_name[c_net_name_size];
    char short_name[c_net_name_size];
    char country[c_net_name_size];
    uint16_t mcc;  // at most c_net_code_max, as is the next
    uint16_t mnc;
};

// Fills `out`; every text is terminated. The modem is asked first, where `ask` says so; then the table of operators; a
// PLMN that nobody has a name for gets its digits. False when the modem was not asked or did not answer at all. RIL
// thread.
bool net_get_plmn_name_by_id(uint32_t sim_id, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc, bool ask,
                             net_plmn_names& out);

// The digits of a PLMN, each code cut to c_net_code_max: "26201", or "310260" with a three-digit MNC. `size` is at
// least
// 7. Any thread.
void net_write_plmn_digits(char* out, size_t size, uint16_t mcc, uint16_t mnc, uint32_t three_digit_mnc);

enum net_plmn_format : uint32_t { PLMN_LONG_NAME, PLMN_SHORT_NAME, PLMN_NUMERIC };
constexpr size_t c_net_plmn_text_size = 388;

// Writes one of the texts of the registered network into `*out`, a block of c_net_plmn_text_size. 0; or -1 while not
// registered, when the block is freed and `*out` null. RIL thread.
int32_t net_read_plmn_params(uint32_t sim_id, char** out, net_plmn_format format);
