// Engineering mode: reports of the modem's radio and mobility layers as text, and the cells around the phone.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1. What gives 0 or -1 has logged
// the failure. em_module_init (modules.h) takes the state back to its start values.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// --- Reports ---------------------------------------------------------------------------------------------------------

// Turns the modem's reporting on (1) or off (0). 0 or -1.
int32_t em_mode_enable_or_disable(uint32_t sim_id, int32_t mode);
int32_t em_get_status(uint32_t sim_id);  // 1 while reporting is on

constexpr uint32_t c_em_pages = 12;

// Asks for one report that answers the request of the context. 0: the context is taken. A report of the same form that
// is still awaited for another request has failed then.
int32_t em_request_cged(uint32_t sim_id, uint32_t ctxt_id);
int32_t em_request_xcgedpage(uint32_t sim_id, uint32_t page, uint32_t ctxt_id);
// The page that the next report of that form shows, 1 to 12.
void oem_hooks_set_requested_page(uint32_t sim_id, uint32_t page);

// --- Cells -----------------------------------------------------------------------------------------------------------

constexpr uint32_t c_cell_info_off = 0x7FFFFFFF;

// Asks the modem for the cells; the answer completes the request of the context. 0 or -1.
int32_t net_request_neighbouring_cells(uint32_t sim_id, uint32_t ctxt_id);
int32_t net_request_cell_info_list(uint32_t sim_id, uint32_t ctxt_id);

// Milliseconds between two lists that are sent unasked; c_cell_info_off ends them. 0 or -1.
int32_t net_set_cell_info_rate(uint32_t sim_id, uint32_t rate);

// What a report's cells are for. For callers outside: no request of Android's leads here.
enum em_req : uint32_t {
    EM_UNKNOWN = 0,
    EM_CGED = 1,
    EM_XCGEDPAGE = 2,
    EM_NEIGHBOURING_CELLS = 3,
    EM_CELL_INFO_LIST = 4,
};

extern "C" {
// Empties the table of cells; `token` is what the next report's cells complete. A request that it takes the place of
// has failed.
__attribute__((visibility("default"))) void em_set_mode_req(uint32_t sim_id, uint32_t mode, RIL_Token token);
// Sets the milliseconds between two refreshes of the table, at least a minute, and starts them; 0 and c_cell_info_off
// start none. 0, or -1 for null.
__attribute__((visibility("default"))) int32_t em_cell_info_list_rate(uint32_t sim_id, const uint32_t* rate);
}
uint32_t em_get_mode_req(uint32_t sim_id);
