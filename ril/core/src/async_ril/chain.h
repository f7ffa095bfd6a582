// Chains: work that takes several requests of the modem, each sent when the one before has been answered, on one
// context. What the work is stands in a table of steps; a failure on the way unwinds from the place that the last
// answered step names. All on the RIL thread.
#pragma once

#include <cstdint>
#include <span>

// What became of a step's request.
enum chain_sent : int32_t {
    CHAIN_NOT_SENT = -1,  // it cannot be sent: the chain fails
    CHAIN_SENT = 0,       // its answer will come
    CHAIN_DONE = 1,       // nothing to wait for (a synchronous call, or not needed this time): the next step at once
};

// What an answer says.
enum chain_answer : int32_t {
    CHAIN_FAIL = -1,  // the modem refused, or the answer is no good: the chain fails
    CHAIN_NEXT = 0,   // on to the next step
    CHAIN_AGAIN = 1,  // the same step once more: the next record, the second half
    CHAIN_END = 2,    // nothing more to do: the chain has succeeded
};

using chain_send = chain_sent (*)(uint32_t sim_id, uint32_t ctxt_id);
using chain_take = chain_answer (*)(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);

struct chain_step {
    chain_send send;
    chain_take take;  // null where send never gives CHAIN_SENT
    // Where the unwinding starts, as an index of `undo`, when this step's answer is bad or what follows it cannot be
    // sent. undo.size() where there is nothing to unwind.
    uint8_t unwind = 0;
};

struct chain {
    std::span<const chain_step> steps;
    // In the order of the unwinding, for example deactivate, undefine, release. An answer is taken for good whatever it
    // says; a step that cannot be sent ends the unwinding.
    std::span<const chain_step> undo;
    // The only way out: completes the request, if there is one, and releases the context. True after the last step or
    // CHAIN_END, false behind an unwinding.
    void (*finish)(uint32_t sim_id, uint32_t ctxt_id, bool succeeded);
};

// Runs the chain on a context from its step `first`. The context is the chain's from here on: it may be gone already
// when this returns. A first step that cannot be sent unwinds from `unwind`.
void chain_start(const chain& work, uint32_t sim_id, uint32_t ctxt_id, uint8_t first = 0, uint8_t unwind = 0xFF);

// Fails the chain from outside of an answer (its network went away), as if the last answered step had failed.
void chain_fail(uint32_t sim_id, uint32_t ctxt_id);

// No chain is on that context any more. The engine says so when it hands the context out.
void chain_forget(uint32_t ctxt_id);

// An answer. One that belongs to another step than the one that is waited for, or to a context without a chain, is
// logged and dropped: it is late, or not meant.
void chain_answered(uint32_t sim_id, const void* p_params, uint32_t ctxt_id, chain_take take);

// The same as a module callback: what the entry point of a step's response posts.
template <chain_take take>
void chain_callback(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    chain_answered(sim_id, p_params, ctxt_id, take);
}
