// RIL_REQUEST_SIM_IO: one of Android's commands at the card at a time. RIL thread unless it says otherwise.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

#include "ril/core/src/async_ril/async_ril.h"

// Takes Android's request on a context, and answers it there. 0, or another value when nothing is on its way: the
// context is then the caller's to fail.
int32_t sim_io_start(uint32_t sim_id, const RIL_SIM_IO_v6& request, uint32_t ctxt_id);

// The verification of PIN2 that stood before the access has ended, with 0 or an error.
void ril_request_sim_io_verify_sim_pin2(uint32_t sim_id, int32_t error, uint32_t ctxt_id);

// The mailbox and the thread behind it: at the first start of the process, which they outlive. Without the thread the
// process ends. Modem event thread.
void sim_module_init_mailbox();

// --- Within the module -----------------------------------------------------------------------------------------------

struct UtaSimApduCmdReqParam;

// Takes the answer of a command that went through the mailbox.
void sim_apdu_cmd_req_sim_access_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id);

// Queues a command, which is in the context's private data. 0 or -1. With the run lock held.
int32_t sim_io_post(uint32_t sim_id, const UtaSimApduCmdReqParam& command, uint32_t ctxt_id);

// The context's command has its answer: the next one may go. With the run lock held. RPC dispatch thread.
void sim_io_answered(uint32_t ctxt_id);
