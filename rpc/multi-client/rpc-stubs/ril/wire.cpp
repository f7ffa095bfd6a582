#include "rpc/multi-client/rpc-stubs/ril/wire.h"

#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/wire_cursor.h"

using wire::claim;
using wire::consume;
using wire::put_number;
using wire::take_number;

static constexpr uint8_t c_null_form[2] = {0x05, 0x00};
static constexpr uint64_t c_octets_max = INT32_MAX - 64;  // what a size can count on i386

// --- Headers ---------------------------------------------------------------------------------------------------------

size_t EXWriteBERHeader(const ExTag& tag, ExWriteCursor& cursor, size_t length) {
    return wire::moved_to(length > UINT32_MAX ? nullptr : wire::header_below(cursor.next + 1, cursor.base, tag, length),
                          cursor);
}

size_t EXReadBERHeader(ExReadCursor& cursor, ExBerHeader& header) {
    return wire::take_header(cursor, header);
}

size_t ExWriteBufferHeader(ExWriteCursor& cursor, uint32_t index, size_t body_length) {
    if (body_length > UINT32_MAX - c_rpc_header_size) {
        ExFail(cursor);
        return 0;
    }
    put_number<uint32_t>(index, cursor);
    put_number<uint32_t>(static_cast<uint32_t>(body_length + c_rpc_header_size), cursor);
    return cursor.failed ? 0 : c_rpc_header_size;
}

size_t ExReadBufferHeader(ExReadCursor& cursor, uint32_t& index, uint32_t& size) {
    const uint8_t* bytes = consume(cursor, c_rpc_header_size);
    if (bytes == nullptr) {
        return 0;
    }
    memcpy(&size, bytes + 2, sizeof(size));
    memcpy(&index, bytes + 8, sizeof(index));
    size = wire::big_endian(size);
    index = wire::big_endian(index);
    return c_rpc_header_size;
}

size_t ExWriteContextId(ExWriteCursor& cursor, uint32_t context_id) {
    return EXPackUINT32BITFIELD(context_id, cursor);
}

size_t ExReadContextId(ExReadCursor& cursor, uint32_t& context_id) {
    const uint8_t* bytes = consume(cursor, sizeof(context_id));
    if (bytes == nullptr) {
        return 0;
    }
    memcpy(&context_id, bytes, sizeof(context_id));
    context_id = wire::big_endian(context_id);
    return sizeof(context_id);
}

// --- Integers and flags ----------------------------------------------------------------------------------------------

size_t wire::skip_number_header(ExReadCursor& cursor) {
    ExBerHeader header{};
    return EXReadBERHeader(cursor, header);
}

// The bits of an unpacked number in the caller's own integer type.
template <typename Unsigned, typename Value>
static size_t take_as(Value* value, ExReadCursor& cursor) {
    static_assert(sizeof(Unsigned) == sizeof(Value));
    Unsigned bits;
    const size_t size = take_number(bits, cursor);
    if (size != 0) {
        *value = static_cast<Value>(bits);
    }
    return size;
}

size_t EXPackBOOLEAN(const uint8_t* value, ExWriteCursor& cursor) {
    uint8_t* bytes = claim(cursor, 3);
    if (bytes == nullptr) {
        return 0;
    }
    bytes[0] = 0x01;
    bytes[1] = 0x01;
    bytes[2] = *value == 1 ? 0xFF : 0x00;
    return 3;
}

size_t EXPackUINT8(const uint8_t* value, ExWriteCursor& cursor) {
    return put_number<uint8_t>(*value, cursor);
}

size_t EXPackINT8(const int8_t* value, ExWriteCursor& cursor) {
    return put_number<uint8_t>(static_cast<uint8_t>(*value), cursor);
}

size_t EXPackchar(const char* value, ExWriteCursor& cursor) {
    return put_number<uint8_t>(static_cast<uint8_t>(*value), cursor);
}

size_t EXPackUINT16(const uint16_t* value, ExWriteCursor& cursor) {
    return put_number<uint16_t>(*value, cursor);
}

size_t EXPackINT16(const int16_t* value, ExWriteCursor& cursor) {
    return put_number<uint16_t>(static_cast<uint16_t>(*value), cursor);
}

size_t EXPackUINT32(const uint32_t* value, ExWriteCursor& cursor) {
    return put_number<uint32_t>(*value, cursor);
}

size_t EXPackINT32(const int32_t* value, ExWriteCursor& cursor) {
    return put_number<uint32_t>(static_cast<uint32_t>(*value), cursor);
}

size_t EXPackENUM(const int32_t* value, ExWriteCursor& cursor) {
    return EXPackINT32(value, cursor);
}

size_t EXPackUINT64(const uint64_t* value, ExWriteCursor& cursor) {
    return put_number<uint64_t>(*value, cursor);
}

size_t EXPackINT64(const int64_t* value, ExWriteCursor& cursor) {
    return put_number<uint64_t>(static_cast<uint64_t>(*value), cursor);
}

size_t EXPackUINT32BITFIELD(uint32_t value, ExWriteCursor& cursor) {
    uint8_t* bytes = claim(cursor, sizeof(value));
    if (bytes == nullptr) {
        return 0;
    }
    value = wire::big_endian(value);
    memcpy(bytes, &value, sizeof(value));
    return sizeof(value);
}

size_t EXPackNULLStruct(ExWriteCursor& cursor) {
    uint8_t* bytes = claim(cursor, sizeof(c_null_form));
    if (bytes == nullptr) {
        return 0;
    }
    memcpy(bytes, c_null_form, sizeof(c_null_form));
    return sizeof(c_null_form);
}

size_t EXPackVoid(ExWriteCursor&) {
    return 0;
}

size_t EXUnpackBOOLEAN(uint8_t* value, ExReadCursor& cursor) {
    const size_t size = EXUnpackUINT8(value, cursor);
    if (size != 0) {
        *value = *value == 0xFF ? 1 : 0;
    }
    return size;
}

size_t EXUnpackUINT8(uint8_t* value, ExReadCursor& cursor) {
    return take_as<uint8_t>(value, cursor);
}

size_t EXUnpackINT8(int8_t* value, ExReadCursor& cursor) {
    return take_as<uint8_t>(value, cursor);
}

size_t EXUnpackchar(char* value, ExReadCursor& cursor) {
    return take_as<uint8_t>(value, cursor);
}

size_t EXUnpackUINT16(uint16_t* value, ExReadCursor& cursor) {
    return take_as<uint16_t>(value, cursor);
}

size_t EXUnpackINT16(int16_t* value, ExReadCursor& cursor) {
    return take_as<uint16_t>(value, cursor);
}

size_t EXUnpackUINT32(uint32_t* value, ExReadCursor& cursor) {
    return take_as<uint32_t>(value, cursor);
}

size_t EXUnpackINT32(int32_t* value, ExReadCursor& cursor) {
    return take_as<uint32_t>(value, cursor);
}

size_t EXUnpackENUM(int32_t* value, ExReadCursor& cursor) {
    return take_as<uint32_t>(value, cursor);
}

size_t EXUnpackUINT64(uint64_t* value, ExReadCursor& cursor) {
    return take_as<uint64_t>(value, cursor);
}

size_t EXUnpackINT64(int64_t* value, ExReadCursor& cursor) {
    return take_as<uint64_t>(value, cursor);
}

static bool at_null_form(const ExReadCursor& cursor) {
    return wire::left(cursor) >= sizeof(c_null_form) && memcmp(cursor.next, c_null_form, sizeof(c_null_form)) == 0;
}

size_t EXUnpackNULLStruct(ExReadCursor& cursor) {
    if (!at_null_form(cursor)) {
        ExFail(cursor, "there is no null");
        return 0;
    }
    cursor.next += sizeof(c_null_form);
    return sizeof(c_null_form);
}

size_t EXUnpackVoid(ExReadCursor&) {
    return 0;
}

// --- Octet strings ---------------------------------------------------------------------------------------------------

static size_t pack_octets(const void* source, ExWriteCursor& cursor, uint32_t count, uint32_t type, bool static_form) {
    const uint64_t length = uint64_t{count} << ExOctetShift(type);
    uint8_t* at = nullptr;
    if (length <= c_octets_max) {
        at = wire::octets_below(cursor.next + 1, cursor.base, source, static_cast<uint32_t>(length), count, type,
                                static_form);
    }
    return wire::moved_to(at, cursor);
}

size_t EXPackOCTETSTRINGStatic(const void* source, ExWriteCursor& cursor, uint32_t count, uint32_t type) {
    return pack_octets(source, cursor, count, type, true);
}

size_t EXPackOCTETSTRINGMalloc(const void* source, ExWriteCursor& cursor, uint32_t count, uint32_t type) {
    if (source == nullptr) {
        return EXPackNULLStruct(cursor);
    }
    return pack_octets(source, cursor, count, type, false);
}

size_t ExPackEnumArray(const void* source, ExWriteCursor& cursor, uint32_t count, size_t element_size) {
    uint32_t type = c_octets_8;
    switch (element_size) {
        case 2:
            type = c_octets_16;
            break;
        case 4:
            type = c_octets_32;
            break;
        case 8:
            type = c_octets_64;
            break;
        default:
            break;
    }
    return EXPackOCTETSTRINGStatic(source, cursor, count, type);
}

struct OctetHeader {
    uint32_t type;
    uint64_t length;  // bytes of data
    uint32_t total;
    uint32_t pad;
};

static bool take_octet_header(ExReadCursor& cursor, OctetHeader& octets) {
    ExBerHeader header{};
    EXReadBERHeader(cursor, header);
    take_number(octets.total, cursor);
    take_number(octets.pad, cursor);
    octets.type = header.tag;
    octets.length = uint64_t{header.length} << ExOctetShift(header.tag);
    return !cursor.failed;
}

// The data of a string with its padding, tested against what the packet still has.
static const uint8_t* take_octet_data(ExReadCursor& cursor, const OctetHeader& octets) {
    if (octets.length + octets.pad > wire::left(cursor)) {
        ExFail(cursor, "an octet string is longer than what is left");
        return nullptr;
    }
    return consume(cursor, static_cast<size_t>(octets.length) + octets.pad);
}

size_t EXUnpackOCTETSTRINGStatic(void* destination, size_t capacity, ExReadCursor& cursor) {
    const uint8_t* start = cursor.next;
    if (at_null_form(cursor)) {
        return EXUnpackNULLStruct(cursor);
    }
    OctetHeader octets{};
    if (!take_octet_header(cursor, octets)) {
        return 0;
    }
    const size_t wanted = octets.total != 0 ? 0 : size_t{1} << ExOctetShift(octets.type);
    if (wanted > capacity || (octets.total != 0 && octets.length > capacity)) {
        ExFail(cursor, "an octet string is longer than its array");
        return 0;
    }
    if (octets.total == 0) {
        memset(destination, 0, wanted);
        return static_cast<size_t>(cursor.next - start);
    }
    const uint8_t* data = take_octet_data(cursor, octets);
    if (data == nullptr) {
        return 0;
    }
    memcpy(destination, data, static_cast<size_t>(octets.length));
    return static_cast<size_t>(cursor.next - start);
}

size_t EXUnpackOCTETSTRINGMalloc(void** destination, size_t* length, ExReadCursor& cursor, MemTable& mem_table) {
    const uint8_t* start = cursor.next;
    *destination = nullptr;
    if (length != nullptr) {
        *length = 0;
    }
    if (at_null_form(cursor)) {
        return EXUnpackNULLStruct(cursor);
    }
    OctetHeader octets{};
    if (!take_octet_header(cursor, octets)) {
        return 0;
    }
    if (octets.length == 0) {
        return static_cast<size_t>(cursor.next - start);
    }
    const uint8_t* data = take_octet_data(cursor, octets);
    void* block = data == nullptr ? nullptr : PgenAllocNew(static_cast<size_t>(octets.length), mem_table);
    if (block == nullptr) {
        ExFail(cursor, "there is no memory");
        return 0;
    }
    memcpy(block, data, static_cast<size_t>(octets.length));
    *destination = block;
    if (length != nullptr) {
        *length = static_cast<size_t>(octets.length);
    }
    return static_cast<size_t>(cursor.next - start);
}
