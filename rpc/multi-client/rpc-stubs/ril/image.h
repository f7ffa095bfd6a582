// The packed form of each record that consists of numbers and of nested such records: it has the same bytes each time,
// but for the values. Packing copies this image and fills in the values, unpacking compares the headers and takes the
// values out, and no step is walked. A sender may write a header in another form than ours: then the image does not
// match, and the codec goes by the steps. Drawn from the steps when this compiles; for the codec only.
#pragma once

#include "rpc/multi-client/rpc-stubs/ril/flat.h"
#include "rpc/multi-client/rpc-stubs/ril/wire_cursor.h"

namespace uta::image {

// Kinds of spots: values of 8, 16 and 32 bits, and the headers of records, each covered by one or two times four bytes.
constexpr size_t c_headers = 3;
constexpr size_t c_kinds = 4;

constexpr size_t kind_of(size_t width) {
    return width / 2;
}

struct Spot {
    uint16_t memory;  // where it stands in the record's memory; 0 of headers
    uint16_t wire;    // in the image
};

struct Image {
    uint16_t size;  // 0: the record has none
    uint16_t bytes;
    uint16_t spots[c_kinds + 1];  // the first of each kind, and the end of the last
};

struct Drawing {
    static constexpr size_t c_most = 1024;  // bytes of an image

    uint8_t bytes[c_most];  // the image stands at the end
    Spot spots[c_kinds][c_most / 3];
    size_t n_spots[c_kinds];
    size_t size;

    constexpr void spot(size_t kind, size_t memory, const uint8_t* at) {
        spots[kind][n_spots[kind]++] = {static_cast<uint16_t>(memory), static_cast<uint16_t>(at - bytes)};
    }
};

constexpr bool is_fixed(std::span<const flat::Step> steps) {
    for (const flat::Step& step : steps) {
        if (!is_plain_number(step.type) && step.type != Type::begin && step.type != Type::end) {
            return false;
        }
    }
    return true;
}

// Of size 0 for a record that has nothing in it, or too much.
constexpr Drawing draw(std::span<const flat::Step> steps) {
    Drawing it{};
    uint8_t* at = it.bytes + Drawing::c_most;
    const uint8_t* ends[flat::c_sums.max_depth] = {};
    size_t open = 0;
    for (const flat::Step& step : steps) {
        const uint8_t* content = at;
        if (step.type == Type::begin) {
            ends[open++] = at;
        } else if (step.type == Type::end) {
            const uint8_t* end = ends[--open];
            at = end == content ? nullptr
                                : wire::header_below(at, it.bytes, flat::tag_of(step), static_cast<size_t>(end - at));
            if (at == nullptr) {
                return {};
            }
            // Behind a header of three bytes stands another header, so that the fourth byte is fixed too.
            it.spot(c_headers, 0, at);
            if (content - at > 4) {
                it.spot(c_headers, 0, content - 4);
            }
        } else if (at - it.bytes < step.aux) {
            return {};
        } else {
            for (size_t i = 0; i < step.count; ++i) {
                at -= 2 + step.width;
                at[0] = 0x02;
                at[1] = step.width;
                it.spot(kind_of(step.width), step.offset + i * step.width, at + 2);
            }
        }
    }
    it.size = static_cast<size_t>(it.bytes + Drawing::c_most - at);
    return it;
}

// Of every record that is fixed.
template <typename Take>
constexpr void draw_all(Take&& take) {
    for (size_t id = 0; id < c_records.size(); ++id) {
        if (is_fixed(flat::steps_of(id))) {
            take(id, draw(flat::steps_of(id)));
        }
    }
}

struct Sums {
    size_t bytes;
    size_t spots;
};

inline constexpr Sums c_sums = [] {
    Sums sums{};
    draw_all([&](size_t, const Drawing& drawing) {
        sums.bytes += drawing.size;
        for (const size_t count : drawing.n_spots) {
            sums.spots += count;
        }
    });
    return sums;
}();
static_assert(c_sums.bytes <= UINT16_MAX && c_sums.spots <= UINT16_MAX, "positions are 16 bits wide");

struct Tables {
    std::array<Image, detail::c_record_count> images;
    std::array<uint8_t, c_sums.bytes> bytes;
    std::array<Spot, c_sums.spots> spots;
};

inline constexpr Tables c_tables = [] {
    Tables tables{};
    Sums used{};
    draw_all([&](size_t id, const Drawing& drawing) {
        Image& image = tables.images[id];
        const size_t unused = Drawing::c_most - drawing.size;
        image.size = static_cast<uint16_t>(drawing.size);
        image.bytes = static_cast<uint16_t>(used.bytes);
        for (size_t i = unused; i < Drawing::c_most; ++i) {
            tables.bytes[used.bytes++] = drawing.bytes[i];
        }
        for (size_t kind = 0; kind < c_kinds; ++kind) {
            image.spots[kind] = static_cast<uint16_t>(used.spots);
            for (size_t i = 0; i < drawing.n_spots[kind]; ++i) {
                const Spot& spot = drawing.spots[kind][i];
                tables.spots[used.spots++] = {spot.memory, static_cast<uint16_t>(spot.wire - unused)};
            }
        }
        image.spots[c_kinds] = static_cast<uint16_t>(used.spots);
    });
    return tables;
}();

}  // namespace uta::image
