// An application of the card's toolkit (ETSI TS 102 223), as a text describes it (docs/card.md): a menu, for each of
// its items the commands that follow when the user selects it, and those that follow a message for the card. And how a
// command, a response and an envelope are coded.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace toolkit {

using Octets = std::vector<uint8_t>;

// ETSI TS 102 223, 9.4.
enum Type : uint8_t {
    REFRESH = 0x01,
    SET_UP_CALL = 0x10,
    SEND_SHORT_MESSAGE = 0x13,
    DISPLAY_TEXT = 0x21,
    GET_INPUT = 0x23,
    SET_UP_MENU = 0x25,
    LOCAL_INFORMATION = 0x26,
    TIMER_MANAGEMENT = 0x27,
};

struct CardCommand {
    Type type = SET_UP_MENU;
    uint8_t qualifier = 0;
    std::string number;  // to be called or written to
    std::string text;    // shown, asked, or of the message
    int32_t seconds = 0;
};

struct Item {
    std::string title;
    std::vector<CardCommand> commands;
};

struct Application {
    std::string title;
    std::vector<Item> items;
    std::vector<CardCommand> download;
};

// The error begins with the number of the line.
std::optional<Application> read_application(const std::string& text, std::string& error);
std::string built_in_application();

std::string name_of(uint8_t type);
Octets command_octets(const Application& application, const CardCommand& command, uint8_t number);

struct Response {
    uint8_t number = 0;
    uint8_t type = 0;
    uint8_t result = 0;  // ETSI TS 102 223, 8.12
    std::string text;    // that the user wrote
};
std::optional<Response> read_response(std::span<const uint8_t> octets);

// The item of a menu selection (7.2), from 1; nothing for another envelope.
std::optional<uint8_t> selected_item(std::span<const uint8_t> envelope);

}  // namespace toolkit
