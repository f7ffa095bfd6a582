#include <cstdlib>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/sim/imsi.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/core/src/ss/facility_lock.h"
#include "ril/utils/trace.h"

namespace {

int32_t number_of(const char* text) {
    return text == nullptr ? 0 : atoi(text);
}

bool is_empty(const char* text) {
    return text == nullptr || text[0] == '\0';
}

}  // namespace

void ril_request_get_sim_status(request_context& context) {
    sim_get_card_status(context.sim_id(), context.hand_over());
}

void ril_request_enter_sim_pin(request_context& context, ril_texts<1> codes) {
    if (!context.create_multi_mod_priv(0)) {
        return;
    }
    const int32_t error =
        sim_handle_pin_activities(context.sim_id(), context.request().number, codes[0], codes[1], context.id());
    if (error != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: 2 params err = %d\n", __func__, error);
        return;
    }
    context.in_flight();
}

void ril_request_enter_network_depersonalization(request_context& context, ril_texts<1> texts) {
    constexpr int32_t c_unlock = 0;
    if (texts[0] == nullptr || !context.create_multi_mod_priv(0)) {
        return;
    }
    if (ss_set_facility_lock(context.sim_id(), "PN", c_unlock, texts[0], 0, context.id()) == 0) {
        context.in_flight();
    }
}

void ril_request_query_facility_lock(request_context& context, ril_texts<1> texts) {
    constexpr int32_t c_query = 2;
    constexpr int32_t c_voice_data_fax_sms = 15;
    if (is_empty(texts[0]) || !context.create_multi_mod_priv(0)) {
        return;
    }
    const int32_t asked = number_of(texts[2]);
    const int32_t service_class = asked == 0 ? c_voice_data_fax_sms : asked;
    const int32_t error =
        ss_set_facility_lock(context.sim_id(), texts[0], c_query, nullptr, service_class, context.id());
    if (error != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: failed, err = %d\n", __func__, error);
        return;
    }
    context.in_flight();
}

void ril_request_set_facility_lock(request_context& context, ril_texts<2> texts) {
    void* caller = nullptr;
    if (is_empty(texts[0]) || texts[1] == nullptr ||
        !context.create_multi_mod_priv(sizeof(sim_facility_request), &caller)) {
        return;
    }
    const int32_t mode = number_of(texts[1]);
    static_cast<sim_facility_request*>(caller)->mode = mode;
    const int32_t error =
        ss_set_facility_lock(context.sim_id(), texts[0], mode, texts[2], number_of(texts[3]), context.id());
    if (error == SIM_ERR_PUK2_REQUIRED) {
        context.complete(RIL_E_SIM_PUK2);
    } else if (error == 0) {
        context.in_flight();
    }
}

void ril_request_sim_io(request_context& context, const RIL_SIM_IO_v6& io) {
    if (sim_io_start(context.sim_id(), io, context.id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Dynamic allocation failed\n", __func__);
        return;
    }
    context.in_flight();
}

void ril_request_get_imsi(request_context& context) {
    if (!context.create_multi_mod_priv(0) || sim_get_imsi(context.sim_id(), context.id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: failed\n", __func__);
        return;
    }
    context.in_flight();
}
