// The configuration file: build-time choices of the phone maker, read once when the library starts.
#pragma once

#include <cstdint>

enum ril_cfg_string : uint32_t { CFG_MODEM_DEV_NAME_1 = 0, CFG_MODEM_DEV_NAME_2 = 1 };

// Reads "/system/etc/dun-ril/repository.txt", or the file that the last "-c" names. 0, or -1 when it cannot be opened:
// every setting keeps its default then. On the thread of RIL_Init, before any other thread exists; everything below is
// constant afterwards and runs on any thread.
int32_t ril_config_init(int argc, char** argv);

uint32_t ril_config_fast_dormancy_screen_controlled();  // 1 if `xfdor_mode` is 2
uint32_t ril_config_fast_dormancy_oem_controlled();     // 1 if `xfdor_mode` is 1
int32_t ril_config_get_max_gprs_pdp_context();

// A string setting, or null (logged) if the file did not set it or the index is out of range.
const char* ril_config_get_cfg_string(uint32_t index);

// The control settings that are sent to the modem.
struct ril_cfg_modem_values {
    int32_t xfdor_mode;            // 0 to 3
    uint8_t xfdor_delay_timer;     // 1 to 60
    uint8_t xfdor_scri_timer;      // 1 to 120
    int32_t rx_diversity_2g_darp;  // -1: none
};
ril_cfg_modem_values ril_config_get_modem_values();
