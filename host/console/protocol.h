// What the console knows of the protocol: how answers are laid out, what values are called, which words stand for which
// requests.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Of a number without data, or one that isn't known: empty.
std::string_view response_layout(int request);
std::string_view unsol_layout(int number);

// The name of a value in a table that a layout names; empty for one that has none.
std::string_view value_name(std::string_view table, int32_t value);

// Names without prefix; for a number without a name, the number. An unsolicited response's name is without RESPONSE_.
std::string request_name(int number);
std::string unsol_name(int number);
std::string error_name(int number);

// By a name, with or without RESPONSE_, or by a number.
std::optional<int> find_request(std::string_view word);
std::optional<int> find_unsol(std::string_view word);
std::optional<int> find_error(std::string_view word);  // "ok" is SUCCESS

// A command that is one request.
struct Shortcut {
    std::string_view word;
    int request;
    std::string_view form;  // of arguments_of, for the words behind
    std::string_view help;  // what these are
};
std::span<const Shortcut> shortcuts();
