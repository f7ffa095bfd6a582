#include "ril/core/src/sim/apdu.h"

#include <algorithm>
#include <cstring>

#include "ril/core/src/sim/context.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/utils/conversion.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint16_t c_mf = 0x3F00;
constexpr uint16_t c_current_application = 0x7FFF;
constexpr uint8_t c_absolute_mode = 4;

constexpr size_t c_apdu_part_max = 260;
constexpr size_t c_read_result_max = 258;

// The part's last two bytes.
bool take_sw(std::span<const uint8_t> part, sim_apdu_status& out) {
    out.sw1 = part[part.size() - 2];
    out.sw2 = part[part.size() - 1];
    return isSuccessResult(out.sw1, out.sw2);
}

std::span<const uint8_t> cut(const uint8_t* data, int32_t length, size_t room) {
    return {data, std::min(static_cast<size_t>(std::max(length, 0)), room)};
}

void start_apdu(uint32_t sim_id, UtaSimApduData& apdu, sim_instruction instruction, uint8_t p1, uint8_t p2,
                uint8_t p3) {
    memset(apdu.data, 0xFF, sizeof(apdu.data));
    const uint8_t header[c_apdu_header] = {getClaByte(sim_id), instruction, p1, p2, p3};
    memcpy(apdu.data, header, sizeof(header));
    apdu.length = c_apdu_header;
}

int32_t xdigit(char c) {
    if (!ril_util_is_xdigit(c)) {
        return -1;
    }
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

void sim_apdu_cmd_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    sim_apdu_callee* const callee = sim_apdu_callee_of(ctxt_id);
    if (callee == nullptr || callee->state != APDU_WAITING) {
        return;
    }
    callee->state = APDU_ANSWERED;
    if (callee->callback != nullptr) {
        callee->callback(sim_id, p_params, ctxt_id);
    }
}

}  // namespace

UtaSimApduPath sim_file_path(uint32_t sim_id, uint16_t df, uint16_t file) {
    const bool is_3g = sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_3G;
    return {{c_mf, is_3g ? c_current_application : df, file}};
}

uint8_t getClaByte(uint32_t sim_id) {
    return sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_3G ? 0x00 : 0xA0;
}

void sim_create_apdu_for_read_binary(uint32_t sim_id, uint16_t offset, uint8_t length, UtaSimApduData& apdu) {
    start_apdu(sim_id, apdu, SIM_READ_BINARY, static_cast<uint8_t>(offset >> 8U), static_cast<uint8_t>(offset), length);
}

void sms_sim_create_read_record_apdu(uint32_t sim_id, uint8_t record, uint8_t length, UtaSimApduData& apdu) {
    start_apdu(sim_id, apdu, SIM_READ_RECORD, record, c_absolute_mode, length);
}

bool sim_apdu_expect(uint32_t ctxt_id, rilreq_rspcb callback) {
    rilreq_priv_data* const multi = sim_priv_of(ctxt_id);
    if (multi == nullptr) {
        return false;
    }
    if (multi->callee_priv == nullptr) {
        multi->callee_priv = MEM_ALLOC(sizeof(sim_apdu_callee));
    }
    if (multi->callee_priv == nullptr) {
        return false;
    }
    *static_cast<sim_apdu_callee*>(multi->callee_priv) = {APDU_WAITING, callback};
    return true;
}

int32_t sim_apdu_cmd_req(uint32_t sim_id, const UtaSimApduCmdReqParam& req, rilreq_rspcb callback, uint32_t ctxt_id) {
    if (!sim_apdu_expect(ctxt_id, callback)) {
        RIL_TRACE(TRACE_ERROR, "%s:memory allocating for T_SIM_UTA_SIM_APDU_REQ failed\n", __func__);
        return -1;
    }
    if (RemUtaMsSimApduCmdReq(sim_id, &req, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA FAILURE for UtaMsSimApduCmdReq remote call\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsSimApduCmdRspCb(uint32_t sim_id, const UtaSimApduCmdRspParam* param, uint32_t context_id) {
    const uint32_t ctxt_id = context_id & 0xFFU;
    {
        const RunLock lock;
        if (rilreq_state_info[ctxt_id].entry_in_use.load(std::memory_order_acquire) == 0) {
            RIL_TRACE(TRACE_ERROR, "%s: WARNING!!! rilreq_state_info[%d].entry_in_use == FALSE\n", __func__,
                      static_cast<int>(ctxt_id));
            return;
        }
        const sim_apdu_callee* const callee = sim_apdu_callee_of(ctxt_id);
        if (callee == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: WARNING!!! rilreq_state_info[%d].p_priv_data==NULL || callee_priv == NULL\n",
                      __func__, static_cast<int>(ctxt_id));
            return;
        }
        // The next command may leave while this answer is still on its way to the RIL thread.
        if (callee->state == APDU_WAITING && callee->callback == sim_apdu_cmd_req_sim_access_cb) {
            sim_io_answered(ctxt_id);
        }
    }
    qelril_post_utamsrspcb(sim_id & 1U, param, context_id, sim_apdu_cmd_rsp_cb);
}

std::span<const uint8_t> sim_df_part(const UtaSimApduCmdRspParam& answer) {
    return cut(answer.file.df.data, answer.file.df_len, sizeof(answer.file.df.data));
}

std::span<const uint8_t> sim_ef_part(const UtaSimApduCmdRspParam& answer) {
    return cut(answer.file.ef.data, answer.file.ef_len, sizeof(answer.file.ef.data));
}

std::span<const uint8_t> sim_apdu_part(const UtaSimApduCmdRspParam& answer) {
    const UtaSimApduData* const apdu = answer.file.apdu;
    return apdu == nullptr ? std::span<const uint8_t>() : cut(apdu->data, apdu->length, c_apdu_part_max);
}

std::span<const uint8_t> sim_without_sw(std::span<const uint8_t> part) {
    return part.first(part.size() - std::min<size_t>(part.size(), 2));
}

int32_t sim_get_apdu_status(std::span<const uint8_t> part, sim_apdu_status& out) {
    if (part.empty()) {
        return 1;
    }
    return part.size() > 1 && take_sw(part, out) ? 1 : 0;
}

int32_t sim_analyse_sim_apdu_result(const UtaSimApduCmdRspParam& answer, sim_apdu_status& out) {
    out = {};
    out.id = static_cast<uint16_t>(answer.file.df_id);
    if (sim_get_apdu_status(sim_df_part(answer), out) == 0) {
        return 0;
    }
    out.id = static_cast<uint16_t>(answer.file.ef_id);
    if (sim_get_apdu_status(sim_ef_part(answer), out) == 0) {
        return 0;
    }
    return sim_get_apdu_status(sim_apdu_part(answer), out);
}

int32_t sim_analyse_apdu_result(const UtaSimApduCmdRspParam& answer, sim_apdu_status& out) {
    return sim_analyse_sim_apdu_result(answer, out) == 1 ? 0 : -1;
}

int32_t sms_sim_analyse_read_result(const UtaSimApduCmdRspParam& answer, sim_read_result& out) {
    out = {};
    if (sim_analyse_sim_apdu_result(answer, out.status) != 1 || !isSuccessResult(out.status.sw1, out.status.sw2)) {
        return -1;
    }
    const UtaSimApduData* const apdu = answer.file.apdu;
    if (apdu == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: No APDU data, NULL pointer\n", __func__);
        return -1;
    }
    if (apdu->length > static_cast<int32_t>(c_read_result_max)) {
        RIL_TRACE(TRACE_ERROR, "%s: data greater then max length\n", __func__);
        return -1;
    }
    if (apdu->length != static_cast<int32_t>(c_read_result_max)) {
        out.data = sim_without_sw(sim_apdu_part(answer));
    }
    return 0;
}

size_t sim_util_convert_hex_to_bin(const char* hex, std::span<uint8_t> out) {
    size_t count = 0;
    for (; count < out.size(); ++count) {
        const int32_t high = xdigit(hex[2 * count]);
        if (high < 0) {
            break;
        }
        const int32_t low = xdigit(hex[2 * count + 1]);
        if (low < 0) {
            return 0;
        }
        out[count] = static_cast<uint8_t>(high * 16 + low);
    }
    return count;
}

size_t sim_util_convert_bin_to_hex(std::span<const uint8_t> bin, char* out) {
    constexpr char c_digits[] = "0123456789ABCDEF";
    size_t length = 0;
    for (const uint8_t byte : bin) {
        out[length++] = c_digits[byte >> 4U];
        out[length++] = c_digits[byte & 0xFU];
    }
    out[length] = '\0';
    return length;
}
