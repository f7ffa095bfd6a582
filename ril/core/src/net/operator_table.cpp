#include "ril/core/src/net/operator_table.h"

#include <algorithm>

namespace {

#include "ril/core/src/net/operator_rows.inc"

// Rows by a hash of their code, in the next place where two meet; 0 for none, else counted from 1. They are put in from
// the top, so that of two with one code the first is found. The factor is one of many with which no row goes further
// than to the next place; another table wants another one.
constexpr size_t c_place_bits = 12;
constexpr uint32_t c_factor = 2113881137;
constexpr size_t c_places = size_t{1} << c_place_bits;

constexpr size_t place_of(uint16_t mcc, uint16_t mnc) {
    return (uint32_t{mcc} << 16 | mnc) * c_factor >> (32 - c_place_bits);
}

constexpr uint16_t c_no_place = UINT16_MAX;

constexpr auto c_index = [] {
    std::array<uint16_t, c_places> index{};
    for (size_t row = 0; row < net_plmn_list.size(); ++row) {
        size_t place = place_of(net_country_code[net_plmn_list[row].country].mcc, net_plmn_list[row].mnc);
        place = index[place] == 0 ? place : (place + 1) % c_places;
        index[place] = static_cast<uint16_t>(index[place] == 0 ? row + 1 : c_no_place);
    }
    return index;
}();
static_assert(std::find(c_index.begin(), c_index.end(), c_no_place) == c_index.end());

}  // namespace

const net_operator* net_find_operator(uint16_t mcc, uint16_t mnc) {
    for (size_t place = place_of(mcc, mnc); c_index[place] != 0; place = (place + 1) % c_places) {
        const net_operator& row = net_plmn_list[c_index[place] - size_t{1}];
        if (row.mnc == mnc && net_country_code[row.country].mcc == mcc) {
            return &row;
        }
    }
    return nullptr;
}

const char* net_operator_country(const net_operator& found) {
    return net_country_code[found.country].country;
}
