// Counts what the core allocates: it takes its memory with calloc, and nobody else in a bench does. Of one source only.
#pragma once

#include <atomic>
#include <cstddef>

static std::atomic<size_t> s_blocks{0};

extern "C" {
void* __libc_calloc(size_t count, size_t size);  // NOLINT(bugprone-reserved-identifier)
void* calloc(size_t count, size_t size) {
    ++s_blocks;
    return __libc_calloc(count, size);
}
}
