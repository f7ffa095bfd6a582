// The RIL thread, its mailbox and the posts.
#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "ril/core/src/async_ril/context.h"
#include "ril/utils/thread_stop.h"
#include "ril/utils/trace.h"

const RIL_Env* s_rilenv = nullptr;
sys_sem_t s_ril_wait_init_sem = nullptr;
sys_mark hold_call_and_dial_mutex_lock;

namespace {

enum ril_msg_type : uint32_t { RILREQ_MSG, UTAMSRSPCB_MSG, UTAMSINDCB_MSG };

struct ril_request_msg {
    RIL_Token token;
    int32_t req_id;
    void* p_data;
    size_t data_len;
};

struct uta_response_msg {
    const void* p_params;
    uint32_t ctxt_id;
    rilreq_rspcb p_rspcb;
};

struct uta_indication_msg {
    const void* p_params;
    rilreq_indcb p_indcb;
};

// It lives on the poster's stack, since the poster waits for it: a post needs no memory and cannot fail for lack of it.
// The poster sleeps on a semaphore of its own, not on one that it shares: two posters can then not take each other's
// wake-up and leave while the RIL thread still reads their data.
struct ril_msg {
    ril_msg_type msg_type;
    uint32_t sim_id;
    union {
        ril_request_msg req;
        uta_response_msg rsp;
        uta_indication_msg ind;
    };
    sem_t done;
};

sys_mbox_t s_ril_mbox = nullptr;
pthread_t s_ril_task{};
bool s_ril_task_exists = false;

// True while the engine runs. Written on the modem event thread with s_post_lock held: a post that finds it true under
// that lock is in the mailbox before the engine stops, and so is answered. Posts that find it false take no lock, so
// that those who try again and again do not keep the start from it.
std::atomic<bool> s_ril_init{false};
pthread_mutex_t s_post_lock = PTHREAD_MUTEX_INITIALIZER;

void set_running(bool running) {
    pthread_mutex_lock(&s_post_lock);
    s_ril_init.store(running, std::memory_order_release);
    pthread_mutex_unlock(&s_post_lock);
}

void run_response(uint32_t sim_id, const uta_response_msg& rsp) {
    const rilreq_state& entry = rilreq_state_info[rsp.ctxt_id];
    if (entry.entry_in_use.load(std::memory_order_acquire) != 1) {
        RIL_TRACE(TRACE_ERROR, "Warning: rilreq_state_info[%x].entry_in_use=FALSE\n", rsp.ctxt_id);
    } else if (entry.p_only_rspcb != nullptr && entry.p_only_rspcb != rsp.p_rspcb) {
        RIL_TRACE(TRACE_ERROR, "Warning: rilreq_state_info[%x] waits for another answer\n", rsp.ctxt_id);
    } else {
        rsp.p_rspcb(sim_id, rsp.p_params, rsp.ctxt_id);
    }
}

void run_message(const ril_msg& msg) {
    const RunLock lock;
    RIL_TRACE(TRACE_EVENT, "%s: msg_type = %u\n", __func__, msg.msg_type);
    switch (msg.msg_type) {
        case RILREQ_MSG:
            on_request_handler(msg.sim_id, msg.req.req_id, msg.req.p_data, msg.req.data_len, msg.req.token);
            break;
        case UTAMSRSPCB_MSG:
            run_response(msg.sim_id, msg.rsp);
            break;
        case UTAMSINDCB_MSG:
            msg.ind.p_indcb(msg.sim_id, msg.ind.p_params);
            break;
    }
}

void* qelril_handler(void* mailbox) {
    auto* const mbox = static_cast<sys_mbox_t>(mailbox);
    thread_stop_enter();
    while (!thread_stop_requested()) {
        void* msg = nullptr;
        if (sys_mbox_fetch(mbox, &msg) == 0 || msg == nullptr) {
            sys_mbox_wait(mbox);
            continue;
        }
        run_message(*static_cast<ril_msg*>(msg));
        sem_post(&static_cast<ril_msg*>(msg)->done);  // the message is gone from here on
    }
    thread_stop_leave();
    return nullptr;
}

// Answers what the RIL thread did not get to.
void abandon_mailbox() {
    void* fetched = nullptr;
    while (sys_mbox_fetch(s_ril_mbox, &fetched) != 0) {
        auto* msg = static_cast<ril_msg*>(fetched);
        if (msg->msg_type == RILREQ_MSG) {
            ril_request_complete(msg->req.token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
        }
        sem_post(&msg->done);
    }
    sys_mbox_free(s_ril_mbox);
    s_ril_mbox = nullptr;
}

// Posts a message and waits until the RIL thread has run it. -1 without an engine, 0 otherwise; `posted` tells whether
// the mailbox took it.
int32_t post_and_wait(const char* function, ril_msg& msg, bool& posted) {
    posted = false;
    if (thread_is_stoppable()) {
        RIL_TRACE(TRACE_ERROR, "%s: the RIL thread cannot wait for itself\n", function);
        return -1;
    }
    RIL_TRACE(TRACE_EVENT, "%s: msg_type = %u\n", function, msg.msg_type);
    bool running = s_ril_init.load(std::memory_order_acquire);
    if (running) {
        pthread_mutex_lock(&s_post_lock);
        running = s_ril_init.load(std::memory_order_relaxed);
        if (running) {
            sem_init(&msg.done, 0, 0);
            posted = sys_mbox_post(s_ril_mbox, &msg) != 0;
        }
        pthread_mutex_unlock(&s_post_lock);
    }
    if (!running) {
        RIL_TRACE(TRACE_ERROR, "%s: RIL is not initialized\n", function);
        return -1;
    }
    if (posted) {
        while (sem_wait(&msg.done) != 0 && errno == EINTR) {
        }
    }
    sem_destroy(&msg.done);
    return 0;
}

}  // namespace

int32_t qelril_post_request(uint32_t sim_id, int32_t req_id, void* p_data, size_t data_len, RIL_Token token) {
    ril_msg msg{};
    msg.msg_type = RILREQ_MSG;
    msg.sim_id = sim_id;
    msg.req = {token, req_id, p_data, data_len};
    bool posted = false;
    const int32_t result = post_and_wait(__func__, msg, posted);
    if (result == 0 && !posted) {
        RIL_TRACE(TRACE_ERROR, "%s: Posted RIL Request (%d) Failed\n", __func__, req_id);
    }
    return result;
}

int32_t qelril_post_utamsrspcb(uint32_t sim_id, const void* p_params, uint32_t context_id, rilreq_rspcb p_rspcb) {
    ril_msg msg{};
    msg.msg_type = UTAMSRSPCB_MSG;
    msg.sim_id = sim_id;
    msg.rsp = {p_params, context_id & 0xFF, p_rspcb};
    bool posted = false;
    const int32_t result = post_and_wait(__func__, msg, posted);
    if (result == 0 && !posted) {
        RIL_TRACE(TRACE_ERROR, "%s: Posted RspCB from RPC task for context_id 0x%X Failed\n", __func__, context_id);
    }
    return result;
}

int32_t qelril_post_utamsindcb(uint32_t sim_id, const void* p_params, rilreq_indcb p_indcb) {
    if (sim_id != ril_instance) {
        RIL_TRACE(TRACE_ERROR, "%s drop packet\n", __func__);
        return -1;
    }
    ril_msg msg{};
    msg.msg_type = UTAMSINDCB_MSG;
    msg.sim_id = sim_id;
    msg.ind = {p_params, p_indcb};
    bool posted = false;
    const int32_t result = post_and_wait(__func__, msg, posted);
    if (result == 0 && !posted) {
        RIL_TRACE(TRACE_ERROR, "%s: IndCB posted Failed\n", __func__);
    }
    return result;
}

int32_t qelril_init() {
    RIL_TRACE_FUNCTION();
    context_table_start();
    thread_stop_arm();
    s_ril_mbox = sys_mbox_new();
    // Without a mailbox there is no engine, the same as without its thread.
    const int error = s_ril_mbox == nullptr ? ENOMEM : pthread_create(&s_ril_task, nullptr, qelril_handler, s_ril_mbox);
    if (error != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ril_task create failed, errno = %d (%s)\n", __func__, error, strerror(error));
        sys_mbox_free(s_ril_mbox);
        exit(-1);
    }
    s_ril_task_exists = true;
    set_running(true);
    import_kernel_cmdline();
    return modem_init();
}

int32_t qelril_destroy() {
    RIL_TRACE_FUNCTION();
    set_running(false);
    if (s_ril_task_exists) {
        thread_stop_request(s_ril_task);
        pthread_join(s_ril_task, nullptr);
        s_ril_task_exists = false;
        abandon_mailbox();
    }
    // Behind the join, since contexts and modules are the RIL thread's until it has ended. The modules go last: what
    // runs at the release of a context reads their memory.
    context_table_abandon();
    module_exit();
    sys_mark_unlock(hold_call_and_dial_mutex_lock);
    return 0;
}

void ril_request_complete(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    if (error == RIL_E_GENERIC_FAILURE && thread_stop_requested()) {
        error = RIL_E_RADIO_NOT_AVAILABLE;  // the modem is gone: its handler's call was cut short
    }
    if (token != nullptr) {
        s_rilenv->OnRequestComplete(token, error, response, length);
    }
}

void RIL_UnsolicitedResponse(uint32_t sim_id, int number, const void* data, size_t length) {
    (void)sim_id;
    s_rilenv->OnUnsolicitedResponse(number, data, length);
}
