// The two steps that everything on the wire is made of, in line: claim free bytes below a write cursor, consume bytes
// above a read cursor; and the numbers and headers of which there are many in each packet. The bounds are tested here
// and nowhere else. For the wire room and the codec only.
#pragma once

#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/wire.h"

namespace wire {

// The lowest of `count` bytes just claimed, or null with the cursor failed.
inline uint8_t* claim(ExWriteCursor& cursor, size_t count) {
    if (static_cast<size_t>(cursor.next + 1 - cursor.base) < count) [[unlikely]] {
        ExFail(cursor);
        return nullptr;
    }
    cursor.next -= count;
    return cursor.next + 1;
}

// Moves the cursor down to what was written, or fails it with null. The bytes written.
inline size_t moved_to(const uint8_t* at, ExWriteCursor& cursor) {
    if (at == nullptr) {
        ExFail(cursor);
        return 0;
    }
    const auto size = static_cast<size_t>(cursor.next + 1 - at);
    cursor.next -= size;
    return size;
}

// The first of `count` bytes just consumed, or null with the cursor failed.
inline const uint8_t* consume(ExReadCursor& cursor, size_t count) {
    if (static_cast<size_t>(cursor.end - cursor.next) < count) [[unlikely]] {
        ExFail(cursor, "it ends too early");
        return nullptr;
    }
    const uint8_t* bytes = cursor.next;
    cursor.next += count;
    return bytes;
}

inline size_t left(const ExReadCursor& cursor) {
    return static_cast<size_t>(cursor.end - cursor.next);
}

template <typename Unsigned>
constexpr Unsigned big_endian(Unsigned value) {
    if constexpr (sizeof(Unsigned) == 8) {
        return __builtin_bswap64(value);
    } else if constexpr (sizeof(Unsigned) == 4) {
        return __builtin_bswap32(value);
    } else if constexpr (sizeof(Unsigned) == 2) {
        return __builtin_bswap16(value);
    } else {
        return value;
    }
}
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "big_endian() swaps, and octet strings are memory images");

// --- Headers ---------------------------------------------------------------------------------------------------------

constexpr size_t length_size(size_t length) {
    return length < 0x80 ? 1 : length < 0x100 ? 2 : length < 0x10000 ? 3 : length < 0x1000000 ? 4 : 5;
}

// Writes a length below `at`, where there is room for it, and returns where it begins. Up to 127 in one byte; above
// that 80|n and n little-endian bytes, where X.690 would have them big-endian.
constexpr uint8_t* length_below(uint8_t* at, size_t length) {
    if (length < 0x80) {
        *--at = static_cast<uint8_t>(length);
        return at;
    }
    if (length < 0x100) {
        at[-2] = 0x81;
        at[-1] = static_cast<uint8_t>(length);
        return at - 2;
    }
    const size_t size = length_size(length);
    at -= size;
    *at = static_cast<uint8_t>(0x80U | (size - 1));
    for (size_t i = 1; i < size; ++i, length >>= 8) {
        at[i] = static_cast<uint8_t>(length);
    }
    return at;
}

// Whether `size` bytes fit above `base`. The exact size is only asked for where `at_most` would not.
template <typename Size>
constexpr bool fits(const uint8_t* at, const uint8_t* base, size_t at_most, Size size) {
    const auto room = static_cast<size_t>(at - base);
    return room >= at_most || room >= size();
}

// Writes a record's or a function's header below `at`. Null when it does not fit above `base`, else where it begins.
constexpr uint8_t* header_below(uint8_t* at, const uint8_t* base, const ExTag& tag, size_t length) {
    if (!fits(at, base, 1 + 3 + 5, [&] { return 1 + tag.count + length_size(length); })) [[unlikely]] {
        return nullptr;
    }
    at = length_below(at, length) - tag.count;
    at[0] = tag.bytes[0];
    if (tag.count > 1) {
        at[1] = tag.bytes[1];
    }
    if (tag.count > 2) {
        at[2] = tag.bytes[2];
    }
    *--at = 0x7F;
    return at;
}

inline bool take_length(ExReadCursor& cursor, uint32_t& length) {
    const uint8_t* first = consume(cursor, 1);
    if (first == nullptr) {
        return false;
    }
    if (*first < 0x80) {
        length = *first;
        return true;
    }
    const size_t count = *first & 0x7FU;
    if (count == 0 || count > 4) {
        ExFail(cursor, "a length has too many bytes or none");
        return false;
    }
    const uint8_t* bytes = consume(cursor, count);
    if (bytes == nullptr) {
        return false;
    }
    length = 0;
    for (size_t i = 0; i < count; ++i) {
        length |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    }
    return true;
}

inline size_t take_header(ExReadCursor& cursor, ExBerHeader& header) {
    header = {};
    const uint8_t* start = cursor.next;
    const uint8_t* byte = consume(cursor, 1);
    if (byte == nullptr) {
        return 0;
    }
    header.tag_class = *byte & 0xC0U;
    header.constructed = (*byte & 0x20U) != 0 ? 1 : 0;
    header.tag = *byte & 0x1FU;
    if (header.tag == 0x1F) {
        header.tag = 0;
        do {
            byte = consume(cursor, 1);
            if (byte == nullptr || header.tag >= (1U << 21)) {
                ExFail(cursor, "a tag is too large");
                return 0;
            }
            header.tag = (header.tag << 7) | (*byte & 0x7FU);
        } while ((*byte & 0x80U) != 0);
    }
    if (!take_length(cursor, header.length)) {
        return 0;
    }
    header.header_size = static_cast<uint32_t>(cursor.next - start);
    return header.header_size;
}

// --- Numbers ---------------------------------------------------------------------------------------------------------

constexpr size_t c_number32 = 2 + sizeof(uint32_t);

// 02, the width, the value. Returns what is behind.
template <typename Unsigned>
uint8_t* write_number(uint8_t* at, Unsigned value) {
    at[0] = 0x02;
    at[1] = sizeof(Unsigned);
    const Unsigned wire = big_endian(value);
    memcpy(at + 2, &wire, sizeof(wire));
    return at + 2 + sizeof(Unsigned);
}

template <typename Unsigned>
size_t put_number(Unsigned value, ExWriteCursor& cursor) {
    uint8_t* bytes = claim(cursor, 2 + sizeof(Unsigned));
    if (bytes == nullptr) [[unlikely]] {
        return 0;
    }
    write_number(bytes, value);
    return 2 + sizeof(Unsigned);
}

// Consumes a header in front of an integer that is not simply 02 and the width.
size_t skip_number_header(ExReadCursor& cursor);

template <typename Unsigned>
size_t take_number(Unsigned& value, ExReadCursor& cursor) {
    const uint8_t* bytes = cursor.next;
    size_t size = 2 + sizeof(Unsigned);
    if (left(cursor) >= size && bytes[0] == 0x02 && bytes[1] == sizeof(Unsigned)) [[likely]] {
        cursor.next += size;
        bytes += 2;
    } else {
        size = skip_number_header(cursor) + sizeof(Unsigned);
        bytes = consume(cursor, sizeof(Unsigned));
        if (bytes == nullptr) {
            return 0;
        }
    }
    Unsigned wire;
    memcpy(&wire, bytes, sizeof(wire));
    value = big_endian(wire);
    return size;
}

// --- Octet strings ---------------------------------------------------------------------------------------------------

// Writes an octet string of `length` bytes below `at`; `static_form` says whether `total` is told. Null when it does
// not fit above `base`, else where it begins.
inline uint8_t* octets_below(uint8_t* at, const uint8_t* base, const void* source, uint32_t length, uint32_t count,
                             uint32_t type, bool static_form) {
    // The data is to start at an address of the sender's buffer that is a multiple of 4.
    const uint32_t pad = length == 0 ? 0 : static_cast<uint32_t>((reinterpret_cast<uintptr_t>(at) - length) & 3U);
    const size_t padded = size_t{length} + pad;
    if (!fits(at, base, padded + 2 * c_number32 + 5 + 1,
              [&] { return padded + 2 * c_number32 + length_size(count) + 1; })) [[unlikely]] {
        return nullptr;
    }
    memset(at - 4, 0, 4);  // the padding; what else this clears is written over
    at -= padded;
    memcpy(at, source, length);
    write_number<uint32_t>(at - c_number32, pad);
    at -= 2 * c_number32;
    write_number<uint32_t>(at, static_form ? static_cast<uint32_t>(padded) : 0);
    at = length_below(at, count);
    *--at = static_cast<uint8_t>(type | 0x40U);
    return at;
}

}  // namespace wire
