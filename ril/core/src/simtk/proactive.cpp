// What becomes of a proactive command: the modem carries it out and Android is told, it is answered here, or it is
// Android's and so is the terminal response.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/simtk/profile.h"
#include "ril/core/src/simtk/simtk.h"
#include "ril/core/src/sms/sms_tpdu.h"
#include "ril/utils/os_util.h"
#include "ril/utils/ril_instance.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// Types of ETSI TS 102 223, 9.4.
enum command_type : uint8_t {
    COMMAND_REFRESH = 0x01,
    COMMAND_MORE_TIME = 0x02,
    COMMAND_POLL_INTERVAL = 0x03,
    COMMAND_POLLING_OFF = 0x04,
    COMMAND_SET_UP_CALL = 0x10,
    COMMAND_SEND_SS = 0x11,
    COMMAND_SEND_USSD = 0x12,
    COMMAND_SEND_SHORT_MESSAGE = 0x13,
    COMMAND_SEND_DTMF = 0x14,
    COMMAND_PROVIDE_LOCAL_INFORMATION = 0x26,
    COMMAND_TIMER_MANAGEMENT = 0x27,
};

constexpr uint8_t c_local_information_imei = 1;

// General results of ETSI TS 102 223, 8.12.
enum general_result : uint8_t {
    RESULT_DONE = 0,
    RESULT_TYPE_NOT_UNDERSTOOD = 50,
    RESULT_DATA_NOT_UNDERSTOOD = 51,
    RESULT_VALUES_MISSING = 54,
};

using raw_text = std::array<char, 2 * c_stk_raw_max + 1>;

// The last command, and what is known of a SET UP CALL: Android is told of it when the command and the modem's word
// that it is about to call are both there. The modem's word comes on the RPC dispatch thread, the rest on the RIL
// thread.
struct stk_ms_data {
    UtaSimTkTransactionId simtk_transaction_id;
    uint16_t raw_len;
    std::array<uint8_t, c_stk_raw_max> raw_data;
    int32_t setup_call_pending;
    int32_t setup_call_exec_ind;
};

pthread_mutex_t s_stk_lock = PTHREAD_MUTEX_INITIALIZER;  // around s_stk_ms_data
std::array<stk_ms_data, 2> s_stk_ms_data;

struct command_details {
    uint8_t number;
    uint8_t type;
    uint8_t qualifier;
    bool has_long_length;
};

// --- To Android ------------------------------------------------------------------------------------------------------

// The number of characters.
size_t hex_text(std::span<const uint8_t> octets, raw_text& text) {
    size_t length = 1;
    sms_generate_hexstring_from_hexbuffer(octets, text, &length);
    return length - 1;
}

void request_on_stk_proactive_command(uint32_t sim_id, const raw_text& text) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_STK_PROACTIVE_COMMAND, text.data(), strlen(text.data()));
}

void request_on_stk_event_notify(uint32_t sim_id, const raw_text& text) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_STK_EVENT_NOTIFY, text.data(), strlen(text.data()));
}

void request_on_stk_tr_cnf_cb(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_STK_SESSION_END, nullptr, 0);
}

// --- Terminal responses ----------------------------------------------------------------------------------------------

// Those that carry additional information (ETSI TS 102 223, 8.12.1 and following).
bool has_extra(uint8_t result) {
    static constexpr uint8_t c_results[] = {0x20, 0x21, 0x26, 0x34, 0x35, 0x37, 0x38, 0x39, 0x3A};
    return std::ranges::find(c_results, result) != std::end(c_results);
}

// `raw` is what stands behind the result, and names the transaction.
void stk_ril_send_term_rsp(uint32_t sim_id, const command_details& details, uint8_t result, uint8_t extra,
                           const UtaSimTkRawDataParam& raw) {
    constexpr uint8_t c_first_failure = 17;
    if (result >= c_first_failure && raw.data_len != 0 && raw.data[0] == 0) {
        RIL_TRACE(TRACE_ERROR, "%s null data\n", __func__);
        return;
    }
    const bool with_extra = has_extra(result);
    const uint8_t result_length = with_extra ? 2 : 1;
    const command_details& d = details;
    // Command details; device identities, from the terminal to the card; result.
    const uint8_t front[] = {0x81, 0x03, d.number, d.type,        d.qualifier, 0x82, 0x02,
                             0x82, 0x81, 0x83,     result_length, result,      extra};
    UtaSimTkRawDataParam response{};
    response.simtk_transaction_id = raw.simtk_transaction_id;
    size_t length = sizeof(front) - (with_extra ? 0 : 1);
    std::copy_n(front, length, response.data);
    if (raw.data[0] != 0) {
        const size_t rest = std::min(static_cast<size_t>(raw.data_len), sizeof(response.data) - length);
        std::copy_n(raw.data, rest, response.data + length);
        length += rest;
    }
    response.data_len = static_cast<int16_t>(length);
    if (RemUtaMsSimTkProactiveCommandRsp(sim_id, &response) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s send term rsp failed\n", __func__);
    }
}

// --- Commands --------------------------------------------------------------------------------------------------------

uint8_t stk_get_cmd_details(std::span<const uint8_t> data, size_t length, command_details& details) {
    constexpr uint8_t c_proactive_command = 0xD0;
    constexpr uint8_t c_command_details = 0x01;
    constexpr uint8_t c_comprehension = 0x80;
    constexpr uint8_t c_long_length = 0x81;
    constexpr size_t c_shortest = 10;
    if (data[0] != c_proactive_command) {
        return RESULT_DATA_NOT_UNDERSTOOD;
    }
    if (length < c_shortest) {
        return RESULT_VALUES_MISSING;
    }
    if (data[1] == c_long_length) {
        if (data[2] < 0x80) {
            return RESULT_DATA_NOT_UNDERSTOOD;
        }
        details.has_long_length = true;
        data = data.subspan(1);
    }
    if ((data[2] & ~c_comprehension) != c_command_details) {
        return RESULT_TYPE_NOT_UNDERSTOOD;
    }
    if (data[3] != 3) {
        return RESULT_DATA_NOT_UNDERSTOOD;
    }
    details.number = data[4];
    details.type = data[5];
    details.qualifier = data[6];
    return RESULT_DONE;
}

// The modem carries it out, and answers the card itself.
bool stk_is_command_handled_in_dedicated_mode(uint8_t type) {
    switch (type) {
        case COMMAND_POLL_INTERVAL:
        case COMMAND_POLLING_OFF:
        case COMMAND_SET_UP_CALL:
        case COMMAND_SEND_SS:
        case COMMAND_SEND_USSD:
        case COMMAND_SEND_SHORT_MESSAGE:
        case COMMAND_SEND_DTMF:
        case COMMAND_TIMER_MANAGEMENT:
            return true;
        default:
            return false;
    }
}

bool stk_is_cmd_handled_by_ril(const command_details& details) {
    static constexpr uint8_t c_local_information[] = {0, c_local_information_imei, 2, 5, 6, 8};
    if (details.type == COMMAND_PROVIDE_LOCAL_INFORMATION) {
        return std::ranges::find(c_local_information, details.qualifier) != std::end(c_local_information);
    }
    return details.type == COMMAND_REFRESH || details.type == COMMAND_MORE_TIME;
}

// An IMEI that cannot be read is left out, as the other local information is.
void stk_handle_proactive_cmd_in_ril(uint32_t sim_id, const command_details& details, const UtaSimTkRawDataParam& raw,
                                     const raw_text& text) {
    constexpr uint8_t c_imei_tag = 0x94;
    request_on_stk_event_notify(sim_id, text);
    UtaSimTkRawDataParam additional{};
    additional.simtk_transaction_id = raw.simtk_transaction_id;
    UtaSysImei numbers{};
    if (details.type == COMMAND_PROVIDE_LOCAL_INFORMATION && details.qualifier == c_local_information_imei &&
        RemUtaMsSysReadImei(sim_id, &numbers) == 0) {
        additional.data[0] = c_imei_tag;
        additional.data[1] = sizeof(numbers.imei);
        std::copy(std::begin(numbers.imei), std::end(numbers.imei), additional.data + 2);
        additional.data_len = 2 + sizeof(numbers.imei);
    }
    stk_ril_send_term_rsp(sim_id, details, RESULT_DONE, 0, additional);
}

void keep_command(uint32_t sim_id, const UtaSimTkRawDataParam& raw) {
    const MutexHold hold(s_stk_lock);
    stk_ms_data& kept = s_stk_ms_data[sim_id];
    kept.simtk_transaction_id = raw.simtk_transaction_id;
    kept.raw_len = static_cast<uint16_t>(raw.data_len);
    kept.raw_data = {};
    std::copy_n(raw.data, kept.raw_len, kept.raw_data.begin());
}

// True when the modem's word was there first.
bool set_up_call_came(uint32_t sim_id, size_t length) {
    const MutexHold hold(s_stk_lock);
    stk_ms_data& kept = s_stk_ms_data[sim_id];
    if (kept.setup_call_exec_ind != 0) {
        kept.setup_call_pending = 0;
        kept.setup_call_exec_ind = 0;
        return true;
    }
    if (length >= c_stk_raw_max) {
        RIL_TRACE(TRACE_ERROR, "%s proactive cmd length exceeds\n", "simtk_proactive_command_ind_cb");
    } else {
        kept.setup_call_pending = 1;
    }
    return false;
}

void handle_dedicated(uint32_t sim_id, uint8_t type, size_t length, const raw_text& text) {
    if (type != COMMAND_SET_UP_CALL) {
        RIL_TRACE(TRACE_EVENT, "%s notify to afw\n", "simtk_proactive_command_ind_cb");
        request_on_stk_event_notify(sim_id, text);
    } else if (set_up_call_came(sim_id, length)) {
        request_on_stk_event_notify(sim_id, text);
    }
}

void simtk_proactive_command_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& raw = *static_cast<const UtaSimTkRawDataParam*>(p_params);
    const size_t length = static_cast<uint16_t>(raw.data_len);  // a negative one is too long
    if (length > c_stk_raw_max) {
        RIL_TRACE(TRACE_ERROR, "%s data_len is more than UTA_SIM_TK_MAX_RAW_DATA_LEN: \n", __func__);
        return;
    }
    keep_command(sim_id, raw);
    raw_text text{};
    hex_text(std::span(raw.data).first(length), text);
    command_details details{};
    if (const uint8_t result = stk_get_cmd_details(raw.data, length, details); result != RESULT_DONE) {
        RIL_TRACE(TRACE_ERROR, "%s get cmd failed, send terminal rsp\n", __func__);
        stk_ril_send_term_rsp(sim_id, details, result, 0, raw);
    } else if (stk_is_command_handled_in_dedicated_mode(details.type)) {
        handle_dedicated(sim_id, details.type, length, text);
    } else if (stk_is_cmd_handled_by_ril(details)) {
        stk_handle_proactive_cmd_in_ril(sim_id, details, raw, text);
    } else {
        RIL_TRACE(TRACE_EVENT, "%s send proactive cmd to afw\n", __func__);
        request_on_stk_proactive_command(sim_id, text);
    }
}

void simtk_terminal_response_cnf_cb(uint32_t sim_id, const void* p_params) {
    constexpr uint8_t c_normal_ending = 0x90;
    if (static_cast<const UtaSimTkTerminalResponseCnfParam*>(p_params)->sw1 == c_normal_ending) {
        request_on_stk_tr_cnf_cb(sim_id);
    }
}

// The text of the SET UP CALL that waited for the modem's word, or false: then the word waits for the command.
bool modem_is_about_to_call(uint32_t sim_id, raw_text& text) {
    const MutexHold hold(s_stk_lock);
    stk_ms_data& kept = s_stk_ms_data[sim_id];
    kept.setup_call_exec_ind = 1;
    if (kept.setup_call_pending != 1) {
        return false;
    }
    hex_text(std::span(kept.raw_data).first(kept.raw_len), text);
    kept.raw_data = {};
    kept.raw_len = 0;
    kept.setup_call_pending = 0;
    kept.setup_call_exec_ind = 0;
    return true;
}

}  // namespace

void stk_module_init(uint32_t sim_id) {
    {
        const MutexHold hold(s_stk_lock);
        s_stk_ms_data[sim_id] = {};
    }
    stk_forget_profile(sim_id);
}

int32_t stk_send_terminal_response(uint32_t sim_id, const char* text) {
    UtaSimTkRawDataParam response{};
    size_t length = 0;
    if (stk_octets_of(text, response.data, &length) != 0) {
        return -1;
    }
    response.data_len = static_cast<int16_t>(length);
    {
        const MutexHold hold(s_stk_lock);
        response.simtk_transaction_id = s_stk_ms_data[sim_id].simtk_transaction_id;
    }
    return RemUtaMsSimTkProactiveCommandRsp(sim_id, &response) == 0 ? 0 : -1;
}

int32_t stk_call_setup_request_from_sim(uint32_t sim_id, uint8_t value) {
    constexpr int32_t c_set_up = 0x22FF;
    constexpr int32_t c_rejected = 0xFF;
    UtaSimTkExecSimInitiatedCallRspParams param{};
    if (value == 0) {
        RIL_TRACE(TRACE_EVENT, "%s: call setup from simtk\n", __func__);
        param.result = c_set_up;
    } else if (value == 1) {
        RIL_TRACE(TRACE_EVENT, "%s: call reject from simtk\n", __func__);
        param.result = c_rejected;
        param.reject = 1;
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: unknown value\n", __func__);
        return -1;
    }
    if (RemUtaMsSimTkExecSimInitiatedCallRsp(sim_id, &param) != 0) {
        RIL_TRACE(TRACE_ERROR, "UtaMsSimTkExecSimInitiatedCallRsp Failed \n");
        return -1;
    }
    return 0;
}

void UtaMsSimTkProactiveCommandIndCb(uint32_t sim_id, const UtaSimTkRawDataParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_proactive_command_ind_cb);
}

void UtaMsSimTkTerminalResponseCnfCb(uint32_t sim_id, const UtaSimTkTerminalResponseCnfParam* param) {
    qelril_post_utamsindcb(sim_id, param, simtk_terminal_response_cnf_cb);
}

// Runs on the RPC dispatch thread, beside the RIL thread.
void UtaMsSimTkExecSimInitiatedCallIndCb(uint32_t sim_id, const UtaSimTkExecSimInitiatedCallInfoIndParam*) {
    if (sim_id != ril_instance) {
        RIL_TRACE(TRACE_ERROR, "%s drop packet\n", __func__);
        return;
    }
    raw_text text{};
    if (modem_is_about_to_call(sim_id, text)) {
        request_on_stk_event_notify(sim_id, text);
    }
}
