#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/attach.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/registration_answer.h"
#include "ril/core/src/net/scan.h"
#include "ril/utils/trace.h"

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
