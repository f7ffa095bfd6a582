// The modem's non-volatile memory: areas of bytes that outlive a loss of power. What was never written reads as 0xFF,
// as erased flash does.
#include <algorithm>
#include <map>
#include <vector>

#include "host/modem/modem.h"

namespace {

constexpr size_t c_area_size = 4096;
constexpr size_t c_areas_max = 64;
constexpr uint8_t c_erased = 0xFF;

std::map<uint32_t, std::vector<uint8_t>> s_areas;

// The piece that a call names; empty when there is no such place.
std::span<uint8_t> piece(const UtaNvmParams& nvm) {
    if (nvm.offset > c_area_size || nvm.length > c_area_size - nvm.offset ||
        (s_areas.size() >= c_areas_max && s_areas.count(nvm.area) == 0)) {
        return {};
    }
    std::vector<uint8_t>& area = s_areas.try_emplace(nvm.area, c_area_size, c_erased).first->second;
    return std::span(area).subspan(nvm.offset, nvm.length);
}

int32_t read_nvm(Modem&, const Caller&, UtaNvmParams* nvm) {
    if (nvm == nullptr || piece(*nvm).empty()) {
        return c_refused;
    }
    nvm->data = piece(*nvm).data();  // packed before anything else happens to the area
    return c_success;
}

int32_t write_nvm(Modem&, const Caller&, const UtaNvmParams* nvm) {
    if (nvm == nullptr || nvm->data == nullptr) {
        return c_refused;
    }
    const std::span<uint8_t> found = piece(*nvm);
    std::copy_n(nvm->data, found.size(), found.begin());
    return found.empty() ? c_refused : c_success;
}

int32_t commit_nvm(Modem&, const Caller&, const UtaNvmParams*) {
    return c_success;  // nothing is held back
}

}  // namespace

Service nvm_service() {
    using namespace uta::row;
    return {.name = "nvm",
            .functions = {serve<UtaNvmRead, read_nvm>(), serve<UtaNvmWrite, write_nvm>(),
                          serve<UtaNvmWriteCommit, commit_nvm>()},
            .commands = {},
            .describe = [] { return std::to_string(s_areas.size()) + " areas written or read"; }};
}
