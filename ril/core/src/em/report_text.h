// The text of a report: lines of a table, each a format and the fields of one part of the modem's report.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/records.h"

constexpr size_t c_report_size = 8192;
constexpr size_t c_report_max = 8190;  // characters
constexpr size_t c_report_line = 512;  // of a line with its end

struct report_text {
    uint32_t sim_id;
    const char* function;  // for the log
    char* block;           // of c_report_size; terminated
    size_t length;
    uint32_t lines;

    // Puts a line behind the text. False (logged) when it is too long, or the text is.
    [[gnu::format(printf, 2, 3)]] bool add(const char* format, ...);
};

using em_line = bool (*)(report_text& text, const UtaEmData& report);

// A line of the fields of a part, which are `p->...`; nothing without the part.
#define EM_LINE(part, ...)                            \
    [](report_text& text, const UtaEmData& report) {  \
        const auto* const p = report.part;            \
        return p == nullptr || text.add(__VA_ARGS__); \
    }
// Fixed text: always, or only without a part.
#define EM_TEXT(fixed) [](report_text& text, const UtaEmData&) { return text.add(fixed); }
#define EM_WITHOUT(part, fixed) \
    [](report_text& text, const UtaEmData& report) { return report.part != nullptr || text.add(fixed); }

inline const char* em_true_false(uint32_t flag) {
    return flag != 0 ? "True" : "False";
}

// Names by the modem's number; empty, or "-", above the table.
const char* em_rrc_state(uint32_t state);
const char* em_mm_band(uint32_t band);
const char* em_mn_band_xcgedpage(uint32_t band);
const char* em_gprs_class(uint32_t gprs_class);

constexpr int16_t c_no_c2 = -32768;
constexpr size_t c_gsm_cells = 6;
constexpr size_t c_umts_cells = 24;
