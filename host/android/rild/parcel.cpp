#include "host/android/rild/parcel.h"

#include <limits>

namespace {

constexpr size_t c_word = 4;
constexpr char32_t c_replacement = 0xFFFD;

size_t padded(size_t size) {
    return (size + c_word - 1) / c_word * c_word;
}

bool is_high_surrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool is_low_surrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

uint32_t little_endian(std::span<const uint8_t> bytes) {
    uint32_t value = 0;
    for (size_t i = bytes.size(); i > 0; --i) {
        value = value << 8U | bytes[i - 1];
    }
    return value;
}

void append_utf8(std::string& text, char32_t c) {
    const auto tail = [&text, c](unsigned shift) { text += static_cast<char>(0x80U | ((c >> shift) & 0x3FU)); };
    if (c < 0x80) {
        text += static_cast<char>(c);
    } else if (c < 0x800) {
        text += static_cast<char>(0xC0U | c >> 6U);
        tail(0);
    } else if (c < 0x10000) {
        text += static_cast<char>(0xE0U | c >> 12U);
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0U | c >> 18U);
        tail(12);
        tail(6);
        tail(0);
    }
}

// Takes a character off the front of `text`. Of a sequence that is no UTF-8 (RFC 3629) it takes the first byte alone,
// so that the reading catches on again at the next character.
char32_t take_utf8(std::string_view& text) {
    const auto first = static_cast<uint8_t>(text[0]);
    const size_t more = first < 0x80   ? 0
                        : first < 0xC2 ? 4
                        : first < 0xE0 ? 1
                        : first < 0xF0 ? 2
                        : first < 0xF5 ? 3
                                       : 4;
    if (more == 0) {
        text.remove_prefix(1);
        return first;
    }
    char32_t c = first & (0x3FU >> more);
    size_t taken = 1;
    while (more < 4 && taken <= more && taken < text.size() && (static_cast<uint8_t>(text[taken]) & 0xC0U) == 0x80) {
        c = c << 6U | (static_cast<uint8_t>(text[taken]) & 0x3FU);
        ++taken;
    }
    constexpr char32_t c_least[] = {0, 0x80, 0x800, 0x10000};
    const bool whole = more < 4 && taken == more + 1;
    if (!whole || c < c_least[more] || c > 0x10FFFF || is_high_surrogate(c) || is_low_surrogate(c)) {
        text.remove_prefix(1);
        return c_replacement;
    }
    text.remove_prefix(taken);
    return c;
}

}  // namespace

std::string utf8_from_utf16(std::u16string_view text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (is_high_surrogate(c) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
            c = 0x10000 + ((c & 0x3FFU) << 10U) + (text[i + 1] & 0x3FFU);
            ++i;
        } else if (is_high_surrogate(c) || is_low_surrogate(c)) {
            c = c_replacement;
        }
        append_utf8(result, c);
    }
    return result;
}

std::u16string utf16_from_utf8(std::string_view text) {
    std::u16string result;
    while (!text.empty()) {
        const char32_t c = take_utf8(text);
        if (c < 0x10000) {
            result += static_cast<char16_t>(c);
        } else {
            result += static_cast<char16_t>(0xD800U | (c - 0x10000) >> 10U);
            result += static_cast<char16_t>(0xDC00U | (c & 0x3FFU));
        }
    }
    return result;
}

bool ParcelReader::take(size_t size, std::span<const uint8_t>& bytes) {
    if (size > rest_.size() || padded(size) > rest_.size()) {
        return false;
    }
    bytes = rest_.first(size);
    rest_ = rest_.subspan(padded(size));
    return true;
}

bool ParcelReader::read_int32(int32_t& value) {
    std::span<const uint8_t> bytes;
    if (!take(c_word, bytes)) {
        return false;
    }
    value = static_cast<int32_t>(little_endian(bytes));
    return true;
}

bool ParcelReader::read_string(std::optional<std::string>& text) {
    int32_t units = 0;
    if (!read_int32(units) || units < -1) {
        return false;
    }
    if (units == -1) {
        text.reset();
        return true;
    }
    std::span<const uint8_t> bytes;
    const size_t count = static_cast<size_t>(units);
    if (count >= rest_.size() || !take((count + 1) * sizeof(char16_t), bytes)) {
        return false;
    }
    std::u16string utf16(count, u'\0');
    for (size_t i = 0; i < count; ++i) {
        utf16[i] = static_cast<char16_t>(little_endian(bytes.subspan(i * sizeof(char16_t), sizeof(char16_t))));
    }
    text = utf8_from_utf16(utf16);
    return true;
}

bool ParcelReader::read_raw(std::optional<std::span<const uint8_t>>& bytes) {
    int32_t size = 0;
    if (!read_int32(size) || size < -1) {
        return false;
    }
    if (size == -1) {
        bytes.reset();
        return true;
    }
    std::span<const uint8_t> found;
    if (!take(static_cast<size_t>(size), found)) {
        return false;
    }
    bytes = found;
    return true;
}

void ParcelWriter::put_int32(int32_t value) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes_.push_back(static_cast<uint8_t>(static_cast<uint32_t>(value) >> shift));
    }
}

void ParcelWriter::put_int64(int64_t value) {
    put_int32(static_cast<int32_t>(value));
    put_int32(static_cast<int32_t>(value >> 32U));
}

void ParcelWriter::put_string(const char* text) {
    if (text == nullptr) {
        put_int32(-1);
        return;
    }
    const std::u16string utf16 = utf16_from_utf8(text);
    put_int32(static_cast<int32_t>(utf16.size()));
    for (size_t i = 0; i <= utf16.size(); ++i) {  // the terminator too
        bytes_.push_back(static_cast<uint8_t>(utf16.c_str()[i]));
        bytes_.push_back(static_cast<uint8_t>(utf16.c_str()[i] >> 8U));
    }
    pad();
}

void ParcelWriter::put_raw(const void* bytes, size_t size) {
    if (bytes == nullptr || size > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        put_int32(-1);
        return;
    }
    put_int32(static_cast<int32_t>(size));
    const auto* first = static_cast<const uint8_t*>(bytes);
    bytes_.insert(bytes_.end(), first, first + size);
    pad();
}

void ParcelWriter::pad() {
    bytes_.resize(padded(bytes_.size()));
}

std::vector<uint8_t> ParcelWriter::take_message() {
    const auto length = static_cast<uint32_t>(bytes_.size() - c_length_word);
    for (size_t i = 0; i < c_length_word; ++i) {
        bytes_[i] = static_cast<uint8_t>(length >> 8U * (c_length_word - 1 - i));
    }
    return std::move(bytes_);
}
