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
