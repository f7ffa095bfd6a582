// What the words of a line for people (supplementary services, tones, engineering reports) ask of Android's interface.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/console/messages.h"

// The requests of a line such as `forward busy +4930`. Nothing for a line of another word; no request when its words
// don't suit.
std::optional<std::vector<MessageRequest>> service_requests(const std::vector<std::string>& line);

constexpr const char* c_service_help[] = {
    "  forward always|busy|no-reply|away|all|if [NUMBER | on | off | erase]   or asked; if: all but always",
    "  bar FACILITY [PASSWORD on|off]   AO, OI, AI and others; or asked",
    "  bar password OLD NEW",
    "  waiting [on|off]            or asked",
    "  clir [default|invoke|suppress]   whether the own number is hidden; or asked",
    "  dtmf DIGITS                 one tone after the other",
    "  cged [PAGE]                 an engineering report of the cell and the phone, or a page of the counters",
};
