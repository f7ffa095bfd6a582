// The lookup of an operator's name in the table, against one of the same keys in a hash table: all keys, and the worst.
#include <cstdio>
#include <unordered_map>
#include <vector>

#include "bench/paired.h"
#include "ril/core/src/net/operator_table.h"
#include "ril/core/src/net/plmn_names.h"

namespace {

struct Key {
    uint16_t mcc;
    uint16_t mnc;
};

const void* volatile s_sink;
volatile size_t s_which;  // read for each lookup, so that none is taken out of its loop

}  // namespace

int main() {
    constexpr int c_lookups = 200000;
    std::vector<Key> keys;
    std::unordered_map<uint32_t, const net_operator*> hashed;
    for (uint16_t mcc = 1; mcc <= c_net_code_max; ++mcc) {
        for (uint16_t mnc = 0; mnc <= c_net_code_max; ++mnc) {
            if (const net_operator* const found = net_find_operator(mcc, mnc); found != nullptr) {
                keys.push_back({mcc, mnc});
                hashed[uint32_t{mcc} << 16 | mnc] = found;
            }
        }
    }
    const auto in_table = [](const Key& key) { s_sink = net_find_operator(key.mcc, key.mnc); };
    const auto in_hash = [&](const Key& key) { s_sink = hashed.find(uint32_t{key.mcc} << 16 | key.mnc)->second; };
    const auto each = [&](auto look) {
        return [&, look](int count) {
            for (int i = 0; i < count; ++i) {
                look(keys[static_cast<size_t>(i) % keys.size()]);
            }
        };
    };
    print_pairs("a name of the table's 800", measure_pairs(each(in_table), each(in_hash), c_lookups, 9));
    PairedResult worst{};
    const auto one = [&](auto look) {
        return [&, look](int count) {
            for (int i = 0; i < count; ++i) {
                look(keys[s_which]);
            }
        };
    };
    for (size_t key = 0; key < keys.size(); ++key) {
        s_which = key;
        const PairedResult result = measure_pairs(one(in_table), one(in_hash), 2000, 9);
        worst = result.ratio > worst.ratio ? result : worst;
    }
    print_pairs("the table's worst row", worst);
    return 0;
}
