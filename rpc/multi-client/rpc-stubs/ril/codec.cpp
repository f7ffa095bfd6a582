#include "rpc/multi-client/rpc-stubs/ril/codec.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/fixed_image.h"
#include "rpc/multi-client/rpc-stubs/ril/wire_cursor.h"

namespace uta {

using wire::left;
using wire::put_number;
using wire::take_number;

uint64_t load_number(const void* memory, size_t width) {
    uint64_t value = 0;
    memcpy(&value, memory, width);  // little-endian: the low bytes come first
    return value;
}

void store_number(void* memory, size_t width, uint64_t value) {
    memcpy(memory, &value, width);
}

template <typename T>
static T load(const uint8_t* memory) {
    T value;
    memcpy(&value, memory, sizeof(value));
    return value;
}

template <typename T>
static void store(uint8_t* memory, T value) {
    memcpy(memory, &value, sizeof(value));
}

static const Record& record_at(uint16_t id) {
    return c_records[id];
}

static const fixed::Plan& plan_of(const Record& record) {
    return fixed::c_tables.plans[static_cast<size_t>(&record - c_records.data())];
}

static uint32_t octet_type(Type type) {
    switch (type) {
        case Type::octets16:
            return c_octets_16;
        case Type::octets32:
            return c_octets_32;
        default:
            return c_octets_8;
    }
}

// NOLINTBEGIN(misc-no-recursion): records nest as deep as the catalogue says, whatever the packet.

// --- Packing ---------------------------------------------------------------------------------------------------------

static void pack_case(std::span<const Field> fields, size_t index, const uint8_t* memory, ExWriteCursor& cursor) {
    const Field& field = fields[index];
    const Field* chosen = case_of(fields, index, load_number(memory + field.aux, field.width));
    if (chosen != nullptr) {
        pack_record(record_at(chosen->record), memory + field.offset, cursor);
    }
}

static void pack_elements(const Field& field, const uint8_t* memory, ExWriteCursor& cursor) {
    const Record& element = record_at(field.record);
    const uint64_t count = load_number(memory + field.aux, field.width);
    const auto* at = load<const uint8_t*>(memory + field.offset);
    for (uint64_t i = 0; at != nullptr && i < count && !cursor.failed; ++i) {
        pack_record(element, at, cursor);
        at += element.size;
    }
}

static void pack_field(std::span<const Field> fields, size_t index, const uint8_t* memory, ExWriteCursor& cursor,
                       size_t array_count) {
    const Field& field = fields[index];
    const uint8_t* at = memory + field.offset;
    switch (field.type) {
        case Type::u8:
        case Type::i8:
        case Type::u16:
        case Type::i16:
        case Type::u32:
        case Type::i32:
        case Type::enumeration:
            ExFail(cursor);  // pack_numbers() found no room
            break;
        case Type::flag:
            EXPackBOOLEAN(at, cursor);
            break;
        case Type::u64:
        case Type::i64:
            put_number(load<uint64_t>(at), cursor);
            break;
        case Type::enum8:
            put_number<uint32_t>(*at, cursor);
            break;
        case Type::enum16:
            put_number<uint32_t>(load<uint16_t>(at), cursor);
            break;
        case Type::callback:
            put_number(static_cast<uint32_t>(load<uintptr_t>(at)), cursor);
            break;
        case Type::octets:
        case Type::text:
        case Type::octets16:
        case Type::octets32:
            EXPackOCTETSTRINGStatic(at, cursor, field.count, octet_type(field.type));
            break;
        case Type::array:
            EXPackOCTETSTRINGStatic(at, cursor, static_cast<uint32_t>(array_count), c_octets_8);
            break;
        case Type::counted_octets:
            EXPackOCTETSTRINGMalloc(load<const void*>(at), cursor,
                                    static_cast<uint32_t>(load_number(memory + field.aux, field.width)), c_octets_8);
            break;
        case Type::record:
            for (size_t i = 0; i < field.count; ++i) {
                pack_record(record_at(field.record), at, cursor);
                at += record_at(field.record).size;
            }
            break;
        case Type::optional:
            if (const void* target = load<const void*>(at); target != nullptr) {
                pack_record(record_at(field.record), target, cursor);
            } else {
                EXPackNULLStruct(cursor);
            }
            break;
        case Type::elements:
            pack_elements(field, memory, cursor);
            break;
        case Type::union_:
            pack_case(fields, index, memory, cursor);
            break;
        case Type::case_:
        case Type::memory:
        case Type::context_id:
            break;
    }
}

template <typename Unsigned>
static uint8_t* write_row(uint8_t* at, const uint8_t* memory, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        at -= 2 + sizeof(Unsigned);
        wire::write_number(at, load<Unsigned>(memory + i * sizeof(Unsigned)));
    }
    return at;
}

// The plain numbers from `index` on, as far as there is room; the field behind them. Most of a record are such, and
// they are written through a pointer of our own: the cursor's would be loaded and stored for each.
static size_t pack_numbers(std::span<const Field> fields, size_t index, const uint8_t* memory, ExWriteCursor& cursor) {
    uint8_t* at = cursor.next + 1;
    const uint8_t* base = cursor.base;
    for (; index < fields.size() && is_plain_number(fields[index].type); ++index) {
        const Field& field = fields[index];
        const uint8_t* from = memory + field.offset;
        if (static_cast<size_t>(at - base) < field.count * (size_t{2} + field.width)) {
            break;
        }
        at = field.width == sizeof(uint32_t)   ? write_row<uint32_t>(at, from, field.count)
             : field.width == sizeof(uint16_t) ? write_row<uint16_t>(at, from, field.count)
                                               : write_row<uint8_t>(at, from, field.count);
    }
    cursor.next = at - 1;
    return index;
}

size_t pack_record(const Record& record, const void* memory, ExWriteCursor& cursor, size_t array_count) {
    const auto* bytes = static_cast<const uint8_t*>(memory);
    if (const fixed::Plan& plan = plan_of(record); plan.size != 0) {
        uint8_t* image = wire::claim(cursor, plan.size);
        if (image == nullptr) {
            return 0;
        }
        fixed::pack(plan, bytes, image);
        return plan.size;
    }
    const uint8_t* end = cursor.next;
    const std::span<const Field> fields = fields_of(record);
    for (size_t i = 0; (i = pack_numbers(fields, i, bytes, cursor)) < fields.size(); ++i) {
        pack_field(fields, i, bytes, cursor, array_count);
    }
    if (record.tag.count != 0) {
        wire::put_header(record.tag, cursor, static_cast<size_t>(end - cursor.next));
    }
    return static_cast<size_t>(end - cursor.next);
}

// --- Unpacking -------------------------------------------------------------------------------------------------------

// Consumes the header of a record and narrows the cursor to its content. The length has to fit into what is left. The
// tag is not compared: the place says which record this is.
static bool enter(ExReadCursor& cursor, const uint8_t*& outer_end) {
    outer_end = cursor.end;
    ExBerHeader header;
    wire::take_header(cursor, header);
    if (header.length > left(cursor)) {
        ExFail(cursor, "a record is longer than what is left");
    }
    if (cursor.failed) {
        return false;
    }
    cursor.end = cursor.next + header.length;
    return true;
}

// Goes to where the header said that the content ends. What stands between belongs to nobody. A cursor that has failed
// stays closed.
static bool leave(ExReadCursor& cursor, const uint8_t* outer_end) {
    if (cursor.failed) {
        return false;
    }
    cursor.next = cursor.end;
    cursor.end = outer_end;
    return true;
}

static bool take_null(ExReadCursor& cursor) {
    if (left(cursor) < 2 || cursor.next[0] != 0x05 || cursor.next[1] != 0x00) {
        return false;
    }
    cursor.next += 2;
    return true;
}

static void unpack_case(std::span<const Field> fields, size_t index, uint8_t* memory, ExReadCursor& cursor,
                        MemTable& mem_table) {
    const Field& field = fields[index];
    const Field* chosen = case_of(fields, index, load_number(memory + field.aux, field.width));
    if (chosen != nullptr) {
        unpack_record(record_at(chosen->record), memory + field.offset, cursor, mem_table);
    }
}

// The count was read before; it has to be one that the rest of the record can hold.
static void unpack_elements(const Field& field, uint8_t* memory, ExReadCursor& cursor, MemTable& mem_table) {
    const Record& element = record_at(field.record);
    const uint64_t count = load_number(memory + field.aux, field.width);
    store<void*>(memory + field.offset, nullptr);
    if (count == 0) {
        return;
    }
    if (count > left(cursor) / (element.min_wire == 0 ? size_t{1} : element.min_wire)) {
        ExFail(cursor, "a list is longer than what is left");
        return;
    }
    const uint64_t size = count * element.size;
    auto* block =
        size > INT32_MAX ? nullptr : static_cast<uint8_t*>(PgenAllocNew(static_cast<size_t>(size), mem_table));
    if (block == nullptr) {
        ExFail(cursor, "there is no memory");
        return;
    }
    for (size_t i = static_cast<size_t>(count); i-- > 0 && !cursor.failed;) {
        unpack_record(element, block + i * element.size, cursor, mem_table);
    }
    store(memory + field.offset, block);
}

template <typename Wire, typename Memory>
static void take_row(const Field& field, uint8_t* at, ExReadCursor& cursor) {
    for (size_t i = field.count; i-- > 0;) {
        Wire value;
        if (take_number(value, cursor) == 0) {
            return;
        }
        store(at + i * sizeof(Memory), static_cast<Memory>(value));
    }
}

static void unpack_optional(const Field& field, uint8_t* at, ExReadCursor& cursor, MemTable& mem_table) {
    store<void*>(at, nullptr);
    if (take_null(cursor)) {
        return;
    }
    const Record& record = record_at(field.record);
    void* block = PgenAllocNew(record.size, mem_table);
    if (block == nullptr) {
        ExFail(cursor, "there is no memory");
        return;
    }
    if (unpack_record(record, block, cursor, mem_table)) {
        store(at, block);
    }
}

static void unpack_field(std::span<const Field> fields, size_t index, uint8_t* memory, ExReadCursor& cursor,
                         MemTable& mem_table, size_t array_count) {
    const Field& field = fields[index];
    uint8_t* at = memory + field.offset;
    switch (field.type) {
        case Type::enumeration:
        case Type::u32:
        case Type::i32:
            take_row<uint32_t, uint32_t>(field, at, cursor);
            break;
        case Type::u16:
        case Type::i16:
            take_row<uint16_t, uint16_t>(field, at, cursor);
            break;
        case Type::u8:
        case Type::i8:
            take_row<uint8_t, uint8_t>(field, at, cursor);
            break;
        case Type::flag:
            EXUnpackBOOLEAN(at, cursor);
            break;
        case Type::u64:
        case Type::i64:
            take_row<uint64_t, uint64_t>(field, at, cursor);
            break;
        case Type::enum8:
            take_row<uint32_t, uint8_t>(field, at, cursor);
            break;
        case Type::enum16:
            take_row<uint32_t, uint16_t>(field, at, cursor);
            break;
        case Type::callback:
            take_row<uint32_t, uintptr_t>(field, at, cursor);
            break;
        case Type::text:
            EXUnpackOCTETSTRINGStatic(at, field.count, cursor);
            at[field.count - 1] = 0;  // whoever reads it as a string finds an end
            break;
        case Type::octets:
        case Type::octets16:
        case Type::octets32:
            EXUnpackOCTETSTRINGStatic(at, size_t{field.count} * field.width, cursor);
            break;
        case Type::array:
            // One of no octets has room for one: what says that nothing follows clears an element.
            EXUnpackOCTETSTRINGStatic(at, std::max<size_t>(array_count, 1), cursor);
            break;
        case Type::record:
            for (size_t i = field.count; i-- > 0;) {
                unpack_record(record_at(field.record), at + i * record_at(field.record).size, cursor, mem_table);
            }
            break;
        case Type::optional:
            unpack_optional(field, at, cursor, mem_table);
            break;
        case Type::elements:
            unpack_elements(field, memory, cursor, mem_table);
            break;
        case Type::union_:
            unpack_case(fields, index, memory, cursor, mem_table);
            break;
        case Type::counted_octets:  // in unpack_counted()
        case Type::case_:
        case Type::memory:
        case Type::context_id:
            break;
    }
}

static constexpr size_t c_max_counted = 4;  // counted octets in one record

static_assert(
    [] {
        for (const Record& record : c_records) {
            size_t count = 0;
            for (const Field& field : fields_of(record)) {
                count += field.type == Type::counted_octets ? 1 : 0;
            }
            if (count > c_max_counted) {
                return false;
            }
        }
        return true;
    }(),
    "c_max_counted is too small for a record");

// The fields of a record that has counted octets. Whoever reads them goes by the count field, so that one must not
// promise more than the string has; with a null pointer it is 0.
static void unpack_counted(const Record& record, uint8_t* memory, ExReadCursor& cursor, MemTable& mem_table) {
    const std::span<const Field> fields = fields_of(record);
    size_t lengths[c_max_counted] = {};
    size_t* length = lengths;
    for (size_t i = fields.size(); i-- > 0;) {
        if (fields[i].type == Type::counted_octets) {
            void* block = nullptr;
            EXUnpackOCTETSTRINGMalloc(&block, length++, cursor, mem_table);
            store(memory + fields[i].offset, block);
        } else {
            unpack_field(fields, i, memory, cursor, mem_table, 1);
        }
    }
    length = lengths;
    for (size_t i = fields.size(); i-- > 0;) {
        if (fields[i].type != Type::counted_octets) {
            continue;
        }
        if (*length == 0) {
            store_number(memory + fields[i].aux, fields[i].width, 0);
        } else if (load_number(memory + fields[i].aux, fields[i].width) > *length) {
            ExFail(cursor, "a count is more than its octets");
        }
        ++length;
    }
}

template <typename Unsigned>
static const uint8_t* read_row(const uint8_t* next, uint8_t* memory, size_t count) {
    constexpr unsigned c_header = 0x02U | static_cast<unsigned>(sizeof(Unsigned)) << 8;
    for (size_t i = count; i-- > 0; next += 2 + sizeof(Unsigned)) {
        if (load<uint16_t>(next) != c_header) {
            return nullptr;
        }
        store(memory + i * sizeof(Unsigned), wire::big_endian(load<Unsigned>(next + 2)));
    }
    return next;
}

// The plain numbers in front of field `end`, as far as they are there in our own form; the end of those in front of
// them. As in pack_numbers(), with a pointer of our own.
static size_t unpack_numbers(std::span<const Field> fields, size_t end, uint8_t* memory, ExReadCursor& cursor) {
    const uint8_t* next = cursor.next;
    const uint8_t* packet_end = cursor.end;
    for (; end > 0 && is_plain_number(fields[end - 1].type); --end) {
        const Field& field = fields[end - 1];
        uint8_t* to = memory + field.offset;
        if (static_cast<size_t>(packet_end - next) < field.count * (size_t{2} + field.width)) {
            break;
        }
        const uint8_t* behind = field.width == sizeof(uint32_t)   ? read_row<uint32_t>(next, to, field.count)
                                : field.width == sizeof(uint16_t) ? read_row<uint16_t>(next, to, field.count)
                                                                  : read_row<uint8_t>(next, to, field.count);
        if (behind == nullptr) {
            break;
        }
        next = behind;
    }
    cursor.next = next;
    return end;
}

bool unpack_record(const Record& record, void* memory, ExReadCursor& cursor, MemTable& mem_table, size_t array_count) {
    auto* bytes = static_cast<uint8_t*>(memory);
    const fixed::Plan& plan = plan_of(record);
    if (plan.size != 0 && left(cursor) >= plan.size && fixed::unpack(plan, cursor.next, bytes)) {
        cursor.next += plan.size;
        return true;
    }
    const uint8_t* outer_end = nullptr;
    const bool header = record.tag.count != 0;
    if (header && !enter(cursor, outer_end)) {
        return false;
    }
    if (record.has_counted) {
        unpack_counted(record, bytes, cursor, mem_table);
    } else {
        const std::span<const Field> fields = fields_of(record);
        for (size_t i = fields.size(); (i = unpack_numbers(fields, i, bytes, cursor)) > 0; --i) {
            unpack_field(fields, i - 1, bytes, cursor, mem_table, array_count);
        }
    }
    return header ? leave(cursor, outer_end) : !cursor.failed;
}

// NOLINTEND(misc-no-recursion)

}  // namespace uta
