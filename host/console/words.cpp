#include "host/console/words.h"

#include <fnmatch.h>

#include <cmath>
#include <cstdlib>

namespace {

constexpr std::string_view c_blanks = " \t\r";

}  // namespace

std::optional<std::vector<std::string>> words_of(std::string_view line) {
    std::vector<std::string> words;
    size_t at = line.find_first_not_of(c_blanks);
    while (at != std::string_view::npos && line[at] != '#') {
        std::string word;
        bool quoted = false;
        for (; at < line.size() && (quoted || c_blanks.find(line[at]) == std::string_view::npos); ++at) {
            if (line[at] == '"') {
                quoted = !quoted;
            } else {
                word += line[at];
            }
        }
        if (quoted) {
            return {};
        }
        words.push_back(word);
        at = line.find_first_not_of(c_blanks, at);
    }
    return words;
}

std::string behind(std::string_view line, size_t words) {
    size_t at = line.find_first_not_of(c_blanks);
    for (; words > 0 && at != std::string_view::npos; --words) {
        at = line.find_first_not_of(c_blanks, line.find_first_of(c_blanks, at));
    }
    if (at == std::string_view::npos) {
        return "";
    }
    return std::string(line.substr(at, line.find_last_not_of(c_blanks) + 1 - at));
}

std::optional<double> seconds_of(const std::string& word) {
    char* end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    const bool good = !word.empty() && *end == '\0' && std::isfinite(value) && value >= 0;
    return good ? std::optional(value) : std::nullopt;
}

bool matches(const std::vector<std::string>& words, const std::string& value) {
    std::string patterns;
    for (const std::string& word : words) {
        patterns += patterns.empty() ? word : " " + word;
    }
    for (size_t start = 0; start <= patterns.size() && !patterns.empty();) {
        const size_t end = std::min(patterns.find('|', start), patterns.size());
        if (fnmatch(patterns.substr(start, end - start).c_str(), value.c_str(), FNM_NOESCAPE) == 0) {
            return true;
        }
        start = end + 1;
    }
    return patterns.empty();
}
