#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "tests/decode/codec_test.h"

static std::string s_log;

extern "C" int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser misses the x86-64 va_start above.
    const int length = vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    s_log = std::to_string(buffer) + " " + std::to_string(priority) + " " + tag + ": " + line;
    return length;
}

std::string take_log() {
    std::string line;
    line.swap(s_log);
    return line;
}
