// Cards as texts that people write. docs/card.md tells the notation.
#include <algorithm>
#include <charconv>
#include <map>
#include <sstream>

#include "host/modem/card/card.h"

namespace card {

namespace {

using Words = std::vector<std::string>;

constexpr size_t c_largest_file = 0x7FFF;
constexpr size_t c_longest_record = 255;
constexpr uint8_t c_erased = 0xFF;

Words split(const std::string& line) {
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

template <typename Number>
bool parse(std::string_view text, int base, Number& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc() && end == text.data() + text.size();
}

bool parse_hex(std::string_view text, Bytes& bytes) {
    for (size_t i = 0; i < text.size(); i += 2) {
        uint8_t byte = 0;
        if (i + 2 > text.size() || !parse(text.substr(i, 2), 16, byte)) {
            return false;
        }
        bytes.push_back(byte);
    }
    return !text.empty();
}

bool parse_access(const std::string& text, Access& access) {
    constexpr const char* c_names[] = {"always", "pin1", "pin2", "adm", "never"};
    const auto at = std::find(std::begin(c_names), std::end(c_names), text);
    access = static_cast<Access>(at - std::begin(c_names));
    return at != std::end(c_names);
}

bool is_digits(const std::string& text, size_t least, size_t most) {
    return text.size() >= least && text.size() <= most && text.find_first_not_of("0123456789") == std::string::npos;
}

// The characters that ASCII and the GSM alphabet have at the same place.
bool is_gsm(char letter) {
    return letter >= ' ' && letter <= 'z' && std::string_view("$@[\\]^_`").find(letter) == std::string_view::npos;
}

class Reader {
public:
    std::optional<Card> read(const std::string& text, std::string& error) {
        std::istringstream stream(text);
        card_.files.emplace_back().id = c_master_file;
        std::string line;
        for (int number = 1; std::getline(stream, line); ++number) {
            while (line.ends_with('\\')) {
                line.pop_back();
                std::string more;
                std::getline(stream, more);
                line += more;
                ++number;
            }
            const std::string wrong = take(line);
            if (!wrong.empty()) {
                error = std::to_string(number) + ": " + wrong;
                return std::nullopt;
            }
        }
        reset(card_);
        return std::move(card_);
    }

private:
    std::string take(const std::string& line) {
        const size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            return "";
        }
        if (start != 0) {
            return take_content(line.substr(start));
        }
        const Words words = split(line);
        struct Row {
            const char* word;
            std::string (Reader::*take)(const Words& words);
        };
        constexpr Row c_rows[] = {
            {"card", &Reader::take_card},         {"pin1", &Reader::take_code},         {"pin2", &Reader::take_code},
            {"puk1", &Reader::take_unblock_code}, {"puk2", &Reader::take_unblock_code}, {"adm", &Reader::take_code},
            {"lock", &Reader::take_lock},         {"df", &Reader::take_directory},      {"ef", &Reader::take_file}};
        for (const Row& row : c_rows) {
            if (!words.empty() && words[0] == row.word) {
                return (this->*row.take)(words);
            }
        }
        return "what is " + line + "?";
    }

    std::string take_card(const Words& words) {
        if (words.size() != 2 || (words[1] != "2g" && words[1] != "3g")) {
            return "wants 2g or 3g";
        }
        card_.is_3g = words[1] == "3g";
        return "";
    }

    Secret& secret(const std::string& word) {
        return word == "adm" ? card_.adm : word.ends_with('1') ? card_.pin1 : card_.pin2;
    }

    std::string take_code(const Words& words) {
        const bool is_off = words.size() == 3 && words[0] == "pin1" && words[2] == "off";
        if ((words.size() != 2 && !is_off) || !is_digits(words[1], 4, 8)) {
            return "wants a code of 4 to 8 digits";
        }
        secret(words[0]).code = words[1];
        secret(words[0]).is_enabled = !is_off;
        return "";
    }

    std::string take_unblock_code(const Words& words) {
        if (words.size() != 2 || !is_digits(words[1], 8, 8)) {
            return "wants a code of 8 digits";
        }
        secret(words[0]).unblock_code = words[1];
        return "";
    }

    std::string take_lock(const Words& words) {
        const auto at = std::find(c_lock_names.begin(), c_lock_names.end(), words.size() > 1 ? words[1] : "");
        if (words.size() != 4 || at == c_lock_names.end() || (words[2] != "on" && words[2] != "off") ||
            !is_digits(words[3], 1, 16)) {
            return "wants PN, PU, PP, PC or PS, on or off, and a code of digits";
        }
        Lock& lock = card_.locks[static_cast<size_t>(at - c_lock_names.begin())];
        lock.is_active = words[2] == "on";
        lock.code = words[3];
        return "";
    }

    // The file at the end of a path below the master file. The directories on the way are made as they are named.
    std::string make_file(const std::string& path, size_t& file) {
        size_t at = 0;
        std::istringstream stream(path);
        for (std::string part; std::getline(stream, part, '/');) {
            uint16_t id = 0;
            if (part.size() != 4 || !parse(part, 16, id) || id == 0 || id == c_master_file) {
                return "no file id: " + part;
            }
            if (card_.files[at].kind != Kind::DIRECTORY) {
                return "no directory: " + path;
            }
            const auto found = std::find_if(card_.files.begin() + 1, card_.files.end(),
                                            [&](const File& other) { return other.id == id && other.parent == at; });
            if (found == card_.files.end()) {
                card_.files.emplace_back().id = id;
                card_.files.back().parent = at;
                at = card_.files.size() - 1;
            } else {
                at = static_cast<size_t>(found - card_.files.begin());
            }
        }
        file = at;
        return "";
    }

    std::string take_directory(const Words& words) {
        Bytes aid;
        if (words.size() < 2 || words.size() > 3 ||
            (words.size() == 3 && (!parse_hex(words[2], aid) || aid.size() < 5 || aid.size() > 16))) {
            return "wants a path such as 7F10/5F3A, and for an application its identifier of 5 to 16 bytes";
        }
        size_t file = 0;
        std::string wrong = make_file(words[1], file);
        if (!wrong.empty()) {
            return wrong;
        }
        if (card_.files[file].kind != Kind::DIRECTORY) {
            return "there is a file of that id";
        }
        card_.files[file].aid = aid;
        current_ = 0;
        return "";
    }

    // SIZE, or RECORDSxLENGTH.
    static bool parse_size(const std::string& text, bool has_records, File& file) {
        size_t count = 1;
        size_t size = 0;
        const size_t cross = text.find('x');
        if ((cross != std::string::npos) != has_records) {
            return false;
        }
        if (has_records && !parse(std::string_view(text).substr(0, cross), 10, count)) {
            return false;
        }
        if (!parse(std::string_view(text).substr(has_records ? cross + 1 : 0), 10, size)) {
            return false;
        }
        if (count == 0 || count > 254 || size == 0 || size > (has_records ? c_longest_record : c_largest_file) ||
            count * size > c_largest_file) {
            return false;
        }
        file.record_size = has_records ? size : 0;
        file.content.assign(count * size, c_erased);
        return true;
    }

    static std::string take_property(const std::string& word, File& file) {
        if (word == "invalid") {
            file.is_valid = false;
            return "";
        }
        const size_t sign = word.find('=');
        const std::string key = word.substr(0, sign);
        const std::string value = sign == std::string::npos ? "" : word.substr(sign + 1);
        if (key == "sfi") {
            return parse(value, 16, file.sfi) && file.sfi > 0 && file.sfi < 31 ? "" : "wants sfi=01 to 1E";
        }
        Access* access = key == "read"         ? &file.read
                         : key == "update"     ? &file.update
                         : key == "invalidate" ? &file.invalidate
                                               : nullptr;
        if (access == nullptr || !parse_access(value, *access)) {
            return "wants read=, update= or invalidate= with always, pin1, pin2, adm or never: " + word;
        }
        return "";
    }

    std::string take_file(const Words& words) {
        constexpr const char* c_usage = "wants a path, transparent, linear, cyclic or objects, and a size";
        static const std::map<std::string, Kind> c_kinds = {{"transparent", Kind::TRANSPARENT},
                                                            {"linear", Kind::LINEAR},
                                                            {"cyclic", Kind::CYCLIC},
                                                            {"objects", Kind::OBJECTS}};
        const auto kind = c_kinds.find(words.size() > 2 ? words[2] : "");
        if (kind == c_kinds.end() || (kind->second != Kind::OBJECTS && words.size() < 4)) {
            return c_usage;
        }
        const size_t files = card_.files.size();
        size_t index = 0;
        std::string wrong = make_file(words[1], index);
        if (!wrong.empty()) {
            return wrong;
        }
        if (index < files) {
            return "it is there already";
        }
        File& file = card_.files[index];
        file.kind = kind->second;
        const bool has_records = file.kind == Kind::LINEAR || file.kind == Kind::CYCLIC;
        if (file.kind != Kind::OBJECTS && !parse_size(words[3], has_records, file)) {
            return "bad size: " + words[3] + (has_records ? ", wants one such as 10x176" : "");
        }
        for (size_t i = file.kind == Kind::OBJECTS ? 3 : 4; i < words.size(); ++i) {
            std::string bad = take_property(words[i], file);
            if (!bad.empty()) {
                return bad;
            }
        }
        current_ = index;
        filled_ = 0;
        return "";
    }

    // Hexadecimal bytes, "text", and of either `*n` or `:n`: repeated so often, or filled up to so many bytes.
    static std::string parse_content(const std::string& line, Bytes& bytes) {
        for (size_t at = 0; (at = line.find_first_not_of(" \t\r", at)) != std::string::npos;) {
            Bytes part;
            size_t end = 0;
            if (line[at] == '"') {
                end = line.find('"', at + 1);
                if (end == std::string::npos) {
                    return "a quote is not closed";
                }
                part.assign(line.begin() + static_cast<ptrdiff_t>(at) + 1, line.begin() + static_cast<ptrdiff_t>(end));
                if (!std::all_of(part.begin(), part.end(),
                                 [](uint8_t byte) { return is_gsm(static_cast<char>(byte)); })) {
                    return "a character that has to be written in hexadecimal";
                }
                ++end;
            } else {
                end = std::min(line.find_first_of(" \t\r*:", at), line.size());
                if (!parse_hex(std::string_view(line).substr(at, end - at), part)) {
                    return "no bytes: " + line.substr(at, end - at);
                }
            }
            if (end < line.size() && (line[end] == '*' || line[end] == ':')) {
                const bool repeats = line[end] == '*';
                const size_t last = std::min(line.find_first_of(" \t\r", end), line.size());
                size_t number = 0;
                if (!parse(std::string_view(line).substr(end + 1, last - end - 1), 10, number) ||
                    number > c_largest_file) {
                    return "bad number: " + line.substr(end, last - end);
                }
                if (!repeats && number < part.size()) {
                    return "it doesn't fit";
                }
                if (repeats) {
                    const Bytes once = part;
                    part.clear();
                    for (size_t i = 0; i < number; ++i) {
                        part.insert(part.end(), once.begin(), once.end());
                    }
                } else {
                    part.resize(number, c_erased);
                }
                end = last;
            }
            bytes.insert(bytes.end(), part.begin(), part.end());
            at = end;
        }
        return "";
    }

    // A line for each record; `-` for an empty one. The lines of another file stand for all of it together.
    std::string take_content(const std::string& line) {
        if (current_ == 0) {
            return "there is no file that this could be in";
        }
        File& file = card_.files[current_];
        Bytes bytes;
        std::string wrong = split(line) == Words{"-"} ? "" : parse_content(line, bytes);
        if (!wrong.empty()) {
            return wrong;
        }
        if (file.kind == Kind::OBJECTS) {
            file.content.insert(file.content.end(), bytes.begin(), bytes.end());
            return "";
        }
        const size_t room = file.record_size != 0 ? file.record_size : file.content.size() - filled_;
        if (bytes.size() > room || filled_ >= file.content.size()) {
            return "it doesn't fit";
        }
        std::copy(bytes.begin(), bytes.end(), file.content.begin() + static_cast<ptrdiff_t>(filled_));
        filled_ += file.record_size != 0 ? file.record_size : bytes.size();
        return "";
    }

    Card card_;
    size_t current_ = 0;  // the file that content goes to; 0 for none
    size_t filled_ = 0;
};

}  // namespace

std::optional<Card> read_card(const std::string& text, std::string& error) {
    return Reader().read(text, error);
}

}  // namespace card
