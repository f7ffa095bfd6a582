// The log buffers.
#pragma once

enum android_LogPriority : int {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT = 1,
    ANDROID_LOG_VERBOSE = 2,
    ANDROID_LOG_DEBUG = 3,
    ANDROID_LOG_INFO = 4,
    ANDROID_LOG_WARN = 5,
    ANDROID_LOG_ERROR = 6,
    ANDROID_LOG_FATAL = 7,
    ANDROID_LOG_SILENT = 8,
};

enum log_id : int { LOG_ID_MAIN = 0, LOG_ID_RADIO = 1, LOG_ID_EVENTS = 2, LOG_ID_SYSTEM = 3 };

extern "C" {
#pragma GCC visibility push(default)

// One line to the buffer `bufID`; __android_log_print's is LOG_ID_MAIN. `tag` may be null. The number of bytes written,
// 0 when the line had nowhere to go, -1 for an unknown buffer. Any thread; takes no lock, allocates nothing, leaves
// errno alone.
int __android_log_buf_print(int bufID, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
int __android_log_print(int prio, const char* tag, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

#pragma GCC visibility pop
}
