// What people want of the network, by its words.
#include <telephony/ril.h>

#include <algorithm>
#include <array>

#include "host/console/console.h"

namespace {

struct Preference {
    std::string_view word;
    const char* network_type;
};

constexpr std::array<Preference, 6> c_preferences = {{
    {"gsm", "1"},
    {"umts", "2"},
    {"lte", "11"},
    {"gsm+umts", "0"},
    {"umts+lte", "12"},
    {"any", "9"},
}};

}  // namespace

Console::Outcome Console::prefer(const Words& words, const std::string&) {
    const auto* const found = std::find_if(c_preferences.begin(), c_preferences.end(), [&](const Preference& row) {
        return words.size() == 1 && row.word == words[0];
    });
    if (found == c_preferences.end()) {
        return "wants gsm, umts, lte, gsm+umts, umts+lte or any";
    }
    return ask(RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, "ints", {found->network_type});
}

Console::Outcome Console::bands(const Words& words, const std::string&) {
    return words.empty() ? ask(RIL_REQUEST_QUERY_AVAILABLE_BAND_MODE, "void", {})
                         : ask(RIL_REQUEST_SET_BAND_MODE, "ints", words);
}

Console::Outcome Console::data(const Words& words, const std::string&) {
    const std::string what = words.empty() ? "" : words[0];
    if (what == "on" && words.size() >= 2 && words.size() != 4 && words.size() <= 5) {
        const bool authenticated = words.size() == 5;
        const std::string user = authenticated ? words[3] : "null";
        const std::string password = authenticated ? words[4] : "null";
        return ask(RIL_REQUEST_SETUP_DATA_CALL, "strings",
                   {"1", "0", words[1], user, password, authenticated ? "1" : "0", words.size() > 2 ? words[2] : "IP"});
    }
    if (what == "off" && words.size() == 2) {
        return ask(RIL_REQUEST_DEACTIVATE_DATA_CALL, "strings", {words[1], "0"});
    }
    if (words.size() <= 1 && (what.empty() || what == "list" || what == "why")) {
        return ask(what.empty()     ? RIL_REQUEST_DATA_REGISTRATION_STATE
                   : what == "list" ? RIL_REQUEST_DATA_CALL_LIST
                                    : RIL_REQUEST_LAST_DATA_CALL_FAIL_CAUSE,
                   "void", {});
    }
    return "wants nothing, on and an access point, off and a number, list or why";
}
