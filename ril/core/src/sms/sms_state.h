// What the module's files share. Nobody outside the module includes this.
#pragma once

#include <array>
#include <cstdint>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/sms/sms.h"
#include "ril/core/src/sms/sms_tpdu.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

struct sms_mngr_state {
    uint32_t net_gsm_service;  // the modem's number of the way that messages take
    int32_t incoming_ind_ctxt_id;
    bool ef_sms_known;          // the file of messages has been looked at since the last deletion
    bool memory_flag;           // Android has no room for messages
    bool last_slot_used;        // a write under way takes the last free record
    bool smss_memory_exceeded;  // the card's status file says that the card has no room
    std::array<char, c_sms_address_max + 1> sca;
};

extern std::array<sms_mngr_state, 2> sms_mngr;

// The caller's data in the private area of an operation's context. Of an incoming message `req_id` is -1.
struct sms_book_keeping {
    sms_tpdu tpdu;  // to be sent or written
    std::array<char, c_sms_text_max + 2> sms_hex_input;
    bool sca_in_pdu;  // the text has a service centre address of its own
    sms_tpdu incoming;
    uint8_t incoming_id;   // the modem's
    uint16_t message_ref;  // of the answer to a message that was sent
    int32_t result;        // of it
    std::array<char, sizeof(UtaSmsSendRspParam::ack_pdu)> ack_pdu;
    uint8_t slot;     // record of EF_SMS, from 1
    bool card_full;   // there was no free one
    bool is_refused;  // the card did not take the write
    int32_t cause;    // that an incoming message is refused with; 0 as long as neither card nor modem said a word
    uint8_t smsp_record_len;
    std::array<uint8_t, UINT8_MAX> smsp_record;
};

constexpr int32_t c_sms_incoming_req_id = -1;

// Makes the context's private area with a record in it, or null without memory.
sms_book_keeping* sms_book_keeping_init(request_context& context);

// The context's record, null where its private area is of another kind or has none.
sms_book_keeping* sms_record_of(uint32_t ctxt_id);

// Results of the modem, for a message that was sent and for a download.
constexpr int32_t c_sms_sent = 541;
constexpr int32_t c_sms_sent_too = 542;

// Causes of a refusal, as Android counts them (3GPP TS 23.040, 9.2.3.22) and as the modem does.
enum sms_cause : int32_t { SMS_CAUSE_MEMORY_FULL = 16, SMS_CAUSE_CARD = 47, SMS_CAUSE_MEMORY_EXCEEDED = 211 };

void sms_set_service_center_address(uint32_t sim_id, const char* text);

// The message waits for Android's acknowledgement from now on.
void sms_set_incoming_ind_ctxt_id(uint32_t sim_id, uint32_t ctxt_id);

// Makes the record's message from its text: 0 or -1.
int32_t sms_make_final_pdu(uint32_t sim_id, sms_book_keeping& record);

// Writes the incoming message of the context into the first free record of the card, or refuses it to the network. The
// context is taken.
void sms_write_incoming_on_sim(uint32_t sim_id, uint32_t ctxt_id);

void ril_unsol_response_new_sms_on_sim(uint32_t sim_id, uint32_t slot);
