#include "rpc/multi-client/rpc-stubs/ril/codec.h"

#include <algorithm>
#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/flat.h"
#include "rpc/multi-client/rpc-stubs/ril/image.h"
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

// --- Images ----------------------------------------------------------------------------------------------------------

static const uint8_t* bytes_of(const image::Image& image) {
    return image::c_tables.bytes.data() + image.bytes;
}

static std::span<const image::Spot> spots_of(const image::Image& image, size_t kind) {
    const image::Spot* spots = image::c_tables.spots.data();
    return {spots + image.spots[kind], spots + image.spots[kind + 1]};
}

template <typename Unsigned>
static void fill(const image::Image& image, uint8_t* wire, const uint8_t* memory) {
    for (const image::Spot& spot : spots_of(image, image::kind_of(sizeof(Unsigned)))) {
        store(wire + spot.wire, wire::big_endian(load<Unsigned>(memory + spot.memory)));
    }
}

static uint8_t* image_below(uint8_t* at, const uint8_t* base, const image::Image& image, const uint8_t* memory) {
    if (static_cast<size_t>(at - base) < image.size) [[unlikely]] {
        return nullptr;
    }
    at -= image.size;
    memcpy(at, bytes_of(image), image.size);
    fill<uint32_t>(image, at, memory);
    fill<uint16_t>(image, at, memory);
    fill<uint8_t>(image, at, memory);
    return at;
}

// A number's header in our own form, as it is loaded.
template <typename Unsigned>
constexpr unsigned c_header = 0x02U | static_cast<unsigned>(sizeof(Unsigned)) << 8;

// Takes the values of one width; not 0 if a number has another header.
template <typename Unsigned>
static unsigned take_out(const image::Image& image, const uint8_t* wire, uint8_t* memory) {
    unsigned difference = 0;
    for (const image::Spot& spot : spots_of(image, image::kind_of(sizeof(Unsigned)))) {
        difference |= load<uint16_t>(wire + spot.wire - 2) ^ c_header<Unsigned>;
        store(memory + spot.memory, wire::big_endian(load<Unsigned>(wire + spot.wire)));
    }
    return difference;
}

// The values of the `image.size` bytes at `wire`, into `memory`. False if they are not this image: `memory` has been
// written to then.
static bool take_image(const image::Image& image, const uint8_t* wire, uint8_t* memory) {
    unsigned difference = 0;
    for (const image::Spot& spot : spots_of(image, image::c_headers)) {
        difference |= load<uint32_t>(wire + spot.wire) ^ load<uint32_t>(bytes_of(image) + spot.wire);
    }
    difference |= take_out<uint8_t>(image, wire, memory);
    difference |= take_out<uint16_t>(image, wire, memory);
    difference |= take_out<uint32_t>(image, wire, memory);
    return difference == 0;
}

// NOLINTBEGIN(misc-no-recursion): records nest as deep as the catalogue says, whatever the packet.

// --- Packing ---------------------------------------------------------------------------------------------------------

static uint8_t* pack_below(uint8_t* at, uint8_t* base, size_t id, const uint8_t* bytes, size_t array_count);

static uint8_t* case_below(uint8_t* at, uint8_t* base, const flat::Step& step, const uint8_t* bytes) {
    const uint64_t value = load_number(bytes + step.aux, step.width);
    const Field* chosen = case_of(detail::c_tables.fields, step.count, value);
    return chosen == nullptr ? at : pack_below(at, base, chosen->record, bytes + step.offset, 1);
}

static uint8_t* elements_below(uint8_t* at, uint8_t* base, const flat::Step& step, const uint8_t* bytes) {
    const uint64_t count = load_number(bytes + step.aux, step.width);
    const auto* element = load<const uint8_t*>(bytes + step.offset);
    for (uint64_t i = 0; element != nullptr && i < count && at != nullptr; ++i) {
        at = pack_below(at, base, step.count, element, 1);
        element += c_records[step.count].size;
    }
    return at;
}

// The steps of which there are few. In line they would take registers from the loop.
[[gnu::noinline]] static uint8_t* rare_below(uint8_t* at, uint8_t* base, const flat::Step& step, const uint8_t* bytes,
                                             size_t array_count) {
    const uint8_t* from = bytes + step.offset;
    ExWriteCursor cursor{base, at - 1, false};
    switch (step.type) {
        case Type::flag:
            EXPackBOOLEAN(from, cursor);
            break;
        case Type::enum8:
            put_number<uint32_t>(*from, cursor);
            break;
        case Type::callback:
            put_number(static_cast<uint32_t>(load<uintptr_t>(from)), cursor);
            break;
        case Type::array:
            EXPackOCTETSTRINGStatic(from, cursor, static_cast<uint32_t>(array_count), c_octets_8);
            break;
        case Type::counted_octets:
            EXPackOCTETSTRINGMalloc(load<const void*>(from), cursor,
                                    static_cast<uint32_t>(load_number(bytes + step.aux, step.width)), c_octets_8);
            break;
        case Type::optional:
            EXPackNULLStruct(cursor);
            break;
        case Type::elements:
            return elements_below(at, base, step, bytes);
        case Type::union_:
            return case_below(at, base, step, bytes);
        default:
            break;
    }
    return cursor.failed ? nullptr : cursor.next + 1;
}

// Numbers that stand behind each other in memory.
template <typename Unsigned>
static uint8_t* row_below(uint8_t* at, const uint8_t* base, const uint8_t* memory, const flat::Step& step) {
    if (static_cast<size_t>(at - base) < step.aux) [[unlikely]] {
        return nullptr;
    }
    size_t count = step.count;
    do {
        at -= 2 + sizeof(Unsigned);
        wire::write_number(at, load<Unsigned>(memory));
        memory += sizeof(Unsigned);
    } while (--count != 0);
    return at;
}

// Step by step. In line it would slow down the way of the image.
[[gnu::noinline]] static uint8_t* steps_below(uint8_t* at, uint8_t* base, size_t id, const uint8_t* bytes,
                                              size_t array_count) {
    const uint8_t* ends[flat::c_sums.max_depth] = {};  // of the records that have begun
    const uint8_t** end = ends;
    for (const flat::Step& step : flat::steps_of(id)) {
        const auto from = [&] { return bytes + step.offset; };
        switch (step.type) {
            case Type::begin:
                *end++ = at;
                break;
            case Type::end:
                at = wire::header_below(at, base, flat::tag_of(step), static_cast<size_t>(*--end - at));
                break;
            case Type::u8:
            case Type::i8:
                at = row_below<uint8_t>(at, base, from(), step);
                break;
            case Type::u16:
            case Type::i16:
                at = row_below<uint16_t>(at, base, from(), step);
                break;
            case Type::u32:
            case Type::i32:
            case Type::enumeration:
                at = row_below<uint32_t>(at, base, from(), step);
                break;
            case Type::octets:
            case Type::text:
            case Type::octets16:
                at = wire::octets_below(at, base, from(), step.aux, step.count, step.width, true);
                break;
            case Type::settle:
                break;
            case Type::optional:
                if (const auto* target = load<const uint8_t*>(from()); target != nullptr) {
                    at = pack_below(at, base, step.count, target, 1);
                    break;
                }
                [[fallthrough]];
            case Type::flag:
            case Type::enum8:
            case Type::callback:
            case Type::array:
            case Type::counted_octets:
            case Type::elements:
            case Type::union_:
                at = rare_below(at, base, step, bytes, array_count);
                break;
            default:
                __builtin_unreachable();
        }
        if (at == nullptr) [[unlikely]] {
            break;
        }
    }
    return at;
}

// A record below `at`, its header included. Null when it does not fit above `base`, else where it begins.
static uint8_t* pack_below(uint8_t* at, uint8_t* base, size_t id, const uint8_t* bytes, size_t array_count) {
    const image::Image& image = image::c_tables.images[id];
    return image.size != 0 ? image_below(at, base, image, bytes) : steps_below(at, base, id, bytes, array_count);
}

size_t pack_record(const Record& record, const void* memory, ExWriteCursor& cursor, size_t array_count) {
    const auto id = static_cast<size_t>(&record - c_records.data());
    return wire::moved_to(
        pack_below(cursor.next + 1, cursor.base, id, static_cast<const uint8_t*>(memory), array_count), cursor);
}

// --- Unpacking -------------------------------------------------------------------------------------------------------

// Consumes the header of a record and narrows the cursor to its content. The length has to fit into what is left. The
// tag is not compared: the place says which record this is.
static void enter(ExReadCursor& cursor) {
    ExBerHeader header;
    wire::take_header(cursor, header);
    if (header.length > left(cursor)) {
        ExFail(cursor, "a record is longer than what is left");
    } else {
        cursor.end = cursor.next + header.length;
    }
}

static bool take_null(ExReadCursor& cursor) {
    if (left(cursor) < 2 || cursor.next[0] != 0x05 || cursor.next[1] != 0x00) {
        return false;
    }
    cursor.next += 2;
    return true;
}

static void unpack_case(const flat::Step& step, uint8_t* memory, ExReadCursor& cursor, MemTable& mem_table) {
    const Field* chosen = case_of(detail::c_tables.fields, step.count, load_number(memory + step.aux, step.width));
    if (chosen != nullptr) {
        unpack_record(record_at(chosen->record), memory + step.offset, cursor, mem_table);
    }
}

// The count was read before; it has to be one that the rest of the record can hold.
static void unpack_elements(const flat::Step& step, uint8_t* memory, ExReadCursor& cursor, MemTable& mem_table) {
    const Record& element = record_at(step.count);
    const uint64_t count = load_number(memory + step.aux, step.width);
    store<void*>(memory + step.offset, nullptr);
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
    store(memory + step.offset, block);
}

template <typename Wire, typename Memory = Wire>
static void take(uint8_t* at, ExReadCursor& cursor) {
    Wire value;
    if (take_number(value, cursor) != 0) {
        store(at, static_cast<Memory>(value));
    }
}

static void unpack_optional(const flat::Step& step, uint8_t* at, ExReadCursor& cursor, MemTable& mem_table) {
    store<void*>(at, nullptr);
    if (take_null(cursor)) {
        return;
    }
    const Record& record = record_at(step.count);
    void* block = PgenAllocNew(record.size, mem_table);
    if (block == nullptr) {
        ExFail(cursor, "there is no memory");
        return;
    }
    if (unpack_record(record, block, cursor, mem_table)) {
        store(at, block);
    }
}

template <typename Unsigned>
static void take_row(uint8_t* memory, size_t count, ExReadCursor& cursor) {
    for (size_t i = count; i-- > 0;) {
        take<Unsigned>(memory + i * sizeof(Unsigned), cursor);
    }
}

[[gnu::noinline]] static void unpack_rare(const flat::Step& step, uint8_t* memory, ExReadCursor& cursor,
                                          MemTable& mem_table, size_t array_count) {
    uint8_t* at = memory + step.offset;
    switch (step.type) {
        case Type::u8:
        case Type::i8:
            take_row<uint8_t>(at, step.count, cursor);
            break;
        case Type::u16:
        case Type::i16:
            take_row<uint16_t>(at, step.count, cursor);
            break;
        case Type::u32:
        case Type::i32:
        case Type::enumeration:
            take_row<uint32_t>(at, step.count, cursor);
            break;
        case Type::flag:
            EXUnpackBOOLEAN(at, cursor);
            break;
        case Type::enum8:
            take<uint32_t, uint8_t>(at, cursor);
            break;
        case Type::callback:
            take<uint32_t, uintptr_t>(at, cursor);
            break;
        case Type::text:
            EXUnpackOCTETSTRINGStatic(at, step.count, cursor);
            at[step.count - 1] = 0;  // whoever reads it as a string finds an end
            break;
        case Type::octets:
        case Type::octets16:
            EXUnpackOCTETSTRINGStatic(at, step.aux, cursor);
            break;
        case Type::array:
            // One of no octets has room for one: what says that nothing follows clears an element.
            EXUnpackOCTETSTRINGStatic(at, std::max<size_t>(array_count, 1), cursor);
            break;
        case Type::optional:
            unpack_optional(step, at, cursor, mem_table);
            break;
        case Type::elements:
            unpack_elements(step, memory, cursor, mem_table);
            break;
        case Type::union_:
            unpack_case(step, memory, cursor, mem_table);
            break;
        default:
            break;
    }
}

// Whoever reads counted octets goes by the count field, so that one must not promise more than the string has; with a
// null pointer it is 0. `lengths` are those of the record's strings, the last declared first.
static void settle_counts(const Record& record, uint8_t* memory, const size_t* lengths, ExReadCursor& cursor) {
    const std::span<const Field> fields = fields_of(record);
    for (size_t i = fields.size(); i-- > 0;) {
        if (fields[i].type != Type::counted_octets) {
            continue;
        }
        if (*lengths == 0) {
            store_number(memory + fields[i].aux, fields[i].width, 0);
        } else if (load_number(memory + fields[i].aux, fields[i].width) > *lengths) {
            ExFail(cursor, "a count is more than its octets");
        }
        ++lengths;
    }
}

// Numbers in our own form, as they stand at `next`. Null if they do not, or not all of them before `end`; else what is
// behind them.
template <typename Unsigned>
static const uint8_t* own_row(const uint8_t* next, const uint8_t* end, uint8_t* memory, const flat::Step& step) {
    if (static_cast<size_t>(end - next) < step.aux) {
        return nullptr;
    }
    uint8_t* at = memory + step.count * sizeof(Unsigned);
    do {
        if (load<uint16_t>(next) != c_header<Unsigned>) {
            return nullptr;
        }
        at -= sizeof(Unsigned);
        store(at, wire::big_endian(load<Unsigned>(next + 2)));
        next += 2 + sizeof(Unsigned);
    } while (at != memory);
    return next;
}

bool unpack_record(const Record& record, void* memory, ExReadCursor& cursor, MemTable& mem_table, size_t array_count) {
    auto* bytes = static_cast<uint8_t*>(memory);
    const auto id = static_cast<size_t>(&record - c_records.data());
    if (const image::Image& image = image::c_tables.images[id];
        image.size != 0 && left(cursor) >= image.size && take_image(image, cursor.next, bytes)) {
        cursor.next += image.size;
        return true;
    }
    const std::span<const flat::Step> steps = flat::steps_of(id);
    const uint8_t* ends[flat::c_sums.max_depth] = {};  // of what is around the records that have been entered
    const uint8_t** outer = ends;
    size_t lengths[flat::c_sums.max_counted] = {};
    size_t* length = lengths;
    // Pointers of our own, which stay in registers.
    const uint8_t* next = cursor.next;
    const uint8_t* end = cursor.end;
    for (size_t i = steps.size(); i-- > 0;) {
        const flat::Step& step = steps[i];
        uint8_t* to = bytes + step.offset;
        const uint8_t* behind = nullptr;
        switch (step.type) {
            case Type::begin:
                // What stands between the first field and where the header said that the content ends belongs to
                // nobody.
                behind = end;
                end = *--outer;
                break;
            case Type::u8:
            case Type::i8:
                behind = own_row<uint8_t>(next, end, to, step);
                break;
            case Type::u16:
            case Type::i16:
                behind = own_row<uint16_t>(next, end, to, step);
                break;
            case Type::u32:
            case Type::i32:
            case Type::enumeration:
                behind = own_row<uint32_t>(next, end, to, step);
                break;
            default:
                break;
        }
        if (behind == nullptr) {
            cursor.next = next;
            cursor.end = end;
            switch (step.type) {
                case Type::end:
                    *outer++ = end;
                    enter(cursor);
                    break;
                case Type::counted_octets: {
                    void* block = nullptr;
                    EXUnpackOCTETSTRINGMalloc(&block, length++, cursor, mem_table);
                    store(to, block);
                    break;
                }
                case Type::settle:
                    length -= record_at(step.count).n_counted;
                    settle_counts(record_at(step.count), to, length, cursor);
                    break;
                default:
                    unpack_rare(step, bytes, cursor, mem_table, array_count);
                    break;
            }
            if (cursor.failed) {
                return false;
            }
            behind = cursor.next;
            end = cursor.end;
        }
        next = behind;
    }
    cursor.next = next;
    cursor.end = end;
    return true;
}

// NOLINTEND(misc-no-recursion)

}  // namespace uta
