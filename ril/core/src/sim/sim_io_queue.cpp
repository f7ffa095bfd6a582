// The mailbox of Android's commands to the card, and the thread that lets one through when the last has been answered,
// has timed out or is gone with its request.
//
// The turn is a mark, guarded by the run lock: it names the command that is at the modem. Whatever ends that command's
// request ends the turn too, so it is handed on once, also by a modem that goes down. The thread outlives modems: a
// mail of a request that has ended meanwhile is only freed.
#include <pthread.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/sim_io.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/os_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_answer_seconds = 5;
constexpr uint32_t c_none = 0;

enum sim_io_msg_type : int32_t { SIM_IO_RILREQ_MSG = 0 };

struct sim_io_mail {
    sim_io_msg_type msg_type;
    uint32_t sim_id;
    const UtaSimApduCmdReqParam* p_data;  // in the request's private data
    rilreq_rspcb p_rspcb;
    uint32_t ctxt_id;
    uint32_t number;  // of the command
};

struct sim_io_timer {
    uint32_t timer_id;
    uint32_t context_id;
};

sys_mbox_t s_sim_io_mbox = nullptr;
sys_sem_t s_sim_io_wait_sem = nullptr;  // signalled when a turn ends
pthread_t s_sim_io_task{};
bool s_sim_io_task_exists = false;

// Guarded by the run lock, as everything below. Commands are numbered from 1, over restarts of the modem too: a timer
// or a mail that outlives its modem is then nobody's.
uint32_t s_last_number = 0;
std::array<uint32_t, 256> s_command_of{};  // the command that waits or is at the modem, by context

uint32_t s_last_sim_io_timer_id = 0;    // the number of the command that went last
uint32_t s_last_sim_io_context_id = 0;  // of the command that is at the modem

void end_turn() {
    s_last_sim_io_context_id = c_none;
    sys_sem_signal(s_sim_io_wait_sem);
}

bool has_turn(uint32_t ctxt_id) {
    return s_last_sim_io_context_id != c_none && (s_last_sim_io_context_id & 0xFFU) == ctxt_id;
}

void on_released(uint32_t ctxt_id) {
    s_command_of[ctxt_id] = c_none;
    if (has_turn(ctxt_id)) {
        end_turn();
    }
}

bool is_at_modem(const sim_io_timer& command) {
    return command.timer_id == s_last_sim_io_timer_id && command.context_id == s_last_sim_io_context_id &&
           rilreq_state_info[command.context_id & 0xFFU].entry_in_use.load(std::memory_order_acquire) != 0;
}

void sim_io_timeout_handler(void* cookie) {
    auto* const timer = static_cast<sim_io_timer*>(cookie);
    {
        const RunLock lock;
        if (is_at_modem(*timer)) {
            RIL_TRACE(TRACE_ERROR, "%s: SIM_IO_RILREQ_MSG TIMER EXPIRED, timer_id = %d, context_id = %x\n", __func__,
                      static_cast<int>(timer->timer_id), timer->context_id);
            qelril_free_and_return_generic_failure(timer->context_id & 0xFFU);
        }
    }
    MEM_FREE(timer);
}

// A command on its way: a copy, since its request may end while it is sent.
struct outgoing {
    UtaSimApduCmdReqParam command;
    UtaSimApduData apdu;
    sim_io_timer id;
};

enum turn { TURN_TAKEN, TURN_BUSY, TURN_GONE, TURN_NO_MEMORY };

turn take_turn(const sim_io_mail& mail, outgoing& out) {
    const RunLock lock;
    if (s_command_of[mail.ctxt_id] != mail.number) {
        return TURN_GONE;
    }
    if (s_last_sim_io_context_id != c_none) {
        return TURN_BUSY;
    }
    if (!sim_apdu_expect(mail.ctxt_id, mail.p_rspcb)) {
        return TURN_NO_MEMORY;
    }
    out.command = *mail.p_data;
    if (out.command.apdu != nullptr) {
        out.apdu = *out.command.apdu;
        out.command.apdu = &out.apdu;
    }
    out.id = {mail.number, uta_context_id(mail.ctxt_id)};
    // Before the command is sent: the answer may be here before the return.
    s_last_sim_io_timer_id = out.id.timer_id;
    s_last_sim_io_context_id = out.id.context_id;
    return TURN_TAKEN;
}

int32_t arm_timer(const sim_io_timer& id) {
    auto* const timer = static_cast<sim_io_timer*>(MEM_ALLOC(sizeof(sim_io_timer)));
    if (timer == nullptr) {
        return -1;
    }
    *timer = id;
    ril_request_timed_call_back(sim_io_timeout_handler, timer, c_answer_seconds, 0);
    return 0;
}

// Fails the mail's request, unless it has ended meanwhile.
void fail(const sim_io_mail& mail) {
    RIL_TRACE(TRACE_ERROR, "Error: cme error 4 (sim_request_set_sim_access)\n");
    const RunLock lock;
    if (s_command_of[mail.ctxt_id] == mail.number) {
        qelril_free_and_return_generic_failure(mail.ctxt_id);
    }
}

void carry(const sim_io_mail& mail) {
    outgoing out{};
    turn result = take_turn(mail, out);
    while (result == TURN_BUSY) {
        sys_sem_wait(s_sim_io_wait_sem);
        result = take_turn(mail, out);
    }
    if (result == TURN_GONE) {
        return;
    }
    if (result == TURN_NO_MEMORY || RemUtaMsSimApduCmdReq(mail.sim_id, &out.command, out.id.context_id) != 0 ||
        arm_timer(out.id) != 0) {
        fail(mail);
    }
}

void* qelril_sim_io_handler(void* mailbox) {
    auto* const mbox = static_cast<sys_mbox_t>(mailbox);
    for (;;) {
        void* fetched = nullptr;
        if (sys_mbox_fetch(mbox, &fetched) == 0 || fetched == nullptr) {
            sys_mbox_wait(mbox);
            continue;
        }
        auto* const mail = static_cast<sim_io_mail*>(fetched);
        if (mail->msg_type == SIM_IO_RILREQ_MSG) {
            carry(*mail);
        }
        MEM_FREE(mail);
    }
    return nullptr;
}

}  // namespace

int32_t sim_io_post(uint32_t sim_id, const UtaSimApduCmdReqParam& command, uint32_t ctxt_id) {
    auto* const mail = static_cast<sim_io_mail*>(MEM_ALLOC(sizeof(sim_io_mail)));
    if (mail == nullptr) {
        return -1;
    }
    s_last_number = s_last_number + 1 == c_none ? 1 : s_last_number + 1;
    *mail = {SIM_IO_RILREQ_MSG, sim_id, &command, sim_apdu_cmd_req_sim_access_cb, ctxt_id, s_last_number};
    s_command_of[ctxt_id] = mail->number;
    rilreq_state_info[ctxt_id].p_released = on_released;
    if (sys_mbox_post(s_sim_io_mbox, mail) == 0) {
        s_command_of[ctxt_id] = c_none;
        MEM_FREE(mail);
        return -1;
    }
    return 0;
}

void sim_io_answered(uint32_t ctxt_id) {
    if (has_turn(ctxt_id)) {
        end_turn();
    }
}

void sim_module_init_mailbox() {
    if (s_sim_io_task_exists) {
        return;
    }
    s_sim_io_mbox = sys_mbox_new();
    s_sim_io_wait_sem = sys_sem_new(0);
    int error = ENOMEM;
    if (s_sim_io_mbox != nullptr && s_sim_io_wait_sem != nullptr) {
        error = pthread_create(&s_sim_io_task, nullptr, qelril_sim_io_handler, s_sim_io_mbox);
    }
    if (error != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim_io_task create failed, errno = %d (%s)\n", __func__, error, strerror(error));
        sys_sem_free(s_sim_io_wait_sem);
        sys_mbox_free(s_sim_io_mbox);
        exit(-1);
    }
    s_sim_io_task_exists = true;
}
