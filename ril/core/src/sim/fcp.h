// From the file control parameters of a 3G card to the answer that a 2G card gives, which is what Android's SIM code
// reads. Pure functions: any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

constexpr size_t c_ts_51011_size = 16;
using ts_51011_record = std::array<uint8_t, c_ts_51011_size>;

// An FCP template as hexadecimal text (ETSI TS 102 221, 11.1.1.3) into the answer to a selection of 3GPP TS 51.011,
// 9.2.1. A character that is no digit counts as 0. 0, or -1 with one log line that says what is wrong.
int32_t sim_convert_fcp_to_ts_51011(std::string_view hex, ts_51011_record& record);

// The same, as text with a terminator. `out` is untouched on a failure; it may be the buffer that `response` is in.
constexpr size_t c_ts_51011_text_size = 2 * c_ts_51011_size + 1;
int32_t sim_convert_sim_io_fcp(const char* response, char* out);
