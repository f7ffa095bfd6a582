// The async engine: the RIL thread and what feeds it, the table of requests in flight, the ways to complete them.
//
// All telephony logic runs on the RIL thread, one message at a time. Whoever posts a message stays parked until the RIL
// thread has run it, so a handler or callback reads the poster's memory directly and modules need no locks.
#pragma once

#include <telephony/ril.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "ril/utils/os_util.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

// --- Android ---------------------------------------------------------------------------------------------------------

extern const RIL_Env* s_rilenv;        // rild's record; RIL_Init sets it before any other thread exists
extern sys_sem_t s_ril_wait_init_sem;  // RIL_Init waits on it until the modem was up for the first time

// Completes a request; a null token (work that no Android request started) is left alone. Any thread.
void ril_request_complete(RIL_Token token, RIL_Errno error, void* response, size_t length);

// Sends an unsolicited response. Android's interface has no place for `sim_id`: the process serves one. Any thread.
void RIL_UnsolicitedResponse(uint32_t sim_id, int number, const void* data, size_t length);

// Runs `callback(param)` once on rild's event thread after the given time. It cannot be cancelled. Any thread.
void ril_request_timed_call_back(RIL_TimedCallback callback, void* param, int32_t seconds, int32_t microseconds);

// --- Contexts --------------------------------------------------------------------------------------------------------

// A module's callback. `p_params` is the UTA data as the entry point received it, valid until the callback returns.
using rilreq_rspcb = void (*)(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);
using rilreq_indcb = void (*)(uint32_t sim_id, const void* p_params);

// What is behind `p_priv_data`, and so how the engine frees it when nobody else will.
enum rilreq_priv_form : uint32_t { PRIV_FLAT, PRIV_MULTI_MODULE };

struct rilreq_state {
    RIL_Token token;    // null for work that no Android request started
    void* p_priv_data;  // owned
    rilreq_priv_form priv_form;
    // 1 from allocation until release. Written under the engine's run lock, or by the allocator; the entry points of
    // guarded callbacks read it on the RPC dispatch thread.
    std::atomic<uint32_t> entry_in_use;
    // Runs once, when the entry is released by whatever way: a response, the timer or the teardown. For what a module
    // holds as long as the request is in flight and a private area cannot free. Set on the RIL thread, or null.
    void (*p_released)(uint32_t ctxt_id);
    rilreq_rspcb p_only_rspcb;  // the one callback that may have its answer, or null: any
};

// The private area that the release helpers understand.
struct rilreq_priv_data {
    int32_t req_id;     // RIL_REQUEST_ number, or a tag of the module
    void* caller_priv;  // owned; of the module that started the request, or null
    void* callee_priv;  // owned; of a lower module that serves it, or null
};

// Index: ctxt_id. 0 and 1 are never handed out, so a response that carries them is dropped: for calls whose answer is
// not wanted.
extern std::array<rilreq_state, 256> rilreq_state_info;

// The UTA context id of a request. Its upper part is what the RPC daemon gave this client: a new one after the daemon
// was away.
inline uint32_t uta_context_id(uint32_t ctxt_id) {
    return (RPCMakeContextId() & 0xFF00FF00U) | ctxt_id;
}

// A ctxt_id from 2 to 255 for `token`, or -1 with none free. Any thread.
//
// Ids start over with each modem, so a late or strange answer may carry the id of another's request. With `only_rspcb`
// such an answer of another function is dropped. Most requests cannot say it: a supplementary service request is
// answered by any of ten callbacks, a chain by another one at each step.
int32_t qelril_get_free_ctxt_id(RIL_Token token, rilreq_rspcb only_rspcb = nullptr);

// The following run on the RIL thread. The two creators return 0, or -1 without memory: the entry stays in use then.

// `size` bytes of module-private data, or with size 0 what is there already. Its owner frees what it points to; the
// block itself with qelril_free_and_return.
int32_t qelril_create_priv_area(uint32_t ctxt_id, size_t size, void** out);

// A rilreq_priv_data with `size` bytes of caller data, null with size 0.
int32_t qelril_create_multi_mod_priv(uint32_t ctxt_id, int32_t req_id, size_t size, void** out);

// Frees the private area and the entry. The caller has completed the token.
void qelril_free_and_return(uint32_t ctxt_id);

// Completes with `error` and the response, then frees the private area and the entry.
void qelril_complete_and_return(uint32_t ctxt_id, RIL_Errno error, void* response, size_t length);

// Completes with RIL_E_GENERIC_FAILURE and frees the entry, not the private area.
void qelril_return_generic_failure(uint32_t ctxt_id);

// Frees the private area, completes with RIL_E_GENERIC_FAILURE, frees the entry.
void qelril_free_and_return_generic_failure(uint32_t ctxt_id);

// Held by the RIL thread while it runs a message, and by a timer or the teardown while they touch contexts: so a
// request is completed by one of them, and no private area goes away under a callback.
class RunLock {
public:
    RunLock();
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;
};

// --- The response timer ----------------------------------------------------------------------------------------------

struct rilreq_timer {
    uint32_t sim_id;
    RIL_Token token;
    uint32_t ctxt_id;  // low byte: the context. Above: the engine's start that it belongs to
};

// Fails the request with RIL_E_GENERIC_FAILURE if it is still in flight after `seconds`. 0, or -1 without memory for
// the timer: the request runs without one. RIL thread.
int32_t qelril_arm_response_timer(uint32_t sim_id, uint32_t ctxt_id, int32_t seconds);

// The timer's callback; frees `param`, a rilreq_timer. rild's event thread.
void ril_rspcb_timeout_handler(void* param);

// --- Posting to the RIL thread ---------------------------------------------------------------------------------------

// Each returns 0 when the RIL thread has run the work, or ended before it could; 0 as well with a full mailbox, when
// the work is lost; -1 at once when the engine does not run, and on the RIL thread, which cannot wait for itself. Needs
// no memory. A timer that continues a request posts as the modem's answer would.
int32_t qelril_post_request(uint32_t sim_id, int32_t req_id, void* p_data, size_t data_len, RIL_Token token);
int32_t qelril_post_utamsrspcb(uint32_t sim_id, const void* p_params, uint32_t context_id, rilreq_rspcb p_rspcb);
// -1 also for another stack's indication.
int32_t qelril_post_utamsindcb(uint32_t sim_id, const void* p_params, rilreq_indcb p_indcb);

// --- Start and stop --------------------------------------------------------------------------------------------------

// Starts the RIL thread and then everything else with modem_init, whose result it returns. Not while it runs. Modem
// event thread.
int32_t qelril_init();

// Stops the RIL thread wherever it waits. Afterwards nobody is parked behind it, every Android request it held is
// completed with RIL_E_RADIO_NOT_AVAILABLE, and no hold is pending. 0. Modem event thread.
int32_t qelril_destroy();

// Marks a hold request that is on its way to the modem: a dial waits for it, until the hold's own time is over.
extern sys_mark hold_call_and_dial_mutex_lock;
constexpr int32_t c_hold_seconds = 10;

// --- Declared here, defined by the rooms above -----------------------------------------------------------------------

// Runs one Android request. RIL thread.
void on_request_handler(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token);
int32_t modem_init();  // starts the modules and the modem's services; negative on failure. Modem event thread
// Frees what the modules hold. No context is in flight any more. 0. Modem event thread.
int32_t module_exit();
void import_kernel_cmdline();
