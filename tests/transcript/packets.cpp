#include "tests/transcript/packets.h"

#include <algorithm>
#include <cstdio>
#include <regex>

#include "host/modem/packet_print.h"
#include "host/modem/packet_text.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

constexpr size_t c_context_at = 12;
constexpr size_t c_output_at = 22;  // in a return
constexpr const char* c_any = "...";
constexpr const char* c_context_place = "CTX";

uint32_t word_at(const Bytes& bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = at; i < at + sizeof(value) && i < bytes.size(); ++i) {
        value = value << 8U | bytes[i];
    }
    return value;
}

bool is_byte(const std::string& word) {
    return word.size() == 2 && word.find_first_not_of("0123456789ABCDEFabcdef") == word.npos;
}

const uta::Function& find_function(const std::string& name) {
    for (const char* prefix : {"", "UtaMs", "Uta"}) {
        if (const uta::Function* function = uta::find_function(prefix + name)) {
            return *function;
        }
    }
    fail("no function " + name);
}

bool answers_a_request(uta::Kind kind) {
    return kind == uta::Kind::RESPONSE || kind == uta::Kind::IGNORED_RESPONSE || kind == uta::Kind::DYNAMIC_RESPONSE;
}

// An item's assignments; one to nothing is left out. `any` is true when more may be assigned than is said.
std::vector<std::string> assignments_of(const std::vector<Word>& words, bool& any) {
    std::vector<std::string> assignments;
    for (size_t i = 1; i < words.size(); ++i) {
        if (words[i].text == c_any) {
            any = true;
        } else if (words[i].quoted || !words[i].text.ends_with('=')) {
            assignments.push_back(words[i].text);
        }
    }
    return assignments;
}

Bytes made_packet(const uta::Function& function, std::vector<std::string> assignments, uint32_t context,
                  uint32_t sim_id) {
    const bool says_sim = std::any_of(assignments.begin(), assignments.end(),
                                      [](const std::string& one) { return one.starts_with("sim_id="); });
    if (function.has_sim && !says_sim) {
        assignments.push_back("sim_id=" + std::to_string(sim_id));
    }
    std::string error;
    Bytes packet = make_packet(function, context, assignments, error);
    if (!error.empty()) {
        fail(error);
    }
    return packet;
}

// `.` for a digit that does not matter.
std::string digits_of(const std::vector<Word>& words, uint32_t context) {
    char text[9];
    snprintf(text, sizeof(text), "%08X", context);
    return std::regex_replace(digits_of(words), std::regex(c_context_place), text);
}

bool is_output(const uta::Function& function, const std::string& path) {
    const auto parameters = uta::parameters_of(function);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].output && path.substr(0, path.find('.')) == uta::parameter_name(function, i)) {
            return true;
        }
    }
    return false;
}

bool is_told(const PrintedField& field) {
    return field.type != uta::type_name(uta::Type::callback) && field.type != uta::type_name(uta::Type::context_id);
}

bool is_named(const std::string& path, const std::string& assignment) {
    const std::string end = assignment.substr(0, assignment.find('='));
    return path == end || path.ends_with("." + end) || path.starts_with(end + "[");
}

// The value as an assignment has it; empty for what an assignment would leave out.
std::string value_of(const PrintedField& field) {
    std::string value = field.value;
    if (value.starts_with('[')) {
        value = value.substr(value.find(']') + 1);
    } else if (!value.starts_with('"')) {
        value = value.substr(0, value.find(':'));
    }
    return value.find_first_not_of("0,\"") == value.npos && value != "null" ? "" : value;
}

}  // namespace

uint32_t id_of(const Bytes& packet) {
    return word_at(packet, 8);
}

uint32_t context_of(const Bytes& packet) {
    return word_at(packet, c_context_at);
}

uint32_t find_function_id(const std::string& name) {
    return find_function(name).id;
}

Bytes packet_of(const std::vector<Word>& words, uint32_t context, uint32_t client, uint32_t sim_id) {
    if (is_byte(words.at(0).text)) {
        const auto bytes = from_hex(digits_of(words, context));
        if (!bytes) {
            fail("no bytes");
        }
        return *bytes;
    }
    bool any = false;
    const uta::Function& function = find_function(words[0].text);
    return made_packet(function, assignments_of(words, any), answers_a_request(function.kind) ? context : client,
                       sim_id);
}

bool is_packet(const std::string& item, const Bytes& packet, uint32_t sim_id) {
    const std::vector<Word> words = words_of(item);
    if (is_byte(words.at(0).text)) {
        const std::string wanted = digits_of(words, context_of(packet));
        const std::string seen = to_hex(packet);
        return std::equal(wanted.begin(), wanted.end(), seen.begin(), seen.end(),
                          [](char want, char digit) { return want == '.' || want == digit; });
    }
    bool any = false;
    const uta::Function& function = find_function(words[0].text);
    const std::vector<std::string> assignments = assignments_of(words, any);
    if (function.id != id_of(packet) || (any && assignments.empty())) {
        return function.id == id_of(packet);
    }
    const PrintedPacket wanted = read_packet(made_packet(function, assignments, context_of(packet), sim_id));
    const PrintedPacket seen = read_packet(packet);
    const auto find = [&seen](const std::string& path) {
        return std::find_if(seen.fields.begin(), seen.fields.end(),
                            [&path](const PrintedField& field) { return field.path == path; });
    };
    bool same = seen.malformed.empty() && (any || wanted.fields.size() == seen.fields.size());
    for (const PrintedField& field : wanted.fields) {
        const bool named = (!any && !is_output(function, field.path)) ||
                           std::any_of(assignments.begin(), assignments.end(),
                                       [&field](const auto& one) { return is_named(field.path, one); });
        if (named && is_told(field)) {
            const auto found = find(field.path);
            same = same && found != seen.fields.end() && found->value == field.value;
        }
    }
    return same;
}

std::string packet_text(const Bytes& packet, uint32_t sim_id) {
    const PrintedPacket seen = read_packet(packet);
    std::string text = seen.function.starts_with("UtaMs") ? seen.function.substr(5) : seen.function;
    for (const PrintedField& field : seen.fields) {
        const std::string value =
            field.path == "sim_id" && field.value == std::to_string(sim_id) ? "" : value_of(field);
        if (is_told(field) && !value.empty()) {
            const size_t dot = field.path.find('.');
            text += " " + field.path.substr(dot == field.path.npos ? 0 : dot + 1) + "=" + value;
        }
    }
    if (!seen.malformed.empty()) {
        text += " !! " + seen.malformed;
    }
    return text;
}

Bytes output_of(const std::string& function, const std::vector<std::string>& assignments) {
    if (assignments.empty()) {
        return {};
    }
    std::string error;
    const Bytes packet = make_return(find_function(function), 0, 0, assignments, error);
    if (!error.empty()) {
        fail(error);
    }
    return {packet.begin() + c_output_at, packet.end()};
}
