#include "ril/core/src/sim/channels.h"

#include <algorithm>
#include <cstring>

#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_open = 0;
constexpr int32_t c_close = 9;
constexpr uint8_t c_any_channel = 255;
constexpr size_t c_name_digits = 4;
constexpr size_t c_data_max = 254;

enum transmit_kind : uint32_t { TRANSMIT_BASIC = 2, TRANSMIT_CHANNEL = 3 };

// --- To the RIL thread ---

// A call of one of the exported operations. It waits for its run on the caller's stack.
struct outside_call {
    void (*run)(request_context& context, const void* data, size_t length);
    const char* function;
    const void* data;
    size_t length;
    ril_request request;
    bool* has_run;
};

void run_outside_call(uint32_t, const void* p_params) {
    const auto& call = *static_cast<const outside_call*>(p_params);
    *call.has_run = true;
    request_context context(call.request, call.function);
    if (context) {
        call.run(context, call.data, call.length);
    }
}

void run_on_ril_thread(uint32_t sim_id, outside_call call) {
    bool has_run = false;
    call.has_run = &has_run;
    qelril_post_utamsindcb(sim_id, &call, run_outside_call);
    if (!has_run) {  // no engine, or one that ended before it came to this
        call.request.complete(RIL_E_GENERIC_FAILURE);
    }
}

// --- Open and close ---

// The name's digits up to the first that is none.
void set_name(UtaSimApplicationId& app_id, const char* digits) {
    char name[c_name_digits + 1] = {};
    memcpy(name, digits, c_name_digits);
    app_id.length = c_name_digits;
    for (size_t i = 0; i < c_name_digits / 2; ++i) {
        if (sim_util_convert_hex_to_bin(name + 2 * i, std::span(app_id.id).subspan(i, 1)) != 1) {
            return;
        }
    }
}

void send_application_request(request_context& context, const UtaSimApplicationReqParam& request) {
    // The bare number: it is all that the response has to bring back.
    if (RemUtaMsSimApplicationReq(context.sim_id(), &request, context.id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSimApplicationReq Failed\n", __func__);
        return;
    }
    context.in_flight();
}

void refuse_data(const char* function) {
    RIL_TRACE(TRACE_ERROR, "%s: No data or not enough data\n", function);
}

void open_channel(request_context& context, const void* data, size_t length) {
    if (data == nullptr || length < c_name_digits) {
        refuse_data("ril_request_sim_open_channel");
        return;
    }
    UtaSimApplicationReqParam request{};
    request.action = c_open;
    request.channel_id = c_any_channel;
    set_name(request.app_id, static_cast<const char*>(data));
    send_application_request(context, request);
}

void close_channel(request_context& context, const void* data, size_t length) {
    if (data == nullptr || length < sizeof(int32_t)) {
        refuse_data("ril_request_sim_close_channel");
        return;
    }
    UtaSimApplicationReqParam request{};
    request.action = c_close;
    request.channel_id = *static_cast<const uint8_t*>(data);
    send_application_request(context, request);
}

// --- Transmit ---

const char* result_name(int32_t result) {
    constexpr const char* c_names[] = {"UTA_SIM_GEN_RES_TYPE_WRONG_CID", "UTA_SIM_GEN_RES_TYPE_NO_MEM_FOR_RESP",
                                       "UTA_SIM_GEN_RES_TYPE_NO_FREE_UICC_CHANNEL"};
    const auto index = static_cast<uint32_t>(result) - 1;
    return index < std::size(c_names) ? c_names[index] : "Unknown";
}

void sim_transmit_channel_basic_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    const auto& answer = *static_cast<const UtaSimApduCmdRspParam*>(p_params);
    if (answer.result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: APDU cmd rsp callback failure = %s\n", __func__, result_name(answer.result));
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    const std::span<const uint8_t> apdu = sim_apdu_part(answer);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, const_cast<uint8_t*>(apdu.data()), apdu.size());
}

int32_t sim_request_sim_transmit_channel_basic(request_context& context, const RIL_SIM_IO_v6& io, transmit_kind kind) {
    UtaSimApduData apdu;
    memset(apdu.data, 0xFF, sizeof(apdu.data));
    const uint8_t cla = getClaByte(context.sim_id());
    const uint8_t header[c_apdu_header] = {cla, static_cast<uint8_t>(io.command), static_cast<uint8_t>(io.p1),
                                           static_cast<uint8_t>(io.p2), static_cast<uint8_t>(io.p3)};
    const bool without_p3 = io.data == nullptr && io.p3 < 1;
    apdu.length = static_cast<int32_t>(without_p3 ? c_apdu_header - 1 : c_apdu_header);
    memcpy(apdu.data, header, static_cast<size_t>(apdu.length));
    if (io.data != nullptr) {
        const size_t length = strnlen(io.data, c_data_max + 1);
        if (length > c_data_max) {
            RIL_TRACE(TRACE_ERROR, "%s: p_sim_io_data->data should be less than 255\n", __func__);
            return -1;
        }
        memcpy(apdu.data + c_apdu_header, io.data, length);
        apdu.length += static_cast<int32_t>(length);
    }
    if (!context.create_multi_mod_priv(0)) {
        RIL_TRACE(TRACE_ERROR, "%s: malloc failed for p_priv_data\n", __func__);
        return -1;
    }
    const auto channel = kind == TRANSMIT_BASIC ? static_cast<uint8_t>(cla & 3U) : static_cast<uint8_t>(io.fileid);
    const UtaSimApduCmdReqParam request = {channel, SIM_SELECT_THEN_APDU, {}, &apdu};
    if (sim_apdu_cmd_req(context.sim_id(), request, sim_transmit_channel_basic_cb, context.id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsSimApduCmdReq failed\n", __func__);
        return -1;
    }
    return 0;
}

template <transmit_kind kind>
void transmit(request_context& context, const void* data, size_t length) {
    if (data == nullptr || length != sizeof(RIL_SIM_IO_v6)) {
        refuse_data(kind == TRANSMIT_BASIC ? "ril_request_sim_transmit_basic" : "ril_request_sim_transmit_channel");
        return;
    }
    if (sim_request_sim_transmit_channel_basic(context, *static_cast<const RIL_SIM_IO_v6*>(data), kind) == 0) {
        context.in_flight();
    }
}

}  // namespace

void ril_request_sim_open_channel(uint32_t sim, const char* p_df_name, size_t len, RIL_Token token) {
    run_on_ril_thread(sim, {open_channel, __func__, p_df_name, len, {sim, 0, token}, nullptr});
}

void ril_request_sim_close_channel(uint32_t sim, const uint8_t* channel, size_t len, RIL_Token token) {
    run_on_ril_thread(sim, {close_channel, __func__, channel, len, {sim, 0, token}, nullptr});
}

void ril_request_sim_transmit_basic(uint32_t sim, const RIL_SIM_IO_v6* io, size_t len, RIL_Token token) {
    run_on_ril_thread(sim, {transmit<TRANSMIT_BASIC>, __func__, io, len, {sim, 0, token}, nullptr});
}

void ril_request_sim_transmit_channel(uint32_t sim, const RIL_SIM_IO_v6* io, size_t len, RIL_Token token) {
    run_on_ril_thread(sim, {transmit<TRANSMIT_CHANNEL>, __func__, io, len, {sim, 0, token}, nullptr});
}

// On the RPC dispatch thread: it touches its own context and nothing else.
void UtaMsSimApplicationRspCb(uint32_t, const UtaSimApplicationRspParam* param, uint32_t context_id) {
    const uint32_t ctxt_id = context_id & 0xFFU;
    const RunLock lock;
    if (rilreq_state_info[ctxt_id].entry_in_use.load(std::memory_order_acquire) == 0) {
        RIL_TRACE(TRACE_ERROR, "Warning: rilreq_state_info[%x].entry_in_use=FALSE\n", ctxt_id);
        return;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: sw1 = 0x%x, sw2 = 0x%x\n", __func__, param->sw1, param->sw2);
    if (param->kind == c_open) {
        int channel = param->channel_id;
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &channel, sizeof(channel));
    } else if (param->kind == c_close) {
        RIL_TRACE(TRACE_DETAIL, "%s: closed channel = %d\n", __func__, param->channel_id);
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: Unexpected response callback = %d\n", __func__, param->kind);
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}
