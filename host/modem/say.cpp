#include "host/modem/say.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

static bool s_quiet = false;

void say_nothing() {
    s_quiet = true;
}

void say(const char* format, ...) {
    if (s_quiet) {
        return;
    }
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser misses the x86-64 va_start above.
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    fprintf(stderr, "%02d:%02d:%02d.%03ld modem: %s\n", local.tm_hour, local.tm_min, local.tm_sec,
            now.tv_nsec / 1000000, text);
}
