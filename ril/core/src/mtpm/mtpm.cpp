#include "ril/core/src/mtpm/mtpm.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "ril/core/src/mtpm/nvm.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr uint32_t c_nvm_area = 0x10420000;

mtpm_tx_power_table tx_power_table;
uint32_t mtpm_initialized = 0;
uint32_t mtpm_active = 0;
uint32_t prev_mptm_state = 0;

// A row of levels: one value so many times, then falling by steps of 0x20 as far as the last, then nothing.
constexpr uint16_t c_step = 0x20;

template <size_t head>
constexpr void fill_row(uint16_t (&row)[c_tx_power_levels], const uint16_t (&first)[head], uint16_t from,
                        uint16_t last) {
    size_t at = 0;
    for (const uint16_t value : first) {
        row[at++] = value;
    }
    for (int value = from; value >= last && at < c_tx_power_levels; value -= c_step) {
        row[at++] = static_cast<uint16_t>(value);
    }
}

constexpr mtpm_tx_power_table make_default_table() {
    mtpm_tx_power_table table{};
    for (size_t row = 0; row < c_tx_power_rows; ++row) {
        if (row < 2) {
            fill_row(table.rf_power_level_dbm_gmsk[row], {0x208, 0x208, 0x208, 0x208, 0x208, 0x208}, 0x1F0, 0x50);
            fill_row(table.rf_power_level_dbm_8psk[row],
                     {0x1B0, 0x1B0, 0x1B0, 0x1B0, 0x1B0, 0x1B0, 0x1B0, 0x1B0, 0x1B0}, 0x190, 0x50);
        } else {
            fill_row(table.rf_power_level_dbm_gmsk[row], {0x1E8, 0x1C0}, 0x1A0, 0x20);
            fill_row(table.rf_power_level_dbm_8psk[row], {0x1A0, 0x1A0, 0x1A0}, 0x180, 0x20);
        }
    }
    for (int16_t& limit : table.max_tx_pwr_3g) {
        limit = 0x0178;
    }
    return table;
}

constexpr mtpm_tx_power_table default_tx_power_table = make_default_table();
static_assert(default_tx_power_table.rf_power_level_dbm_gmsk[0][19] == 0x50);
static_assert(default_tx_power_table.rf_power_level_dbm_8psk[0][19] == 0x50);
static_assert(default_tx_power_table.rf_power_level_dbm_gmsk[3][14] == 0x20);
static_assert(default_tx_power_table.rf_power_level_dbm_8psk[3][14] == 0x20);

// Each row comes twice.
constexpr uint16_t c_limits_2g[][6] = {{80, 104, 128, 152, 112, 112},
                                       {32, 56, 80, 104, 112, 112},
                                       {32, 72, 96, 112, 96, 96},
                                       {96, 136, 160, 176, 112, 112}};

constexpr UtaRfMaxTxPwr2gReductionType make_limits_2g() {
    UtaRfMaxTxPwr2gReductionType set{};
    size_t at = 0;
    for (const auto& row : c_limits_2g) {
        for (int twice = 0; twice < 2; ++twice) {
            for (const uint16_t value : row) {
                set.limits[at++] = value;
            }
        }
    }
    return set;
}

// All 30 of them. While the limit is off nobody looks at the values.
UtaRfMaxTxPwr3gBandListType limits_3g(uint16_t value) {
    UtaRfMaxTxPwr3gBandListType set;
    std::fill(std::begin(set.limits), std::end(set.limits), value);
    return set;
}

void limit_2g_off() {
    static constexpr UtaRfMaxTxPwr2gReductionType c_limits = make_limits_2g();
    RemUtaRfMaxTxPwrSet2g(0, &c_limits);
}

void limit_3g_off() {
    const UtaRfMaxTxPwr3gBandListType limits = limits_3g(0);
    RemUtaRfMaxTxPwrSet3g(0, &limits);
}

void limit_3g_on() {
    const UtaRfMaxTxPwr3gBandListType limits = limits_3g(0x7FFF);
    RemUtaRfMaxTxPwrSet3g(1, &limits);
}

bool is_unset(const mtpm_tx_power_table& table) {
    mtpm_tx_power_table unset_tx_power_table;
    memset(&unset_tx_power_table, 0xFF, sizeof(unset_tx_power_table));
    return memcmp(&table, &unset_tx_power_table, sizeof(table)) == 0;
}

int32_t mtpm_nvm_read(mtpm_tx_power_table& table) {
    return nvm_read(c_nvm_area, 0, sizeof(table), {reinterpret_cast<uint8_t*>(&table), sizeof(table)}, __func__);
}

int32_t mtpm_nvm_init() {
    tx_power_table = {};
    if (mtpm_nvm_read(tx_power_table) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s mtpm_nvm_read failed\n", __func__);
        return -1;
    }
    if (!is_unset(tx_power_table)) {
        return 0;
    }
    RIL_TRACE(TRACE_EVENT, "%s mtpm table has value 0xFF set to default values\n", __func__);
    tx_power_table = default_tx_power_table;
    if (mtpm_nvm_write(&tx_power_table) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s mtpm_nvm_write failed\n", __func__);
        return -1;
    }
    return 0;
}

}  // namespace

int32_t mtpm_init() {
    mtpm_initialized = 0;
    if (mtpm_nvm_init() != 0) {
        RIL_TRACE(TRACE_ERROR, "%s mtpm_nvm_init failed\n", __func__);
        return -1;
    }
    mtpm_initialized = 1;
    RIL_TRACE(TRACE_EVENT, "%s mtpm success\n", __func__);
    return 0;
}

int32_t mtpm_nvm_write(const void* table) {
    if (table == nullptr) {
        return -1;
    }
    std::array<uint8_t, sizeof(mtpm_tx_power_table)> bytes;
    memcpy(bytes.data(), table, bytes.size());
    UtaNvmParams nvm = {c_nvm_area, 0, static_cast<uint32_t>(bytes.size()), bytes.data(), 0};
    if (RemUtaNvmWrite(&nvm) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaNvmWrite failed\n", __func__);
        return -1;
    }
    nvm.flag = 1;
    if (RemUtaNvmWriteCommit(&nvm) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaNvmWriteCommit failed\n", __func__);
        return -1;
    }
    return 0;
}

void mtpm_get_tx_power_info(uint32_t* active) {
    if (active != nullptr) {
        *active = mtpm_active;
    }
}

int32_t mtpm_select_tx_power_table(uint8_t enable) {
    if (mtpm_initialized == 0) {
        RIL_TRACE(TRACE_ERROR, "%s mptm not init\n", __func__);
        return -1;
    }
    if (enable == prev_mptm_state) {
        RIL_TRACE(TRACE_ERROR, "%s mptm same mode request sent reject\n", __func__);
        return -1;
    }
    prev_mptm_state = enable;
    mtpm_active = enable != 0 ? 1 : 0;
    T_UTA_RF_TX_PWR_SETTINGS levels;
    static_assert(sizeof(levels) == offsetof(mtpm_tx_power_table, max_tx_pwr_3g));
    memcpy(&levels, &tx_power_table, sizeof(levels));
    RemUtaRfTxPwrSettingsSet2g(enable != 0 ? 2 : 0, &levels);
    sleep(2);
    UtaRfMaxTxPwr3gBandListType limits;
    static_assert(sizeof(limits) == sizeof(tx_power_table.max_tx_pwr_3g));
    memcpy(&limits, tx_power_table.max_tx_pwr_3g, sizeof(limits));
    RemUtaRfMaxTxPwrSet3g(enable != 0 ? 1 : 0, &limits);
    return 0;
}

int32_t mtpm_set_max_rf_power(int32_t mode) {
    switch (mode) {
        case 0:
            limit_2g_off();
            limit_3g_off();
            return 0;
        case 1:
            limit_2g_off();
            return 0;
        case 2:
            return 0;
        case 3:
            limit_3g_off();
            return 0;
        case 4:
            limit_3g_on();
            return 0;
        default:
            RIL_TRACE(TRACE_ERROR, "%s enter default = %d\n", "setMaxRFPower", mode);
            return -1;
    }
}
