#include "tests/transcript/notation.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>

namespace {

using Values = std::map<std::string, std::string>;

constexpr int c_deepest = 16;  // definitions in definitions
constexpr std::string_view c_blanks = " \t";

std::string trimmed(std::string_view text) {
    const size_t start = text.find_first_not_of(c_blanks);
    return start == text.npos ? "" : std::string(text.substr(start, text.find_last_not_of(c_blanks) + 1 - start));
}

// The first place at or behind `from`, outside quotes, where one of `characters` stands.
size_t find_outside(std::string_view text, std::string_view characters, size_t from = 0) {
    bool quoted = false;
    for (size_t i = from; i < text.size(); ++i) {
        if (quoted && text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            quoted = !quoted;
        } else if (!quoted && characters.find(text[i]) != characters.npos) {
            return i;
        }
    }
    return text.size();
}

std::vector<std::string> raw_words(std::string_view text) {
    std::vector<std::string> words = split(text, c_blanks);
    std::erase(words, "");
    return words;
}

bool is_assignment(const std::string& word) {
    return find_outside(word, "=") < word.size();
}

// Without its comment, and with a new line for each `//`.
std::string without_comment(const std::string& text) {
    std::string result;
    for (const std::string& word : raw_words(text)) {
        if (word[0] == '#') {
            break;
        }
        result += (result.empty() ? "" : " ") + (word == "//" ? "\n" : word);
    }
    return result;
}

// Puts the values in place of `$name` and `${name}`. What has no value stays, with its braces.
std::string with_values(const std::string& text, const Values& values) {
    static const std::regex s_name(R"(\$(?:\{(\w+)\}|(\w+)))");
    std::string result;
    auto rest = text.begin();
    for (std::sregex_iterator it(text.begin(), text.end(), s_name), end; it != end; ++it) {
        const std::string name = it->str(1) + it->str(2);
        const auto found = values.find(name);
        result.append(rest, (*it)[0].first);
        result += found != values.end() ? found->second : "${" + name + "}";
        rest = (*it)[0].second;
    }
    return result.append(rest, text.end());
}

class Reader {
public:
    void read_file(const std::string& path);
    void finish();
    std::vector<Case> cases;

private:
    struct Source {
        std::string file;
        int number;
        std::string text;
    };

    struct Table {
        std::vector<std::string> names;
        std::vector<std::vector<std::string>> rows;
    };

    void take(const Source& source);
    static Values row_values(const Table& table, const std::vector<std::string>& row);
    std::string expanded(const std::string& text, int depth) const;
    std::string definition(const std::string& body, const std::vector<std::string>& words, int depth) const;
    void put_lines(const Source& source, const Values& row, std::vector<Line>& lines) const;

    Values definitions_;
    std::vector<Source> common_;  // in front of the first case
    std::vector<Source> body_;
    std::string title_;
    std::map<std::string, Table> tables_;  // that of the case has no name
    Table* filled_ = &tables_[""];         // by the rows that come
};

void Reader::read_file(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        fail("cannot read " + path);
    }
    Source source{path, 0, ""};
    int number = 0;
    for (std::string text; std::getline(file, text);) {
        ++number;
        source.number = source.text.empty() ? number : source.number;
        source.text += (source.text.empty() ? "" : " ") + without_comment(text);
        if (source.text.ends_with('\\')) {
            source.text = trimmed(source.text.substr(0, source.text.size() - 1));
            continue;
        }
        if (!source.text.empty()) {
            try {
                take(source);
            } catch (const Failure& failure) {
                fail(path + ":" + std::to_string(source.number) + ": " + failure.reason);
            }
        }
        source.text.clear();
    }
}

void Reader::take(const Source& source) {
    std::string rest = source.text;
    const std::string word = take_word(rest);
    if (word == "include") {
        read_file((std::filesystem::path(source.file).parent_path() / rest).string());
    } else if (word == "define") {
        const std::string name = take_word(rest);
        definitions_[name] = with_values(rest, definitions_);
    } else if (word == "case") {
        finish();
        title_ = rest;
    } else if (word == "each" || word == "table") {
        filled_ = &tables_[word == "each" ? "" : take_word(rest)];
        filled_->names = raw_words(rest);
    } else if (word == "+") {
        // A value in quotes loses them; the last name's value is all that is left of the row.
        std::vector<std::string> row;
        while (row.size() + 1 < filled_->names.size()) {
            const std::string value = take_word(rest);
            row.push_back(value.starts_with('"') && value.ends_with('"') ? value.substr(1, value.size() - 2) : value);
        }
        row.push_back(rest);
        filled_->rows.push_back(std::move(row));
    } else {
        (title_.empty() ? common_ : body_).push_back(source);
    }
}

// Makes the cases of the lines since the last title, one for each row of its table.
void Reader::finish() {
    if (title_.empty()) {
        return;
    }
    Table& each = tables_[""];
    if (each.rows.empty()) {
        each.rows.push_back({});
    }
    for (const std::vector<std::string>& row : each.rows) {
        Case one{title_, {}};
        const Values values = row_values(each, row);
        for (const std::string& name : each.names) {
            one.title += (name == each.names[0] ? ": " : " ") + on_one_line(values.at(name));
        }
        for (const auto* sources : {&common_, &body_}) {
            for (const Source& source : *sources) {
                put_lines(source, values, one.lines);
            }
        }
        cases.push_back(std::move(one));
    }
    body_.clear();
    each = {};
}

Values Reader::row_values(const Table& table, const std::vector<std::string>& row) {
    Values values;
    for (size_t i = 0; i < table.names.size(); ++i) {
        values[table.names[i]] = i < row.size() ? row[i] : "";
    }
    return values;
}

void Reader::put_lines(const Source& source, const Values& row, std::vector<Line>& lines) const {
    std::string rest = source.text;
    if (take_word(rest) == "rows") {
        const std::string name = take_word(rest);
        if (!tables_.contains(name)) {
            fail(source.file + ":" + std::to_string(source.number) + ": no table " + name);
        }
        const Table& table = tables_.at(name);
        for (const std::vector<std::string>& one : table.rows) {
            put_lines({source.file, source.number, with_values(rest, row_values(table, one))}, row, lines);
        }
        return;
    }
    std::string text = with_values(with_values(source.text, row), definitions_);
    int times = 1;
    if (text.starts_with("repeat ")) {
        take_word(text);
        times = std::atoi(take_word(text).c_str());
    }
    try {
        const std::vector<std::string> parts = split(expanded(text, 0), "\n");
        for (size_t i = 0; i < parts.size() * static_cast<size_t>(times); ++i) {
            const std::vector<std::string> columns = split(parts[i % parts.size()], "|");
            Line line{source.file, source.number, {}};
            if (columns.size() > line.columns.size()) {
                fail("more than four columns");
            }
            std::copy(columns.begin(), columns.end(), line.columns.begin());
            lines.push_back(std::move(line));
        }
    } catch (const Failure& failure) {
        fail(source.file + ":" + std::to_string(source.number) + ": " + failure.reason);
    }
}

// Each piece between separators whose first word is defined becomes its definition.
std::string Reader::expanded(const std::string& text, int depth) const {  // NOLINT(misc-no-recursion): bounded
    if (depth > c_deepest) {
        fail("a definition that contains itself: " + text);
    }
    std::string result;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = find_outside(text, "|;\n", at);
        std::string piece = text.substr(at, end - at);
        std::vector<std::string> words = raw_words(piece);
        // A name in front stays.
        std::string prefix;
        if (!words.empty() && (words[0].ends_with(':') || words[0].starts_with('@'))) {
            prefix = words[0] + " ";
            words.erase(words.begin());
        } else if (words.size() > 1 && words[1] == "=") {
            prefix = words[0] + " = ";
            words.erase(words.begin(), words.begin() + 2);
        }
        const auto found = words.empty() ? definitions_.end() : definitions_.find(words[0]);
        if (found != definitions_.end()) {
            words.erase(words.begin());
            piece = " " + prefix + definition(found->second, words, depth) + " ";
        }
        result += piece + text.substr(end, 1);
        at = end + 1;
    }
    return result;
}

// $1 to $9 are the words without "=", $* is all words. Without a $*, assignments are put behind.
std::string Reader::definition(const std::string& body,  // NOLINT(misc-no-recursion)
                               const std::vector<std::string>& words, int depth) const {
    Values values;
    std::string all, assignments;
    int count = 0;
    for (int i = 1; i <= 9; ++i) {
        values[std::to_string(i)];
    }
    for (const std::string& word : words) {
        all += (all.empty() ? "" : " ") + word;
        if (is_assignment(word)) {
            assignments += " " + word;
        } else {
            values[std::to_string(++count)] = word;
        }
    }
    std::string text = with_values(with_values(body, values), definitions_);
    const size_t place = text.find("$*");
    text = place == text.npos ? text + assignments : text.replace(place, 2, all);
    return expanded(text, depth + 1);
}

}  // namespace

void fail(const std::string& reason) {
    throw Failure{reason};
}

std::vector<Case> read_transcript(const std::string& path) {
    Reader reader;
    reader.read_file(path);
    reader.finish();
    if (reader.cases.empty()) {
        fail(path + ": no case");
    }
    return std::move(reader.cases);
}

std::string unquoted(std::string_view text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            continue;
        }
        if (text[i] != '\\' || ++i == text.size()) {
            result += text[i < text.size() ? i : i - 1];
        } else if (text[i] == 'x') {
            result += static_cast<char>(std::strtoul(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
        } else {
            result += text[i] == 'n' ? '\n' : text[i] == 'r' ? '\r' : text[i];
        }
    }
    return result;
}

std::vector<Word> words_of(std::string_view text) {
    std::vector<Word> words;
    for (const std::string& word : raw_words(text)) {
        words.push_back({unquoted(word), word.find('"') != word.npos});
    }
    return words;
}

std::vector<std::string> texts_of(const std::vector<Word>& words, size_t from) {
    std::vector<std::string> texts;
    for (size_t i = from; i < words.size(); ++i) {
        texts.push_back(words[i].text);
    }
    return texts;
}

bool fits(const std::string& pattern, const std::string& text) {
    if (pattern.find('*') == pattern.npos) {
        return pattern == text;
    }
    std::string escaped;
    for (const char c : pattern) {
        escaped += (std::string_view("?[]\\").find(c) != std::string_view::npos ? "\\" : "") + std::string(1, c);
    }
    return fnmatch(escaped.c_str(), text.c_str(), 0) == 0;
}

std::string on_one_line(const std::string& text) {
    std::string line;
    for (const char c : text) {
        line += c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
    }
    return line;
}

std::string digits_of(const std::vector<Word>& words) {
    std::string digits;
    for (const Word& word : words) {
        const size_t star = word.text.find('*');
        for (size_t i = star == word.text.npos ? 1 : std::stoul(word.text.substr(star + 1)); i > 0; --i) {
            digits += word.text.substr(0, star);
        }
    }
    return digits;
}

std::vector<std::string> split(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = find_outside(text, separators, at);
        pieces.push_back(trimmed(text.substr(at, end - at)));
        at = end + 1;
    }
    return pieces;
}

std::string take_word(std::string& text) {
    text = trimmed(text);
    const size_t end = find_outside(text, c_blanks);
    const std::string word = text.substr(0, end);
    text = trimmed(std::string_view(text).substr(end));
    return word;
}
