// Packing and unpacking 7-bit text and decoding a delivered message, against libosmocore doing the same work.
//
//     codec_bench            the ratios, then each operation by itself
//     codec_bench MODE N     one operation N times, for own_instructions.py
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "bench/paired.h"
#include "ril/core/src/decode/decode.h"
#include "ril/core/src/sms/sms_tpdu.h"
#include "tests/decode/codec_test.h"
#include "tests/sms/osmocom.h"

namespace {

// 3GPP TS 31.124, 27.22.4.10.1, sequence 1.5: 160 characters.
const std::string c_text =
    "Two types are defined: - A short message to be sent to the network in an SMS-SUBMIT message, or an SMS-COMMAND "
    "message, where the user data can be passed transp";
// libosmocore's own test of the extension table, tests/sms/sms_test.c.
const std::string c_extended_text = "enhanced ^ {][] test |+~ ^ tests";

Bytes packed(const std::string& text) {
    Bytes octets(400);
    octets.resize(gsm_pack_text(text, octets).octets);
    return octets;
}

const Bytes c_packed = packed(c_text);
const Bytes c_extended_packed = packed(c_extended_text);
constexpr uint8_t c_extended_septets = 40;

// Service centre and originator of oFono's simple_deliver (unit/test-sms.c), in front of the text above.
const Bytes c_deliver = [] {
    Bytes pdu = hex("07911326040000F0040B911346610089F6000020806291731448A0");
    pdu.insert(pdu.end(), c_packed.begin(), c_packed.end());
    return pdu;
}();

const sms_tpdu c_tpdu = [] {
    sms_tpdu tpdu{.status = 0, .length = static_cast<uint8_t>(c_deliver.size()), .data = {}};
    std::copy(c_deliver.begin(), c_deliver.end(), tpdu.data.begin());
    return tpdu;
}();

void pack(const std::string& text) {
    std::array<uint8_t, 160> out;
    benchmark::DoNotOptimize(gsm_pack_text(text, out));
    benchmark::DoNotOptimize(out);
}

void osmo_pack(const std::string& text) {
    std::array<uint8_t, 160> out;
    int octets = 0;
    benchmark::DoNotOptimize(gsm_7bit_encode_n(out.data(), out.size(), text.c_str(), &octets));
    benchmark::DoNotOptimize(out);
}

void unpack(const Bytes& data, uint8_t septets) {
    std::array<uint16_t, 161> out;
    size_t length = 0;
    benchmark::DoNotOptimize(sms_unpack_septets_to_wchar(data, septets, out, 0, true, &length));
    benchmark::DoNotOptimize(out);
}

void osmo_unpack(const Bytes& data, uint8_t septets) {
    std::array<char, 161> out;
    benchmark::DoNotOptimize(gsm_7bit_decode_n(out.data(), out.size(), data.data(), septets));
    benchmark::DoNotOptimize(out);
}

void deliver() {
    unpacked_smsinfo info;
    benchmark::DoNotOptimize(sms_unpack_msg(&c_tpdu, &info, true));
    benchmark::DoNotOptimize(info);
}

// What a receiver built on the library does: it has the pieces of a message, not the message.
void osmo_deliver() {
    const uint8_t* octets = c_tpdu.data.data();
    std::array<char, 21> centre;
    gsm48_decode_bcd_number2(centre.data(), centre.size(), octets, 12, 1);
    octets += octets[0] + 1;
    const bool has_header = (*octets++ & 0x40) != 0;
    // The library takes a length in octets, the message has one in digits.
    std::array<uint8_t, 12> number;
    const size_t number_octets = (octets[0] + 1U) / 2;
    number[0] = static_cast<uint8_t>(number_octets + 1);
    memcpy(&number[1], octets + 1, number_octets + 1);
    std::array<char, 21> originator;
    gsm48_decode_bcd_number2(originator.data(), originator.size(), number.data(), number.size(), 1);
    octets += number_octets + 2;
    octets += 1;  // protocol identifier
    const sms_alphabet alphabet = gsm338_get_sms_alphabet(*octets++);
    octets += 7;  // time stamp
    const uint8_t length = *octets++;
    std::array<char, 161> text;
    if (alphabet == DCS_7BIT_DEFAULT) {
        gsm_7bit_decode_n_hdr(text.data(), text.size(), octets, length, has_header ? 1 : 0);
    }
    benchmark::DoNotOptimize(centre);
    benchmark::DoNotOptimize(originator);
    benchmark::DoNotOptimize(text);
}

const std::map<std::string, void (*)()> c_operations = {
    {"pack", [] { pack(c_text); }},
    {"pack_osmocom", [] { osmo_pack(c_text); }},
    {"pack_extended", [] { pack(c_extended_text); }},
    {"pack_extended_osmocom", [] { osmo_pack(c_extended_text); }},
    {"unpack", [] { unpack(c_packed, 160); }},
    {"unpack_osmocom", [] { osmo_unpack(c_packed, 160); }},
    {"unpack_extended", [] { unpack(c_extended_packed, c_extended_septets); }},
    {"unpack_extended_osmocom", [] { osmo_unpack(c_extended_packed, c_extended_septets); }},
    {"deliver", [] { deliver(); }},
    {"deliver_osmocom", [] { osmo_deliver(); }},
};

void repeat(void (*operation)(), int operations) {
    for (int i = 0; i < operations; ++i) {
        operation();
    }
}

void one(benchmark::State& state, const char* name) {
    void (*const operation)() = c_operations.at(name);
    while (state.KeepRunning()) {
        operation();
    }
}
BENCHMARK_CAPTURE(one, pack, "pack");
BENCHMARK_CAPTURE(one, pack_osmocom, "pack_osmocom");
BENCHMARK_CAPTURE(one, unpack, "unpack");
BENCHMARK_CAPTURE(one, unpack_osmocom, "unpack_osmocom");
BENCHMARK_CAPTURE(one, deliver, "deliver");
BENCHMARK_CAPTURE(one, deliver_osmocom, "deliver_osmocom");

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && c_operations.contains(argv[1])) {
        repeat(c_operations.at(argv[1]), atoi(argv[2]));
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    for (const auto& [name, function] : c_operations) {
        void (*const operation)() = function;
        const auto baseline = c_operations.find(name + "_osmocom");
        if (baseline != c_operations.end()) {
            const PairedResult result = measure_pairs([operation](int n) { repeat(operation, n); },
                                                      [baseline](int n) { repeat(baseline->second, n); }, 2000, 31);
            print_pairs(name.c_str(), result);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
