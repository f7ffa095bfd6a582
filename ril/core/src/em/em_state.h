// What the module's files share. Nobody outside the module includes this.
#pragma once

#include <cstdint>
#include <span>

#include "ril/core/src/em/em.h"
#include "ril/core/src/em/report_text.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

// Start values, and the end of what was pending.
void cell_info_start(uint32_t sim_id);
void report_cells_start(uint32_t sim_id);

struct em_plmn {
    uint32_t mcc;
    uint32_t mnc;
};
// For printing with "%x"; 0xFFFF in either gives -1 for both.
em_plmn em_plmn_decoding(uint16_t mcc, uint16_t mnc);
inline em_plmn em_plmn_decoding(const UtaEmPlmn& plmn) {
    return em_plmn_decoding(plmn.mcc, plmn.mnc);
}

// The lines of a CGED report, or none (logged) for one without a cell.
std::span<const em_line> em_cged_lines(const UtaEmData& report);
// The lines of a page, or none (logged) for an unknown page or a report without what it shows.
std::span<const em_line> em_xcgedpage_lines(uint32_t page, const UtaEmData& report);

// Takes the cells of a report into the SIM's table.
void em_get_xcellinfo(uint32_t sim_id, const UtaEmData& report);
// Answers with the table what waits for it.
void em_serve_cells(uint32_t sim_id);
// Ends reporting. Whoever still waits for a report fails.
int32_t em_end_reporting(uint32_t sim_id);
