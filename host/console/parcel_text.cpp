#include "host/console/parcel_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "host/console/protocol.h"

namespace {

constexpr size_t c_word = 4;

uint64_t little_endian(std::string_view bytes) {
    uint64_t value = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        value |= uint64_t{static_cast<uint8_t>(bytes[i])} << 8 * i;
    }
    return value;
}

void append_character(std::string& text, uint32_t c) {
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    const unsigned more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    text += static_cast<char>((0xF0U << (3 - more) & 0xF0U) | c >> 6 * more);
    for (unsigned i = more; i > 0; --i) {
        text += static_cast<char>(0x80U | (c >> 6 * (i - 1) & 0x3FU));
    }
}

// The characters of a text that comes from the user's terminal or script.
std::u32string characters_of(std::string_view text) {
    std::u32string result;
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<uint8_t>(text[i++]);
        size_t more = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        uint32_t c = more == 0 ? first : first & 0x3FU >> more;
        for (; more > 0 && i < text.size(); --more) {
            c = c << 6 | (static_cast<uint8_t>(text[i++]) & 0x3FU);
        }
        result += static_cast<char32_t>(c);
    }
    return result;
}

std::string hex_of(std::string_view bytes) {
    constexpr std::string_view c_digits = "0123456789ABCDEF";
    std::string hex;
    for (const char byte : bytes) {
        hex += c_digits[static_cast<uint8_t>(byte) >> 4U];
        hex += c_digits[static_cast<uint8_t>(byte) & 15U];
    }
    return hex;
}

std::optional<std::string> bytes_of(std::string_view hex) {
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2) {
        uint8_t byte = 0;
        const char* end = hex.data() + std::min(i + 2, hex.size());
        const auto [stop, error] = std::from_chars(hex.data() + i, end, byte, 16);
        if (error != std::errc() || stop != end || hex.size() % 2 != 0) {
            return {};
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::optional<int32_t> number_of(const std::string& word) {
    char* end = nullptr;
    const long long value = std::strtoll(word.c_str(), &end, 0);
    const bool fits = value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<uint32_t>::max();
    return !word.empty() && *end == '\0' && fits ? std::optional(static_cast<int32_t>(value)) : std::nullopt;
}

std::optional<std::string> or_null(const std::string& word) {
    return word == "null" ? std::nullopt : std::optional(word);
}

// ---------------------------------------------------------------------------------------------------------------------
// Layouts

// The records of RIL_CellInfo by its type.
constexpr std::array<std::string_view, 5> c_cells = {
    "",
    "mcc=i mnc=i lac=i cid=i strength=i ber=i",
    "network=i system=i station=i longitude=i latitude=i dbm=i ecio=i evdo-dbm=i evdo-ecio=i snr=i",
    "mcc=i mnc=i ci=i pci=i tac=i strength=i rsrp=i rsrq=i rssnr=i cqi=i advance=i",
    "mcc=i mnc=i lac=i cid=i psc=i strength=i ber=i",
};

struct Printer {
    ParcelCursor& parcel;
    std::string text;
    int32_t last = 0;
};

// They call one another as deep as a layout nests.
// NOLINTBEGIN(misc-no-recursion)
void print(std::string_view layout, Printer& out);

// What stands between the bracket at the front of `layout` and its partner; takes both off.
std::string_view take_group(std::string_view& layout) {
    size_t depth = 0;
    for (size_t i = 0; i < layout.size(); ++i) {
        depth += layout[i] == '[' || layout[i] == '(' ? 1 : 0;
        depth -= layout[i] == ']' || layout[i] == ')' ? 1 : 0;
        if (depth == 0) {
            const std::string_view group = layout.substr(1, i - 1);
            layout.remove_prefix(i + 1);
            return group;
        }
    }
    std::abort();  // a layout of ours is wrong
}

void print_int(std::string_view& layout, Printer& out) {
    out.last = out.parcel.int32();
    std::string_view name;
    if (layout.starts_with('/')) {
        const std::string_view table = layout.substr(1, layout.find_first_of(" ])") - 1);
        layout.remove_prefix(1 + table.size());
        name = value_name(table, out.last);
    }
    out.text += name.empty() ? std::to_string(out.last) : std::string(name);
}

void print_list(std::string_view group, Printer& out) {
    const int32_t count = out.parcel.int32();
    if (count == 0) {
        out.text += "none";
    }
    const bool is_plain = group.find(' ') == std::string_view::npos;
    for (int32_t i = 0; i < count && out.parcel.good(); ++i) {
        out.text += i > 0 ? " " : "";
        out.text += is_plain ? "" : "{";
        print(group, out);
        out.text += is_plain ? "" : "}";
    }
}

void print_item(std::string_view& layout, Printer& out) {
    const char kind = layout.front();
    if (kind == '[') {
        print_list(take_group(layout), out);
        return;
    }
    if (kind == '(') {
        const std::string_view group = take_group(layout);
        if (out.parcel.int32() == 1) {
            out.text += '{';
            print(group, out);
            out.text += '}';
        } else {
            out.text += "none";
        }
        return;
    }
    layout.remove_prefix(1);
    if (kind == 'i') {
        print_int(layout, out);
    } else if (kind == 'l') {
        out.text += std::to_string(out.parcel.int64());
    } else if (kind == 's') {
        const auto text = out.parcel.string();
        out.text += text ? '"' + *text + '"' : "null";
    } else if (kind == 'r') {
        const auto bytes = out.parcel.raw();
        out.text += bytes ? '<' + hex_of(*bytes) + '>' : "null";
    }
}

void print(std::string_view layout, Printer& out) {
    int32_t type = 0;
    for (bool first = true; !layout.empty() && out.parcel.good(); first = false) {
        out.text += first ? "" : " ";
        const size_t end = layout.find_first_of("=[( ");
        if (end != std::string_view::npos && layout[end] == '=') {
            out.text += layout.substr(0, end + 1);
            layout.remove_prefix(end + 1);
        }
        if (layout.starts_with('c')) {
            layout.remove_prefix(1);
            const bool known = type > 0 && static_cast<size_t>(type) < c_cells.size();
            print(known ? c_cells[static_cast<size_t>(type)] : "", out);
        } else {
            print_item(layout, out);
        }
        type = first ? out.last : type;
        layout.remove_prefix(layout.empty() ? 0 : 1);  // the blank
    }
}

// NOLINTEND(misc-no-recursion)

bool put_items(std::string& parcel, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        const std::string value = word.size() > 2 ? word.substr(2) : "";
        const auto number = number_of(value);
        const auto bytes = value == "null" ? std::optional<std::string>("") : bytes_of(value);
        if (word.starts_with("i:") && number) {
            put_int32(parcel, *number);
        } else if (word.starts_with("s:")) {
            put_string(parcel, or_null(value));
        } else if (word.starts_with("r:") && bytes) {
            put_raw(parcel, value == "null" ? std::nullopt : bytes);
        } else {
            return false;
        }
    }
    return true;
}

bool put_ints(std::string& parcel, const std::vector<std::string>& words) {
    put_int32(parcel, static_cast<int32_t>(words.size()));
    for (const std::string& word : words) {
        const auto number = number_of(word);
        if (!number) {
            return false;
        }
        put_int32(parcel, *number);
    }
    return true;
}

bool put_dial(std::string& parcel, const std::vector<std::string>& words) {
    const auto clir = words.size() == 2 ? number_of(words[1]) : std::optional(0);
    if (words.empty() || words.size() > 2 || !clir) {
        return false;
    }
    put_string(parcel, words[0]);
    put_int32(parcel, *clir);
    put_int32(parcel, 0);  // no user-to-user information
    return true;
}

bool put_form(std::string& parcel, std::string_view form, const std::vector<std::string>& words) {
    if (form == "void") {
        return words.empty();
    }
    if (form == "string" && words.size() == 1) {
        put_string(parcel, or_null(words[0]));
        return true;
    }
    if (form == "strings") {
        put_int32(parcel, static_cast<int32_t>(words.size()));
        for (const std::string& word : words) {
            put_string(parcel, or_null(word));
        }
        return true;
    }
    if (form == "onoff" && words.size() == 1 && (words[0] == "on" || words[0] == "off")) {
        return put_ints(parcel, {words[0] == "on" ? "1" : "0"});
    }
    if (form == "bytes" && words.size() == 1) {
        return put_items(parcel, {"r:" + words[0]});
    }
    return (form == "ints" && put_ints(parcel, words)) || (form == "dial" && put_dial(parcel, words)) ||
           (form == "items" && put_items(parcel, words));
}

}  // namespace

std::string_view ParcelCursor::take(size_t size) {
    const size_t whole = (size + c_word - 1) / c_word * c_word;
    if (!good_ || size > rest_.size() || whole > rest_.size()) {
        good_ = false;
        return {};
    }
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(whole);
    return taken;
}

int32_t ParcelCursor::int32() {
    return static_cast<int32_t>(little_endian(take(sizeof(int32_t))));
}

int64_t ParcelCursor::int64() {
    return static_cast<int64_t>(little_endian(take(sizeof(int64_t))));
}

std::optional<std::string> ParcelCursor::string() {
    const int32_t units = int32();
    if (units < 0) {
        return {};
    }
    const std::string_view bytes = take((static_cast<size_t>(units) + 1) * 2);
    std::string text;
    uint32_t high = 0;  // the first of two surrogates
    for (size_t i = 0; i + 2 < bytes.size(); i += 2) {
        const auto unit = static_cast<uint32_t>(little_endian(bytes.substr(i, 2)));
        if (unit >> 10U == 0x36) {
            high = unit;
        } else if (unit >> 10U == 0x37 && high != 0) {
            append_character(text, 0x10000 + ((high & 0x3FFU) << 10U | (unit & 0x3FFU)));
            high = 0;
        } else {
            append_character(text, unit);
        }
    }
    return text;
}

std::optional<std::string> ParcelCursor::raw() {
    const int32_t size = int32();
    return size < 0 ? std::nullopt : std::optional<std::string>(take(static_cast<size_t>(size)));
}

std::string text_of(std::string_view layout, ParcelCursor& parcel) {
    Printer out{parcel, ""};
    if (layout == "s") {  // one string alone needs no quotes
        out.text = parcel.string().value_or("null");
    } else {
        print(layout, out);
    }
    if (!parcel.good()) {
        out.text += " !! too short";
    } else if (parcel.left() != 0) {
        out.text += " !! " + std::to_string(parcel.left()) + " bytes more";
    }
    return out.text;
}

void put_int32(std::string& parcel, int32_t value) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        parcel += static_cast<char>(static_cast<uint32_t>(value) >> shift);
    }
}

void put_string(std::string& parcel, const std::optional<std::string>& text) {
    if (!text) {
        put_int32(parcel, -1);
        return;
    }
    std::string units;
    const auto put_unit = [&units](uint32_t unit) {
        units += static_cast<char>(unit);
        units += static_cast<char>(unit >> 8U);
    };
    for (const char32_t c : characters_of(*text)) {
        if (c >= 0x10000) {
            put_unit(0xD800U + ((c - 0x10000) >> 10U));
            put_unit(0xDC00U + (c & 0x3FFU));
        } else {
            put_unit(c);
        }
    }
    put_int32(parcel, static_cast<int32_t>(units.size() / 2));
    put_unit(0);
    parcel += units;
    parcel.append((c_word - units.size() % c_word) % c_word, '\0');
}

void put_raw(std::string& parcel, const std::optional<std::string>& bytes) {
    put_int32(parcel, bytes ? static_cast<int32_t>(bytes->size()) : -1);
    if (bytes) {
        parcel += *bytes;
        parcel.append((c_word - bytes->size() % c_word) % c_word, '\0');
    }
}

std::optional<std::string> arguments_of(std::string_view form, const std::vector<std::string>& words) {
    std::string parcel;
    return put_form(parcel, form, words) ? std::optional(parcel) : std::nullopt;
}
