// Short messages (3GPP TS 23.040): sending them, what becomes of one that comes, the messages and parameters on the
// card, and what Android's own memory has room for. The coding of messages is in sms_tpdu.h.
//
// Everything here runs on the RIL thread unless it says otherwise. A `sim_id` is 0 or 1. An operation that gives 0 has
// taken the context, which may be released already; one that gives -1 has logged why and left it to the caller.
#pragma once

#include <telephony/ril.h>

#include <cstdint>
#include <string_view>

#include "ril/core/src/async_ril/request.h"

// Start values of one SIM's state; lets go of a message that Android has not acknowledged. RIL thread, or the modem
// event thread with the run lock held.
void sms_mngr_init(uint32_t sim_id);

// Octets of a message behind its service centre address.
constexpr size_t c_sms_tpdu_max = 164;
// Characters of a service centre address and a message as one hexadecimal text.
constexpr size_t c_sms_text_max = 351;

// --- Sending ---------------------------------------------------------------------------------------------------------

// The way messages take: 0, 1, 2 or 3. Any other mode is kept as one that the modem does not know.
void sms_set_net_gsm_service(uint32_t sim_id, uint32_t mode);
uint32_t sms_get_net_gsm_service(uint32_t sim_id);  // as the modem numbers them; above 3 for one that it does not know

// Tells the modem how long to keep the link for messages that follow. -1 for a value above 2, otherwise what it says.
int32_t sms_agg_set_send_more_messages(uint32_t sim_id, uint32_t value);

// Sends a message, which is `text` with its service centre in front; the answer completes the request. Without a
// service centre in the text the card's is read first, unless it is known.
int32_t sms_agg_request_send(request_context& context, size_t pdu_length, std::string_view text);

// --- The message that waits for Android ------------------------------------------------------------------------------

// The context of the message that Android has been told of and has to acknowledge, or -1.
int32_t sms_get_incoming_ind_ctxt_id(uint32_t sim_id);

// Acknowledges the message of that context to the network; 0 or -1. The context stays.
int32_t sms_agg_request_ack(uint32_t sim_id, int32_t success, int32_t cause, uint32_t ctxt_id);
// The same with the text of Android's acknowledgement.
int32_t sms_agg_request_ack_with_pdu(uint32_t sim_id, bool success, std::string_view text, uint32_t ctxt_id);

// --- On the card -----------------------------------------------------------------------------------------------------

// Writes a message of Android's into the first free record.
int32_t sms_agg_write_msg_on_sim(request_context& context, uint32_t status, size_t pdu_length, std::string_view text);
int32_t sms_agg_delete_from_sim(request_context& context, uint8_t record);

// The service centre address as far as it is known, else an empty text.
const char* sms_get_service_center_address(uint32_t sim_id);
bool sms_is_sca_available(uint32_t sim_id);

constexpr size_t c_sms_address_max = 20;  // characters

// Reads the service centre address from the card, or writes it there.
int32_t sms_agg_get_service_center_address(request_context& context);
int32_t sms_agg_set_service_center_address(request_context& context, const char* text);

// Android has no room for messages any more / has room again.
int32_t sms_set_memory_unavailable(request_context& context);
int32_t sms_set_memory_available(request_context& context);
