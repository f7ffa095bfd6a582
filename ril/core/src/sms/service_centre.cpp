#include "ril/core/src/sms/service_centre.h"

#include <algorithm>

#include "ril/core/src/sms/card_file.h"
#include "ril/core/src/sms/sms_state.h"
#include "ril/utils/trace.h"

namespace {

// Of a record without its alpha identifier: what it is about, and where the parts stand that are of interest.
constexpr size_t c_smsp_parameters = 28;
constexpr size_t c_indicators_at = 0;
constexpr uint8_t c_no_address = 2;  // in the indicators
constexpr size_t c_address_at = 13;
constexpr size_t c_address_octets = 12;

std::span<uint8_t> parameters_of(sms_book_keeping& record) {
    return std::span(record.smsp_record).first(record.smsp_record_len).last(c_smsp_parameters);
}

// The record that was read, as long as the file's records are: a shorter one is no good.
bool take_record(const void* p_params, sms_book_keeping& record) {
    sim_read_result read{};
    if (sms_sim_analyse_read_result(*static_cast<const UtaSimApduCmdRspParam*>(p_params), read) != 0 ||
        read.data.size() < record.smsp_record_len) {
        return false;
    }
    std::copy_n(read.data.begin(), record.smsp_record_len, record.smsp_record.begin());
    return true;
}

chain_sent read_smsp(uint32_t sim_id, uint32_t ctxt_id, rilreq_rspcb callback) {
    UtaSimApduData apdu;
    sms_sim_create_read_record_apdu(sim_id, 1, sms_record_of(ctxt_id)->smsp_record_len, apdu);
    return sms_send_apdu(sim_id, EF_SMSP, apdu, callback, ctxt_id) == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

// --- Writing the address ---------------------------------------------------------------------------------------------

chain_answer sms_sim_apdu_cmdrespcb_update_csca(uint32_t sim_id, const void* p_params, uint32_t) {
    if (!sms_answer_is_good(*static_cast<const UtaSimApduCmdRspParam*>(p_params), __func__)) {
        sms_set_service_center_address(sim_id, "");
        return CHAIN_FAIL;
    }
    RIL_TRACE(TRACE_EVENT, "%s: SCA updated in SIM\n", __func__);
    return CHAIN_END;
}

chain_answer take_smsp_to_change(uint32_t, const void* p_params, uint32_t ctxt_id) {
    return take_record(p_params, *sms_record_of(ctxt_id)) ? CHAIN_NEXT : CHAIN_FAIL;
}

chain_sent read_smsp_to_change(uint32_t sim_id, uint32_t ctxt_id) {
    return read_smsp(sim_id, ctxt_id, chain_callback<take_smsp_to_change>);
}

chain_sent update_smsp(uint32_t sim_id, uint32_t ctxt_id) {
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    if (record.smsp_record_len < c_smsp_parameters) {
        RIL_TRACE(TRACE_ERROR, "%s: smsp_len too small=%d\n", "sms_update_smsc_in_smsp", record.smsp_record_len);
        return CHAIN_NOT_SENT;
    }
    const std::span<uint8_t> parameters = parameters_of(record);
    sms_num_to_bcd(sms_mngr[sim_id].sca.data(), parameters.subspan(c_address_at, c_address_octets));
    parameters[c_indicators_at] = static_cast<uint8_t>(parameters[c_indicators_at] & ~c_no_address);
    const int32_t result =
        sms_update_record(sim_id, EF_SMSP, 1, std::span(record.smsp_record).first(record.smsp_record_len),
                          chain_callback<sms_sim_apdu_cmdrespcb_update_csca>, ctxt_id);
    return result == 0 ? CHAIN_SENT : CHAIN_NOT_SENT;
}

void ril_request_sms_get_smsc_onrequest_complete(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    if (!succeeded) {
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, sms_mngr[sim_id].sca.data(), sizeof(char*));
}

void ril_request_set_smsc_onrequest_complete(uint32_t, uint32_t ctxt_id, bool succeeded) {
    if (!succeeded) {
        RIL_TRACE(TRACE_ERROR, "%s: Failure\n", "ril_request_sms_onrequest_complete");
    }
    qelril_complete_and_return(ctxt_id, succeeded ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

constexpr chain_step c_get_steps[] = {
    {sms_initiate_get_smsp_filedetails, sms_sim_apdu_cmdrespcb_select_smsp},
    {sms_read_param_record_from_sim, sms_sim_apdu_cmdrespcb_smsp},
};
constexpr chain c_get = {c_get_steps, {}, ril_request_sms_get_smsc_onrequest_complete};

constexpr chain_step c_set_steps[] = {
    {sms_initiate_get_smsp_filedetails, sms_sim_apdu_cmdrespcb_select_smsp},
    {read_smsp_to_change, take_smsp_to_change},
    {update_smsp, sms_sim_apdu_cmdrespcb_update_csca},
};
constexpr chain c_set = {c_set_steps, {}, ril_request_set_smsc_onrequest_complete};

}  // namespace

// --- Reading it ------------------------------------------------------------------------------------------------------

chain_sent sms_initiate_get_smsp_filedetails(uint32_t sim_id, uint32_t ctxt_id) {
    return sms_select_file(sim_id, EF_SMSP, chain_callback<sms_sim_apdu_cmdrespcb_select_smsp>, ctxt_id) == 0
               ? CHAIN_SENT
               : CHAIN_NOT_SENT;
}

chain_answer sms_sim_apdu_cmdrespcb_select_smsp(uint32_t, const void* p_params, uint32_t ctxt_id) {
    sim_file_properties properties{};
    if (sms_selected_file(*static_cast<const UtaSimApduCmdRspParam*>(p_params), properties, __func__) == nullptr) {
        return CHAIN_FAIL;
    }
    sms_record_of(ctxt_id)->smsp_record_len = properties.record_len;
    return CHAIN_NEXT;
}

chain_sent sms_read_param_record_from_sim(uint32_t sim_id, uint32_t ctxt_id) {
    return read_smsp(sim_id, ctxt_id, chain_callback<sms_sim_apdu_cmdrespcb_smsp>);
}

chain_answer sms_sim_apdu_cmdrespcb_smsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    constexpr uint8_t c_unused = 0xFF;
    sms_book_keeping& record = *sms_record_of(ctxt_id);
    if (!take_record(p_params, record)) {
        return CHAIN_FAIL;
    }
    // A record too short for parameters has no address either.
    const bool has_parameters = record.smsp_record_len >= c_smsp_parameters;
    const std::span<const uint8_t> parameters = has_parameters ? parameters_of(record) : std::span<uint8_t>();
    if (!has_parameters || (parameters[c_indicators_at] & c_no_address) != 0 || parameters[c_address_at] <= 1 ||
        parameters[c_address_at] == c_unused) {
        RIL_TRACE(TRACE_EVENT, "%s: Service center address not present\n", __func__);
        return CHAIN_FAIL;
    }
    std::array<char, c_sms_address_max + 1> text{};
    sms_bcd_to_num(parameters.subspan(c_address_at, c_address_octets), text);
    RIL_TRACE(TRACE_EVENT, "%s: DONE! SCA read from SIM %s, at index %d\n", __func__, text.data(), 1);
    sms_set_service_center_address(sim_id, text.data());
    return CHAIN_NEXT;
}

int32_t sms_agg_get_service_center_address(request_context& context) {
    if (sms_book_keeping_init(context) == nullptr) {
        return -1;
    }
    chain_start(c_get, context.sim_id(), context.hand_over());
    return 0;
}

int32_t sms_agg_set_service_center_address(request_context& context, const char* text) {
    if (sms_book_keeping_init(context) == nullptr) {
        return -1;
    }
    sms_set_service_center_address(context.sim_id(), text);
    chain_start(c_set, context.sim_id(), context.hand_over());
    return 0;
}
