#include "tests/harness/failing_alloc.h"

#include <cerrno>
#include <cstddef>

namespace {

thread_local int s_countdown = -1;
thread_local bool s_refused = false;

bool refuse() {
    if (s_countdown < 0 || s_countdown-- > 0) {
        return false;
    }
    s_refused = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

FailingAlloc::FailingAlloc(int nth) {
    s_refused = false;
    s_countdown = nth;
}

FailingAlloc::~FailingAlloc() {
    s_countdown = -1;
}

bool FailingAlloc::refused() {
    return s_refused;
}

extern "C" {

// The names that the linker's --wrap makes.
// NOLINTBEGIN
void* __real_calloc(size_t count, size_t size);
void* __real_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size) {
    return refuse() ? nullptr : __real_calloc(count, size);
}
void* __wrap_malloc(size_t size) {
    return refuse() ? nullptr : __real_malloc(size);
}
// NOLINTEND
}
