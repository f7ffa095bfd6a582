// What the fuzz targets share that take their input apart. Buffers are heap blocks of the exact size, so that a
// sanitizer sees one element too many; a broken promise of a contract ends the run.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#define FUZZ_CHECK(condition)                                               \
    do {                                                                    \
        if (!(condition)) {                                                 \
            fprintf(stderr, "%s:%d: " #condition "\n", __FILE__, __LINE__); \
            abort();                                                        \
        }                                                                   \
    } while (0)

// The input: a few octets that choose, and the rest as data.
class Input {
public:
    Input(const uint8_t* data, size_t size) : rest_(data, size) {}

    uint8_t choice() {
        if (rest_.empty()) {
            return 0;
        }
        const uint8_t octet = rest_.front();
        rest_ = rest_.subspan(1);
        return octet;
    }

    bool is_empty() const { return rest_.empty(); }

    // At most so many octets.
    std::vector<uint8_t> take(size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    template <typename T = uint8_t>
    std::vector<T> rest() const {
        return {rest_.begin(), rest_.end()};
    }

private:
    std::span<const uint8_t> rest_;
};

// A record of any content.
template <typename Record>
Record any(Input& input) {
    Record record{};
    const auto octets = input.take(sizeof(record));
    std::copy(octets.begin(), octets.end(), reinterpret_cast<uint8_t*>(&record));
    return record;
}
