#include "ril/core/src/async_ril/chain.h"

#include <array>

#include "ril/utils/trace.h"

namespace {

struct chain_place {
    const chain* work;  // null: no chain on this context
    uint8_t step;       // the one in progress
    uint8_t unwind;     // from where a failure unwinds
    bool unwinding;
};

std::array<chain_place, 256> s_places;

void finish(uint32_t sim_id, uint32_t ctxt_id, bool succeeded) {
    const chain& work = *s_places[ctxt_id].work;
    s_places[ctxt_id] = {};
    work.finish(sim_id, ctxt_id, succeeded);
}

// Sends the steps from the present one on, until one has to be waited for or none is left.
void proceed(uint32_t sim_id, uint32_t ctxt_id) {
    chain_place& place = s_places[ctxt_id];
    while (true) {
        const std::span<const chain_step> steps = place.unwinding ? place.work->undo : place.work->steps;
        if (place.step >= steps.size()) {
            finish(sim_id, ctxt_id, !place.unwinding);
            return;
        }
        switch (steps[place.step].send(sim_id, ctxt_id)) {
            case CHAIN_SENT:
                return;
            case CHAIN_DONE:
                ++place.step;
                break;
            case CHAIN_NOT_SENT:
                if (place.unwinding) {
                    finish(sim_id, ctxt_id, false);
                    return;
                }
                place.unwinding = true;
                place.step = place.unwind;
                break;
        }
    }
}

}  // namespace

void chain_start(const chain& work, uint32_t sim_id, uint32_t ctxt_id, uint8_t first, uint8_t unwind) {
    s_places[ctxt_id] = {&work, first, unwind, false};
    proceed(sim_id, ctxt_id);
}

void chain_fail(uint32_t sim_id, uint32_t ctxt_id) {
    chain_place& place = s_places[ctxt_id];
    if (place.work == nullptr || place.unwinding) {
        return;
    }
    place.unwinding = true;
    place.step = place.unwind;
    proceed(sim_id, ctxt_id);
}

void chain_forget(uint32_t ctxt_id) {
    s_places[ctxt_id] = {};
}

void chain_answered(uint32_t sim_id, const void* p_params, uint32_t ctxt_id, chain_take take) {
    chain_place& place = s_places[ctxt_id];
    const std::span<const chain_step> steps = place.work == nullptr ? std::span<const chain_step>()
                                              : place.unwinding     ? place.work->undo
                                                                    : place.work->steps;
    if (place.step >= steps.size() || steps[place.step].take != take) {
        RIL_TRACE(TRACE_ERROR, "%s: context_id = %x does not wait for this answer\n", __func__, ctxt_id);
        return;
    }
    const chain_answer answer = take(sim_id, p_params, ctxt_id);
    if (place.unwinding) {
        ++place.step;
    } else {
        place.unwind = steps[place.step].unwind;
        switch (answer) {
            case CHAIN_FAIL:
                place.unwinding = true;
                place.step = place.unwind;
                break;
            case CHAIN_NEXT:
                ++place.step;
                break;
            case CHAIN_AGAIN:
                break;
            case CHAIN_END:
                finish(sim_id, ctxt_id, true);
                return;
        }
    }
    proceed(sim_id, ctxt_id);
}
