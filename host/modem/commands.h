// The commands that concern the modem as a whole. The services have their own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/modem/services.h"

std::vector<Command> modem_commands();

// A function by its name or number.
std::optional<uint16_t> parse_function(const std::string& text);
std::optional<int32_t> parse_integer(const std::string& text);
