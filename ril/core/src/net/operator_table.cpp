#include "ril/core/src/net/operator_table.h"

#include <algorithm>

#include "ril/core/src/net/plmn_names.h"

namespace {

#include "ril/core/src/net/operator_rows.inc"

// The row of net_country_code that an MCC stands in, 0 for none.
constexpr auto c_country_of = [] {
    std::array<uint8_t, c_net_code_max + 1> rows{};
    for (size_t row = net_country_code.size(); row > 1;) {
        --row;
        rows[net_country_code[row].mcc] = static_cast<uint8_t>(row);
    }
    return rows;
}();

constexpr bool is_before(const net_operator& one, const net_operator& other) {
    return one.country != other.country ? one.country < other.country : one.mnc < other.mnc;
}

// No MCC and no MNC of it stands twice, so any search finds the row that one from the top would.
static_assert(std::is_sorted(net_plmn_list.begin(), net_plmn_list.end(), is_before));

}  // namespace

const net_operator* net_find_operator(uint16_t mcc, uint16_t mnc) {
    const uint16_t country = mcc < c_country_of.size() ? c_country_of[mcc] : 0;
    if (country == 0) {
        return nullptr;
    }
    const net_operator wanted = {mnc, nullptr, nullptr, country};
    const auto* const found = std::lower_bound(net_plmn_list.begin(), net_plmn_list.end(), wanted, is_before);
    return found != net_plmn_list.end() && !is_before(wanted, *found) ? found : nullptr;
}

const char* net_operator_country(const net_operator& found) {
    return net_country_code[found.country].country;
}
