// DVP: a feature of the modem's with one state for both stacks, off or one of three ways of being on.
#include "host/modem/commands.h"
#include "host/modem/modem.h"

namespace {

constexpr int32_t c_state_max = 3;

int32_t s_state = 0;

void set_state(Modem& modem, int32_t state) {
    if (state == s_state) {
        return;
    }
    s_state = state;
    const UtaNetDvpInfoIndParams info{state};
    modem.indicate<uta::row::UtaMsNetDvpInfoIndCb>(&info);
}

int32_t get_info(Modem& modem, const Caller& caller, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, context_id] {
        const UtaNetGetDvpInfoRspParams response{c_success, s_state};
        modem.send<uta::row::UtaMsNetGetDvpInfoRspCb>(caller.client, caller.context_id, &response, context_id);
    });
    return c_success;
}

int32_t configure(Modem& modem, const Caller& caller, const UtaNetConfigureDvpReqParams* wanted, uint32_t context_id) {
    if (wanted == nullptr || wanted->state < 0 || wanted->state > c_state_max) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, state = wanted->state, context_id] {
        const UtaNetConfigureDvpRspParams response{c_success, state};
        modem.send<uta::row::UtaMsNetConfigureDvpRspCb>(caller.client, caller.context_id, &response, context_id);
        set_state(modem, state);
    });
    return c_success;
}

std::string dvp_command(Modem& modem, const std::vector<std::string>& arguments) {
    const auto state = arguments.size() == 1 ? parse_integer(arguments[0]) : std::nullopt;
    if (!state || *state < 0 || *state > c_state_max) {
        return "wants a state, 0 to 3";
    }
    set_state(modem, *state);
    return "";
}

}  // namespace

Service dvp_service() {
    using namespace uta::row;
    return {.name = "dvp",
            .functions = {serve<UtaMsNetGetDvpInfoReq, get_info>(), serve<UtaMsNetConfigureDvpReq, configure>()},
            .commands = {{"dvp", "0..3", "the modem changes its DVP state: 0 is off", dvp_command}},
            .forget = [] { s_state = 0; },
            .describe = [] { return "state " + std::to_string(s_state); }};
}
