// What a card may answer, in whatever order and at whatever length: the readers of its files, Android's commands, the
// IMSI and the channels read it, from the entry point of the response to the answer to Android or the property.
#include <cutils/properties.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/decode/input.h"
#include "ril/core/src/async_ril/context.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/call/ecc_list.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/acl.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/channels.h"
#include "ril/core/src/sim/fcp.h"
#include "ril/core/src/sim/imsi.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/utils/conversion.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

std::vector<uint32_t> s_contexts;  // of the commands that went to the card
uint32_t s_completions = 0;
bool s_is_command = false;  // the answer is that of a command of Android's

// The rest of the input, over and over.
class Octets {
public:
    explicit Octets(std::vector<uint8_t> octets) : octets_(std::move(octets)) {}

    uint8_t next() { return octets_.empty() ? 0 : octets_[at_++ % octets_.size()]; }
    template <size_t size>
    void fill(uint8_t (&out)[size]) {
        std::generate(out, out + size, [this] { return next(); });
    }
    // Mostly a length that fits.
    int32_t length() {
        const uint8_t kind = next();
        return kind < 240 ? next() : static_cast<int16_t>(next() << 8U | next());
    }
    bool used_up() const { return at_ >= octets_.size(); }

private:
    std::vector<uint8_t> octets_;
    size_t at_ = 0;
};

struct Answer {
    UtaSimApduCmdRspParam param{};
    std::unique_ptr<UtaSimApduData> apdu = std::make_unique<UtaSimApduData>();

    explicit Answer(Octets& octets) {
        const uint8_t flags = octets.next();
        param.result = (flags & 7U) == 7 ? 1 : 0;
        param.file.df_len = static_cast<int16_t>((flags & 8U) != 0 ? octets.length() : 0);
        param.file.ef_len = static_cast<int16_t>((flags & 16U) != 0 ? octets.length() : 0);
        octets.fill(param.file.df.data);
        octets.fill(param.file.ef.data);
        apdu->length = octets.length();
        octets.fill(apdu->data);
        param.file.apdu = (flags & 32U) != 0 ? nullptr : apdu.get();
        if ((flags & 64U) != 0) {  // good status words where there is room
            end_well(param.file.df.data, param.file.df_len);
            end_well(param.file.ef.data, param.file.ef_len);
            end_well(apdu->data, apdu->length);
        }
    }
    template <size_t size>
    static void end_well(uint8_t (&data)[size], int32_t length) {
        if (length >= 2 && static_cast<size_t>(length) <= size) {
            data[length - 2] = 0x90;
            data[length - 1] = 0;
        }
    }
};

// Answers the commands that are in flight until the input is used up.
void answer_all(Octets& octets) {
    for (int i = 0; i < 20 && !s_contexts.empty() && !(i > 0 && octets.used_up()); ++i) {
        const uint32_t context = s_contexts[octets.next() % s_contexts.size()];
        const Answer answer(octets);
        UtaMsSimApduCmdRspCb(0, &answer.param, context);
    }
}

void read_answer_directly(Octets& octets) {
    const Answer answer(octets);
    sim_file_properties file;
    const int32_t result = AGGSimAnalyseFilePropertyResult(&answer.param, &file);
    FUZZ_CHECK(result == 0 || result == -1);
    FUZZ_CHECK(isSuccessResult(file.status.sw1, file.status.sw2) || (file.file_size == 0 && file.num_records == 0));
    sim_apdu_status status;
    const int32_t good = sim_analyse_sim_apdu_result(answer.param, status);
    FUZZ_CHECK((sim_analyse_apdu_result(answer.param, status) == 0) == (good == 1));
    sim_read_result read;
    if (sms_sim_analyse_read_result(answer.param, read) == 0) {
        FUZZ_CHECK(good == 1 && read.data.size() < 256);
    }
}

void convert_header(const std::vector<uint8_t>& octets) {
    std::vector<char> text(2 * octets.size() + 1);
    FUZZ_CHECK(sim_util_convert_bin_to_hex(octets, text.data()) == 2 * octets.size());
    std::vector<uint8_t> back(octets.size());
    FUZZ_CHECK(sim_util_convert_hex_to_bin(text.data(), back) == octets.size() && back == octets);
    char header[c_ts_51011_text_size];
    if (sim_convert_sim_io_fcp(text.data(), header) == 0) {
        FUZZ_CHECK(strlen(header) == 2 * c_ts_51011_size);
    }
    // As text, good or bad.
    std::vector<char> any(octets.begin(), octets.end());
    any.push_back('\0');
    sim_convert_sim_io_fcp(any.data(), header);
    sim_util_convert_hex_to_bin(any.data(), std::span(back).first(strlen(any.data()) / 2));
}

uint32_t context_of(const ril_request& request) {
    request_context context(request, __func__);
    FUZZ_CHECK(context && context.create_multi_mod_priv(0));
    return context.hand_over();
}

// A command of Android's: it cannot be queued without the thread, but its answer can be taken.
void answer_command(Octets& octets) {
    const ril_request request = {0, RIL_REQUEST_SIM_IO, &s_completions};
    request_context context(request, __func__);
    RIL_SIM_IO_v6 io{};
    io.command = octets.next();
    FUZZ_CHECK(sim_io_start(0, io, context.id()) == -1);
    const Answer answer(octets);
    s_is_command = true;
    sim_apdu_cmd_req_sim_access_cb(0, &answer.param, context.hand_over());
    s_is_command = false;
    FUZZ_CHECK(s_completions == 1);
}

}  // namespace

// --- The rooms around
// --------------------------------------------------------------------------------------------------

const RIL_Env* s_rilenv = nullptr;

int32_t uta::call(uint16_t, const Word* words) {
    s_contexts.push_back(static_cast<uint32_t>(words[2]));
    return s_contexts.size() % 16 == 15 ? -1 : 0;
}
uint32_t RPCMakeContextId() {
    return 0x20000100;
}
void ril_request_complete(RIL_Token token, RIL_Errno, void* response, size_t length) {
    if (token == nullptr) {
        return;
    }
    ++s_completions;
    FUZZ_CHECK(response != nullptr || length == 0);
    if (s_is_command) {
        FUZZ_CHECK(length == sizeof(RIL_SIM_IO_Response));
        const char* const text = static_cast<RIL_SIM_IO_Response*>(response)->simResponse;
        FUZZ_CHECK(text == nullptr || strlen(text) < 550);
    }
}
void RIL_UnsolicitedResponse(uint32_t, int, const void*, size_t) {}
int32_t qelril_post_utamsrspcb(uint32_t sim_id, const void* p_params, uint32_t context_id, rilreq_rspcb p_rspcb) {
    const RunLock lock;
    if (rilreq_state_info[context_id & 0xFFU].entry_in_use == 1) {
        p_rspcb(sim_id, p_params, context_id & 0xFFU);
    }
    return 0;
}
int32_t qelril_post_utamsindcb(uint32_t sim_id, const void* p_params, rilreq_indcb p_indcb) {
    const RunLock lock;
    p_indcb(sim_id, p_params);
    return 0;
}
uint32_t net_attach_is_allowed(uint32_t) {
    return 1;
}
void net_clear_modem_registration_state(uint32_t) {}
RIL_RadioState get_radio_state(uint32_t) {
    return RADIO_STATE_ON;
}
extern "C" {
int property_get(const char*, char* value, const char* default_value) {
    strcpy(value, default_value == nullptr ? "" : default_value);
    return static_cast<int>(strlen(value));
}
int property_set(const char*, const char* value) {
    FUZZ_CHECK(value == nullptr || strlen(value) < PROPERTY_VALUE_MAX);
    return 0;
}
__attribute__((visibility("default"))) int __android_log_buf_print(int, int, const char*, const char*, ...) {
    return 0;
}
__attribute__((visibility("default"))) int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const uint8_t kind = input.choice();
    const bool is_3g = (kind & 0x80U) != 0;
    Octets octets(input.rest());
    s_completions = 0;
    s_contexts.clear();
    context_table_start();
    sim_module_init(0);
    sim_set_inserted_sim_type(0, is_3g ? SIM_CARD_TYPE_3G : SIM_CARD_TYPE_2G);
    const uint8_t what = kind % 6;
    switch (what) {
        case 0:
            read_answer_directly(octets);
            break;
        case 1:
            convert_header(input.rest());
            break;
        case 2:
            UtaMsSimFullAccessIndCb(0);
            answer_all(octets);
            FUZZ_CHECK(sim_get_ecc_records(0) <= c_ecc_entries);
            sim_check_apn_listed_in_acl(0, "internet");
            break;
        case 3:
            if (sim_get_imsi(0, context_of({0, RIL_REQUEST_GET_IMSI, &s_completions})) == 0) {
                answer_all(octets);
            }
            break;
        case 4: {
            RIL_SIM_IO_v6 io{};
            ril_request_sim_transmit_basic(0, &io, sizeof(io), &s_completions);
            answer_all(octets);
            break;
        }
        default:
            answer_command(octets);
            break;
    }
    context_table_abandon();
    FUZZ_CHECK(what < 3 || s_completions == 1);
    sim_clear_acl(0);
    return 0;
}
