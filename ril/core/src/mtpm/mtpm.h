// The modem's transmit power limits: a table in its non-volatile memory, and fixed sets for a test. mtpm_init
// (modules.h) reads the table, and writes a default where there is none.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t c_tx_power_rows = 4;
constexpr size_t c_tx_power_levels = 20;
constexpr size_t c_tx_power_bands_3g = 30;

struct mtpm_tx_power_table {
    uint16_t rf_power_level_dbm_gmsk[c_tx_power_rows][c_tx_power_levels];
    uint16_t rf_power_level_dbm_8psk[c_tx_power_rows][c_tx_power_levels];
    int16_t max_tx_pwr_3g[c_tx_power_bands_3g];
};
static_assert(sizeof(mtpm_tx_power_table) == 380);

// Puts a set of limits into force, 0 to 4. 0, or -1 (logged) for another mode. RIL thread.
int32_t mtpm_set_max_rf_power(int32_t mode);

// For callers outside: nothing in here calls them.
extern "C" {
// The last selection, 0 or 1.
__attribute__((visibility("default"))) void mtpm_get_tx_power_info(uint32_t* active);
// Selects the table (1) or the modem's own limits (0); takes two seconds. 0, or -1 for the selection that is in force.
__attribute__((visibility("default"))) int32_t mtpm_select_tx_power_table(uint8_t enable);
// Writes the table of 380 bytes into the memory. 0 or -1.
__attribute__((visibility("default"))) int32_t mtpm_nvm_write(const void* table);
}
