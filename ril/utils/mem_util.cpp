#include "ril/utils/mem_util.h"

#include <cstdlib>

#include "ril/utils/trace.h"

namespace {

void trace_block(const char* function, const void* ptr, const char* file, uint32_t line) {
    RIL_TRACE(TRACE_MEMORY, "%s: mem = 0x%08lX %s:%u\n", function,
              static_cast<unsigned long>(reinterpret_cast<uintptr_t>(ptr)), file, line);
}

}  // namespace

void* memutil_alloc(size_t size, const char* file, uint32_t line) {
    void* ptr = calloc(1, size);
    trace_block(__func__, ptr, file, line);
    return ptr;
}

uint32_t memutil_free(void* ptr, const char* file, uint32_t line) {
    if (ptr == nullptr) {
        RIL_TRACE(TRACE_ERROR, "Attempt to free NULL pointer from %s:%u\n", file, line);
        return 1;
    }
    trace_block(__func__, ptr, file, line);
    free(ptr);
    return 1;
}
