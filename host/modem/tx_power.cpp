// How strongly the phone may send: of each stack a table of what is cut back, and what clients set for 2G (3GPP
// TS 45.005, 4.1.1) and 3G (3GPP TS 25.101, 6.2.1) for both.
#include <algorithm>
#include <array>

#include "host/modem/modem.h"

namespace {

constexpr uint8_t c_tables = 3;
constexpr int32_t c_limit_off = 0;

// Of each set of values the highest is kept.
struct Limits {
    int32_t levels_mode = 0;
    uint16_t level = 0;
    int32_t is_limited_2g = c_limit_off;
    uint16_t limit_2g = 0;
    int32_t is_limited_3g = c_limit_off;
    uint16_t limit_3g = 0;
};
Limits s_limits;
std::array<uint8_t, c_stacks> s_tables{};

int32_t get_state(Modem&, const Caller&, uint32_t sim_id, uint8_t* status, uint8_t* index, int32_t* applied) {
    if (status == nullptr || index == nullptr || applied == nullptr) {
        return c_refused;
    }
    *status = 0;
    *index = s_tables[sim_id];
    *applied = *index;
    return c_success;
}

int32_t update_table(Modem&, const Caller&, uint32_t sim_id, uint8_t index) {
    if (index >= c_tables) {
        return c_refused;
    }
    s_tables[sim_id] = index;
    return c_success;
}

template <typename Values>
uint16_t highest(const Values& values) {
    return *std::max_element(std::begin(values), std::end(values));
}

int32_t set_levels(Modem&, const Caller&, int32_t mode, const T_UTA_RF_TX_PWR_SETTINGS* levels) {
    s_limits.levels_mode = mode;
    s_limits.level = levels == nullptr ? 0 : highest(levels->rf_power_level_dbm_gmsk.levels);
    return c_success;
}

int32_t limit_2g(Modem&, const Caller&, int32_t enable, const UtaRfMaxTxPwr2gReductionType* set) {
    s_limits.is_limited_2g = enable;
    s_limits.limit_2g = set == nullptr ? 0 : highest(set->limits);
    return c_success;
}

int32_t limit_3g(Modem&, const Caller&, int32_t enable, const UtaRfMaxTxPwr3gBandListType* set) {
    s_limits.is_limited_3g = enable;
    s_limits.limit_3g = set == nullptr ? 0 : highest(set->limits);
    return c_success;
}

void forget() {
    s_limits = {};
    s_tables = {};
}

std::string limit_text(int32_t enable, uint16_t limit) {
    return enable == c_limit_off ? "off" : std::to_string(limit);
}

std::string describe() {
    return "cutback tables " + std::to_string(s_tables[0]) + " and " + std::to_string(s_tables[1]) +
           ", 2G levels of mode " + std::to_string(s_limits.levels_mode) + " up to " + std::to_string(s_limits.level) +
           ", 2G limit " + limit_text(s_limits.is_limited_2g, s_limits.limit_2g) + ", 3G limit " +
           limit_text(s_limits.is_limited_3g, s_limits.limit_3g);
}

}  // namespace

Service tx_power_service() {
    using namespace uta::row;
    return {
        .name = "tx power",
        .functions = {serve<CsiUtaMsTpcGetState, get_state>(), serve<CsiUtaMsTpcUpdatePowerOffsetTable, update_table>(),
                      serve<UtaRfTxPwrSettingsSet2g, set_levels>(), serve<UtaRfMaxTxPwrSet2g, limit_2g>(),
                      serve<UtaRfMaxTxPwrSet3g, limit_3g>()},
        .commands = {},
        .forget = forget,
        .describe = describe};
}
