// The log of the RPC client: no tag, no trace test.
#pragma once

#include <android/log.h>

constexpr int c_rpc_log_debug = 3;
constexpr int c_rpc_log_error = 6;

#define RPC_LOG_ERROR(...) __android_log_print(c_rpc_log_error, nullptr, __VA_ARGS__)
#define RPC_LOG_DEBUG(...) __android_log_print(c_rpc_log_debug, nullptr, __VA_ARGS__)
