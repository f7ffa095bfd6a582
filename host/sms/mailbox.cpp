#include "host/sms/mailbox.h"

#include <algorithm>

namespace sms {

const Waiting* begin_delivery(Mailbox& mailbox) {
    if (mailbox.waiting.empty() || mailbox.under_way != 0 || !mailbox.has_memory) {
        return nullptr;
    }
    mailbox.last_id = static_cast<uint8_t>(mailbox.last_id % UINT8_MAX + 1);
    mailbox.under_way = mailbox.last_id;
    ++mailbox.waiting.front().tries;
    return &mailbox.waiting.front();
}

void try_later(Mailbox& mailbox) {
    std::rotate(mailbox.waiting.begin(), mailbox.waiting.begin() + 1, mailbox.waiting.end());
    mailbox.under_way = 0;
}

std::optional<Waiting> acknowledge(Mailbox& mailbox, uint8_t id, Fate fate) {
    if (id == 0 || id != mailbox.under_way) {
        return {};
    }
    if (fate == Fate::REFUSED) {
        try_later(mailbox);
        return {};
    }
    mailbox.under_way = 0;
    if (fate == Fate::NO_MEMORY) {
        mailbox.has_memory = false;
        return {};
    }
    const Waiting delivered = mailbox.waiting.front();
    mailbox.waiting.pop_front();
    return delivered;
}

void lose_contact(Mailbox& mailbox) {
    mailbox.under_way = 0;
    mailbox.has_memory = true;
}

}  // namespace sms
