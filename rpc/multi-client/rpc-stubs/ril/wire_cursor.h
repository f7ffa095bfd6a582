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

inline size_t length_size(size_t length) {
    size_t count = 1;
    for (size_t rest = length < 0x80 ? 0 : length; rest != 0; rest >>= 8) {
        ++count;
    }
    return count;
}

// Up to 127 in one byte; above that 80|n and n little-endian bytes, where X.690 would have them big-endian. Returns
// what is behind.
inline uint8_t* write_length(uint8_t* at, size_t length) {
    if (length < 0x80) {
        *at = static_cast<uint8_t>(length);
        return at + 1;
    }
    const size_t count = length_size(length) - 1;
    *at++ = static_cast<uint8_t>(0x80U | count);
    for (size_t i = 0; i < count; ++i) {
        *at++ = static_cast<uint8_t>(length >> (8 * i));
    }
    return at;
}

inline size_t put_header(const ExTag& tag, ExWriteCursor& cursor, size_t length) {
    const size_t size = 1 + tag.count + length_size(length);
    uint8_t* at = length > UINT32_MAX ? nullptr : claim(cursor, size);
    if (at == nullptr) [[unlikely]] {
        ExFail(cursor);
        return 0;
    }
    *at++ = 0x7F;
    for (size_t i = 0; i < tag.count; ++i) {
        *at++ = tag.bytes[i];
    }
    write_length(at, length);
    return size;
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

}  // namespace wire
