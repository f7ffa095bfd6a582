// The card's files of messages and their parameters (3GPP TS 51.011, 10.5.3, 10.5.6, 10.5.7), as far as several files
// of the module need them. Nobody outside the module includes this.
#pragma once

#include <cstdint>
#include <span>

#include "ril/core/src/sim/apdu.h"

enum sms_card_file : uint16_t { EF_SMS = 0x6F3C, EF_SMSP = 0x6F42, EF_SMSS = 0x6F43 };

// Each sends one command, whose answer goes to `callback`. 0 or -1.
int32_t sms_select_file(uint32_t sim_id, sms_card_file file, rilreq_rspcb callback, uint32_t ctxt_id);
int32_t sms_update_record(uint32_t sim_id, sms_card_file file, uint8_t record, std::span<const uint8_t> content,
                          rilreq_rspcb callback, uint32_t ctxt_id);
int32_t sms_send_apdu(uint32_t sim_id, sms_card_file file, UtaSimApduData& apdu, rilreq_rspcb callback,
                      uint32_t ctxt_id);

// True for an answer that is good; what is wrong with another one is logged under `function`.
bool sms_answer_is_good(const UtaSimApduCmdRspParam& answer, const char* function);

// The properties in the answer to a selection; null, and logged, for one that is not good.
const sim_file_properties* sms_selected_file(const UtaSimApduCmdRspParam& answer, sim_file_properties& out,
                                             const char* function);
