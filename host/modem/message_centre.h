// The message centre of the network (3GPP TS 23.040, 3): messages between the stacks, from and to the outside, kept
// until their receiver has acknowledged them. It belongs to the network: a modem that loses its power loses no message.
//
// Runs in the loop.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "host/modem/modem.h"
#include "host/sms/mailbox.h"

namespace message_centre {

constexpr const char* c_number = "+491710760000";
constexpr std::array<const char*, c_stacks> c_subscribers = {"+491701234567", "+491701234568"};

// A submission from a stack: it goes to the other stack, back to its own, or out of sight.
void submit(Modem& modem, uint32_t sim_id, const sms::Message& submission, uint8_t reference);
// A message from outside for a stack.
void deliver(Modem& modem, uint32_t sim_id, const sms::Message& message);

// The receiver has spoken about the message with that id. One that is not under way changes nothing.
void acknowledge(Modem& modem, uint32_t sim_id, uint8_t id, sms::Fate fate);
// It has room again.
void memory_available(Modem& modem, uint32_t sim_id);
// Delivers as soon as the stack can be reached.
void resume(Modem& modem, uint32_t sim_id);
// What was under way is not any more, and will come again.
void lose_contact();

// What went out of sight, the last one at the end.
const std::vector<sms::Message>& sent_outside();
std::string describe();

}  // namespace message_centre
