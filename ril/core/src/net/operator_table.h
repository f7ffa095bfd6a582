// The names of operators that the library brings along.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

constexpr size_t c_net_countries = 224;
constexpr size_t c_net_operators = 800;

struct net_country {
    uint16_t mcc;
    const char* country;  // abbreviation
};

struct net_operator {
    uint16_t mnc;
    const char* long_name;
    const char* short_name;
    uint16_t country;  // row of net_country_code
};

// The operator of that code (ITU-T E.212), or null. Any thread.
const net_operator* net_find_operator(uint16_t mcc, uint16_t mnc);

// The abbreviation of an operator's country. Any thread.
const char* net_operator_country(const net_operator& found);
