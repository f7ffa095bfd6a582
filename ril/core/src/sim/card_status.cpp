// Android's record of the card.
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/core/src/sim/pin.h"

namespace {

constexpr int32_t c_sim_ind_error = 5;

// Rebuilt for every request; what a rebuilding does not write keeps its value.
std::array<RIL_CardStatus_v6, 2> sim_card_status{};

RIL_AppType app_type_of(int32_t card_type) {
    switch (card_type) {
        case SIM_CARD_TYPE_3G:
            return RIL_APPTYPE_USIM;
        case SIM_CARD_TYPE_2G:
            return RIL_APPTYPE_SIM;
        default:
            return RIL_APPTYPE_UNKNOWN;
    }
}

void set_app(RIL_AppStatus& app, RIL_AppState state, RIL_PersoSubstate perso, RIL_PinState pin1) {
    app.app_state = state;
    app.perso_substate = perso;
    app.pin1 = pin1;
}

void fill_app(uint32_t sim_id, int32_t status, RIL_AppStatus& app) {
    const bool locked = sim_lock_is_required(sim_id) == 1;
    const bool ready = sim_check_if_sim_is_ready(sim_id) == 1;
    app.app_type = app_type_of(sim_get_inserted_sim_type(sim_id));
    app.pin2 = ril_get_sim_pin2_status(sim_id);
    if (status == SIM_STATUS_SIM_PUK) {
        app.app_state = RIL_APPSTATE_PUK;
        app.pin1 = RIL_PINSTATE_ENABLED_BLOCKED;
    } else if (status == SIM_STATUS_SIM_PIN && (!ready || sim_recovery_is_ready(sim_id))) {
        set_app(app, RIL_APPSTATE_PIN, RIL_PERSOSUBSTATE_UNKNOWN, RIL_PINSTATE_ENABLED_NOT_VERIFIED);
    } else {
        const RIL_PinState pin1 =
            status == SIM_STATUS_SIM_PIN ? RIL_PINSTATE_ENABLED_NOT_VERIFIED : RIL_PINSTATE_DISABLED;
        if (locked) {
            set_app(app, RIL_APPSTATE_SUBSCRIPTION_PERSO, RIL_PERSOSUBSTATE_SIM_NETWORK, pin1);
        } else if (status == SIM_STATUS_SIM_PIN || (ready && net_attach_is_allowed(sim_id) == 1)) {
            set_app(app, RIL_APPSTATE_READY, RIL_PERSOSUBSTATE_UNKNOWN, pin1);
        } else {
            set_app(app, RIL_APPSTATE_DETECTED, RIL_PERSOSUBSTATE_UNKNOWN, pin1);
        }
    }
}

void ril_request_get_sim_status_onrequest_complete(uint32_t ctxt_id, RIL_CardStatus_v6& status) {
    for (RIL_AppStatus& app : status.applications) {
        app.aid_ptr = nullptr;
        app.app_label_ptr = nullptr;
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &status, sizeof(status));
}

void sim_prepare_card_status_and_send_response(uint32_t sim_id, uint32_t ctxt_id, int32_t status,
                                               RIL_CardState card_state, int applications) {
    RIL_CardStatus_v6& record = sim_card_status[sim_id];
    record.card_state = card_state;
    record.universal_pin_state = RIL_PINSTATE_UNKNOWN;
    record.gsm_umts_subscription_app_index = applications > 0 ? 0 : -1;
    record.cdma_subscription_app_index = -1;
    record.ims_subscription_app_index = -1;
    record.num_applications = applications;
    if (applications > 0) {
        fill_app(sim_id, status, record.applications[0]);
    }
    ril_request_get_sim_status_onrequest_complete(ctxt_id, record);
}

}  // namespace

RIL_PinState ril_get_sim_pin2_status(uint32_t sim_id) {
    switch (s_sim_pb_info[sim_id].m_chv2_status) {
        case CHV_NEEDED:
        case CHV_VERIFIED:
            return RIL_PINSTATE_ENABLED_NOT_VERIFIED;
        case CHV_NOT_NEEDED:
            return RIL_PINSTATE_DISABLED;
        case CHV_BLOCKED:
            return RIL_PINSTATE_ENABLED_BLOCKED;
        case CHV_UNBLOCKING_BLOCKED:
            return RIL_PINSTATE_ENABLED_PERM_BLOCKED;
        default:
            return RIL_PINSTATE_UNKNOWN;
    }
}

void sim_get_card_status(uint32_t sim_id, uint32_t ctxt_id) {
    const int32_t status = sim_get_sim_status(sim_id);
    switch (status) {
        case SIM_STATUS_SIM_READY:
        case SIM_STATUS_SIM_PIN:
        case SIM_STATUS_SIM_PUK:
            sim_prepare_card_status_and_send_response(sim_id, ctxt_id, status, RIL_CARDSTATE_PRESENT, 1);
            break;
        default: {
            const bool error = status == SIM_STATUS_SIM_ABSENT && s_sim_ms_data[sim_id].sim_ind == c_sim_ind_error;
            sim_prepare_card_status_and_send_response(sim_id, ctxt_id, status,
                                                      error ? RIL_CARDSTATE_ERROR : RIL_CARDSTATE_ABSENT, 0);
            break;
        }
    }
}
