// The debug trace: every log line of the RIL core passes a test of its trace bit first.
#pragma once

#include <android/log.h>

#include <array>
#include <cstdint>

#include "ril/utils/ril_instance.h"

enum RilTraceBit : uint32_t {
    TRACE_ERROR = 1,      // failures
    TRACE_DETAIL = 4,     // details of the flow: ids, states, values
    TRACE_EVENT = 8,      // mailbox traffic and main events
    TRACE_FUNCTION = 16,  // entry and exit of functions
    TRACE_SECRET = 32,    // PINs, passwords, supplementary service strings in clear
    TRACE_MEMORY = 64,    // each allocation and free
};

enum RilTraceEntry : uint32_t { TRACE_RIL = 0, TRACE_QELRIL = 1, TRACE_NVM = 2 };

// The masks of the three entries, written by the configuration before any other thread exists, constant afterwards.
extern std::array<uint32_t, 3> s_cfg_trace_settings;

// 1 if any bit of `mask` is set in the entry's mask. An entry of 3 or more is logged and gives 0. Any thread.
uint32_t ril_config_trace_enabled(uint32_t entry, uint32_t mask);

// Priority of liblog that goes with a trace bit.
constexpr int trace_priority(uint32_t bit) {
    return bit == TRACE_ERROR ? 6 : bit == TRACE_EVENT ? 4 : 3;
}

constexpr int c_log_buffer_radio = 1;

inline const char* trace_tag() {
    return ril_instance == 1 ? "DUN-RIL2" : "DUN-RIL";
}

// One line of the radio log, if the trace bit is on. Any thread.
#define RIL_TRACE(bit, ...)                                                                             \
    do {                                                                                                \
        if (ril_config_trace_enabled(TRACE_RIL, (bit)) != 0) {                                          \
            __android_log_buf_print(c_log_buffer_radio, trace_priority(bit), trace_tag(), __VA_ARGS__); \
        }                                                                                               \
    } while (0)

// Logs the entry and, where it goes out of scope, the exit of a function.
class FunctionTrace {
public:
    explicit FunctionTrace(const char* function) : function_(function) {
        RIL_TRACE(TRACE_FUNCTION, "%s++\n", function_);
    }
    ~FunctionTrace() { RIL_TRACE(TRACE_FUNCTION, "%s--\n", function_); }
    FunctionTrace(const FunctionTrace&) = delete;
    FunctionTrace& operator=(const FunctionTrace&) = delete;

private:
    const char* function_;
};

#define RIL_TRACE_FUNCTION() const FunctionTrace function_trace(__func__)
