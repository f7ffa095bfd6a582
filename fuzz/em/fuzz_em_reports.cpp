// Engineering reports of any content, with and without each of their parts, and lists of cells: through the entry
// points, with the RIL thread behind them.
#include <algorithm>
#include <cstring>
#include <deque>
#include <utility>

#include "fuzz/decode/input.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/em/em.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/modules.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

// What is asked for; below these, the reports: 0 is CGED, the others are pages.
enum asked : uint8_t { NEIGHBOURS = c_em_pages + 1, CELLS, CELL_RATE, TABLE, TABLE_RATE, KINDS };

std::deque<uint32_t> s_owed;  // contexts that wait for cells
std::deque<std::pair<RIL_TimedCallback, void*>> s_timers;
bool s_refuses;
int s_open_requests;

void completed(RIL_Token token, RIL_Errno error, void* data, size_t length) {
    --s_open_requests;
    FUZZ_CHECK(s_open_requests >= 0);
    if (error != RIL_E_SUCCESS) {
        return;
    }
    const auto kind = reinterpret_cast<uintptr_t>(token) - 1;
    if (kind <= c_em_pages) {
        const char* const text = *static_cast<char**>(data);
        FUZZ_CHECK(length == sizeof(char*) && strnlen(text, 8191) <= 8190);
        FUZZ_CHECK(strncmp(text, kind == 0 ? "\r\n+CGED: " : "\r\n+XCGEDPAGE:\r\n", kind == 0 ? 9 : 15) == 0);
    } else if (kind == NEIGHBOURS || kind == TABLE) {
        const auto* const* list = static_cast<const RIL_NeighboringCell* const*>(data);
        FUZZ_CHECK(length / sizeof(*list) <= 60);
        for (size_t i = 0; i < length / sizeof(*list); ++i) {
            FUZZ_CHECK(strspn(list[i]->cid, "0123456789abcdefABCDEF") == strlen(list[i]->cid));
        }
    } else if (kind == CELLS) {
        const size_t count = length / sizeof(RIL_CellInfo);
        FUZZ_CHECK(count <= 60 && count * sizeof(RIL_CellInfo) == length);
    }
}

const RIL_Env c_env = {
    completed, [](int, const void*, size_t) {},
    [](RIL_TimedCallback callback, void* param, const timeval*) { s_timers.emplace_back(callback, param); }};

void handle(int32_t kind, void* data, size_t, RIL_Token token) {
    const auto value = *static_cast<uint32_t*>(data);
    const ril_request request = {0, kind, token};
    if (kind == TABLE && value != EM_UNKNOWN) {
        em_set_mode_req(0, value, token);
    } else if (kind == TABLE) {
        em_set_mode_req(0, value, nullptr);
        request.complete(RIL_E_GENERIC_FAILURE);
    } else if (kind == CELL_RATE || kind == TABLE_RATE) {
        const bool good =
            kind == CELL_RATE ? net_set_cell_info_rate(0, value) == 0 : em_cell_info_list_rate(0, &value) == 0;
        request.complete(good ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE);
    } else if (request_context context(request, __func__); context) {
        const int32_t sent = kind == NEIGHBOURS ? net_request_neighbouring_cells(0, context.id())
                             : kind == CELLS    ? net_request_cell_info_list(0, context.id())
                             : kind == 0        ? em_request_cged(0, context.id())
                                                : em_request_xcgedpage(0, static_cast<uint32_t>(kind), context.id());
        if (sent == 0) {
            context.in_flight();
        }
    }
}

void ask(uint8_t kind, uint32_t value) {
    ++s_open_requests;
    qelril_post_request(0, kind, &value, sizeof(value), reinterpret_cast<RIL_Token>(uintptr_t{kind} + 1));
}

void report(Input& input) {
    const uint8_t parts = input.choice();
    auto mm = any<UtaEmMmTestparam>(input);
    auto rrc = any<UtaEmRrcTestparam>(input);
    auto rr = any<UtaEmRrTestparam>(input);
    auto mn = any<UtaEmMnTestparam>(input);
    const UtaEmData data = {parts & 1 ? nullptr : &mn, parts & 2 ? nullptr : &mm, parts & 4 ? nullptr : &rr,
                            parts & 8 ? nullptr : &rrc};
    UtaMsEmReportingIndCb(0, parts & 16 ? nullptr : &data, 0);
}

void cells(Input& input) {
    if (s_owed.empty()) {
        return;
    }
    std::vector<UtaNetGsmcellInfoList> gsm(input.choice());
    std::vector<UtaNetUmtscellInfoList> umts(input.choice());
    std::generate(gsm.begin(), gsm.end(), [&input] { return any<UtaNetGsmcellInfoList>(input); });
    std::generate(umts.begin(), umts.end(), [&input] { return any<UtaNetUmtscellInfoList>(input); });
    UtaNetSingleShotRadioSignalReportingRspParam found{};
    found.gsm_count = static_cast<uint8_t>(gsm.size());
    found.gsm = gsm.data();
    found.umts_count = static_cast<uint8_t>(umts.size());
    found.umts = umts.data();
    UtaMsNetSingleShotRadioSignalReportingRspCb(0, &found, std::exchange(s_owed.front(), s_owed.back()));
    s_owed.pop_back();
}

void tick() {
    const auto [callback, param] = s_timers.front();
    s_timers.pop_front();
    callback(param);
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    if (s_refuses) {
        return -1;
    }
    if (id == uta::row::UtaMsNetSingleShotRadioSignalReportingReq::id) {
        s_owed.push_back(static_cast<uint32_t>(words[2]));
    }
    return 0;
}

int32_t callmngr_get_call_info_by_call_state(uint32_t, uint32_t, callmngr_call&) {
    return s_refuses ? 1 : -1;
}

int32_t sim_get_inserted_sim_type(uint32_t) {
    return s_refuses ? SIM_CARD_TYPE_2G : SIM_CARD_TYPE_3G;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_owed.clear();
    s_refuses = false;
    s_open_requests = 0;
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        em_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    while (!input.is_empty()) {
        const uint8_t choice = input.choice();
        s_refuses = (choice & 0xE0) == 0xE0;
        switch (choice % 5) {
            case 0:
                cells(input);
                break;
            case 1:
                if (!s_timers.empty()) {
                    tick();
                }
                break;
            case 2:
                ask(input.choice() % KINDS, input.choice());
                break;
            default:
                ask(input.choice() % (c_em_pages + 1), 0);
                report(input);
                break;
        }
    }
    ask(TABLE, EM_UNKNOWN);  // ends what waits for the table
    stop_engine();
    while (!s_timers.empty()) {
        tick();
    }
    FUZZ_CHECK(s_open_requests == 0);
    return 0;
}
