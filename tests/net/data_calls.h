// The data calls of a library that has some: the test writes what they are, the library what it did with them.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

constexpr uint32_t c_data_calls = 2;

struct DataCalls {
    uint32_t active[c_data_calls];
    bool told[c_data_calls];  // has a record in `list`
    RIL_Data_Call_Response_v6 list[c_data_calls];
    char did[256];               // "remove 31 (1), network 31, ..."; in brackets the record's `active`
    uint32_t* pdp_act_nok_flag;  // the library's
    uint32_t* deactivate_pdp_beforenetscan;
};

constexpr const char* c_data_calls_symbol = "dun_test_data_calls";
