#include "ril/core/src/em/report_text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "ril/utils/trace.h"

namespace {

constexpr std::array<const char*, 6> c_p_rrc_states = {"CD", "CF", "CP", "UP", "ID", "ST"};
constexpr std::array<const char*, 6> c_p_mm_bands = {"G", "G", "G", "G", "D", "P"};
constexpr std::array<const char*, 16> c_p_mn_bands_xcgedpage = {"G", "G", "G", "G", "D", "P", "G", "G",
                                                                "G", "G", "-", "-", "-", "-", "U", "U"};
constexpr std::array<const char*, 5> c_p_gprs_class_strings = {"A", "B", "C", "CC", "CG"};

template <size_t size>
const char* name(const std::array<const char*, size>& table, uint32_t index, const char* none = "") {
    return index < size ? table[index] : none;
}

}  // namespace

// Written straight behind the text; both limits are those of a line that is built beside it.
bool report_text::add(const char* format, ...) {
    ++lines;
    const size_t room = std::min(c_report_line, c_report_size - length);
    va_list arguments;
    va_start(arguments, format);
    const int written = vsnprintf(block + length, room, format, arguments);
    va_end(arguments);
    if (written < 0 || static_cast<size_t>(written) >= c_report_line) {
        RIL_TRACE(TRACE_ERROR, "%s: line:%u length negative or >= sz (length = %d, sz = %d)\n", function, lines,
                  written, static_cast<int>(c_report_line));
        return false;
    }
    if (length + static_cast<size_t>(written) > c_report_max) {
        RIL_TRACE(TRACE_ERROR, "%s: line:%u string length >= sz (length = %d, sz = %d)\n", function, lines,
                  static_cast<int>(length) + written, static_cast<int>(c_report_max));
        return false;
    }
    length += static_cast<size_t>(written);
    return true;
}

const char* em_rrc_state(uint32_t state) {
    return name(c_p_rrc_states, state);
}

const char* em_mm_band(uint32_t band) {
    return name(c_p_mm_bands, band);
}

const char* em_mn_band_xcgedpage(uint32_t band) {
    return name(c_p_mn_bands_xcgedpage, band, "-");
}

const char* em_gprs_class(uint32_t gprs_class) {
    return name(c_p_gprs_class_strings, gprs_class);
}
