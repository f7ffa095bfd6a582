#include "host/modem/message_centre.h"

#include <algorithm>

#include "host/modem/engineering.h"
#include "host/modem/net.h"

namespace message_centre {

namespace {

using Milliseconds = Loop::Milliseconds;

constexpr Milliseconds c_delivery_time{20};
constexpr Milliseconds c_patience{5000};      // for an acknowledgement
constexpr Milliseconds c_next_try{1000};      // after a refusal, or to a stack that cannot be reached
constexpr Milliseconds c_memory_try{20'000};  // to a stack that has no memory and does not say that it has again
constexpr size_t c_kept_outside = 1000;

struct Line {
    sms::Mailbox mailbox;
    uint64_t step = 0;        // counts what happened, so that a patience that ran out late is known to be late
    bool is_planned = false;  // the next look is
};
std::array<Line, c_stacks> s_lines;
std::vector<sms::Message> s_outside;

void look(Modem& modem, uint32_t sim_id);

void plan(Modem& modem, uint32_t sim_id, Milliseconds delay) {
    if (!std::exchange(s_lines[sim_id].is_planned, true)) {
        modem.later(delay, [&modem, sim_id] {
            s_lines[sim_id].is_planned = false;
            look(modem, sim_id);
        });
    }
}

void try_later(Modem& modem, uint32_t sim_id) {
    sms::try_later(s_lines[sim_id].mailbox);
    ++s_lines[sim_id].step;
    plan(modem, sim_id, c_next_try);
}

void look(Modem& modem, uint32_t sim_id) {
    sms::Mailbox& mailbox = s_lines[sim_id].mailbox;
    if (!mailbox.waiting.empty() && !stack_is_registered(sim_id)) {
        plan(modem, sim_id, c_next_try);
        return;
    }
    const sms::Waiting* const first = sms::begin_delivery(mailbox);
    if (first == nullptr) {
        return;
    }
    const sms::Octets octets = sms::write(first->message);
    ++counted(sim_id).mt_gprs_sms_count;
    UtaSmsIncomingParam param{};
    param.id = mailbox.under_way;
    param.message.status = 3;
    param.message.pdu.length = static_cast<uint8_t>(std::min(octets.size(), sizeof(param.message.pdu.data)));
    std::copy_n(octets.begin(), param.message.pdu.length, param.message.pdu.data);
    modem.indicate<uta::row::UtaMsSmsIncomingIndCb>(sim_id, &param);
    modem.later(c_patience, [&modem, sim_id, step = ++s_lines[sim_id].step] {
        if (s_lines[sim_id].step == step) {
            try_later(modem, sim_id);
        }
    });
}

void keep(Modem& modem, uint32_t sim_id, sms::Waiting waiting) {
    s_lines[sim_id].mailbox.waiting.push_back(std::move(waiting));
    plan(modem, sim_id, c_delivery_time);
}

// 3GPP TS 23.040, 9.2.2.3.
void report(Modem& modem, uint32_t sim_id, const std::string& recipient, uint8_t reference) {
    sms::Message message;
    message.kind = sms::Kind::STATUS_REPORT;
    message.service_centre = c_number;
    message.number = recipient;
    message.reference = reference;
    message.time = sms::time_now();
    keep(modem, sim_id, {message, {}});
}

}  // namespace

void submit(Modem& modem, uint32_t sim_id, const sms::Message& submission, uint8_t reference) {
    const auto* const subscriber = std::find(c_subscribers.begin(), c_subscribers.end(), submission.number);
    if (subscriber == c_subscribers.end()) {
        if (s_outside.size() == c_kept_outside) {
            s_outside.erase(s_outside.begin());
        }
        s_outside.push_back(submission);
        if (submission.wants_report) {
            report(modem, sim_id, submission.number, reference);
        }
        return;
    }
    sms::Message message = submission;
    message.kind = sms::Kind::DELIVER;
    message.service_centre = c_number;
    message.number = c_subscribers[sim_id];
    message.time = sms::time_now();
    message.wants_report = false;
    keep(modem, static_cast<uint32_t>(subscriber - c_subscribers.begin()),
         {message, submission.wants_report ? std::optional(sim_id) : std::nullopt, reference});
}

void deliver(Modem& modem, uint32_t sim_id, const sms::Message& message) {
    keep(modem, sim_id, {message, {}});
}

void acknowledge(Modem& modem, uint32_t sim_id, uint8_t id, sms::Fate fate) {
    Line& line = s_lines[sim_id];
    if (id == 0 || id != line.mailbox.under_way) {
        return;
    }
    constexpr uint8_t c_memory_exceeded = 22;  // 3GPP TS 24.011, 8.2.5.4
    constexpr uint8_t c_unspecified = 111;
    const uint64_t step = ++line.step;
    if (fate == sms::Fate::DELIVERED) {
        ++counted(sim_id).mt_gprs_sms_count_succ;
    } else {
        counted(sim_id).last_mt_fail_cause = fate == sms::Fate::NO_MEMORY ? c_memory_exceeded : c_unspecified;
    }
    const auto delivered = sms::acknowledge(line.mailbox, id, fate);
    if (fate == sms::Fate::REFUSED) {
        plan(modem, sim_id, c_next_try);
    } else if (fate == sms::Fate::NO_MEMORY) {
        modem.later(c_memory_try, [&modem, sim_id, step] {
            if (s_lines[sim_id].step == step) {
                memory_available(modem, sim_id);
            }
        });
    }
    if (!delivered) {
        return;
    }
    if (delivered->sender) {
        report(modem, *delivered->sender, c_subscribers[sim_id], delivered->reference);
    }
    look(modem, sim_id);
}

void memory_available(Modem& modem, uint32_t sim_id) {
    s_lines[sim_id].mailbox.has_memory = true;
    plan(modem, sim_id, c_delivery_time);
}

void resume(Modem& modem, uint32_t sim_id) {
    plan(modem, sim_id, c_delivery_time);
}

void lose_contact() {
    for (Line& line : s_lines) {
        sms::lose_contact(line.mailbox);
        line.is_planned = false;
        ++line.step;
    }
}

const std::vector<sms::Message>& sent_outside() {
    return s_outside;
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_lines.size(); ++i) {
        const sms::Mailbox& mailbox = s_lines[i].mailbox;
        text += (i == 0 ? "stack " : "; stack ") + std::to_string(i) + " " + std::to_string(mailbox.waiting.size()) +
                " waiting";
        if (!mailbox.waiting.empty()) {
            text += ", the first one tried " + std::to_string(mailbox.waiting.front().tries) + " times";
        }
        text += mailbox.has_memory ? "" : ", no memory";
    }
    return text + "; " + std::to_string(s_outside.size()) + " sent outside";
}

}  // namespace message_centre
