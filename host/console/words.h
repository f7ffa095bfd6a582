// Lines of a script and the words in them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Words between blanks; "..." keeps blanks in a word, and makes an empty one. What follows a # that begins a word is a
// comment. Nothing when a quote has no end.
std::optional<std::vector<std::string>> words_of(std::string_view line);

// The line without the words in front and without blanks around it.
std::string behind(std::string_view line, size_t words);

// Seconds, as "10" or "0.5".
std::optional<double> seconds_of(const std::string& word);

// Whether a value is one of a|b|c, each of them a pattern with * and ?. Without any, every value is right.
bool matches(const std::vector<std::string>& words, const std::string& value);
