// A buffer is a file that grows at its end, /dev/log/main and so on: one write() a line, which the kernel keeps apart
// from the other writers' lines. Without the folder the lines are dropped.
//
// Environment: ANDROID_LOG_DIR names another folder. ANDROID_LOG_TERMINAL is the letter of the least priority whose
// lines go to stderr too: V, D, I, W or E.
#include <android/log.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <string_view>

namespace {

constexpr const char* c_log_directory = "/dev/log";
constexpr std::array<const char*, 4> c_buffers = {"main", "radio", "events", "system"};
constexpr std::string_view c_letters = "??VDIWEF?";
constexpr size_t c_line_size = 1024;  // with the newline
constexpr size_t c_path_size = 256;

constexpr int c_not_open = -2;
constexpr int c_no_file = -1;
// Opened by whichever thread logs first to a buffer; open for the life of the process.
std::array<std::atomic<int>, c_buffers.size()> s_files = {c_not_open, c_not_open, c_not_open, c_not_open};

int open_buffer(size_t buffer) {
    const char* directory = getenv("ANDROID_LOG_DIR");
    char path[c_path_size];
    const int length =
        snprintf(path, sizeof(path), "%s/%s", directory != nullptr ? directory : c_log_directory, c_buffers[buffer]);
    if (length < 0 || static_cast<size_t>(length) >= sizeof(path)) {
        return c_no_file;
    }
    const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666);
    return fd >= 0 ? fd : c_no_file;
}

int buffer_file(size_t buffer) {
    int fd = s_files[buffer].load(std::memory_order_acquire);
    if (fd != c_not_open) {
        return fd;
    }
    const int opened = open_buffer(buffer);
    if (s_files[buffer].compare_exchange_strong(fd, opened, std::memory_order_acq_rel)) {
        return opened;
    }
    if (opened >= 0) {
        close(opened);
    }
    return fd;
}

// The least priority that goes to the terminal.
int terminal_priority() {
    static const int s_priority = [] {
        const char* letter = getenv("ANDROID_LOG_TERMINAL");
        const bool wanted = letter != nullptr && *letter != 0 && *letter != '?';
        const size_t priority = wanted ? c_letters.find(*letter) : std::string_view::npos;
        return priority == std::string_view::npos ? static_cast<int>(ANDROID_LOG_SILENT) : static_cast<int>(priority);
    }();
    return s_priority;
}

char priority_letter(int prio) {
    return c_letters[static_cast<size_t>(std::clamp(prio, 0, static_cast<int>(c_letters.size()) - 1))];
}

// How many of the bytes that snprintf names stand in a text of `room` bytes and its terminator.
size_t written(int result, size_t room) {
    return result < 0 ? 0 : std::min(static_cast<size_t>(result), room - 1);
}

// Month, day and time in UTC, the ids of process and thread, priority and tag. No localtime_r: it takes a lock.
size_t put_head(std::array<char, c_line_size>& line, int prio, const char* tag) {
    using namespace std::chrono;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const sys_seconds instant{seconds{now.tv_sec}};
    const sys_days day = floor<days>(instant);
    const year_month_day date{day};
    const hh_mm_ss time{instant - day};
    const int result = snprintf(
        line.data(), line.size(), "%02u-%02u %02d:%02d:%02d.%03d %5d %5d %c %s: ", static_cast<unsigned>(date.month()),
        static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
        static_cast<int>(now.tv_nsec / 1'000'000), static_cast<int>(getpid()), static_cast<int>(syscall(SYS_gettid)),
        priority_letter(prio), tag != nullptr ? tag : "");
    return written(result, line.size());
}

__attribute__((format(printf, 4, 0))) int print(int buffer, int prio, const char* tag, const char* fmt, va_list args) {
    if (buffer < 0 || static_cast<size_t>(buffer) >= c_buffers.size()) {
        return -1;
    }
    const int file = buffer_file(static_cast<size_t>(buffer));
    const bool on_terminal = prio >= terminal_priority();
    if (file < 0 && !on_terminal) {
        return 0;
    }
    std::array<char, c_line_size> line;
    size_t length = put_head(line, prio, tag);
    const size_t room = line.size() - length;
    length += written(vsnprintf(line.data() + length, room, fmt, args), room);
    while (length > 0 && line[length - 1] == '\n') {
        --length;
    }
    // One line per call, whatever the text holds.
    std::replace_if(
        line.begin(), line.begin() + length, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    line[length] = '\n';
    ++length;
    const ssize_t in_file = file >= 0 ? write(file, line.data(), length) : 0;
    const ssize_t on_screen = on_terminal ? write(STDERR_FILENO, line.data(), length) : 0;
    return static_cast<int>(std::max<ssize_t>({in_file, on_screen, 0}));
}

}  // namespace

int __android_log_buf_print(int bufID, int prio, const char* tag, const char* fmt, ...) {
    const int error = errno;
    va_list args;
    va_start(args, fmt);
    const int result = print(bufID, prio, tag, fmt, args);
    va_end(args);
    errno = error;
    return result;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    const int error = errno;
    va_list args;
    va_start(args, fmt);
    const int result = print(LOG_ID_MAIN, prio, tag, fmt, args);
    va_end(args);
    errno = error;
    return result;
}
