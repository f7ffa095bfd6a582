// When the modem reports, and whom a report answers. Reports are one-shot: a request turns reporting on, the first
// report answers it, and reporting goes off again.
#include <array>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/em/em_state.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint32_t c_cged_awaited = 0;
constexpr uint32_t c_cged_idle = 3;

// The requests that wait for a report are contexts in flight, so that the modem's end answers them; 0 is none, and a
// context that is released by any way is none.
struct reporting {
    uint32_t cged_mode = c_cged_idle;
    uint32_t cged_ctxt = 0;
    uint32_t xcgedpage_ctxt = 0;
    uint32_t xcgedpage_page = 1;
    int32_t mode_init = 0;
};
std::array<reporting, 2> s_em;

void forget_context(uint32_t ctxt_id) {
    for (reporting& em : s_em) {
        if (em.cged_ctxt == ctxt_id) {
            em.cged_ctxt = 0;
        }
        if (em.xcgedpage_ctxt == ctxt_id) {
            em.xcgedpage_ctxt = 0;
        }
    }
}

void fail(uint32_t ctxt_id) {
    if (ctxt_id != 0) {
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
    }
}

void await(uint32_t& slot, uint32_t ctxt_id) {
    fail(std::exchange(slot, 0));
    slot = ctxt_id;
    rilreq_state_info[ctxt_id].p_released = forget_context;
}

// A request whose report will not come: the caller fails it.
int32_t give_back(uint32_t& slot) {
    rilreq_state_info[std::exchange(slot, 0)].p_released = nullptr;
    return -1;
}

bool build(report_text& text, std::span<const em_line> lines, const UtaEmData& report) {
    for (const em_line line : lines) {
        if (!line(text, report)) {
            return false;
        }
    }
    return !lines.empty();
}

// Answers with the text. False without memory for it: the request has failed then too.
bool answer(uint32_t sim_id, const char* function, uint32_t ctxt_id, std::span<const em_line> lines,
            const UtaEmData& report, const char* failure) {
    auto* block = static_cast<char*>(MEM_ALLOC(c_report_size));
    if (block == nullptr) {
        fail(ctxt_id);
        return false;
    }
    report_text text = {sim_id, function, block, 0, 0};
    if (!build(text, lines, report)) {
        RIL_TRACE(TRACE_ERROR, failure, function);
        fail(ctxt_id);
    } else if (ctxt_id != 0) {
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &block, sizeof(block));
    }
    MEM_FREE(block);
    return true;
}

void oem_hooks_em_stop_cged_page_reports(uint32_t sim_id) {
    if (em_end_reporting(sim_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Unable to disable metrics reporting\n", __func__);
    }
}

void em_cged_report(uint32_t sim_id, const UtaEmData& report) {
    const uint32_t ctxt_id = std::exchange(s_em[sim_id].cged_ctxt, 0);
    if (!answer(sim_id, __func__, ctxt_id, em_cged_lines(report), report, "%s: error getting cged data\n")) {
        RIL_TRACE(TRACE_ERROR, "%s: malloc failed for p_response\n", __func__);
        return;
    }
    oem_hooks_em_stop_cged_page_reports(sim_id);
}

void em_xcgedpage_report(uint32_t sim_id, const UtaEmData& report) {
    const uint32_t ctxt_id = std::exchange(s_em[sim_id].xcgedpage_ctxt, 0);
    const std::span<const em_line> lines = em_xcgedpage_lines(s_em[sim_id].xcgedpage_page, report);
    if (!answer(sim_id, __func__, ctxt_id, lines, report, "%s: error getting xcgedpage data\n")) {
        RIL_TRACE(TRACE_ERROR, "%s: malloc failed\n", __func__);
        return;
    }
    oem_hooks_em_stop_cged_page_reports(sim_id);
}

void em_reporting_ind_cb(uint32_t sim_id, const void* p_params) {
    if (p_params == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: p_em_data is empty\n", __func__);
        return;
    }
    const auto& report = *static_cast<const UtaEmData*>(p_params);
    if (s_em[sim_id].cged_mode == c_cged_awaited) {
        em_cged_report(sim_id, report);
    } else {
        em_xcgedpage_report(sim_id, report);
    }
    em_get_xcellinfo(sim_id, report);
    em_serve_cells(sim_id);
}

}  // namespace

void em_module_init(uint32_t sim_id) {
    s_em[sim_id] = {};
    cell_info_start(sim_id);
    report_cells_start(sim_id);
}

int32_t em_mode_enable_or_disable(uint32_t sim_id, int32_t mode) {
    if (mode != 0 && mode != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: Enable/Disable not allowed\n", __func__);
        return -1;
    }
    if (mode == 1 && RemUtaMsEmInit(sim_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA call UtaMsEmInit failed\n", __func__);
        return -1;
    }
    UtaEmEnableExtReportingParam param{};
    param.enable = mode;
    if (RemUtaMsEmEnableExtReporting(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsEmEnableExtReporting Failed\n", __func__);
        return -1;
    }
    s_em[sim_id].mode_init = mode;
    return 0;
}

int32_t em_get_status(uint32_t sim_id) {
    return s_em[sim_id].mode_init;
}

int32_t em_end_reporting(uint32_t sim_id) {
    const int32_t result = em_mode_enable_or_disable(sim_id, 0);
    if (result == 0) {
        s_em[sim_id].cged_mode = c_cged_idle;
        fail(std::exchange(s_em[sim_id].cged_ctxt, 0));
        fail(std::exchange(s_em[sim_id].xcgedpage_ctxt, 0));
    }
    return result;
}

int32_t em_request_cged(uint32_t sim_id, uint32_t ctxt_id) {
    reporting& em = s_em[sim_id];
    await(em.cged_ctxt, ctxt_id);
    if (em_mode_enable_or_disable(sim_id, 1) != 0) {
        em.cged_mode = c_cged_idle;
        return give_back(em.cged_ctxt);
    }
    em.cged_mode = c_cged_awaited;
    return 0;
}

void oem_hooks_set_requested_page(uint32_t sim_id, uint32_t page) {
    s_em[sim_id].xcgedpage_page = page;
}

int32_t em_request_xcgedpage(uint32_t sim_id, uint32_t page, uint32_t ctxt_id) {
    oem_hooks_set_requested_page(sim_id, page);
    await(s_em[sim_id].xcgedpage_ctxt, ctxt_id);
    return em_mode_enable_or_disable(sim_id, 1) == 0 ? 0 : give_back(s_em[sim_id].xcgedpage_ctxt);
}

void UtaMsEmReportingIndCb(uint32_t sim_id, const UtaEmData* report, int32_t value_3) {
    (void)value_3;
    qelril_post_utamsindcb(sim_id, report, em_reporting_ind_cb);
}
