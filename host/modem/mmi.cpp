#include "host/modem/mmi.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr size_t c_code_min = 2;
constexpr size_t c_code_max = 3;
constexpr size_t c_items_max = 4;  // of a password's change; other services have three

constexpr struct {
    const char* prefix;  // the longer ones first
    MmiProcedure procedure;
} c_prefixes[] = {{"**", MmiProcedure::REGISTRATION},
                  {"##", MmiProcedure::ERASURE},
                  {"*#", MmiProcedure::INTERROGATION},
                  {"*", MmiProcedure::ACTIVATION},
                  {"#", MmiProcedure::DEACTIVATION}};

bool is_number(const std::string& text, bool may_have_plus) {
    const size_t from = may_have_plus && text.starts_with('+') ? 1 : 0;
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

std::optional<MmiString> parse_mmi(const std::string& text) {
    const auto* prefix = std::find_if(std::begin(c_prefixes), std::end(c_prefixes),
                                      [&](const auto& row) { return text.starts_with(row.prefix); });
    if (prefix == std::end(c_prefixes) || !text.ends_with('#')) {
        return std::nullopt;
    }
    MmiString mmi{prefix->procedure, "", {}};
    const size_t begin = std::string(prefix->prefix).size();
    if (begin + 1 > text.size()) {
        return std::nullopt;
    }
    const std::string body = text.substr(begin, text.size() - begin - 1);
    size_t at = body.find('*');
    mmi.code = body.substr(0, at);
    while (at != std::string::npos) {
        const size_t next = body.find('*', at + 1);
        mmi.items.push_back(body.substr(at + 1, next == std::string::npos ? next : next - at - 1));
        at = next;
    }
    const bool sound =
        is_number(mmi.code, false) && mmi.code.size() >= c_code_min && mmi.code.size() <= c_code_max &&
        mmi.items.size() <= c_items_max &&
        std::all_of(mmi.items.begin(), mmi.items.end(), [](const std::string& item) { return is_number(item, true); });
    return sound ? std::optional(mmi) : std::nullopt;
}
