// Text of USSD and of calling names: packing for the network, and decoding into the 8-bit text that Android reads.
// Functions of their arguments, on buffers of the caller, for any thread.
//
// What is decoded is terminated and cut at the last whole character that fits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Packs what fits of a text of 8-bit characters, as USSD is packed (3GPP TS 23.038, 6.1.2.3.1): seven spare bits behind
// the last septet become a carriage return. Returns the octets written. An `out` with two octets more than allowed
// tells a text that is too long: they are used then.
size_t ss_pack_chars_to_septets(const char* text, std::span<uint8_t> out);

// GSM codes as they stand, one byte each, as many as lie wholly in `data`: there is no translation into another
// alphabet, and the code of "@" ends the text. Returns the bytes written before the terminator.
size_t ss_unpack_7_bit_char(std::span<const uint8_t> data, std::span<char> out);

// UTF-8 of big-endian 16-bit characters; half a character at the end is left out.
size_t ss_util_text_from_ucs2(std::span<const uint8_t> data, std::span<char> out);

// The bytes as they are.
size_t ss_copy_text(std::span<const uint8_t> data, std::span<char> out);
