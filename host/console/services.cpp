#include "host/console/services.h"

#include <telephony/ril.h>

#include <algorithm>
#include <iterator>

namespace {

using Words = std::vector<std::string>;
using Requests = std::vector<MessageRequest>;

// The place of a word in its list, or nothing.
template <size_t n>
std::optional<std::string> place(const char* const (&list)[n], const std::string& word) {
    const auto* const found = std::find(std::begin(list), std::end(list), word);
    return found != std::end(list) ? std::optional(std::to_string(found - std::begin(list))) : std::nullopt;
}

Requests forward(const Words& words) {
    constexpr const char* c_reasons[] = {"always", "busy", "no-reply", "away", "all", "if"};
    constexpr const char* c_modes[] = {"off", "on", "asked", "register", "erase"};  // as Android numbers them
    const auto reason = words.empty() ? std::nullopt : place(c_reasons, words[0]);
    if (!reason || words.size() > 2) {
        return {};
    }
    const bool asks = words.size() == 1;
    const auto named = asks ? std::optional<std::string>("2") : place(c_modes, words[1]);
    const std::string number = named ? "null" : words[1];
    const std::string toa = number.starts_with('+') ? "145" : "129";
    return {{asks ? RIL_REQUEST_QUERY_CALL_FORWARD_STATUS : RIL_REQUEST_SET_CALL_FORWARD,
             "items",
             {"i:" + named.value_or("3"), "i:" + *reason, "i:1", "i:" + toa, "s:" + number, "i:20"}}};
}

Requests bar(const Words& words) {
    if (words.size() == 1) {
        return {{RIL_REQUEST_QUERY_FACILITY_LOCK, "strings", {words[0], "", "7"}}};
    }
    if (words.size() == 3 && words[0] == "password") {
        return {{RIL_REQUEST_CHANGE_BARRING_PASSWORD, "strings", {"AB", words[1], words[2]}}};
    }
    if (words.size() != 3 || (words[2] != "on" && words[2] != "off")) {
        return {};
    }
    return {{RIL_REQUEST_SET_FACILITY_LOCK, "strings", {words[0], words[2] == "on" ? "1" : "0", words[1], "1"}}};
}

Requests waiting(const Words& words) {
    constexpr const char* c_modes[] = {"off", "on"};
    if (words.empty()) {
        return {{RIL_REQUEST_QUERY_CALL_WAITING, "ints", {"0"}}};
    }
    const auto mode = place(c_modes, words[0]);
    return mode && words.size() == 1 ? Requests{{RIL_REQUEST_SET_CALL_WAITING, "ints", {*mode, "1"}}} : Requests{};
}

Requests clir(const Words& words) {
    constexpr const char* c_settings[] = {"default", "invoke", "suppress"};
    if (words.empty()) {
        return {{RIL_REQUEST_GET_CLIR, "void", {}}};
    }
    const auto setting = place(c_settings, words[0]);
    return setting && words.size() == 1 ? Requests{{RIL_REQUEST_SET_CLIR, "ints", {*setting}}} : Requests{};
}

Requests dtmf(const Words& words) {
    Requests requests;
    for (const char digit : words.size() == 1 ? words[0] : "") {
        requests.push_back({RIL_REQUEST_DTMF, "string", {std::string(1, digit)}});
    }
    return requests;
}

Requests cged(const Words& words) {
    constexpr const char* c_report = "166";
    constexpr const char* c_page = "167";
    const bool is_page = words.size() == 1;
    if (words.size() > 1) {
        return {};
    }
    return {{RIL_REQUEST_OEM_HOOK_STRINGS, "strings", is_page ? Words{c_page, "0", words[0]} : Words{c_report, "0"}}};
}

}  // namespace

std::optional<Requests> service_requests(const Words& line) {
    constexpr struct {
        const char* word;
        Requests (*requests)(const Words& words);
    } c_words[] = {{"forward", forward}, {"bar", bar},   {"waiting", waiting},
                   {"clir", clir},       {"dtmf", dtmf}, {"cged", cged}};
    for (const auto& row : c_words) {
        if (line.front() == row.word) {
            return row.requests(Words(line.begin() + 1, line.end()));
        }
    }
    return std::nullopt;
}
