#include "ril/core/src/sms/card_file.h"

#include <algorithm>
#include <cstring>

#include "ril/utils/trace.h"

int32_t sms_send_apdu(uint32_t sim_id, sms_card_file file, UtaSimApduData& apdu, rilreq_rspcb callback,
                      uint32_t ctxt_id) {
    UtaSimApduCmdReqParam command{};
    command.req_mode = SIM_SELECT_THEN_APDU;
    command.path = sim_file_path(sim_id, c_sim_df_telecom, file);
    command.apdu = &apdu;
    return sim_apdu_cmd_req(sim_id, command, callback, ctxt_id);
}

int32_t sms_select_file(uint32_t sim_id, sms_card_file file, rilreq_rspcb callback, uint32_t ctxt_id) {
    UtaSimApduCmdReqParam command{};
    command.req_mode = SIM_SELECT_AND_GET;
    command.path = sim_file_path(sim_id, c_sim_df_telecom, file);
    const int32_t result = sim_apdu_cmd_req(sim_id, command, callback, ctxt_id);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: error in calling sim_apdu_cmd_req\n", __func__);
    }
    return result;
}

int32_t sms_update_record(uint32_t sim_id, sms_card_file file, uint8_t record, std::span<const uint8_t> content,
                          rilreq_rspcb callback, uint32_t ctxt_id) {
    constexpr uint8_t c_absolute = 4;
    UtaSimApduData apdu;
    memset(&apdu, 0xFF, sizeof(apdu));
    const auto size = static_cast<uint8_t>(content.size());
    const uint8_t header[] = {getClaByte(sim_id), SIM_UPDATE_RECORD, record, c_absolute, size};
    memcpy(apdu.data, header, sizeof(header));
    std::copy_n(content.begin(), size, apdu.data + sizeof(header));
    apdu.length = static_cast<int32_t>(sizeof(header) + size);
    return sms_send_apdu(sim_id, file, apdu, callback, ctxt_id);
}

bool sms_answer_is_good(const UtaSimApduCmdRspParam& answer, const char* function) {
    sim_apdu_status status{};
    const bool analysed = sim_analyse_apdu_result(answer, status) == 0;
    const bool good =
        (status.sw1 == 0x90 && status.sw2 == 0) || status.sw1 == 0x91 || status.sw1 == 0x9E || status.sw1 == 0x9F;
    if (analysed && good) {
        return true;
    }
    const char* const why = status.sw1 == 0x93 && status.sw2 == 0 ? "%s: SIM_BUSY\n"
                            : status.sw1 == 0x6F                  ? "%s: SIM_WRONG\n"
                                                                  : "%s: UNKNOWN_ERROR\n";
    RIL_TRACE(TRACE_ERROR, why, function);
    return false;
}

const sim_file_properties* sms_selected_file(const UtaSimApduCmdRspParam& answer, sim_file_properties& out,
                                             const char* function) {
    if (!sms_answer_is_good(answer, function)) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR!  SELCET SMSP Operation result NOT OK!\n", function);
        return nullptr;
    }
    if (AGGSimAnalyseFilePropertyResult(&answer, &out) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: AGGSimAnalyseFilePropertyResult not Success\n", function);
        return nullptr;
    }
    return &out;
}
