// Reads transcripts (docs/transcripts.md): included files, definitions and tables are put in place, lines are cut into
// columns.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

// Something in a transcript cannot be read, or did not happen as it says.
struct Failure {
    std::string reason;
};
[[noreturn]] void fail(const std::string& reason);

struct Line {
    std::string file;
    int number;
    std::array<std::string, 4> columns;  // what is done, packets, the modem's answers, what Android gets
};

struct Case {
    std::string title;
    std::vector<Line> lines;
};

// The cases of a file, each with the lines in front of the first one.
std::vector<Case> read_transcript(const std::string& path);

struct Word {
    std::string text;  // without quotes
    bool quoted;       // has quotes
};
std::vector<Word> words_of(std::string_view text);
std::string unquoted(std::string_view text);  // of one word

// The digits of bytes in hexadecimal, three of them for `00*3`.
std::string digits_of(const std::vector<Word>& words);

std::vector<std::string> texts_of(const std::vector<Word>& words, size_t from);

// `*` in the pattern fits anything.
bool fits(const std::string& pattern, const std::string& text);
std::string on_one_line(const std::string& text);

// At each of the separators that stands outside quotes, without blanks around the pieces.
std::vector<std::string> split(std::string_view text, std::string_view separators);
// The first word, taken off the text with the blanks around it.
std::string take_word(std::string& text);
