// The registration as the strings that Android's requests are answered with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ril/core/src/net/net.h"

// `strings` is the response; each is null or points to the text of its row. It points into itself and so is not copied.
template <size_t n>
struct net_answer {
    std::array<char*, n> strings;
    char text[n][64];
};

using net_voice_answer = net_answer<c_net_cs_values>;
using net_data_answer = net_answer<6>;

// Both fill all of `answer`. RIL thread.
void net_fill_voice_answer(uint32_t sim_id, net_voice_answer& answer);
void net_fill_data_answer(uint32_t sim_id, net_data_answer& answer);

// Asks the modem for the primary scrambling code of the cell (3GPP TS 25.331, 10.3.6.60) on the context of a request
// whose private area is its net_voice_answer. The answer gets the code and completes the request. 0 once it is on its
// way, or what the stub gave. RIL thread.
int32_t net_complete_with_scrambling_code(uint32_t sim_id, uint32_t ctxt_id);
