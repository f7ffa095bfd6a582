// What the module keeps on a context. Nobody outside the module includes this. With the run lock held.
#pragma once

#include "ril/core/src/async_ril/async_ril.h"

// The context's private area, or null without one of that form.
inline rilreq_priv_data* sim_priv_of(uint32_t ctxt_id) {
    const rilreq_state& entry = rilreq_state_info[ctxt_id];
    return entry.priv_form == PRIV_MULTI_MODULE ? static_cast<rilreq_priv_data*>(entry.p_priv_data) : nullptr;
}

// `req_id` of the context's private area, 0 without one.
inline int32_t sim_request_number(uint32_t ctxt_id) {
    const rilreq_priv_data* const priv = sim_priv_of(ctxt_id);
    return priv == nullptr ? 0 : priv->req_id;
}

// While a command is at the card.
enum sim_apdu_state : uint32_t { APDU_WAITING = 0, APDU_ANSWERED = 2 };

struct sim_apdu_callee {
    sim_apdu_state state;
    rilreq_rspcb callback;
};

// The block in the context's private area, or null.
inline sim_apdu_callee* sim_apdu_callee_of(uint32_t ctxt_id) {
    const rilreq_priv_data* const priv = sim_priv_of(ctxt_id);
    return priv == nullptr ? nullptr : static_cast<sim_apdu_callee*>(priv->callee_priv);
}
