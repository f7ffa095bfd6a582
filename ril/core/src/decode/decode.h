// Text conversion between the GSM 7-bit default alphabet (3GPP TS 23.038), UCS2 and 8-bit text, and the names of the
// terminal character sets. Everything here is a function of its arguments, on buffers of the caller, for any thread.
//
// A span whose pointer is null counts as a null argument. Nothing is read or written outside the spans: a text that
// does not fit is cut at the last whole character. Lengths count elements of the buffer they belong to. Pointers to
// results may be null unless a function says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The terminal character sets, in the order of their list.
enum AggCscs : uint32_t {
    AGG_CSCS_PCCP437 = 0,
    AGG_CSCS_UCS2 = 1,
    AGG_CSCS_GSM = 2,
    AGG_CSCS_IRA = 3,
    AGG_CSCS_HEX = 4,
    AGG_CSCS_8859_1 = 5,
    AGG_CSCS_PCDN = 6,
    AGG_CSCS_UTF8 = 7,
    AGG_CSCS_INVALID = 8
};

// What a text carries in front of its pages: nothing, or the language of a cell broadcast (3GPP TS 23.038, clause 5,
// coding groups 0001 0000 and 0001 0001).
enum DecodeLanguageMode : uint32_t { DECODE_LANGUAGE_NONE = 0, DECODE_LANGUAGE_INDICATOR = 1 };

// What decode_gsm made: text of the 7-bit alphabet or of UCS2.
enum DecodeKind : uint32_t { DECODE_KIND_GSM = 1, DECODE_KIND_UCS2 = 3 };

// One page of a cell broadcast, 3GPP TS 23.041, 9.4.1.2.4.
constexpr size_t c_cbs_page_octets = 82;

// The set of that name, in any case; AGG_CSCS_INVALID for a null or unknown name.
uint32_t req_get_terminal_adapter_enum_from_charset_name(const char* name);

// 0 for the sets that take GSM codes as they are (GSM and IRA), else 1.
uint32_t is_gsmconversion_needed(uint32_t character_set);

// The GSM code of a character, the blank for one that the alphabet has not. A zero character gives the escape code.
// `*is_extended` is 1 if the code belongs to the extension table, so that an escape goes in front of it, else 0.
uint8_t uta_agg_util_unicodetogsm7default(uint16_t character, uint8_t* is_extended);

// The character of a code; a blank for a code with bit 7 set. The escape gives 0.
uint16_t Gsm7DefaultToUnicode(uint8_t code);

// The character of a code behind an escape: of the extension table, a blank for a second escape, otherwise as above.
uint16_t Gsm7DefaultExtendedToUnicode(uint8_t code);

// The character of a code, 0xFFFE for the escape, -1 for a code with bit 7 set.
int32_t gsm_to_ucs2(uint8_t code);

// The 8-bit character of a code behind an escape, 0x20AC for the euro sign, -1 if there is none.
int32_t gsm_extn_to_charset(uint8_t code);

// Decodes unpacked codes, one per byte, and gives the number of characters. With `escape` an escape takes the next code
// through the extension table; one at the very end is a blank, as 3GPP TS 23.038, 6.2.1 has a receiver show it.
void gsm7_defaultString_toUnicodeString(std::span<const uint8_t> gsm, std::span<uint16_t> out, size_t* out_length,
                                        bool escape);

// Takes the septets that lie wholly in `packed` out of it, the first one starting at bit `first_bit`, as many as
// `septets` holds. Returns their number.
size_t gsm_unpack_septets(std::span<const uint8_t> packed, size_t first_bit, std::span<uint8_t> septets);

struct GsmPacked {
    size_t octets;   // written, the spare bits of the last one 0
    size_t septets;  // in them, escapes included
};

// Packs a text of 8-bit characters (the first 256 of Unicode) into septets, from bit 0 on, each extension character
// behind its escape.
GsmPacked gsm_pack_text(std::span<const char> text, std::span<uint8_t> out);

// Unpacks the 7-bit text of cell broadcast pages. Two carriage returns in a row are padding: the text ends behind the
// first. For the sets GSM and IRA the codes go out as they are, otherwise as Unicode. A null element ends the output
// where there is room. Does nothing with a null data, output or length.
void cbs_UnpackSeptetMessage(std::span<uint16_t> out, size_t* out_length, std::span<const uint8_t> packed,
                             uint32_t language_mode, bool escape, uint32_t character_set);

// Decodes big-endian 16-bit text. A carriage return and a zero end it, and are not counted. With a language indicator
// the first two octets of every page are skipped.
void decode_ucs2(std::span<uint16_t> out, size_t* out_length, std::span<const uint8_t> data, uint32_t language_mode);

// Decodes a text by its cell broadcast data coding scheme (3GPP TS 23.038, clause 5): 1 if decoded, with a null element
// behind the text where there is room, else 0 and a length of 0. `*kind` becomes a DecodeKind, and stays as it is when
// the text is 8-bit data.
uint32_t decode_gsm(std::span<uint16_t> out, uint8_t coding_scheme, std::span<const uint8_t> data, size_t* out_length,
                    bool escape, uint32_t* kind, uint32_t character_set);

// 8-bit text of GSM codes, as much as fits. The sets PCCP437 and UCS2 convert, GSM and IRA copy the codes, the others
// give nothing. Returns the end of the text written, and its length.
char* convert_gsm_to_text(std::span<const uint8_t> gsm, std::span<char> out, uint32_t character_set, size_t* written);

// The same for the low bytes of 16-bit elements. Returns the number of bytes written.
size_t uInt16_gsm_to_text(std::span<const uint16_t> gsm, std::span<char> out, uint32_t character_set);

// IRA text of GSM codes, with a null byte behind it where there is room. 1, or 0 if `flag` is not 1.
uint32_t gsm_coded_to_cscs(std::span<char> out, std::span<const uint16_t> gsm, uint32_t flag, size_t* out_length);

// The same, but 0 and nothing written also if `out` has fewer bytes than there are codes, or `kind` is 2 or 3.
uint32_t uint16str_to_str(std::span<char> out, std::span<const uint16_t> gsm, uint32_t flag, uint32_t kind,
                          size_t* out_length);
