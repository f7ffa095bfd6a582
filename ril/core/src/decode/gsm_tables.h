// The GSM 7-bit default alphabet and its extension table, 3GPP TS 23.038, 6.2.1 and 6.2.1.1. Every conversion of the
// module, in either direction, is made from these two tables. Private to the module.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr uint8_t c_gsm_escape = 27;
inline constexpr uint8_t c_gsm_blank = 32;
inline constexpr uint8_t c_gsm_carriage_return = 13;
inline constexpr uint16_t c_euro_sign = 0x20AC;
inline constexpr uint8_t c_euro_code = 101;  // behind an escape

using GsmAlphabet = std::array<uint16_t, 128>;

// GSM code to Unicode; the escape is 0.
inline constexpr GsmAlphabet c_Gsm7BitDefault = {
    '@',    0x00A3, '$',    0x00A5, 0x00E8, 0x00E9, 0x00F9, 0x00EC,  // 0x00
    0x00F2, 0x00C7, '\n',   0x00D8, 0x00F8, '\r',   0x00C5, 0x00E5,  // 0x08
    0x0394, '_',    0x03A6, 0x0393, 0x039B, 0x03A9, 0x03A0, 0x03A8,  // 0x10
    0x03A3, 0x0398, 0x039E, 0,      0x00C6, 0x00E6, 0x00DF, 0x00C9,  // 0x18
    ' ',    '!',    '"',    '#',    0x00A4, '%',    '&',    '\'',    // 0x20
    '(',    ')',    '*',    '+',    ',',    '-',    '.',    '/',     // 0x28
    '0',    '1',    '2',    '3',    '4',    '5',    '6',    '7',     // 0x30
    '8',    '9',    ':',    ';',    '<',    '=',    '>',    '?',     // 0x38
    0x00A1, 'A',    'B',    'C',    'D',    'E',    'F',    'G',     // 0x40
    'H',    'I',    'J',    'K',    'L',    'M',    'N',    'O',     // 0x48
    'P',    'Q',    'R',    'S',    'T',    'U',    'V',    'W',     // 0x50
    'X',    'Y',    'Z',    0x00C4, 0x00D6, 0x00D1, 0x00DC, 0x00A7,  // 0x58
    0x00BF, 'a',    'b',    'c',    'd',    'e',    'f',    'g',     // 0x60
    'h',    'i',    'j',    'k',    'l',    'm',    'n',    'o',     // 0x68
    'p',    'q',    'r',    's',    't',    'u',    'v',    'w',     // 0x70
    'x',    'y',    'z',    0x00E4, 0x00F6, 0x00F1, 0x00FC, 0x00E0,  // 0x78
};

// The way back searches the same table.
inline constexpr const GsmAlphabet& s_c_gsm7bitdefault = c_Gsm7BitDefault;

// The same table with a mark at the escape.
inline constexpr GsmAlphabet GSM_to_ucs2 = [] {
    GsmAlphabet table = c_Gsm7BitDefault;
    table[c_gsm_escape] = 0xFFFE;
    return table;
}();

// The character of IRA (ITU-T T.50) of a GSM code, -1 where IRA has none, -2 at the escape. IRA is the lower half of
// Unicode.
inline constexpr std::array<int32_t, 128> GSM_to_IRA = [] {
    std::array<int32_t, 128> table{};
    for (size_t code = 0; code < table.size(); ++code) {
        table[code] = c_Gsm7BitDefault[code] < 0x80 ? c_Gsm7BitDefault[code] : -1;
    }
    table[c_gsm_escape] = -2;
    return table;
}();

struct GsmExtension {
    uint8_t code;  // the septet behind the escape
    uint16_t character;
};

// The euro sign stands last: GSM_Extn_to_Charset is what comes before it.
inline constexpr std::array<GsmExtension, 10> c_gsm_extension = {{{10, '\f'},
                                                                  {20, '^'},
                                                                  {40, '{'},
                                                                  {41, '}'},
                                                                  {47, '\\'},
                                                                  {60, '['},
                                                                  {61, '~'},
                                                                  {62, ']'},
                                                                  {64, '|'},
                                                                  {c_euro_code, c_euro_sign}}};
inline constexpr std::span<const GsmExtension, 9> GSM_Extn_to_Charset = std::span(c_gsm_extension).first<9>();

// Set in what search_gsm gives for a code of the extension table.
inline constexpr uint8_t c_extension_flag = 0x80;

// The GSM code of a character: the first match in the extension table, then in the alphabet, else a blank.
constexpr uint8_t search_gsm(uint16_t character) {
    for (const GsmExtension& extension : c_gsm_extension) {
        if (extension.character == character) {
            return extension.code | c_extension_flag;
        }
    }
    for (size_t code = 0; code < s_c_gsm7bitdefault.size(); ++code) {
        if (s_c_gsm7bitdefault[code] == character) {
            return static_cast<uint8_t>(code);
        }
    }
    return c_gsm_blank;
}

// What the search gives for a run of characters, so that a text costs no search per character.
template <size_t size>
constexpr std::array<uint8_t, size> search_gsm_run(uint16_t first) {
    std::array<uint8_t, size> codes{};
    for (size_t i = 0; i < size; ++i) {
        codes[i] = search_gsm(static_cast<uint16_t>(first + i));
    }
    return codes;
}

// The alphabet's characters lie in two runs of Unicode; the euro sign is the only one outside.
inline constexpr uint16_t c_greek = 0x0390;
inline constexpr std::array<uint8_t, 256> c_latin_to_gsm = search_gsm_run<256>(0);
inline constexpr std::array<uint8_t, 32> c_greek_to_gsm = search_gsm_run<32>(c_greek);
