#include "host/android/rild/log.h"

#include <unistd.h>

void Log::write_line(const std::string& line) {
    [[maybe_unused]] const ssize_t result = write(STDERR_FILENO, line.data(), line.size());
}
