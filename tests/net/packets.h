// The modem's packets about the network, put together from the bytes of the wire format, and the phone that hears them.
#pragma once

#include <string>
#include <vector>

#include "tests/harness/wire_phone.h"

std::string plmn(uint16_t mcc, uint16_t mnc, uint32_t three_digits);
std::string network(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat);

struct Registration {
    uint32_t cs = 0;
    uint32_t ps = 0;
    uint32_t cause = 0;
    uint32_t second_cause = 255;
    uint32_t roaming = 0;
    uint32_t rat = 1;
    uint16_t mcc = 262;
    uint16_t mnc = 1;
    uint32_t three_digits = 0;
    uint32_t band = 4;
};
std::string registration(const Registration& values, uint32_t sim_id = 0);

struct Cell {
    uint32_t rat = 1;
    uint32_t gprs = 0;
    uint32_t edge = 0;
    uint32_t hsdpa = 0;
    uint32_t hsupa = 0;
    uint16_t lac = 0x12;
    uint32_t cell_id = 0xABCD;
    uint16_t mcc = 262;
    uint16_t mnc = 1;
};
std::string cell(const Cell& values, uint32_t sim_id = 0);
std::string hspa(uint32_t hsdpa, uint32_t hsupa, uint32_t plus, uint32_t sim_id = 0);
std::string attach_allowed(uint32_t value, uint32_t sim_id = 0);
std::string ps_attached(uint16_t mcc, uint16_t mnc, uint16_t lac);
std::string ps_detached(uint32_t origin);
std::string scrambling_code(uint16_t code);
std::string attach_confirmed(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat, uint32_t sim_id = 0);
std::string attach_rejected(uint32_t cause);

struct Found {
    uint16_t mcc = 262;
    uint16_t mnc = 1;
    uint32_t three_digits = 0;
    uint32_t rat = 1;
    uint32_t forbidden = 0;
};
// `count` is what the packet says; it always has room for 30.
std::string scan_result(const std::vector<Found>& found, uint32_t count, uint32_t rejected = 0);

constexpr uint32_t c_attach = 71;
constexpr uint32_t c_scan = 73;
constexpr uint32_t c_plmn_names = 287;
constexpr uint32_t c_ps_attach = 288;
constexpr uint32_t c_scrambling_code = 350;

// A phone whose radio is on.
class NetPhone : public WirePhone {
public:
    explicit NetPhone(const std::vector<std::string>& arguments = {}, uint8_t sim = 0);

    void radio(int on);
    // Error and strings of an answer, or the integer of one that is no strings.
    std::string ask(int request, const char* text = nullptr);
};
