#include "tests/rpc/stubs/fake_log.h"

#include <android/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

static std::mutex s_lock;
static std::vector<std::string>& s_lines = *new std::vector<std::string>;  // detached threads outlive main

int times_logged(const std::string& part) {
    const std::lock_guard hold(s_lock);
    return static_cast<int>(std::count_if(s_lines.begin(), s_lines.end(),
                                          [&](const std::string& line) { return line.find(part) != line.npos; }));
}

void clear_log() {
    const std::lock_guard hold(s_lock);
    s_lines.clear();
}

int __android_log_print(int, const char*, const char* format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    const std::lock_guard hold(s_lock);
    s_lines.emplace_back(line);
    return length;
}
