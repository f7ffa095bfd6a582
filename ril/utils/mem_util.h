// The allocator of the RIL core: blocks come zero-filled.
#pragma once

#include <cstddef>
#include <cstdint>

// A zero-filled block of `size` bytes, or null. `file` and `line` serve only the trace. Any thread.
void* memutil_alloc(size_t size, const char* file, uint32_t line);

// Frees a block; null is refused with a log line. Always 1. Any thread.
uint32_t memutil_free(void* ptr, const char* file, uint32_t line);

#define MEM_ALLOC(size) memutil_alloc((size), __FILE__, __LINE__)
#define MEM_FREE(ptr) memutil_free((ptr), __FILE__, __LINE__)
