// The switch on the RIL thread that sends each request to its handler.
#include <array>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/system_manager/modules.h"

namespace {

using handler = void (*)(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token);

// A handler without the request's number.
template <void (*function)(uint32_t, void*, size_t, RIL_Token)>
void plain(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    (void)request;
    function(sim_id, p_data, data_len, token);
}

void not_supported(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    (void)sim_id;
    (void)request;
    (void)p_data;
    (void)data_len;
    ril_request_complete(token, RIL_E_REQUEST_NOT_SUPPORTED, nullptr, 0);
}

constexpr size_t c_requests = RIL_REQUEST_SET_UNSOL_CELL_INFO_LIST_RATE + 1;

// A number without a row has no handler, or none yet.
constexpr std::array<handler, c_requests> make_table() {
    std::array<handler, c_requests> table{};
    table.fill(not_supported);
    table[RIL_REQUEST_GET_SIM_STATUS] = plain<ril_request_get_sim_status>;
    table[RIL_REQUEST_RADIO_POWER] = plain<ril_request_radio_power>;
    table[RIL_REQUEST_GET_IMEI] = ril_request_get_imei_imeisv_devid;
    table[RIL_REQUEST_GET_IMEISV] = ril_request_get_imei_imeisv_devid;
    table[RIL_REQUEST_DEVICE_IDENTITY] = ril_request_get_imei_imeisv_devid;
    table[RIL_REQUEST_VOICE_REGISTRATION_STATE] = plain<ril_request_voice_registration_state>;
    table[RIL_REQUEST_DATA_REGISTRATION_STATE] = plain<ril_request_data_registration_state>;
    table[RIL_REQUEST_VOICE_RADIO_TECH] = plain<ril_request_voice_radio_tech>;
    table[RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE] = plain<ril_request_query_network_selection_mode>;
    table[RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC] = plain<ril_request_set_network_selection_automatic>;
    table[RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL] = plain<ril_request_set_network_selection_manual>;
    table[RIL_REQUEST_QUERY_AVAILABLE_NETWORKS] = plain<ril_request_query_available_networks>;
    table[RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE] = plain<ril_request_set_preferred_network_type>;
    table[RIL_REQUEST_DIAL] = plain<ril_request_dial>;
    table[RIL_REQUEST_ANSWER] = plain<ril_request_answer>;
    table[RIL_REQUEST_HANGUP] = plain<ril_request_hang_up>;
    table[RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND] = ril_request_call_control;
    table[RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND] = ril_request_call_control;
    table[RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE] = ril_request_call_control;
    table[RIL_REQUEST_UDUB] = ril_request_call_control;
    table[RIL_REQUEST_CONFERENCE] = plain<ril_request_conference>;
    table[RIL_REQUEST_SEPARATE_CONNECTION] = plain<ril_request_separate_connection>;
    table[RIL_REQUEST_EXPLICIT_CALL_TRANSFER] = plain<ril_request_explicit_call_transfer>;
    table[RIL_REQUEST_GET_CURRENT_CALLS] = plain<ril_request_get_current_calls>;
    table[RIL_REQUEST_LAST_CALL_FAIL_CAUSE] = plain<ril_request_last_call_fail_cause>;
    table[RIL_REQUEST_SET_MUTE] = plain<ril_request_set_mute>;
    table[RIL_REQUEST_GET_MUTE] = plain<ril_request_get_mute>;
    table[RIL_REQUEST_QUERY_TTY_MODE] = plain<ril_request_query_tty_mode>;
    table[RIL_REQUEST_SET_TTY_MODE] = plain<ril_request_set_tty_mode>;
    return table;
}

constexpr std::array<handler, c_requests> c_handlers = make_table();

}  // namespace

void on_request_handler(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    const auto number = static_cast<uint32_t>(request);
    const handler handle = number < c_handlers.size() ? c_handlers[number] : not_supported;
    handle(sim_id, request, p_data, data_len, token);
}
