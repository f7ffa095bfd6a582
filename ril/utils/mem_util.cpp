#include "ril/utils/mem_util.h"

#include <cstdlib>

void* memutil_alloc(size_t size, const char* file, uint32_t line) {
    (void)file;
    (void)line;
    return calloc(1, size);
}
uint32_t memutil_free(void* ptr, const char* file, uint32_t line) {
    (void)file;
    (void)line;
    free(ptr);
    return 1;
}
