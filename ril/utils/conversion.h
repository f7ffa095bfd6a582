// Small conversions that the handlers share. Pure functions: any thread.
#pragma once

#include <cstddef>
#include <cstdint>

// True when a card's status words mean success: 90 00, or 91 with any second word (ETSI TS 102 221, 10.2.1).
bool isSuccessResult(uint8_t sw1, uint8_t sw2);

// Swapped BCD into text, low nibble first: 0 to 9, '*', '#', 'p', '?'; 15 ends the number and so does a 14 that has no
// character of its own nibble before it to repeat. With `plus` a type of number 001 in the second byte puts a '+' in
// front. At most `length` bytes are read and `dst_size` characters written; the text is not terminated.
void util_bcd2num(const uint8_t* src, char* dst, size_t dst_size, size_t length, bool plus);

// Hexadecimal text into text_len / 2 bytes, with a zero byte behind them where there is room. `out_len` (may be null)
// gets that number. 0; -1 for null arguments or too many bytes; -10 at a character that is no digit, with the bytes
// before it in `dst`.
int32_t ril_convert_hexbuffer_to_string(const char* text, size_t text_len, uint8_t* dst, size_t dst_size,
                                        uint32_t* out_len);

bool ril_util_is_xdigit(char c);
