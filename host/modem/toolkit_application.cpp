#include "host/modem/toolkit_application.h"

#include <algorithm>
#include <sstream>

#include "host/modem/commands.h"
#include "host/modem/scenario.h"
#include "host/sms/message.h"

namespace toolkit {

namespace {

// ETSI TS 102 223, 9.3, with the comprehension flag.
enum Tag : uint8_t {
    COMMAND_DETAILS = 0x81,
    DEVICE_IDENTITIES = 0x82,
    RESULT = 0x83,
    ALPHA_IDENTIFIER = 0x85,
    ADDRESS = 0x86,
    SMS_TPDU = 0x8B,
    TEXT_STRING = 0x8D,
    ITEM = 0x8F,
    ITEM_IDENTIFIER = 0x90,
    RESPONSE_LENGTH = 0x91,
    TIMER_IDENTIFIER = 0xA4,
    TIMER_VALUE = 0xA5,
};
constexpr uint8_t c_no_comprehension = 0x7F;
constexpr uint8_t c_proactive_command = 0xD0;
constexpr uint8_t c_menu_selection = 0xD3;
constexpr uint8_t c_eight_bit_text = 0x04;

void add_length(Octets& out, size_t length) {
    if (length >= 0x80) {
        out.push_back(0x81);
    }
    out.push_back(static_cast<uint8_t>(length));
}

void add(Octets& out, uint8_t tag, const Octets& value) {
    out.push_back(tag);
    add_length(out, value.size());
    out.insert(out.end(), value.begin(), value.end());
}

Octets text_octets(const std::string& text, std::initializer_list<uint8_t> front) {
    Octets octets(front);
    octets.insert(octets.end(), text.begin(), text.end());
    return octets;
}

// Type of number, then digits, two to the octet (3GPP TS 51.011, 10.5.1).
Octets address_octets(const std::string& number) {
    const bool is_international = number.starts_with('+');
    Octets octets = {static_cast<uint8_t>(is_international ? 0x91 : 0x81)};
    const std::string digits = number.substr(is_international ? 1 : 0);
    for (size_t i = 0; i < digits.size(); i += 2) {
        const int high = i + 1 < digits.size() ? digits[i + 1] - '0' : 0xF;
        octets.push_back(static_cast<uint8_t>(high << 4 | (digits[i] - '0')));
    }
    return octets;
}

// Swapped digits (3GPP TS 23.040, 9.2.3.11).
uint8_t swapped(int32_t value) {
    return static_cast<uint8_t>(value % 10 << 4 | value / 10 % 10);
}

bool to_network(Type type) {
    return type == SET_UP_CALL || type == SEND_SHORT_MESSAGE;
}

void add_body(Octets& out, const Application& application, const CardCommand& command) {
    switch (command.type) {
        case SET_UP_MENU:
            add(out, ALPHA_IDENTIFIER, text_octets(application.title, {}));
            for (size_t i = 0; i < application.items.size(); ++i) {
                add(out, ITEM, text_octets(application.items[i].title, {static_cast<uint8_t>(i + 1)}));
            }
            break;
        case DISPLAY_TEXT:
            add(out, TEXT_STRING, text_octets(command.text, {c_eight_bit_text}));
            break;
        case GET_INPUT:
            add(out, TEXT_STRING, text_octets(command.text, {c_eight_bit_text}));
            add(out, RESPONSE_LENGTH, {1, 0xFF});
            break;
        case SET_UP_CALL:
            add(out, ALPHA_IDENTIFIER, text_octets(command.text, {}));
            add(out, ADDRESS, address_octets(command.number));
            break;
        case SEND_SHORT_MESSAGE: {
            sms::Message message;
            message.kind = sms::Kind::SUBMIT;
            message.number = command.number;
            message.data = sms::user_data_of(command.text, 0).front();
            const Octets octets = sms::write(message);
            add(out, SMS_TPDU, {octets.begin() + 1 + octets[0], octets.end()});
            break;
        }
        case TIMER_MANAGEMENT:
            add(out, TIMER_IDENTIFIER, {1});
            add(out, TIMER_VALUE, {0, swapped(command.seconds / 60), swapped(command.seconds % 60)});
            break;
        case REFRESH:
        case LOCAL_INFORMATION:
            break;
    }
}

// The value behind a tag, with or without comprehension, among simple TLVs; empty for none.
std::span<const uint8_t> find_value(std::span<const uint8_t> octets, uint8_t tag) {
    while (octets.size() >= 2) {
        const size_t head = octets[1] == 0x81 ? 3 : 2;
        if (octets.size() < head || octets.size() - head < octets[head - 1]) {
            break;
        }
        const auto value = octets.subspan(head, octets[head - 1]);
        if ((octets[0] & c_no_comprehension) == (tag & c_no_comprehension)) {
            return value;
        }
        octets = octets.subspan(head + value.size());
    }
    return {};
}

// Empty for a line that is none.
std::optional<CardCommand> read_command(const std::vector<std::string>& words) {
    CardCommand command;
    const std::string& name = words[0];
    const size_t arguments = words.size() - 1;
    const int32_t number = arguments == 1 ? parse_integer(words[1]).value_or(-1) : -1;  // none of them is below 0
    if ((name == "text" || name == "input") && arguments == 1) {
        command.type = name == "text" ? DISPLAY_TEXT : GET_INPUT;
        command.qualifier = name == "text" ? 0x80 : 0x01;  // the user clears it; letters
        command.text = words[1];
    } else if ((name == "call" || name == "message") && arguments == 2) {
        const std::string digits = words[1].substr(words[1].starts_with('+') ? 1 : 0);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos || digits.size() > 20) {
            return std::nullopt;
        }
        command.type = name == "call" ? SET_UP_CALL : SEND_SHORT_MESSAGE;
        command.number = words[1];
        command.text = words[2];
    } else if (name == "timer" && number > 0 && number < 3600) {
        command.type = TIMER_MANAGEMENT;
        command.seconds = number;
    } else if ((name == "local" || name == "refresh") && number >= 0 && number <= UINT8_MAX) {
        command.type = name == "local" ? LOCAL_INFORMATION : REFRESH;
        command.qualifier = static_cast<uint8_t>(number);
    } else {
        return std::nullopt;
    }
    constexpr size_t c_longest_text = 120;
    return command.text.size() <= c_longest_text ? std::optional(command) : std::nullopt;
}

}  // namespace

std::optional<Application> read_application(const std::string& text, std::string& error) {
    constexpr size_t c_longest_menu = 240;  // octets
    Application application;
    bool is_download = false;  // what the next command belongs to, else to the last item
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const auto words = split_words(line.substr(0, line.find('#')));
        if (words && words->empty()) {
            continue;
        }
        if (words && words->size() == 2 && words->front() == "title") {
            application.title = words->back();
            continue;
        }
        if (words && words->size() == 2 && words->front() == "item") {
            application.items.push_back({words->back(), {}});
            is_download = false;
            continue;
        }
        if (words && words->size() == 1 && words->front() == "download") {
            is_download = true;
            continue;
        }
        const bool has_place = is_download || !application.items.empty();
        const auto command = words && has_place ? read_command(*words) : std::nullopt;
        if (!command) {
            error = std::to_string(number) + ": not understood: " + line;
            return std::nullopt;
        }
        (is_download ? application.download : application.items.back().commands).push_back(*command);
    }
    if (application.items.empty() || command_octets(application, {}, 1).size() > c_longest_menu) {
        error = "0: a menu has an item at least, and no more than fit into a command";
        return std::nullopt;
    }
    return application;
}

std::string name_of(uint8_t type) {
    switch (type) {
        case REFRESH:
            return "REFRESH";
        case SET_UP_CALL:
            return "SET UP CALL";
        case SEND_SHORT_MESSAGE:
            return "SEND SHORT MESSAGE";
        case DISPLAY_TEXT:
            return "DISPLAY TEXT";
        case GET_INPUT:
            return "GET INPUT";
        case SET_UP_MENU:
            return "SET UP MENU";
        case LOCAL_INFORMATION:
            return "PROVIDE LOCAL INFORMATION";
        case TIMER_MANAGEMENT:
            return "TIMER MANAGEMENT";
        default:
            return "command " + std::to_string(type);
    }
}

Octets command_octets(const Application& application, const CardCommand& command, uint8_t number) {
    constexpr uint8_t c_card = 0x81;
    constexpr uint8_t c_terminal = 0x82;
    constexpr uint8_t c_network = 0x83;
    constexpr uint8_t c_display = 0x02;
    uint8_t receiver = to_network(command.type) ? c_network : c_terminal;
    if (command.type == DISPLAY_TEXT) {
        receiver = c_display;
    }
    Octets body;
    add(body, COMMAND_DETAILS, {number, command.type, command.qualifier});
    add(body, DEVICE_IDENTITIES, {c_card, receiver});
    add_body(body, application, command);
    Octets octets;
    add(octets, c_proactive_command, body);
    return octets;
}

std::optional<Response> read_response(std::span<const uint8_t> octets) {
    const auto details = find_value(octets, COMMAND_DETAILS);
    const auto result = find_value(octets, RESULT);
    if (details.size() != 3 || result.empty()) {
        return std::nullopt;
    }
    Response response{details[0], details[1], result[0], ""};
    const auto text = find_value(octets, TEXT_STRING);
    if (!text.empty()) {
        response.text.assign(text.begin() + 1, text.end());
    }
    return response;
}

std::optional<uint8_t> selected_item(std::span<const uint8_t> envelope) {
    const auto selection = find_value(envelope, c_menu_selection);
    if (envelope.empty() || envelope[0] != c_menu_selection) {
        return std::nullopt;
    }
    const auto item = find_value(selection, ITEM_IDENTIFIER);
    return item.size() == 1 ? std::optional(item[0]) : std::nullopt;
}

}  // namespace toolkit
