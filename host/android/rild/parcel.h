// Parcels: sequences of 32-bit little-endian words, every item padded to 4 bytes. A string travels in UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The most that a message may have, with the length word before the parcel.
constexpr size_t c_largest_message = 8192;
constexpr size_t c_length_word = 4;
constexpr size_t c_largest_parcel = c_largest_message - c_length_word;

// Takes items off the front of a parcel. Each function is false, and leaves its result alone, when the parcel does not
// hold the whole item; the parcel is not to be read any further then.
class ParcelReader {
public:
    explicit ParcelReader(std::span<const uint8_t> bytes) : rest_(bytes) {}

    bool read_int32(int32_t& value);
    // UTF-8; none for a null string. What is no UTF-16 becomes U+FFFD.
    bool read_string(std::optional<std::string>& text);
    // Bytes of the parcel itself; none for a null array.
    bool read_raw(std::optional<std::span<const uint8_t>>& bytes);

private:
    bool take(size_t size, std::span<const uint8_t>& bytes);
    std::span<const uint8_t> rest_;
};

// Builds a message: a parcel behind its length.
class ParcelWriter {
public:
    void put_int32(int32_t value);
    void put_int64(int64_t value);
    // UTF-8; null is a null string. What is no UTF-8 becomes U+FFFD.
    void put_string(const char* text);
    // Null is a null array.
    void put_raw(const void* bytes, size_t size);

    bool too_large() const { return bytes_.size() > c_largest_message; }
    // Sets the length and gives the message away.
    std::vector<uint8_t> take_message();

private:
    void pad();
    std::vector<uint8_t> bytes_ = std::vector<uint8_t>(c_length_word);
};

std::string utf8_from_utf16(std::u16string_view text);
std::u16string utf16_from_utf8(std::string_view text);
