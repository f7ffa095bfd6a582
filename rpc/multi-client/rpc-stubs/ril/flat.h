// What the codec does for each record, step by step: the records inside it stand in their places, numbers that stand
// behind each other in memory are one step. So a nested record is no call, and a step says all there is to know. Worked
// out from the catalogue when this compiles; for the codec only.
#pragma once

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

namespace uta::flat {

static_assert(c_octets_8 + sizeof(uint16_t) / 2 == c_octets_16);

// In the order of packing. The fields of a record with a header stand between a `begin` and an `end`, in front of one
// with counted octets stands a `settle`. A union is one step, its cases none.
struct Step {
    Type type;
    uint8_t width;    // of the count or discriminant; type of octets
    uint16_t offset;  // in the memory of the outermost record
    uint16_t count;   // numbers or elements of octets; of a union its position among all fields; else a RecordId
    uint16_t aux;     // offset of the count or discriminant; bytes of octets; bytes of numbers on the wire
};

// Of an `end`: `count` tag bytes in `aux`.
constexpr ExTag tag_of(const Step& end) {
    return {static_cast<uint8_t>(end.count), {static_cast<uint8_t>(end.aux), static_cast<uint8_t>(end.aux >> 8U), 0}};
}

static_assert(
    [] {
        for (const Record& record : c_records) {
            if (record.tag.count > 2) {
                return false;
            }
        }
        return true;
    }(),
    "a tag has more bytes than an `end` holds");

// Whether the numbers of `step` stand behind those of `last` and are as wide.
constexpr bool continues(const Step& last, const Step& step) {
    return is_plain_number(last.type) && is_plain_number(step.type) && last.width == step.width &&
           step.offset == last.offset + last.count * last.width;
}

// Takes the steps; `to` is null when they are only counted.
struct Taker {
    Step* to;
    size_t n;
    Step last;
    size_t counted;  // counted octets of the record at work
    size_t max_depth;
    size_t max_counted;

    constexpr void take(const Step& step) {
        if (continues(last, step)) {
            last.count = static_cast<uint16_t>(last.count + step.count);
            last.aux = static_cast<uint16_t>(last.aux + step.aux);
        } else {
            last = step;
            ++n;
        }
        if (to != nullptr) {
            to[n - 1] = last;
        }
        counted += step.type == Type::counted_octets ? 1U : 0U;
        max_counted = counted > max_counted ? counted : max_counted;
    }

    // The steps of record `id`. `memory` says where it begins, `depth` how many records it is in, and one.
    // NOLINTNEXTLINE(misc-no-recursion): runs when this compiles
    constexpr void take(size_t id, size_t memory, size_t depth) {
        max_depth = depth > max_depth ? depth : max_depth;
        const auto narrow = [](size_t number) { return static_cast<uint16_t>(number); };
        const Record& record = c_records[id];
        if (record.n_counted != 0) {
            take({Type::settle, 0, narrow(memory), narrow(id), 0});
        }
        if (record.tag.count != 0) {
            take({Type::begin, 0, 0, 0, 0});
        }
        for (size_t i = 0; i < record.n_fields; ++i) {
            const Field& field = fields_of(record)[i];
            const size_t offset = memory + field.offset;
            if (field.type == Type::record) {
                for (size_t k = 0; k < field.count; ++k) {
                    take(field.record, offset + k * c_records[field.record].size, depth + 1);
                }
            } else if (field.type != Type::case_ && field.type != Type::memory) {
                const size_t count = field.type == Type::union_    ? record.first_field + i
                                     : field.record != c_no_record ? field.record
                                                                   : field.count;
                const bool octets = is_octets(field.type);
                const uint32_t width = octets ? c_octets_8 + field.width / 2U : field.width;
                const size_t aux = octets                        ? size_t{field.count} * field.width
                                   : is_plain_number(field.type) ? field.count * (size_t{2} + field.width)
                                                                 : memory + field.aux;
                take({field.type, static_cast<uint8_t>(width), narrow(offset), narrow(count), narrow(aux)});
            }
        }
        if (record.tag.count != 0) {
            take(
                {Type::end, 0, 0, record.tag.count, narrow(record.tag.bytes[0] + size_t{record.tag.bytes[1]} * 0x100)});
        }
    }

    // Those of all records; `first` gets where each begins.
    constexpr void take_all(std::span<uint16_t> first) {
        for (size_t id = 0; id < c_records.size(); ++id) {
            first[id] = static_cast<uint16_t>(n);
            last = {};
            counted = 0;
            if (c_records[id].live) {
                take(id, 0, 1);
            }
        }
        first[c_records.size()] = static_cast<uint16_t>(n);
    }
};

using Firsts = std::array<uint16_t, detail::c_record_count + 1>;

inline constexpr Taker c_sums = [] {
    Taker taker{};
    Firsts unread{};
    taker.take_all(unread);
    return taker;
}();
static_assert(c_sums.n <= UINT16_MAX, "positions of steps are 16 bits wide");

struct Tables {
    std::array<Step, c_sums.n> steps;
    Firsts first;
};

inline constexpr Tables c_tables = [] {
    Tables tables{};
    Taker taker{};
    taker.to = tables.steps.data();
    taker.take_all(tables.first);
    return tables;
}();

constexpr std::span<const Step> steps_of(size_t id) {
    return {c_tables.steps.data() + c_tables.first[id], c_tables.steps.data() + c_tables.first[id + 1]};
}

}  // namespace uta::flat
