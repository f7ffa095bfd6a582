#include "host/modem/commands.h"

#include <charconv>

#include "host/modem/modem.h"
#include "host/modem/packet_text.h"
#include "host/modem/value_names.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

using Arguments = std::vector<std::string>;

constexpr int32_t c_longest_delay_ms = 3600 * 1000;

std::string power(Modem& modem, const Arguments& arguments) {
    struct Word {
        const char* word;
        void (Modem::*function)();
    };
    constexpr Word c_words[] = {{"up", &Modem::up},       {"down", &Modem::down},          {"crash", &Modem::crash},
                                {"reset", &Modem::reset}, {"shutdown", &Modem::shut_down}, {"hang", &Modem::hang}};
    for (const Word& word : c_words) {
        if (arguments.size() == 1 && arguments[0] == word.word) {
            (modem.*word.function)();
            return "";
        }
    }
    return "wants up, down, crash, reset, shutdown or hang";
}

std::string event(Modem& modem, const Arguments& arguments) {
    if (arguments.size() != 1) {
        return "wants an event";
    }
    if (const auto code = event_of_name(arguments[0])) {
        modem.event(*code);
        return "";
    }
    const auto bytes = from_hex(arguments[0]);
    if (!bytes || bytes->size() != sizeof(uint32_t)) {
        return "no such event: " + arguments[0];
    }
    uint32_t code = 0;
    for (const uint8_t byte : *bytes) {
        code = code << 8 | byte;
    }
    modem.event(code);
    return "";
}

// FUNCTION, or * where every function can be meant, then the fault's value, then `once`.
std::string fault(Modem& modem, const Arguments& arguments, Fault kind) {
    const bool once = arguments.size() > 1 && arguments.back() == "once";
    const size_t words = arguments.size() - (once ? 1 : 0);
    const size_t most = kind == Fault::DROP ? 1 : 2;
    const size_t least = kind == Fault::LATE ? 2 : 1;
    if (words < least || words > most) {
        return "wants a function" + std::string(kind == Fault::LATE ? " and milliseconds" : "");
    }
    const auto function = arguments[0] == "*" ? std::optional(Faults::c_every) : parse_function(arguments[0]);
    if (!function) {
        return "no such function: " + arguments[0];
    }
    const auto value = words == 2 ? parse_integer(arguments[1]) : std::optional(c_refused);
    if (!value || (kind == Fault::LATE && (*value < 0 || *value > c_longest_delay_ms))) {
        return "bad number: " + arguments[1];
    }
    if (kind == Fault::REFUSE && *value == c_success) {
        return "0 is no refusal";
    }
    modem.faults.set(*function, kind, *value, once);
    return "";
}

std::string normal(Modem& modem, const Arguments& arguments) {
    if (arguments.size() != 1) {
        return "wants a function or *";
    }
    const auto function = arguments[0] == "*" ? std::optional(Faults::c_every) : parse_function(arguments[0]);
    if (!function) {
        return "no such function: " + arguments[0];
    }
    modem.faults.clear(*function);
    return "";
}

std::string version(Modem& modem, const Arguments& arguments) {
    const auto value = arguments.size() == 1 ? parse_integer(arguments[0]) : std::nullopt;
    if (!value) {
        return "wants a number";
    }
    modem.settings.version = *value;
    return "";
}

std::string milliseconds(const Arguments& arguments, Loop::Milliseconds& setting) {
    const auto value = arguments.size() == 1 ? parse_integer(arguments[0]) : std::nullopt;
    if (!value || *value < 0 || *value > c_longest_delay_ms) {
        return "wants milliseconds";
    }
    setting = Loop::Milliseconds(*value);
    return "";
}

std::string seed(Modem& modem, const Arguments& arguments) {
    const auto value = arguments.size() == 1 ? parse_integer(arguments[0]) : std::nullopt;
    if (!value || *value < 0) {
        return "wants a number, 0 or more";
    }
    modem.set_seed(static_cast<uint32_t>(*value));
    return "";
}

std::string silent(Modem& modem, const Arguments& arguments) {
    if (arguments.size() != 1 || (arguments[0] != "responses" && arguments[0] != "off")) {
        return "wants responses or off";
    }
    modem.settings.silent = arguments[0] == "responses";
    return "";
}

// The clients that a word means: an application id, or * for all.
std::optional<std::vector<ClientId>> find_clients(const Modem& modem, const std::string& text) {
    std::vector<ClientId> found;
    const auto id = parse_integer(text);
    for (const ClientState& client : modem.clients()) {
        if (text == "*" || (id && app_id_of(client.id) == *id)) {
            found.push_back(client.id);
        }
    }
    return text != "*" && found.empty() ? std::nullopt : std::optional(found);
}

std::string send(Modem& modem, const Arguments& arguments) {
    if (arguments.size() < 2) {
        return "wants a client and a function";
    }
    const auto clients = find_clients(modem, arguments[0]);
    const auto id = parse_function(arguments[1]);
    const uta::Function* function = id ? uta::find_function(uint32_t{*id}) : nullptr;
    if (!clients) {
        return "no such client: " + arguments[0];
    }
    if (function == nullptr) {
        return "no such function: " + arguments[1];
    }
    const Arguments assignments(arguments.begin() + 2, arguments.end());
    std::string error;
    // Once more for nobody, so that a mistake shows when there are no clients.
    make_packet(*function, 0, assignments, error);
    for (size_t i = 0; i < clients->size() && error.empty(); ++i) {
        const ClientId client = (*clients)[i];
        const uint32_t context = function->has_context ? modem.last_context(client) : Modem::base_context(client);
        modem.inject(client, make_packet(*function, context, assignments, error));
    }
    return error;
}

std::string raw(Modem& modem, const Arguments& arguments) {
    if (arguments.size() < 2) {
        return "wants a client and bytes";
    }
    const auto clients = find_clients(modem, arguments[0]);
    if (!clients) {
        return "no such client: " + arguments[0];
    }
    std::string text;
    for (size_t i = 1; i < arguments.size(); ++i) {
        text += arguments[i];
    }
    const auto bytes = from_hex(text);
    if (!bytes || bytes->empty()) {
        return "wants hexadecimal bytes";
    }
    for (const ClientId client : *clients) {
        modem.inject(client, *bytes);
    }
    return "";
}

}  // namespace

std::optional<int32_t> parse_integer(const std::string& text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::optional<uint16_t> parse_function(const std::string& text) {
    const auto number = parse_integer(text);
    const uta::Function* function =
        number ? uta::find_function(static_cast<uint32_t>(*number)) : uta::find_function(text);
    return function != nullptr ? std::optional(function->id) : std::nullopt;
}

std::vector<Command> modem_commands() {
    return {
        {"modem", "up|down|crash|reset|shutdown|hang",
         "up: E_MODEM_UP. down: E_MODEM_DOWN, all is lost. crash: down, then up after the boot delay.\n"
         "reset: E_MODEM_RESET, then as a crash. shutdown: E_MODEM_SHUTDOWN, down, power off.\n"
         "hang: answers nothing, until up, down or crash",
         power},
        {"event", "E_MODEM_...|HEX", "an event of the modem manager that changes nothing here", event},
        {"refuse", "FUNCTION|* [VALUE] [once]", "calls return VALUE, -1 by default, and take no effect",
         [](Modem& modem, const Arguments& arguments) { return fault(modem, arguments, Fault::REFUSE); }},
        {"late", "FUNCTION|* MS [once]", "a call reaches the modem MS later, a response or indication the client",
         [](Modem& modem, const Arguments& arguments) { return fault(modem, arguments, Fault::LATE); }},
        {"drop", "FUNCTION|* [once]", "a call doesn't reach the modem, a response or indication not the client",
         [](Modem& modem, const Arguments& arguments) { return fault(modem, arguments, Fault::DROP); }},
        {"normal", "FUNCTION|*", "ends refuse, late and drop of a function, or of all", normal},
        {"silent", "responses|off", "requests are accepted and never answered", silent},
        {"version", "NUMBER", "the generator version that the modem says it has", version},
        {"latency", "MS", "from a request to its response",
         [](Modem& modem, const Arguments& arguments) { return milliseconds(arguments, modem.settings.latency); }},
        {"boot-delay", "MS", "from power to E_MODEM_UP",
         [](Modem& modem, const Arguments& arguments) { return milliseconds(arguments, modem.settings.boot_delay); }},
        {"seed", "NUMBER", "of the order in which responses and indications come; 0: responses first", seed},
        {"send", "CLIENT|* FUNCTION [FIELD=VALUE...]",
         "a packet from the modem. A FIELD is a path such as param.call.call_id, or the end of one; fields\n"
         "that are not named are 0. The context id is that of the client's last request",
         send},
        {"raw", "CLIENT|* HEX...", "these bytes, whatever they are", raw},
    };
}
