#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/sim/sim.h"

void ril_request_get_sim_status(request_context& context) {
    sim_get_card_status(context.sim_id(), context.hand_over());
}
