// Parcels for people: what an answer says as text, and arguments from words. Knows the protocol on its own and shares
// nothing with the daemon, so that a mistake of either shows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Takes items off a parcel. After an item that wasn't whole `good` is false and every further one is 0 or null.
class ParcelCursor {
public:
    explicit ParcelCursor(std::string_view bytes) : rest_(bytes) {}

    int32_t int32();
    int64_t int64();
    std::optional<std::string> string();  // UTF-8
    std::optional<std::string> raw();
    bool good() const { return good_; }
    size_t left() const { return rest_.size(); }

private:
    std::string_view take(size_t size);
    std::string_view rest_;
    bool good_ = true;
};

// The text of the parcel's rest by its layout, and a complaint where it doesn't fit. A layout is a row of items with
// blanks in between:
//   i s l r             an integer, a string, a 64-bit integer, a byte array
//   [...]               a count and so many times what stands between the brackets
//   (...)               an integer and, if that is 1, what stands between the brackets
//   c                   the record of a cell, by the type that came last before it
//   name=               before any of these: what people call it
//   /table              behind i: the table of values_of with the names of its values
std::string text_of(std::string_view layout, ParcelCursor& parcel);

void put_int32(std::string& parcel, int32_t value);
void put_string(std::string& parcel, const std::optional<std::string>& text);
void put_raw(std::string& parcel, const std::optional<std::string>& bytes);

// Arguments by a form and words: "void"; "string TEXT"; "strings TEXT..."; "ints NUMBER..."; "onoff on|off"; "bytes
// HEX"; "dial NUMBER [CLIR]"; "items" with words i:NUMBER, s:TEXT, r:HEX one behind the other. A TEXT or HEX of "null"
// is null. Nothing when the words don't suit.
std::optional<std::string> arguments_of(std::string_view form, const std::vector<std::string>& words);
