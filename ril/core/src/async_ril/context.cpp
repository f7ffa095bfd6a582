#include "ril/core/src/async_ril/context.h"

#include <pthread.h>
#include <sys/time.h>

#include <utility>

#include "ril/core/src/async_ril/chain.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

std::array<rilreq_state, 256> rilreq_state_info;

namespace {

constexpr uint32_t c_first_ctxt_id = 2;
constexpr uint32_t c_ctxt_ids = static_cast<uint32_t>(rilreq_state_info.size()) - c_first_ctxt_id;
constexpr uint32_t c_ctxt_id_mask = 0xFF;

uint32_t global_ctxt_id = c_first_ctxt_id;  // the last id handed out
pthread_mutex_t ctxt_id_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t s_run_lock = PTHREAD_MUTEX_INITIALIZER;
std::atomic<uint32_t> s_starts{0};  // the modem event thread writes it

void free_priv_data(rilreq_state& entry) {
    void* block = std::exchange(entry.p_priv_data, nullptr);
    if (block == nullptr) {
        return;
    }
    if (entry.priv_form == PRIV_MULTI_MODULE) {
        auto* multi = static_cast<rilreq_priv_data*>(block);
        if (multi->caller_priv != nullptr) {
            MEM_FREE(multi->caller_priv);
        }
        if (multi->callee_priv != nullptr) {
            MEM_FREE(multi->callee_priv);
        }
    }
    MEM_FREE(block);
}

void release(rilreq_state& entry) {
    // Before the entry is free: then it may be another request's already.
    if (auto* const released = std::exchange(entry.p_released, nullptr); released != nullptr) {
        released(static_cast<uint32_t>(&entry - rilreq_state_info.data()));
    }
    entry.entry_in_use.store(0, std::memory_order_release);
}

// The first free id behind the last one, or 0.
uint32_t find_free_ctxt_id() {
    uint32_t id = global_ctxt_id + 1;
    for (uint32_t tries = 0; tries < c_ctxt_ids; ++tries, ++id) {
        if (id >= rilreq_state_info.size()) {
            id = c_first_ctxt_id;
        }
        if (rilreq_state_info[id].entry_in_use.load(std::memory_order_acquire) == 0) {
            return id;
        }
        RIL_TRACE(TRACE_ERROR, "%s: WARNING!!! rilreq_state_info[%x].entry_in_use = TRUE\n", "qelril_get_free_ctxt_id",
                  id);
    }
    return 0;
}

}  // namespace

RunLock::RunLock() {
    pthread_mutex_lock(&s_run_lock);
}
RunLock::~RunLock() {
    pthread_mutex_unlock(&s_run_lock);
}

void context_table_start() {
    const RunLock lock;
    for (rilreq_state& entry : rilreq_state_info) {
        entry.token = nullptr;
        entry.p_priv_data = nullptr;
        entry.priv_form = PRIV_FLAT;
        entry.p_released = nullptr;
        entry.p_only_rspcb = nullptr;
        release(entry);
    }
    global_ctxt_id = c_first_ctxt_id;
    s_starts.fetch_add(1, std::memory_order_relaxed);
}

void context_table_abandon() {
    const RunLock lock;
    for (rilreq_state& entry : rilreq_state_info) {
        if (entry.entry_in_use.load(std::memory_order_relaxed) == 0) {
            continue;
        }
        free_priv_data(entry);
        ril_request_complete(entry.token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
        release(entry);
    }
}

int32_t qelril_get_free_ctxt_id(RIL_Token token, rilreq_rspcb only_rspcb) {
    pthread_mutex_lock(&ctxt_id_lock);
    const uint32_t id = find_free_ctxt_id();
    if (id == 0) {
        pthread_mutex_unlock(&ctxt_id_lock);
        return -1;
    }
    rilreq_state& entry = rilreq_state_info[id];
    if (entry.p_priv_data != nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: WARNING!!! rilreq_state_info[%x].p_priv_data != NULL\n", __func__, id);
    }
    global_ctxt_id = id;
    chain_forget(id);
    entry.token = token;
    entry.p_priv_data = nullptr;
    entry.priv_form = PRIV_FLAT;
    entry.p_released = nullptr;
    entry.p_only_rspcb = only_rspcb;
    entry.entry_in_use.store(1, std::memory_order_release);
    pthread_mutex_unlock(&ctxt_id_lock);
    return static_cast<int32_t>(id);
}

int32_t qelril_create_priv_area(uint32_t ctxt_id, size_t size, void** out) {
    rilreq_state& entry = rilreq_state_info[ctxt_id];
    if (size != 0) {
        void* block = MEM_ALLOC(size);
        if (block == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: allocate caller data (%ld bytes) failed\n", __func__, static_cast<long>(size));
            return -1;
        }
        entry.p_priv_data = block;
        entry.priv_form = PRIV_FLAT;
    }
    *out = entry.p_priv_data;
    return 0;
}

int32_t qelril_create_multi_mod_priv(uint32_t ctxt_id, int32_t req_id, size_t size, void** out) {
    auto* multi = static_cast<rilreq_priv_data*>(MEM_ALLOC(sizeof(rilreq_priv_data)));
    if (multi == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: allocate request data (%u bytes) failed\n", __func__,
                  static_cast<unsigned>(sizeof(rilreq_priv_data)));
        return -1;
    }
    multi->req_id = req_id;
    if (size != 0) {
        multi->caller_priv = MEM_ALLOC(size);
        if (multi->caller_priv == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s: allocate caller data (%ld bytes) failed\n", __func__, static_cast<long>(size));
            MEM_FREE(multi);
            return -1;
        }
    }
    rilreq_state_info[ctxt_id].p_priv_data = multi;
    rilreq_state_info[ctxt_id].priv_form = PRIV_MULTI_MODULE;
    *out = multi->caller_priv;
    return 0;
}

void qelril_free_and_return(uint32_t ctxt_id) {
    free_priv_data(rilreq_state_info[ctxt_id]);
    release(rilreq_state_info[ctxt_id]);
}

void qelril_complete_and_return(uint32_t ctxt_id, RIL_Errno error, void* response, size_t length) {
    ril_request_complete(rilreq_state_info[ctxt_id].token, error, response, length);
    qelril_free_and_return(ctxt_id);
}

void qelril_return_generic_failure(uint32_t ctxt_id) {
    ril_request_complete(rilreq_state_info[ctxt_id].token, RIL_E_GENERIC_FAILURE, nullptr, 0);
    release(rilreq_state_info[ctxt_id]);
}

void qelril_free_and_return_generic_failure(uint32_t ctxt_id) {
    free_priv_data(rilreq_state_info[ctxt_id]);
    qelril_return_generic_failure(ctxt_id);
}

void ril_request_timed_call_back(RIL_TimedCallback callback, void* param, int32_t seconds, int32_t microseconds) {
    timeval relative{};
    relative.tv_sec = seconds;
    relative.tv_usec = microseconds;
    s_rilenv->RequestTimedCallback(callback, param, &relative);
}

int32_t qelril_arm_response_timer(uint32_t sim_id, uint32_t ctxt_id, int32_t seconds) {
    auto* timer = static_cast<rilreq_timer*>(MEM_ALLOC(sizeof(rilreq_timer)));
    if (timer == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: Memory alloc failure", __func__);
        return -1;
    }
    timer->sim_id = sim_id;
    timer->token = rilreq_state_info[ctxt_id].token;
    timer->ctxt_id = (s_starts.load(std::memory_order_relaxed) << 8) | ctxt_id;
    ril_request_timed_call_back(ril_rspcb_timeout_handler, timer, seconds, 0);
    return 0;
}

void ril_rspcb_timeout_handler(void* param) {
    auto* timer = static_cast<rilreq_timer*>(param);
    const uint32_t ctxt_id = timer->ctxt_id & c_ctxt_id_mask;
    {
        const RunLock lock;
        // A timer that outlived its modem must not fail a request of the next one, whose ids start over.
        const bool same_start = timer->ctxt_id >> 8 == (s_starts.load(std::memory_order_relaxed) & 0xFFFFFFU);
        if (same_start && rilreq_state_info[ctxt_id].entry_in_use.load(std::memory_order_acquire) != 0) {
            RIL_TRACE(TRACE_ERROR, "%s: RILREQ_MSG TIMER EXPIRED, token = %d, context_id = %x\n", __func__,
                      static_cast<int>(reinterpret_cast<intptr_t>(timer->token)), ctxt_id);
            qelril_free_and_return_generic_failure(ctxt_id);
        }
    }
    MEM_FREE(timer);
}
