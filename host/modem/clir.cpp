// What the modem keeps of the user's settings: numbered values, of which it knows how the own number is shown.
#include "host/modem/clir.h"

#include "host/modem/modem.h"

namespace {

constexpr int32_t c_write_clir = 8;
constexpr int32_t c_read_clir = 9;

std::array<int32_t, c_stacks> s_clir;  // outlives a loss of power

int32_t write_setting(Modem&, const Caller&, uint32_t sim_id, const UtaCpsNvmWriteDataParam* param) {
    if (param == nullptr || param->item != c_write_clir) {
        return c_refused;
    }
    s_clir[sim_id] = param->value;
    return c_success;
}

int32_t read_setting(Modem&, const Caller&, uint32_t sim_id, UtaCpsNvmReadDataParam* param) {
    if (param == nullptr || param->item != c_read_clir) {
        return c_refused;
    }
    param->value = s_clir[sim_id];
    return c_success;
}

}  // namespace

int32_t clir_setting(uint32_t sim_id) {
    return s_clir[sim_id];
}

Service clir_service() {
    using namespace uta::row;
    return {.name = "clir",
            .functions = {serve<UtaMsCpsNvmWrite, write_setting>(), serve<UtaMsCpsNvmRead, read_setting>()},
            .commands = {},
            .describe = [] { return "setting " + std::to_string(s_clir[0]) + ", " + std::to_string(s_clir[1]); }};
}
