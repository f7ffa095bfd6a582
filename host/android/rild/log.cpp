#include "host/android/rild/log.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

void Log::say(const char* format, va_list args) const {
    char line[512];
    int length = std::snprintf(line, sizeof(line), "%s: ", name_.c_str());
    length += std::vsnprintf(line + length, sizeof(line) - static_cast<size_t>(length), format, args);
    const size_t end = std::min(static_cast<size_t>(length), sizeof(line) - 1);
    line[end] = '\n';
    // One call for the whole line.
    [[maybe_unused]] const ssize_t result = write(STDERR_FILENO, line, end + 1);
}

void Log::error(const char* format, ...) const {
    va_list args;
    va_start(args, format);
    say(format, args);
    va_end(args);
}

void Log::flow(const char* format, ...) const {
    if (verbose_) {
        va_list args;
        va_start(args, format);
        say(format, args);
        va_end(args);
    }
}
