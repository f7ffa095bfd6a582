#include "tests/rpc/stubs/fake_log.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>

static std::vector<std::string> s_lines;

std::vector<std::string>& log_lines() {
    return s_lines;
}

int __android_log_print(int, const char*, const char* format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    s_lines.emplace_back(line);
    return 0;
}
