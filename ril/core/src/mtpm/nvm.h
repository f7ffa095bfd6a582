// Pieces of the modem's non-volatile memory. A synchronous call each; any thread.
#pragma once

#include <cstdint>
#include <span>

// Reads `length` bytes at `offset` of an area into `out`, as far as the modem gives them and they fit. 0, or -1
// (logged).
int32_t nvm_read(uint32_t area, uint32_t offset, uint32_t length, std::span<uint8_t> out, const char* function);
