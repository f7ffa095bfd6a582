// The card's toolkit for people (ETSI TS 102 223): its commands in words, and what answers them.
#pragma once

#include <optional>
#include <string>

#include "host/console/messages.h"

constexpr const char* c_toolkit_help =
    "start | menu | select ITEM | ok | answer TEXT | back | call yes|no\n"
    "      the toolkit of the card: Android serves it from now on, its menu, an item of it; the last command is done,\n"
    "      answered with a text, given up; a call of the card's is set up or rejected";

// " DISPLAY TEXT \"Hello\"" for the hexadecimal digits of a command, or nothing.
std::string toolkit_text(const std::string& hex);

// The terminal response to a command: its general result, and the text that the user wrote.
std::optional<std::string> toolkit_response(const std::string& command, int result,
                                            const std::optional<std::string>& text);
