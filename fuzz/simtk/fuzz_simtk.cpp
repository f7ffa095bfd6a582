// Commands of any content from the card, envelopes, profiles and terminal responses of any text from Android, and any
// answers: through the entry points, with the RIL thread behind them.
#include <algorithm>
#include <cstring>
#include <deque>
#include <string>

#include "fuzz/requests.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/simtk/simtk.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

struct Owed {
    uint32_t context_id;
    bool is_envelope;
};

std::deque<Owed> s_owed;
bool s_refuses;
Requests s_requests;
int s_to_android;
int s_responses;

// --- Android

void completed(RIL_Token token, RIL_Errno error, void* data, size_t length) {
    s_requests.complete(token);
    FUZZ_CHECK(error == RIL_E_SUCCESS || (data == nullptr && length == 0));
}

void told(int number, const void* data, size_t length) {
    ++s_to_android;
    if (number != RIL_UNSOL_STK_SESSION_END) {
        const auto* const text = static_cast<const char*>(data);
        FUZZ_CHECK(length <= 2 * c_stk_raw_max && strspn(text, "0123456789ABCDEF") == length && text[length] == '\0');
    }
}

const RIL_Env c_env = {completed, told, [](RIL_TimedCallback, void*, const timeval*) {}};

void handle(int32_t request, void* data, size_t length, RIL_Token token) {
    static constexpr request_row c_rows[] = {
        ROW(ril_request_set_stk_profile), ROW(ril_request_send_stk_envelope_command),
        ROW(ril_request_send_stk_envelope_with_status), ROW(ril_request_send_stk_terminal_response)};
    const request_row& row = c_rows[static_cast<size_t>(request)];
    row.run(row, {0, request, token}, {data, length});
}

// Mostly hexadecimal digits.
void ask(Input& input) {
    const int32_t number = input.choice() % 4;
    std::string text;
    for (const uint8_t octet : input.take(input.choice() * 3U)) {
        text += octet < 0xF8 ? "0123456789abcdefABCDEF"[octet % 22] : static_cast<char>(octet);
    }
    qelril_post_request(0, number, text.data(), sizeof(char*), s_requests.add(number));
}

// --- The modem and the card

void command(Input& input) {
    static constexpr uint8_t c_header[] = {0xD0, 0x09, 0x81, 0x03, 0x01};
    UtaSimTkRawDataParam raw{};
    const bool has_header = (input.choice() & 1) != 0;
    raw.data_len = static_cast<int16_t>(input.choice() * 2 - 16);
    const size_t start = has_header ? sizeof(c_header) : 0;
    std::copy_n(c_header, start, raw.data);
    const auto octets = input.take(sizeof(raw.data) - start);
    std::copy(octets.begin(), octets.end(), raw.data + start);
    s_to_android = s_responses = 0;
    UtaMsSimTkProactiveCommandIndCb(0, &raw);
    FUZZ_CHECK(s_to_android <= 1 && s_responses <= 1);
    if (raw.data_len < 0 || raw.data_len > 256) {
        FUZZ_CHECK(s_to_android + s_responses == 0);
    }
}

void answer(Input& input) {
    if (s_owed.empty()) {
        return;
    }
    const Owed owed = s_owed.front();
    s_owed.pop_front();
    const bool other = (input.choice() & 15) == 0;  // another function's answer to the same context
    auto octets = input.take(input.choice());
    if (owed.is_envelope != other) {
        UtaSimTkEnvelopeResIndParam res{};
        res.response_length = static_cast<uint8_t>(octets.size());
        res.response = octets.empty() ? nullptr : octets.data();
        UtaMsSimTkEnvelopeResIndCb(0, octets.size() == 1 ? nullptr : &res, owed.context_id);
    } else {
        const UtaSimTkTerminalProfileRspParam rsp = {octets.empty() ? 0 : octets[0] & 1, 0, 0};
        UtaMsSimTkSendTerminalProfileRspCb(0, &rsp, owed.context_id);
    }
}

void step(Input& input) {
    s_refuses = (input.choice() & 7) == 0;
    switch (input.choice() % 5) {
        case 0:
        case 1:
            command(input);
            break;
        case 2:
            UtaMsSimTkExecSimInitiatedCallIndCb(0, nullptr);
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

int32_t uta::call(uint16_t id, const uta::Word* words) {
    if (id == uta::row::UtaMsSimTkProactiveCommandRsp::id) {
        ++s_responses;
        const int16_t length = reinterpret_cast<const UtaSimTkRawDataParam*>(words[1])->data_len;
        FUZZ_CHECK(length >= 0 && length <= 256);
    }
    if (s_refuses) {
        return -1;
    }
    const bool is_envelope = id == uta::row::UtaMsSimTkEnvelopeCommandReq::id;
    if (is_envelope || id == uta::row::UtaMsSimTkSendTerminalProfileReq::id) {
        s_owed.push_back({static_cast<uint32_t>(words[2]), is_envelope});
    }
    return 0;
}

int32_t sim_get_inserted_sim_type(uint32_t) {
    return s_refuses ? SIM_CARD_TYPE_2G : SIM_CARD_TYPE_3G;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    s_owed.clear();
    s_refuses = false;
    s_requests = {};
    stood_in.handler = handle;
    stood_in.modem_init = [] {
        stk_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    while (!input.is_empty()) {
        step(input);
    }
    stop_engine();
    FUZZ_CHECK(s_requests.are_complete());
    return 0;
}
