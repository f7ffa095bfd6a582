// Android's commands to the card: the check and the building of the command, and the answer.
#include "ril/core/src/sim/sim_io.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/core/src/sim/context.h"
#include "ril/core/src/sim/fcp.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/conversion.h"
#include "ril/utils/trace.h"

namespace {

constexpr size_t c_response_size = 550;
constexpr size_t c_data_max = 512;      // characters
constexpr size_t c_command_data = 255;  // bytes of an update

// What a request keeps while it is in flight: one block, so that whoever ends the request frees all of it. The texts of
// the copy stand behind the record. PIN2 is not kept.
struct sim_io_request {
    RIL_SIM_IO_Response response;
    RIL_SIM_IO_v6 request;
    UtaSimApduCmdReqParam command;
    UtaSimApduData apdu;
    char text[c_response_size];
};

enum sim_io_data { NO_DATA, EXACTLY_P3, UP_TO_P3, UP_TO_P3_AND_ONE };

struct sim_io_command {
    sim_instruction instruction;
    uint8_t cla_3g;
    sim_io_data data;
};

constexpr sim_io_command c_commands[] = {
    {SIM_READ_BINARY, 0x00, NO_DATA},      {SIM_READ_RECORD, 0x00, NO_DATA},
    {SIM_GET_RESPONSE, 0x00, NO_DATA},     {SIM_RETRIEVE_DATA, 0x80, UP_TO_P3_AND_ONE},
    {SIM_UPDATE_BINARY, 0x00, EXACTLY_P3}, {SIM_UPDATE_RECORD, 0x00, EXACTLY_P3},
    {SIM_SET_DATA, 0x80, UP_TO_P3},        {SIM_STATUS, 0x80, NO_DATA},
};

const sim_io_command* find_command(int command) {
    const auto* const found = std::find_if(std::begin(c_commands), std::end(c_commands),
                                           [command](const auto& row) { return row.instruction == command; });
    return found == std::end(c_commands) ? nullptr : found;
}

bool is_hex(const char* text) {
    return std::all_of(text, text + strlen(text), ril_util_is_xdigit);
}

bool fits_byte(int value) {
    return value >= 0 && value <= 255;
}

// Four digits of a file id each; no more than the command has room for, with a file id of its own behind them.
bool sim_parse_path(const char* text, int file_id, UtaSimApduPath& path) {
    constexpr size_t c_digits = 4;
    const size_t length = text == nullptr ? 0 : strlen(text);
    size_t ids = 0;
    for (size_t at = 0; at < length; at += c_digits) {
        std::array<uint8_t, 2> id{};
        const size_t digits = std::min(c_digits, length - at);
        if (digits != c_digits || ids == std::size(path.path) ||
            sim_util_convert_hex_to_bin(text + at, id) != id.size()) {
            return false;
        }
        path.path[ids++] = static_cast<uint16_t>(id[0] << 8U | id[1]);
    }
    if (file_id != 0) {
        if (file_id < 0 || file_id > 0xFFFF || ids == std::size(path.path)) {
            return false;
        }
        path.path[ids++] = static_cast<uint16_t>(file_id);
    }
    return std::find(path.path, path.path + ids, 0) == path.path + ids;
}

bool parameters_match(const RIL_SIM_IO_v6& request, UtaSimApduPath& path) {
    const size_t length = request.data == nullptr ? 0 : strnlen(request.data, c_data_max + 1);
    return sim_parse_path(request.path, request.fileid, path) && fits_byte(request.p1) && fits_byte(request.p2) &&
           fits_byte(request.p3) && length <= c_data_max && length % 2 == 0 &&
           (request.data == nullptr || is_hex(request.data));
}

// The data behind the header; false when it is not what the command wants.
bool add_data(const sim_io_command& row, const RIL_SIM_IO_v6& request, UtaSimApduData& apdu) {
    const std::span<uint8_t> room = std::span(apdu.data).subspan(c_apdu_header);
    const auto p3 = static_cast<size_t>(request.p3);
    if (row.data == EXACTLY_P3) {
        if (request.data == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: no data\n", "sim_request_set_sim_access");
            return false;
        }
        const size_t count = sim_util_convert_hex_to_bin(request.data, room.first(c_command_data));
        if (count != p3) {
            RIL_TRACE(TRACE_ERROR, "%s: len mismatch(%d != %d)\n", "sim_request_set_sim_access",
                      static_cast<int>(count), request.p3);
            return false;
        }
        apdu.length += request.p3;
    } else if (row.data != NO_DATA && request.data != nullptr) {
        const size_t limit = row.data == UP_TO_P3 ? p3 : p3 + 1;
        apdu.length += static_cast<int32_t>(sim_util_convert_hex_to_bin(request.data, room.first(limit)));
    }
    return true;
}

// Checks the request, makes the command of it and queues that.
int32_t sim_request_set_sim_access(uint32_t sim_id, sim_io_request& io, uint32_t ctxt_id) {
    const RIL_SIM_IO_v6& request = io.request;
    const int32_t card_type = sim_get_inserted_sim_type(sim_id);
    if (card_type == SIM_CARD_TYPE_NO_TYPE) {
        RIL_TRACE(TRACE_ERROR, "%s: Error-SIM_CARD_TYPE_NO_TYPE\n", __func__);
        return -1;
    }
    const sim_io_command* const row = find_command(request.command);
    if (row == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: cmd me error 50\n", __func__);
        return -1;
    }
    io.command = {};
    if (!parameters_match(request, io.command.path)) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_FAILURE due to parameters mismatch\n", __func__);
        return -1;
    }
    UtaSimApduData& apdu = io.apdu;
    memset(apdu.data, 0xFF, sizeof(apdu.data));
    io.command.apdu = &apdu;
    if (row->instruction == SIM_GET_RESPONSE) {
        io.command.req_mode = SIM_SELECT_AND_GET;
        apdu.length = 0;
    } else {
        io.command.req_mode = SIM_SELECT_THEN_APDU;
        apdu.length = c_apdu_header;
        if (!add_data(*row, request, apdu)) {
            return -1;
        }
        const uint8_t header[c_apdu_header] = {card_type == SIM_CARD_TYPE_3G ? row->cla_3g : getClaByte(sim_id),
                                               static_cast<uint8_t>(request.command), static_cast<uint8_t>(request.p1),
                                               static_cast<uint8_t>(request.p2), static_cast<uint8_t>(request.p3)};
        memcpy(apdu.data, header, sizeof(header));
    }
    return sim_io_post(sim_id, io.command, ctxt_id);
}

sim_io_request& request_of(uint32_t ctxt_id) {
    return *static_cast<sim_io_request*>(sim_priv_of(ctxt_id)->caller_priv);
}

char* copy_text(const char* text, char*& room) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t size = strlen(text) + 1;
    char* const copy = room;
    memcpy(copy, text, size);
    room += size;
    return copy;
}

size_t text_size(const char* text) {
    return text == nullptr ? 0 : strlen(text) + 1;
}

sim_io_request* keep_request(const RIL_SIM_IO_v6& request, uint32_t ctxt_id) {
    void* block = nullptr;
    const size_t size = sizeof(sim_io_request) + text_size(request.path) + text_size(request.data);
    if (qelril_create_multi_mod_priv(ctxt_id, RIL_REQUEST_SIM_IO, size, &block) != 0) {
        return nullptr;
    }
    auto* const io = static_cast<sim_io_request*>(block);
    auto* room = reinterpret_cast<char*>(io + 1);
    io->request = request;
    io->request.path = copy_text(request.path, room);
    io->request.data = copy_text(request.data, room);
    io->request.pin2 = nullptr;
    io->request.aidPtr = nullptr;
    return io;
}

void take_sw(std::span<const uint8_t> part, RIL_SIM_IO_Response& response) {
    response.sw1 = part[part.size() - 2];
    response.sw2 = part[part.size() - 1];
}

// What a good answer says; the text stays empty where there is none.
void read_answer(const UtaSimApduCmdRspParam& answer, sim_io_request& io) {
    sim_apdu_status status{};
    const int32_t good = sim_analyse_sim_apdu_result(answer, status);
    io.response.sw1 = status.sw1;
    io.response.sw2 = status.sw2;
    if (good == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_analyse_sim_apdu_result returned Error\n", "sim_apdu_cmd_req_sim_access_cb");
    } else if (io.request.command != SIM_GET_RESPONSE) {
        if (answer.file.apdu == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: No apdu data present\n", "sim_apdu_cmd_req_sim_access_cb");
            return;
        }
        sim_util_convert_bin_to_hex(sim_without_sw(sim_apdu_part(answer)), io.text);
    } else {
        const std::span<const uint8_t> ef = sim_ef_part(answer);
        const std::span<const uint8_t> header = ef.size() > 1 ? ef : sim_df_part(answer);
        if (header.size() > 1) {
            sim_util_convert_bin_to_hex(sim_without_sw(header), io.text);
            take_sw(header, io.response);
        }
    }
}

void ril_request_sim_io_onrequest_complete(uint32_t sim_id, uint32_t ctxt_id) {
    sim_io_request& io = request_of(ctxt_id);
    RIL_SIM_IO_Response& response = io.response;
    RIL_Errno error = RIL_E_SUCCESS;
    if (response.sw1 == 0x90 || response.sw1 == 0x91) {
        if (io.request.command == SIM_GET_RESPONSE && sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_3G) {
            RIL_TRACE(TRACE_DETAIL, "converting 3G SIM response to 2G FCP\n");
            sim_convert_sim_io_fcp(response.simResponse, io.text);
        }
    } else {
        // Android reads a failure from the status words.
        response.simResponse = nullptr;
        error = response.sw1 == 0x98 ? RIL_E_SIM_PIN2 : RIL_E_SUCCESS;
    }
    qelril_complete_and_return(ctxt_id, error, &response, sizeof(response));
}

}  // namespace

int32_t sim_io_start(uint32_t sim_id, const RIL_SIM_IO_v6& request, uint32_t ctxt_id) {
    sim_io_request* const io = keep_request(request, ctxt_id);
    if (io == nullptr) {
        return -1;
    }
    if (request.pin2 == nullptr || request.pin2[0] == '\0') {
        return sim_request_set_sim_access(sim_id, *io, ctxt_id);
    }
    return sim_handle_pin_activities(sim_id, SIM_ENTER_PIN2, request.pin2, nullptr, ctxt_id);
}

void ril_request_sim_io_verify_sim_pin2(uint32_t sim_id, int32_t error, uint32_t ctxt_id) {
    sim_io_request& io = request_of(ctxt_id);
    if (error != 0) {
        const bool blocked = s_sim_pb_info[sim_id].m_chv2_status == CHV_BLOCKED;
        qelril_complete_and_return(ctxt_id, blocked ? RIL_E_SIM_PUK2 : RIL_E_SIM_PIN2, &io.response,
                                   sizeof(io.response));
    } else if (sim_request_set_sim_access(sim_id, io, ctxt_id) != 0) {
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}

void sim_apdu_cmd_req_sim_access_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& answer = *static_cast<const UtaSimApduCmdRspParam*>(p_params);
    sim_io_request& io = request_of(ctxt_id);
    io.response = {};
    io.text[0] = '\0';
    if (answer.result == 0) {
        read_answer(answer, io);
    }
    io.response.simResponse = io.text[0] == '\0' ? nullptr : io.text;
    ril_request_sim_io_onrequest_complete(sim_id, ctxt_id);
}
