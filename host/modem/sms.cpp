// What a phone asks of the message service: sending, acknowledging what came, what stands on its card, and data for the
// card. The messages themselves are in message_centre.cpp.
#include <algorithm>
#include <iterator>

#include "host/modem/card.h"
#include "host/modem/commands.h"
#include "host/modem/engineering.h"
#include "host/modem/message_centre.h"
#include "host/modem/net.h"
#include "host/modem/toolkit.h"

namespace {

using sms::Fate;

constexpr int32_t c_sent = 541;
constexpr int32_t c_sending_impossible = 38;  // no network
constexpr int32_t c_protocol_error = 111;
constexpr int32_t c_refused_by_fdn = 543;

constexpr int32_t c_acknowledged = 39;
constexpr int32_t c_replaced = 0;
constexpr int32_t c_no_memory_on_phone = 16;
constexpr int32_t c_memory_exceeded = 40;

struct Stack {
    uint8_t last_reference = 0;
    int32_t failure = 0;   // of the next submissions
    int32_t failures = 0;  // how many of them; -1 for all
    bool is_open = false;  // a client listens
    int32_t more_messages = 0;
};
std::array<Stack, c_stacks> s_stacks;

// --- Sending ---------------------------------------------------------------------------------------------------------

// What becomes of a submission: a result of the modem.
int32_t judge(uint32_t sim_id, const std::optional<sms::Message>& submission, bool fdn_check) {
    Stack& stack = s_stacks[sim_id];
    if (stack.failures != 0) {
        stack.failures -= stack.failures > 0 ? 1 : 0;
        return stack.failure;
    }
    if (!stack_is_registered(sim_id)) {
        return c_sending_impossible;
    }
    if (!submission || submission->kind != sms::Kind::SUBMIT) {
        return c_protocol_error;
    }
    return fdn_check && !card_allows_call(sim_id, submission->number) ? c_refused_by_fdn : c_sent;
}

// A message that FDN kept here was none. The causes of a network go into an octet (3GPP TS 24.011, 8.2.5.4).
void count_submission(uint32_t sim_id, int32_t result) {
    if (result == c_refused_by_fdn) {
        return;
    }
    ++counted(sim_id).mo_gprs_sms_count;
    if (result == c_sent) {
        ++counted(sim_id).mo_gprs_sms_count_succ;
    } else if (result >= 0 && result <= UINT8_MAX) {
        counted(sim_id).last_mo_fail_cause = static_cast<uint8_t>(result);
    }
}

int32_t send_message(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSmsSendParam* param,
                     uint32_t context_id) {
    if (param == nullptr || param->message.pdu.length > sizeof(param->message.pdu.data)) {
        return c_refused;
    }
    const auto submission = sms::read(std::span(param->message.pdu.data).first(param->message.pdu.length));
    const bool fdn_check = param->fdn_check == 1;
    modem.later(modem.settings.latency, [&modem, caller, sim_id, submission, fdn_check, context_id] {
        UtaSmsSendRspParam response{};
        response.result = judge(sim_id, submission, fdn_check);
        count_submission(sim_id, response.result);
        uint8_t& reference = s_stacks[sim_id].last_reference;
        reference = static_cast<uint8_t>(reference % UINT8_MAX + 1);
        response.reference.mr = reference;
        modem.send<uta::row::UtaMsSmsSendRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
        if (response.result == c_sent) {
            message_centre::submit(modem, sim_id, *submission, reference);
        }
    });
    return c_success;
}

int32_t set_more_messages(Modem&, const Caller&, uint32_t sim_id, const UtaSmsSetSendMoreMessagesStatusParam* param) {
    if (param == nullptr || param->status < 0 || param->status > 2) {
        return c_refused;
    }
    s_stacks[sim_id].more_messages = param->status;
    return c_success;
}

// --- Receiving -------------------------------------------------------------------------------------------------------

Fate fate_of(int32_t ack_type) {
    switch (ack_type) {
        case c_acknowledged:
        case c_replaced:
            return Fate::DELIVERED;
        case c_no_memory_on_phone:
        case c_memory_exceeded:
            return Fate::NO_MEMORY;
        default:
            return Fate::REFUSED;
    }
}

int32_t acknowledge(Modem& modem, const Caller&, uint32_t sim_id, const UtaSmsIncSmsAckParam* param, uint32_t) {
    if (param == nullptr) {
        return c_refused;
    }
    message_centre::acknowledge(modem, sim_id, param->id, fate_of(param->ack_type));
    return c_success;
}

// The card says that it has done what the message told it.
int32_t download(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSmsDataDownloadParam* param,
                 uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    if (card_is_usable(sim_id)) {
        toolkit_took_download(modem, sim_id, param->pdu.length);
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, id = param->id, context_id] {
        UtaSmsDataDownloadResParam response{};
        response.id = id;
        response.result = card_is_usable(sim_id) ? c_sent : c_protocol_error;
        response.answer = {2, {0x90, 0x00}};
        modem.send<uta::row::UtaMsSmsDataDownloadRspCb>(caller.client, caller.context_id, sim_id, &response,
                                                        context_id);
    });
    return c_success;
}

int32_t acknowledge_download(Modem& modem, const Caller&, uint32_t sim_id, const UtaSmsDataDownloadAckParam* param,
                             uint32_t) {
    if (param == nullptr) {
        return c_refused;
    }
    message_centre::acknowledge(modem, sim_id, param->id,
                                param->ack_result == c_sent ? Fate::DELIVERED : Fate::REFUSED);
    return c_success;
}

int32_t set_memory_available(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        modem.send<uta::row::UtaMsSmsSetMemoryAvailableRspCb>(caller.client, caller.context_id, sim_id, c_success,
                                                              context_id);
        message_centre::memory_available(modem, sim_id);
    });
    return c_success;
}

// --- On the card (3GPP TS 51.011, 10.5.3) ----------------------------------------------------------------------------

const card::File* message_file(uint32_t sim_id) {
    card::Card& card = card_of(sim_id);
    const std::array<uint16_t, 3> path = {card::c_master_file, card.is_3g ? card::c_application : uint16_t{0x7F10},
                                          0x6F3C};
    return card_is_usable(sim_id) ? card::find_file(card, path) : nullptr;
}

int32_t count(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSmsSimMsgCountParam* param,
              uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, room = param->param_data_len, context_id] {
        const card::File* const file = message_file(sim_id);
        UtaSmsSimMsgCountRspParams response{};
        response.result = file != nullptr ? c_success : 1;
        sms::Octets bitmap(std::min<size_t>(room, 32));
        const size_t records = file != nullptr ? std::min(file->records(), 8 * bitmap.size()) : 0;
        for (size_t i = 0; i < records; ++i) {
            const bool is_used = (file->content[i * file->record_size] & 1) != 0;
            bitmap[i / 8] = static_cast<uint8_t>(bitmap[i / 8] | (is_used ? 1U << i % 8 : 0U));
            response.no_of_used_sms_entries += is_used ? 1 : 0;
        }
        response.no_of_sms_entries = static_cast<uint32_t>(records);
        response.param_data_len = static_cast<uint32_t>(bitmap.size());
        response.param_data = bitmap.data();
        modem.send<uta::row::UtaMsSmsSimMsgCountRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
    });
    return c_success;
}

// The modem reads the card's messages as soon as it can, and says when it has.
void tell_cache(Modem& modem, uint32_t sim_id) {
    if (s_stacks[sim_id].is_open && card_is_usable(sim_id)) {
        modem.later(modem.settings.latency, [&modem, sim_id] {
            modem.indicate<uta::row::UtaMsSmsSimMsgCacheFinishedIndCb>(sim_id, message_file(sim_id) != nullptr ? 0 : 1);
        });
    }
}

int32_t open(Modem&, const Caller&, uint32_t sim_id) {
    s_stacks[sim_id].is_open = true;
    return c_success;
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::optional<uint32_t> stack_of(const std::string& word) {
    return word == "0" ? std::optional(0U) : word == "1" ? std::optional(1U) : std::nullopt;
}

// `class N`, `pid N`, `dcs N` and `reply` behind the text.
std::string apply(const std::vector<std::string>& options, sms::Message& message, uint32_t& sim_id) {
    for (size_t i = 0; i < options.size(); ++i) {
        const std::string& option = options[i];
        if (option == "reply") {
            message.reply_path = true;
            continue;
        }
        const auto value = i + 1 < options.size() ? parse_integer(options[i + 1]) : std::nullopt;
        if (!value || *value < 0 || *value > UINT8_MAX) {
            return "wants a number behind " + option;
        }
        const auto octet = static_cast<uint8_t>(*value);
        if (option == "to" && octet < c_stacks) {
            sim_id = octet;
        } else if (option == "class" && octet < 4) {
            message.data.dcs = static_cast<uint8_t>(message.data.dcs | 0x10 | octet);
        } else if (option == "pid") {
            message.pid = octet;
        } else if (option == "dcs") {
            message.data.dcs = octet;
        } else {
            return "no such option: " + option;
        }
        ++i;
    }
    return "";
}

std::string from(Modem& modem, const std::vector<std::string>& arguments) {
    static uint8_t s_reference;
    constexpr size_t c_options_at = 3;
    if (arguments.size() < c_options_at) {
        return "wants a number and a text";
    }
    const std::vector<std::string> options(arguments.begin() + c_options_at, arguments.end());
    for (const sms::UserData& data : sms::user_data_of(arguments[2], ++s_reference)) {
        sms::Message message;
        message.service_centre = message_centre::c_number;
        message.number = arguments[1];
        message.data = data;
        message.time = sms::time_now();
        uint32_t sim_id = 0;
        if (std::string error = apply(options, message, sim_id); !error.empty()) {
            return error;
        }
        message_centre::deliver(modem, sim_id, message);
    }
    return "";
}

// Whether the last message that went out of sight has this number and text.
std::string sent(const std::vector<std::string>& arguments) {
    if (arguments.size() != 3) {
        return "wants a number and a text";
    }
    if (message_centre::sent_outside().empty()) {
        return "nothing was sent";
    }
    const sms::Message& last = message_centre::sent_outside().back();
    const bool is_it = last.number == arguments[1] && sms::text_of(last.data) == arguments[2];
    return is_it ? "" : "the last one was " + sms::describe(last);
}

std::string fail(const std::vector<std::string>& arguments) {
    const auto cause = arguments.size() > 1 ? parse_integer(arguments[1]) : std::nullopt;
    const auto times = arguments.size() > 2 ? parse_integer(arguments[2]) : std::optional(-1);
    const auto sim_id = arguments.size() > 3 ? stack_of(arguments[3]) : std::optional(0U);
    if (!cause || !times || !sim_id) {
        return "wants a cause, and how often";
    }
    s_stacks[*sim_id].failure = *cause;
    s_stacks[*sim_id].failures = *times;
    return "";
}

std::string sms_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    return what == "from"   ? from(modem, arguments)
           : what == "sent" ? sent(arguments)
           : what == "fail" ? fail(arguments)
                            : "wants from, sent or fail";
}

void forget() {
    s_stacks = {};
    message_centre::lose_contact();
}

void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool) {
    if (stack_on) {
        message_centre::resume(modem, sim_id);
    }
}

}  // namespace

Service sms_service() {
    using namespace uta::row;
    return {
        .name = "sms",
        .functions = {serve<UtaMsSmsInit, open>(), serve<UtaMsSmsSendReq, send_message>(),
                      serve<UtaMsSmsSetSendMoreMessagesStatus, set_more_messages>(),
                      serve<UtaMsSmsIncomingSmsAck, acknowledge>(), serve<UtaMsSmsDataDownloadReq, download>(),
                      serve<UtaMsSmsDataDownloadAck, acknowledge_download>(),
                      serve<UtaMsSmsSetMemoryAvailableReq, set_memory_available>(),
                      serve<UtaMsSmsSimMsgCountReq, count>()},
        .commands = {{"sms",
                      "from NUMBER TEXT [to 0|1] [class N] [pid N] [dcs N] [reply] | sent NUMBER TEXT | "
                      "fail CAUSE [TIMES [0|1]]",
                      "from: somebody writes, in parts if need be. sent: fails unless this is the last message that\n"
                      "left for somebody who is no stack here. fail: messages cannot be sent, for the modem's\n"
                      "cause: TIMES of them, else all; 0 times ends it. The stacks are +491701234567 and\n"
                      "+491701234568",
                      sms_command}},
        .forget = forget,
        .describe = message_centre::describe,
        .stack_switched = stack_switched,
        .card_changed = tell_cache};
}
