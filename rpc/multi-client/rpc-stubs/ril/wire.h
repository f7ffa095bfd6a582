// The wire encoding of the UTA service: a tag, a length, a value, as in X.690, with fixed-width integers,
// little-endian long lengths and fields that travel last field first.
//
// A packet is written from the end of a buffer towards its start, so that a header is written after its content. Both
// cursors know the bounds of their memory: a write that does not fit and a read that leaves the packet latch `failed`,
// write or read nothing, and so does everything after them. Callers test `failed` once, at the end.
//
// Packers return the number of bytes written, unpackers the number of bytes consumed; 0 when they failed.
// Every function here runs on any thread and touches only its arguments.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"

// Free memory [base, next + 1): `next` is the next free byte and moves down. A finished packet begins at next + 1.
struct ExWriteCursor {
    uint8_t* base;
    uint8_t* next;
    bool failed;
};

// Unread bytes [next, end): `next` moves up.
struct ExReadCursor {
    const uint8_t* next;  // stays where it failed
    const uint8_t* end;
    bool failed;
    const char* why = nullptr;  // it failed
};

constexpr size_t c_rpc_packet_max = 2048;     // buffer of one outgoing packet
constexpr size_t c_rpc_header_size = 12;      // 02 04 size 02 04 index
constexpr uint32_t c_rpc_return_base = 1000;  // a return packet's index is the function id plus this

// Latches the failure and closes the cursor: whatever is asked of it afterwards fails at its bounds check. The first
// reason stays.
inline void ExFail(ExWriteCursor& cursor) {
    cursor.failed = true;
    cursor.base = cursor.next + 1;
}
inline void ExFail(ExReadCursor& cursor, const char* why) {
    cursor.why = cursor.failed ? cursor.why : why;
    cursor.failed = true;
    cursor.end = cursor.next;
}

// --- Headers ---------------------------------------------------------------------------------------------------------

// A tag descriptor: `count` tag bytes, base 128, most significant group first, bit 7 set on all but the last.
struct ExTag {
    uint8_t count;
    uint8_t bytes[3];
};

// The descriptor of a tag number below 2^21.
constexpr ExTag ExMakeTag(uint32_t number) {
    ExTag tag{0, {0, 0, 0}};
    if (number >= (1U << 14)) {
        tag.bytes[tag.count++] = static_cast<uint8_t>(0x80U | ((number >> 14) & 0x7FU));
    }
    if (number >= (1U << 7)) {
        tag.bytes[tag.count++] = static_cast<uint8_t>(0x80U | ((number >> 7) & 0x7FU));
    }
    tag.bytes[tag.count++] = static_cast<uint8_t>(number & 0x7FU);
    return tag;
}

struct ExBerHeader {
    uint32_t length;       // of the content; for an octet string its number of elements
    uint32_t header_size;  // tag bytes and length bytes
    uint32_t tag;
    uint8_t tag_class;    // the top two bits of the first byte, in place
    uint8_t constructed;  // bit 5 of the first byte, 0 or 1
};

// Writes 7F, the tag bytes and the length of the content that was packed before.
size_t EXWriteBERHeader(const ExTag& tag, ExWriteCursor& cursor, size_t length);

// Consumes a header of any form. Fails on a tag above 28 bits and on a length of more than 4 bytes or of none. It does
// not compare the length with what is left: for integers and octet strings it is no number of bytes.
size_t EXReadBERHeader(ExReadCursor& cursor, ExBerHeader& header);

// The packet header; `body_length` is everything packed so far, context id and function header included.
size_t ExWriteBufferHeader(ExWriteCursor& cursor, uint32_t index, size_t body_length);

// Consumes the 12 bytes of a packet header, whatever tags and lengths its two integers have. `size` counts them. The
// caller judges `size`.
size_t ExReadBufferHeader(ExReadCursor& cursor, uint32_t& index, uint32_t& size);

size_t ExWriteContextId(ExWriteCursor& cursor, uint32_t context_id);
size_t ExReadContextId(ExReadCursor& cursor, uint32_t& context_id);

// --- Integers and flags ----------------------------------------------------------------------------------------------
//
// An unpacker takes a header of any form and then its own fixed number of value bytes, whatever the header says.

size_t EXPackBOOLEAN(const uint8_t* value, ExWriteCursor& cursor);  // FF when the flag is exactly 1, else 00
size_t EXPackUINT8(const uint8_t* value, ExWriteCursor& cursor);
size_t EXPackINT8(const int8_t* value, ExWriteCursor& cursor);
size_t EXPackchar(const char* value, ExWriteCursor& cursor);
size_t EXPackUINT16(const uint16_t* value, ExWriteCursor& cursor);
size_t EXPackINT16(const int16_t* value, ExWriteCursor& cursor);
size_t EXPackUINT32(const uint32_t* value, ExWriteCursor& cursor);
size_t EXPackINT32(const int32_t* value, ExWriteCursor& cursor);
size_t EXPackENUM(const int32_t* value, ExWriteCursor& cursor);
size_t EXPackUINT64(const uint64_t* value, ExWriteCursor& cursor);
size_t EXPackINT64(const int64_t* value, ExWriteCursor& cursor);
size_t EXPackUINT32BITFIELD(uint32_t value, ExWriteCursor& cursor);  // four raw bytes
size_t EXPackNULLStruct(ExWriteCursor& cursor);                      // 05 00
size_t EXPackVoid(ExWriteCursor& cursor);                            // nothing

size_t EXUnpackBOOLEAN(uint8_t* value, ExReadCursor& cursor);  // 1 for FF, 0 for any other byte
size_t EXUnpackUINT8(uint8_t* value, ExReadCursor& cursor);
size_t EXUnpackINT8(int8_t* value, ExReadCursor& cursor);
size_t EXUnpackchar(char* value, ExReadCursor& cursor);
size_t EXUnpackUINT16(uint16_t* value, ExReadCursor& cursor);
size_t EXUnpackINT16(int16_t* value, ExReadCursor& cursor);
size_t EXUnpackUINT32(uint32_t* value, ExReadCursor& cursor);
size_t EXUnpackINT32(int32_t* value, ExReadCursor& cursor);
size_t EXUnpackENUM(int32_t* value, ExReadCursor& cursor);
size_t EXUnpackUINT64(uint64_t* value, ExReadCursor& cursor);
size_t EXUnpackINT64(int64_t* value, ExReadCursor& cursor);
size_t EXUnpackNULLStruct(ExReadCursor& cursor);
size_t EXUnpackVoid(ExReadCursor& cursor);

// --- Octet strings: arrays of 1, 2, 4 or 8-byte elements, in the byte order of memory
// ----------------------------------

constexpr uint32_t c_octets_8 = 21;   // type of an array of bytes
constexpr uint32_t c_octets_16 = 22;  // of 16-bit elements
constexpr uint32_t c_octets_32 = 23;
constexpr uint32_t c_octets_64 = 24;

// Element size of `type` as a shift of the count; 0 for types that are none of the above.
constexpr uint32_t ExOctetShift(uint32_t type) {
    return type >= c_octets_8 && type <= c_octets_64 ? type - c_octets_8 : 0;
}

// `count` elements at `source`. The Static form needs a source; the Malloc form packs 05 00 for a null one.
size_t EXPackOCTETSTRINGStatic(const void* source, ExWriteCursor& cursor, uint32_t count, uint32_t type);
size_t EXPackOCTETSTRINGMalloc(const void* source, ExWriteCursor& cursor, uint32_t count, uint32_t type);

// An array of enumerations of 2, 4 or 8 bytes, any other size counting as 1.
size_t ExPackEnumArray(const void* source, ExWriteCursor& cursor, uint32_t count, size_t element_size);

// Into `capacity` bytes of the caller. A string that does not fit there fails. 05 00 leaves the destination alone; a
// `total` of 0 clears its first element.
size_t EXUnpackOCTETSTRINGStatic(void* destination, size_t capacity, ExReadCursor& cursor);

// Into a block of its own, owned by `mem_table`; `*destination` is null for 05 00 and for a count of 0. `*length`, if
// given, gets the bytes in the block.
size_t EXUnpackOCTETSTRINGMalloc(void** destination, size_t* length, ExReadCursor& cursor, MemTable& mem_table);
