// What a message centre keeps for one subscriber (3GPP TS 23.040, 3.2; TS 24.011): the messages wait in order, one at a
// time is on its way, and none is gone before it was acknowledged. Time is the owner's.
#pragma once

#include <deque>
#include <optional>

#include "host/sms/message.h"

namespace sms {

struct Waiting {
    Message message;
    // Who asked for a report, and under which reference.
    std::optional<uint32_t> sender;
    uint8_t reference = 0;
    unsigned tries = 0;
};

struct Mailbox {
    std::deque<Waiting> waiting;  // the first one may be under way
    uint8_t under_way = 0;        // its id, or 0
    uint8_t last_id = 0;
    bool has_memory = true;  // the subscriber
};

// What becomes of the message under way.
enum class Fate { DELIVERED, REFUSED, NO_MEMORY };

// The first message, under way from now on; null when there is none, or one is, or it would find no memory.
const Waiting* begin_delivery(Mailbox& mailbox);
// One that was refused, or whose acknowledgement does not come, is tried again behind the others that wait.
void try_later(Mailbox& mailbox);
// The receiver has spoken about the message with that id. One that was delivered is returned; one that is not under way
// changes nothing.
std::optional<Waiting> acknowledge(Mailbox& mailbox, uint8_t id, Fate fate);
// The receiver is gone: what was under way is not any more, and will come again.
void lose_contact(Mailbox& mailbox);

}  // namespace sms
