#include <cutils/properties.h>

#include <array>
#include <cstring>

#include "ril/config/ril_config.h"
#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/attach.h"
#include "ril/core/src/net/fast_dormancy.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/network_mode.h"
#include "ril/core/src/net/plmn_names.h"
#include "ril/core/src/net/registration_answer.h"
#include "ril/core/src/net/scan.h"
#include "ril/core/src/net/signal.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// The scrambling code of a UMTS cell is the modem's to tell; the rest is known.
void voice_registration_state_on_umts(const ril_request& request) {
    request_context context(request, "ril_request_voice_registration_state");
    if (!context) {
        return;
    }
    auto* answer = context.create_area<net_voice_answer>();
    if (answer == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR allocating memory for responses\n", "ril_request_voice_registration_state");
        return;
    }
    net_fill_voice_answer(request.sim_id, *answer);
    if (net_complete_with_scrambling_code(request.sim_id, context.id()) == 0) {
        context.in_flight();
    }
}

// With the screen off the modem may let its radio connection go early. False when it refused.
bool set_dormancy_by_screen(uint32_t sim_id, bool on) {
    constexpr uint8_t c_delay_seconds = 2;
    char conformance[PROPERTY_VALUE_MAX];
    property_get("persist.conformance", conformance, "");
    if (ril_config_fast_dormancy_screen_controlled() == 0 || strcmp(conformance, "true") == 0) {
        return true;
    }
    return (on ? net_set_fast_dormancy(sim_id, c_fdor_off, 0, 0)
               : net_set_fast_dormancy(sim_id, c_fdor_on, c_delay_seconds, 0)) == 0;
}

}  // namespace

void ril_request_voice_registration_state(const ril_request& request) {
    if (net_get_rat(request.sim_id) == NET_RAT_UMTS) {
        voice_registration_state_on_umts(request);
        return;
    }
    net_voice_answer answer;
    net_fill_voice_answer(request.sim_id, answer);
    request.succeed(answer.strings);
}

void ril_request_data_registration_state(const ril_request& request) {
    net_data_answer answer;
    net_fill_data_answer(request.sim_id, answer);
    request.succeed(answer.strings);
}

void ril_request_voice_radio_tech(const ril_request& request) {
    // Every state above says that the radio is on.
    if (get_radio_state(request.sim_id) <= RADIO_STATE_UNAVAILABLE) {
        request.complete(RIL_E_RADIO_NOT_AVAILABLE);
        return;
    }
    request.succeed(static_cast<int>(net_get_act(request.sim_id)));
}

void ril_request_query_network_selection_mode(const ril_request& request) {
    uint32_t mode = 0;
    net_read_operator_selection_mode(request.sim_id, &mode);
    request.succeed(static_cast<int>(mode));
}

void ril_request_set_network_selection_automatic(request_context& context) {
    net_select_automatic_in_turn(context.sim_id(), context.hand_over());
}

void ril_request_set_network_selection_manual(request_context& context, const char* network) {
    net_select(context.sim_id(), {c_cops_manual, network}, context.hand_over());
}

void ril_request_query_available_networks(request_context& context) {
    net_scan_without_data_calls(context.sim_id(), context.hand_over());
}

void ril_request_operator(const ril_request& request) {
    std::array<char*, 3> p_rsp{};
    bool room = true;
    for (char*& text : p_rsp) {
        text = static_cast<char*>(MEM_ALLOC(c_net_plmn_text_size));
        room = room && text != nullptr;
    }
    if (room) {
        net_read_plmn_params(request.sim_id, &p_rsp[0], PLMN_LONG_NAME);
        net_read_plmn_params(request.sim_id, &p_rsp[1], PLMN_SHORT_NAME);
        net_read_plmn_params(request.sim_id, &p_rsp[2], PLMN_NUMERIC);
        request.succeed(p_rsp);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s Unable to allocate memory for p_rsp\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
    }
    for (char* const text : p_rsp) {
        if (text != nullptr) {
            MEM_FREE(text);
        }
    }
}

void ril_request_signal_strength(const ril_request& request) {
    request.succeed(net_read_signal_strength(request.sim_id));
}

// Whether the modem is to hear of it at all is settled before the data is looked at.
void ril_request_set_preferred_network_type(const ril_request& request, ril_data data) {
    if (is_property_set("ril.conformance.ui.rat")) {
        property_set("ril.conformance.manual.rat", "false");
    } else if (is_property_set("persist.conformance.noprefnet")) {
        RIL_TRACE(TRACE_EVENT, "%s persist.conformance.noprefnet flag is set", __func__);
        request.complete(RIL_E_SUCCESS);
        return;
    }
    request_context context(request, __func__);
    if (!context) {
        return;
    }
    const auto* const network_type = data.as<int32_t>();
    if (network_type == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s p_data = NULL, sim_id = %d\n", __func__, static_cast<int>(request.sim_id));
    } else if (net_set_preferred_rat(request.sim_id, *network_type, context.uta_id()) == 0) {
        context.in_flight();
    } else {
        context.complete(RIL_E_MODE_NOT_SUPPORTED);
    }
}

void ril_request_get_preferred_network_type(const ril_request& request) {
    const int32_t network_type = net_read_preferred_rat(request.sim_id);
    if (network_type < 0) {
        request.complete(RIL_E_GENERIC_FAILURE);
    } else {
        request.succeed(network_type);
    }
}

void ril_request_set_band_mode(request_context& context, int32_t band_mode) {
    if (net_select_band(context.sim_id(), band_mode, context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_query_available_band_mode(request_context& context) {
    if (net_get_band_mode(context.sim_id(), context.uta_id()) == 0) {
        context.in_flight();
    }
}

void ril_request_screen_state(const ril_request& request, int32_t on) {
    const bool is_on = (static_cast<uint32_t>(on) & 0xFFU) == 1;
    // The modem has one screen state, which the first SIM's process tells.
    if (request.sim_id == 0) {
        RemSetApScreenState(is_on ? 0 : 1);
    }
    if (!set_dormancy_by_screen(request.sim_id, is_on)) {
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    if (is_on && net_is_dual_sim_conflict() == 0) {
        ril_unsol_response_voice_network_state_changed(request.sim_id);
    }
    request.complete(RIL_E_SUCCESS);
}

void ril_request_set_location_updates(const ril_request& request, ril_data data) {
    if (net_get_modem_registration_state(request.sim_id) != 1) {
        request.complete(RIL_E_RADIO_NOT_AVAILABLE);
        return;
    }
    const auto* const mode = data.as<uint32_t>();
    if (mode == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s p_data is NULL, sim_id = %d\n", __func__, static_cast<int>(request.sim_id));
        request.complete(RIL_E_GENERIC_FAILURE);
    } else if (net_location_update_status(request.sim_id, *mode) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s nw location update is not enabled, sim_id = %d\n", __func__,
                  static_cast<int>(request.sim_id));
        request.complete(RIL_E_GENERIC_FAILURE);
    } else {
        request.complete(RIL_E_SUCCESS);
    }
}
