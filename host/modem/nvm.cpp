// The modem's non-volatile memory: areas of bytes. What was committed outlives a loss of power, what was only written
// does not. What was never written reads as 0xFF, as erased flash does.
#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string_view>
#include <vector>

#include "host/modem/modem.h"

namespace {

using namespace std::string_view_literals;

constexpr size_t c_area_size = 4096;
constexpr size_t c_areas_max = 64;
constexpr uint8_t c_erased = 0xFF;

constexpr uint32_t c_factory_area = 0x10080000;
constexpr size_t c_serial_number_at = 84;
constexpr std::string_view c_serial_number = "SIM0000000001\0"sv;

struct Area {
    std::vector<uint8_t> written = std::vector<uint8_t>(c_area_size, c_erased);
    std::vector<uint8_t> committed = written;
    uint32_t commits = 0;
};

// As the factory leaves it.
std::map<uint32_t, Area> first_areas() {
    Area area;
    std::copy(c_serial_number.begin(), c_serial_number.end(), area.committed.begin() + c_serial_number_at);
    area.written = area.committed;
    return {{c_factory_area, area}};
}
std::map<uint32_t, Area> s_areas = first_areas();

bool is_place(const UtaNvmParams* nvm) {
    return nvm != nullptr && nvm->length != 0 && nvm->offset <= c_area_size &&
           nvm->length <= c_area_size - nvm->offset && (s_areas.size() < c_areas_max || s_areas.count(nvm->area) != 0);
}

int32_t read_nvm(Modem&, const Caller&, UtaNvmParams* nvm) {
    if (!is_place(nvm)) {
        return c_refused;
    }
    nvm->data = s_areas[nvm->area].written.data() + nvm->offset;  // packed before anything else happens to the area
    return c_success;
}

int32_t write_nvm(Modem&, const Caller&, const UtaNvmParams* nvm) {
    if (!is_place(nvm) || nvm->data == nullptr) {
        return c_refused;
    }
    std::copy_n(nvm->data, nvm->length, s_areas[nvm->area].written.data() + nvm->offset);
    return c_success;
}

int32_t commit_nvm(Modem&, const Caller&, const UtaNvmParams* nvm) {
    if (!is_place(nvm)) {
        return c_refused;
    }
    Area& area = s_areas[nvm->area];
    std::copy_n(area.written.data() + nvm->offset, nvm->length, area.committed.data() + nvm->offset);
    ++area.commits;
    return c_success;
}

void forget() {
    for (auto& [name, area] : s_areas) {
        area.written = area.committed;
    }
}

std::string describe() {
    std::string text = std::to_string(s_areas.size()) + " areas";
    for (const auto& [name, area] : s_areas) {
        std::array<char, 48> line{};
        snprintf(line.data(), line.size(), ", commits to %08X: %u", name, area.commits);
        text += line.data();
    }
    return text;
}

}  // namespace

Service nvm_service() {
    using namespace uta::row;
    return {.name = "nvm",
            .functions = {serve<UtaNvmRead, read_nvm>(), serve<UtaNvmWrite, write_nvm>(),
                          serve<UtaNvmWriteCommit, commit_nvm>()},
            .commands = {},
            .forget = forget,
            .describe = describe};
}
