// Names of the values of the enumerations whose meaning is known.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// `owner` is the function of a parameter or the record of a field. Empty when the value has no name.
std::string_view value_name(std::string_view owner, std::string_view field, int64_t value);
std::optional<int64_t> value_of_name(std::string_view owner, std::string_view field, std::string_view name);

// E_MODEM_UP and so on; empty for any other code.
std::string_view event_name(uint32_t code);
std::optional<uint32_t> event_of_name(std::string_view name);
