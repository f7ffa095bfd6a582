// The two steps that everything on the wire is made of, in line: claim free bytes below a write cursor, consume bytes
// above a read cursor. The bounds are tested here and nowhere else. For the wire room and the codec only.
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

// 02, the width, the value.
template <typename Unsigned>
size_t put_number(Unsigned value, ExWriteCursor& cursor) {
    uint8_t* bytes = claim(cursor, 2 + sizeof(Unsigned));
    if (bytes == nullptr) [[unlikely]] {
        return 0;
    }
    bytes[0] = 0x02;
    bytes[1] = sizeof(Unsigned);
    const Unsigned wire = big_endian(value);
    memcpy(bytes + 2, &wire, sizeof(wire));
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
