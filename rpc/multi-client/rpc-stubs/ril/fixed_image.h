// Records that consist of numbers and of nested such records always have the same bytes on the wire, but for the
// values. For each of them the tables here hold that image, worked out from the catalogue when this compiles: packing
// copies it and fills in the values, unpacking compares the bytes between the values and takes the values out. No field
// is looked at on the way.
//
// A sender may write a header in another form than ours. Then the image does not match, and the codec walks the record
// field by field.
//
// For the codec only.
#pragma once

#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"
#include "rpc/multi-client/rpc-stubs/ril/wire_cursor.h"

namespace uta::fixed {

// Where a value stands in memory and in the image.
struct Spot {
    uint16_t memory;
    uint16_t wire;
};

constexpr size_t c_widths = 3;  // 8, 16 and 32 bits

struct Plan {
    uint16_t size;  // of the image; 0 for a record that has none
    uint16_t image;
    uint16_t spots[c_widths];  // the first of each width
    uint16_t n_spots[c_widths];
    uint16_t marks;  // four bytes each that cover the headers of records
    uint16_t n_marks;
};

// Position among the widths, or c_widths for a type that keeps a record from being fixed.
constexpr size_t width_index(Type type) {
    switch (type) {
        case Type::u8:
        case Type::i8:
            return 0;
        case Type::u16:
        case Type::i16:
            return 1;
        case Type::u32:
        case Type::i32:
        case Type::enumeration:
            return 2;
        default:
            return c_widths;
    }
}

constexpr size_t length_size(size_t length) {
    return length < 0x80 ? 1 : length < 0x100 ? 2 : 3;
}

using Sizes = std::array<uint16_t, detail::c_record_count>;

// The size of each record's image.
constexpr Sizes make_sizes() {
    Sizes sizes{};
    for (size_t id = 0; id < c_records.size(); ++id) {
        size_t content = 0;
        bool fixed = c_records[id].live;
        for (const Field& field : fields_of(c_records[id])) {
            const size_t index = width_index(field.type);
            const size_t nested = field.type == Type::record ? sizes[field.record] : 0;
            fixed = fixed && (index < c_widths || nested != 0 || field.type == Type::memory);
            if (fixed && field.type != Type::memory) {
                content += field.count * (nested != 0 ? nested : 2 + (size_t{1} << index));
            }
        }
        const size_t header = c_records[id].tag.count == 0 ? 0 : 1 + c_records[id].tag.count + length_size(content);
        if (fixed && content != 0 && header + content < 0x8000) {
            sizes[id] = static_cast<uint16_t>(header + content);
        }
    }
    return sizes;
}

inline constexpr Sizes c_sizes = make_sizes();

// Gives the parts of record `id`'s image to `to`: its bytes, its spots, its marks. `memory` and `wire` say where the
// record begins.
template <typename To>
// NOLINTNEXTLINE(misc-no-recursion): runs when this compiles
constexpr void emit(To& to, size_t id, size_t memory, size_t wire) {
    const Record& record = c_records[id];
    if (record.tag.count != 0) {
        size_t header = 2 + size_t{record.tag.count};
        while (header - 1 - record.tag.count != length_size(c_sizes[id] - header)) {
            ++header;
        }
        const size_t length = c_sizes[id] - header;
        const size_t length_at = wire + 1 + record.tag.count;
        to.byte(wire, 0x7F);
        for (size_t i = 0; i < record.tag.count; ++i) {
            to.byte(wire + 1 + i, record.tag.bytes[i]);
        }
        if (length < 0x80) {
            to.byte(length_at, static_cast<uint8_t>(length));
        } else {
            to.byte(length_at, static_cast<uint8_t>(0x80 | (length_size(length) - 1)));
            for (size_t i = 0; i + 1 < length_size(length); ++i) {
                to.byte(length_at + 1 + i, static_cast<uint8_t>(length >> (8 * i)));
            }
        }
        // Behind a header of three bytes stands another header, so that the fourth byte is fixed too.
        to.mark(wire);
        if (header > 4) {
            to.mark(wire + header - 4);
        }
        wire += header;
    }
    const std::span<const Field> fields = fields_of(record);
    for (size_t i = fields.size(); i-- > 0;) {
        const Field& field = fields[i];
        for (size_t element = field.type == Type::memory ? 0 : field.count; element-- > 0;) {
            if (field.type == Type::record) {
                emit(to, field.record, memory + field.offset + element * c_records[field.record].size, wire);
                wire += c_sizes[field.record];
                continue;
            }
            const size_t index = width_index(field.type);
            to.byte(wire, 0x02);
            to.byte(wire + 1, static_cast<uint8_t>(1U << index));
            to.spot(index, memory + field.offset + (element << index), wire + 2);
            wire += 2 + (size_t{1} << index);
        }
    }
}

struct Counts {
    size_t spots[c_widths];
    size_t marks;
    size_t bytes;

    constexpr void byte(size_t, uint8_t) {}
    constexpr void spot(size_t index, size_t, size_t) { ++spots[index]; }
    constexpr void mark(size_t) { ++marks; }
};

constexpr Counts make_counts() {
    Counts counts{};
    for (size_t id = 0; id < c_sizes.size(); ++id) {
        if (c_sizes[id] != 0) {
            emit(counts, id, 0, 0);
            counts.bytes += c_sizes[id];
        }
    }
    return counts;
}

inline constexpr Counts c_counts = make_counts();

struct Tables {
    std::array<Plan, detail::c_record_count> plans;
    std::array<Spot, c_counts.spots[0]> spots8;
    std::array<Spot, c_counts.spots[1]> spots16;
    std::array<Spot, c_counts.spots[2]> spots32;
    std::array<uint16_t, c_counts.marks> marks;
    std::array<uint8_t, c_counts.bytes> images;
    Counts n;

    constexpr void byte(size_t wire, uint8_t value) { images[n.bytes + wire] = value; }
    constexpr void spot(size_t index, size_t memory, size_t wire) {
        const Spot it{static_cast<uint16_t>(memory), static_cast<uint16_t>(wire)};
        const size_t at = n.spots[index]++;
        (index == 0 ? spots8[at] : index == 1 ? spots16[at] : spots32[at]) = it;
    }
    constexpr void mark(size_t wire) { marks[n.marks++] = static_cast<uint16_t>(wire); }
};

constexpr Tables make_tables() {
    Tables tables{};
    for (size_t id = 0; id < c_sizes.size(); ++id) {
        if (c_sizes[id] == 0) {
            continue;
        }
        const Counts before = tables.n;
        emit(tables, id, 0, 0);
        Plan& plan = tables.plans[id];
        plan.size = c_sizes[id];
        plan.image = static_cast<uint16_t>(before.bytes);
        plan.marks = static_cast<uint16_t>(before.marks);
        plan.n_marks = static_cast<uint16_t>(tables.n.marks - before.marks);
        for (size_t index = 0; index < c_widths; ++index) {
            plan.spots[index] = static_cast<uint16_t>(before.spots[index]);
            plan.n_spots[index] = static_cast<uint16_t>(tables.n.spots[index] - before.spots[index]);
        }
        tables.n.bytes += c_sizes[id];
    }
    return tables;
}

inline constexpr Tables c_tables = make_tables();
static_assert(c_counts.bytes <= UINT16_MAX, "positions of images are 16 bits wide");

template <typename Unsigned>
Unsigned load(const uint8_t* bytes) {
    Unsigned value;
    memcpy(&value, bytes, sizeof(value));
    return value;
}

template <typename Unsigned>
void fill(const Spot* spot, size_t count, const uint8_t* memory, uint8_t* wire) {
    for (const Spot* end = spot + count; spot != end; ++spot) {
        const Unsigned value = wire::big_endian(load<Unsigned>(memory + spot->memory));
        memcpy(wire + spot->wire, &value, sizeof(value));
    }
}

// The image with the values of `memory`, into `plan.size` bytes at `wire`.
inline void pack(const Plan& plan, const uint8_t* memory, uint8_t* wire) {
    memcpy(wire, c_tables.images.data() + plan.image, plan.size);
    fill<uint32_t>(c_tables.spots32.data() + plan.spots[2], plan.n_spots[2], memory, wire);
    fill<uint16_t>(c_tables.spots16.data() + plan.spots[1], plan.n_spots[1], memory, wire);
    fill<uint8_t>(c_tables.spots8.data() + plan.spots[0], plan.n_spots[0], memory, wire);
}

// Takes the values of one width; not 0 if a number's header is not 02 and its width.
template <typename Unsigned>
unsigned take(const Spot* spot, size_t count, const uint8_t* wire, uint8_t* memory) {
    constexpr unsigned c_header = 0x02U | static_cast<unsigned>(sizeof(Unsigned)) << 8;
    unsigned difference = 0;
    for (const Spot* end = spot + count; spot != end; ++spot) {
        const uint8_t* at = wire + spot->wire;
        difference |= load<uint16_t>(at - 2) ^ c_header;
        const Unsigned value = wire::big_endian(load<Unsigned>(at));
        memcpy(memory + spot->memory, &value, sizeof(value));
    }
    return difference;
}

// The values of the `plan.size` bytes at `wire`, into `memory`. False if they are not this image: `memory` has been
// written to then.
inline bool unpack(const Plan& plan, const uint8_t* wire, uint8_t* memory) {
    const uint8_t* image = c_tables.images.data() + plan.image;
    unsigned difference = 0;
    for (size_t i = 0; i < plan.n_marks; ++i) {
        const size_t at = c_tables.marks[plan.marks + i];
        difference |= load<uint32_t>(wire + at) ^ load<uint32_t>(image + at);
    }
    difference |= take<uint32_t>(c_tables.spots32.data() + plan.spots[2], plan.n_spots[2], wire, memory);
    difference |= take<uint16_t>(c_tables.spots16.data() + plan.spots[1], plan.n_spots[1], wire, memory);
    difference |= take<uint8_t>(c_tables.spots8.data() + plan.spots[0], plan.n_spots[0], wire, memory);
    return difference == 0;
}

}  // namespace uta::fixed
