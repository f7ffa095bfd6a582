// Engineering reports of any content, with and without each of their parts: through the entry point, with the RIL
// thread behind it.
#include <cstring>

#include "fuzz/requests.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/em/em.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/modules.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

// What is asked for: 0 is CGED, then pages, then the cells.
constexpr uint8_t c_cells = c_em_pages + 1;

bool s_refuses;
Requests s_requests;

void completed(RIL_Token token, RIL_Errno error, void* data, size_t length) {
    const int32_t what = s_requests.complete(token);
    if (error != RIL_E_SUCCESS) {
        return;
    }
    if (what < c_cells) {
        const char* const text = *static_cast<char**>(data);
        const char* const head = what == 0 ? "\r\n+CGED: " : "\r\n+XCGEDPAGE:\r\n";
        FUZZ_CHECK(length == sizeof(char*) && strnlen(text, 8191) <= 8190 && strstr(text, head) == text);
    } else {
        const auto* const* list = static_cast<const RIL_NeighboringCell* const*>(data);
        FUZZ_CHECK(length / sizeof(*list) <= 60);
        for (size_t i = 0; i < length / sizeof(*list); ++i) {
            FUZZ_CHECK(strspn(list[i]->cid, "0123456789abcdefABCDEF") == 8 && strlen(list[i]->cid) == 8);
        }
    }
}

const RIL_Env c_env = {completed, [](int, const void*, size_t) {}, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t what, void*, size_t, RIL_Token token) {
    const ril_request request = {0, what, token};
    if (what == c_cells) {
        em_set_mode_req(0, EM_NEIGHBOURING_CELLS, token);
    } else if (request_context context(request, __func__); context) {
        const int32_t sent = what == 0 ? em_request_cged(0, context.id())
                                       : em_request_xcgedpage(0, static_cast<uint32_t>(what), context.id());
        if (sent == 0) {
            context.in_flight();
        }
    }
}

void report(Input& input) {
    const uint8_t parts = input.choice();
    auto mm = any<UtaEmMmTestparam>(input);
    auto rrc = any<UtaEmRrcTestparam>(input);
    auto rr = any<UtaEmRrTestparam>(input);
    auto mn = any<UtaEmMnTestparam>(input);
    const UtaEmData data = {(parts & 1) != 0 ? nullptr : &mn, (parts & 2) != 0 ? nullptr : &mm,
                            (parts & 4) != 0 ? nullptr : &rr, (parts & 8) != 0 ? nullptr : &rrc};
    UtaMsEmReportingIndCb(0, (parts & 16) != 0 ? nullptr : &data, 0);
}

}  // namespace

int32_t uta::call(uint16_t, const uta::Word*) {
    return s_refuses ? -1 : 0;
}

int32_t callmngr_get_call_info_by_call_state(uint32_t, uint32_t, callmngr_call&) {
    return s_refuses ? 1 : -1;
}

int32_t sim_get_inserted_sim_type(uint32_t) {
    return s_refuses ? SIM_CARD_TYPE_2G : SIM_CARD_TYPE_3G;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_requests = {};
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        em_module_init(0);
        return 0;
    };
    stood_in.module_exit = em_module_exit;
    start_engine(&c_env);
    while (!input.is_empty()) {
        const uint8_t choice = input.choice();
        const uint8_t what = choice % (c_cells + 1);
        s_refuses = (choice & 0xE0) == 0xE0;
        qelril_post_request(0, what, nullptr, 0, s_requests.add(what));
        report(input);
    }
    stop_engine();
    FUZZ_CHECK(s_requests.are_complete());
    return 0;
}
