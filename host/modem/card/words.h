// Status words of the two kinds of card (3GPP TS 51.011, 9.4; ETSI TS 102 221, 10.2.1).
#pragma once

#include "host/modem/card/card.h"

namespace card {

struct Words {
    uint16_t sim;
    uint16_t usim;
    constexpr uint16_t operator()(const Card& card) const { return card.is_3g ? usim : sim; }
};

constexpr Words c_no_file_selected = {0x9400, 0x6986};
constexpr Words c_out_of_file = {0x9402, 0x6B00};
constexpr Words c_no_record = {0x9402, 0x6A83};
constexpr Words c_no_file = {0x9404, 0x6A82};
constexpr Words c_no_match = {0x9404, 0x6282};
constexpr Words c_wrong_kind = {0x9408, 0x6981};
constexpr Words c_no_such_code = {0x9802, 0x6A88};
constexpr Words c_no_access = {0x9804, 0x6982};
constexpr Words c_code_contradiction = {0x9808, 0x6984};
constexpr Words c_invalidated = {0x9810, 0x6984};
constexpr Words c_blocked = {0x9840, 0x6983};
constexpr Words c_no_memory = {0x9240, 0x6A84};
constexpr Words c_bad_data = {0x6F00, 0x6A80};
constexpr Words c_bad_p1_p2 = {0x6B00, 0x6A86};
constexpr Words c_bad_length = {0x6700, 0x6700};
constexpr Words c_no_channel = {0x6E00, 0x6881};
constexpr Words c_all_channels_taken = {0x6E00, 0x6A81};
constexpr Words c_no_instruction = {0x6D00, 0x6D00};
constexpr Words c_no_class = {0x6E00, 0x6E00};

// SW2 says how many bytes there are: for a command that wants another number, and for one whose answer waits.
constexpr Words c_right_length = {0x6700, 0x6C00};
constexpr Words c_answer_waits = {0x9F00, 0x6100};

}  // namespace card
