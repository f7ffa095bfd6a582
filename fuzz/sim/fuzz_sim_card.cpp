// What a card may answer, in whatever order and at whatever length: the readers of its files, Android's commands, the
// IMSI and the channels read it, through the entry points, with the RIL thread behind them.
#include <algorithm>
#include <array>
#include <cstring>
#include <deque>

#include "fuzz/requests.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/call/ecc_list.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/acl.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/channels.h"
#include "ril/core/src/sim/imsi.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/utils/conversion.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

std::deque<uint32_t> s_owed;  // contexts
bool s_refuses;
Requests s_requests;

// --- Android

void completed(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    const int32_t number = s_requests.complete(token);
    FUZZ_CHECK(response != nullptr || length == 0);
    if (error == RIL_E_SUCCESS && number == RIL_REQUEST_SIM_IO) {
        const char* const text = static_cast<RIL_SIM_IO_Response*>(response)->simResponse;
        FUZZ_CHECK(length == sizeof(RIL_SIM_IO_Response) && (text == nullptr || strlen(text) < 550));
    }
}

const RIL_Env c_env = {completed, [](int, const void*, size_t) {}, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t number, void* data, size_t, RIL_Token token) {
    const ril_request request{0, number, token};
    request_context context(request, __func__);
    if (!context) {
        return;
    }
    if (number == RIL_REQUEST_SIM_IO ? sim_io_start(0, *static_cast<const RIL_SIM_IO_v6*>(data), context.id()) == 0
                                     : context.create_multi_mod_priv(0) && sim_get_imsi(0, context.id()) == 0) {
        context.in_flight();
    }
}

void ask(Input& input) {
    constexpr int32_t c_transmit = 1;  // no request's number
    const int32_t number = std::array{c_transmit, RIL_REQUEST_GET_IMSI, RIL_REQUEST_SIM_IO}[input.choice() % 3];
    RIL_SIM_IO_v6 io{};
    io.command = input.choice();
    io.p3 = input.choice();
    auto text = input.take(input.choice() % 64);
    text.push_back('\0');
    io.path = io.data = reinterpret_cast<char*>(text.data());
    RIL_Token token = s_requests.add(number);
    if (number == c_transmit) {
        ril_request_sim_transmit_basic(0, &io, sizeof(io), token);
    } else {
        qelril_post_request(0, number, &io, sizeof(io), token);
    }
}

// --- The card

// Octets of any number, and a length that mostly fits, with good status words at its end or not.
template <class Length, size_t size>
void fill(Input& input, bool good, Length& length, uint8_t (&out)[size]) {
    const uint8_t kind = input.choice();
    length = static_cast<int16_t>(kind < 240 ? input.choice() : kind << 8U | input.choice());
    const auto octets = input.take(length < 0 ? size : static_cast<size_t>(length));
    std::copy_n(octets.begin(), std::min(octets.size(), size), out);
    if (good && length >= 2 && static_cast<size_t>(length) <= size) {
        out[length - 2] = 0x90;
        out[length - 1] = 0;
    }
}

// The contract of each reader, whoever asks.
void read_directly(const UtaSimApduCmdRspParam& param) {
    sim_file_properties file;
    const int32_t result = AGGSimAnalyseFilePropertyResult(&param, &file);
    FUZZ_CHECK(result == 0 || result == -1);
    FUZZ_CHECK(isSuccessResult(file.status.sw1, file.status.sw2) || (file.file_size == 0 && file.num_records == 0));
    sim_apdu_status status;
    const int32_t good = sim_analyse_sim_apdu_result(param, status);
    FUZZ_CHECK((sim_analyse_apdu_result(param, status) == 0) == (good == 1));
    sim_read_result read;
    if (sms_sim_analyse_read_result(param, read) == 0) {
        FUZZ_CHECK(good == 1 && read.data.size() < 256);
    }
}

void answer(Input& input) {
    const uint8_t flags = input.choice();
    const bool good = (flags & 64U) != 0;
    UtaSimApduCmdRspParam param{};
    UtaSimApduData apdu{};
    param.result = (flags & 7U) == 7 ? 1 : 0;
    if ((flags & 8U) != 0) {
        fill(input, good, param.file.df_len, param.file.df.data);
    }
    if ((flags & 16U) != 0) {
        fill(input, good, param.file.ef_len, param.file.ef.data);
    }
    fill(input, good, apdu.length, apdu.data);
    param.file.apdu = (flags & 32U) != 0 ? nullptr : &apdu;
    read_directly(param);
    if (!s_owed.empty()) {
        const size_t at = flags % s_owed.size();
        const uint32_t context_id = s_owed[at];
        s_owed.erase(s_owed.begin() + static_cast<ptrdiff_t>(at));
        UtaMsSimApduCmdRspCb(0, &param, context_id);
    }
}

void step(Input& input) {
    s_refuses = (input.choice() & 15) == 0;
    switch (input.choice() % 6) {
        case 0: {
            auto info = any<UtaSimInfoType>(input);
            info.sim_ind = 3;
            UtaMsSimInfoIndCb(0, &info);
            break;
        }
        case 1: {
            const auto init = any<UtaSimInitType>(input);
            UtaMsSimInitIndCb(0, &init);
            break;
        }
        case 2:
            UtaMsSimFullAccessIndCb(0);
            break;
        case 3:
            ask(input);
            break;
        default:
            answer(input);
            break;
    }
}

}  // namespace

int32_t uta::call(uint16_t, const Word* words) {
    if (s_refuses) {
        return -1;
    }
    s_owed.push_back(static_cast<uint32_t>(words[2]));
    return 0;
}
uint32_t net_attach_is_allowed(uint32_t) {
    return 1;
}
void net_clear_modem_registration_state(uint32_t) {}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_owed.clear();
    s_refuses = false;
    s_requests = {};
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        const RunLock lock;
        sim_module_init(0);
        sim_set_inserted_sim_type(0, SIM_CARD_TYPE_3G);
        return 0;
    };
    start_engine(&c_env);
    while (!input.is_empty()) {
        step(input);
    }
    FUZZ_CHECK(sim_get_ecc_records(0) <= c_ecc_entries);
    sim_check_apn_listed_in_acl(0, "internet");
    stop_engine();
    FUZZ_CHECK(s_requests.are_complete());
    return 0;
}
