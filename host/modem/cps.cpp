// The two switches of each stack: the protocol stack, which is on the air or not, and its card.
#include <array>

#include "host/modem/modem.h"

namespace {

// In the stack's calls 1 is on and 0 off. In the card's it runs the other way.
constexpr int32_t c_stack_off = 0;
constexpr int32_t c_stack_on = 1;
constexpr int32_t c_sim_on = 0;

struct Stack {
    int32_t mode = c_stack_off;
    int32_t sim_mode = c_sim_on;
    // Taken over by the next mode request.
    int32_t configured_mode = c_stack_off;
    int32_t configured_sim_mode = c_sim_on;
};

std::array<Stack, c_stacks> s_stacks;

bool is_switch(int32_t mode) {
    return mode == 0 || mode == 1;
}

void forget() {
    s_stacks = {};
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_stacks.size(); ++i) {
        text += (i == 0 ? "stack " : ", stack ") + std::to_string(i);
        text += s_stacks[i].mode == c_stack_on ? " on" : " off";
        text += s_stacks[i].sim_mode == c_sim_on ? ", its card on" : ", its card off";
    }
    return text;
}

int32_t configure_stack(Modem&, const Caller&, uint32_t sim_id, int32_t mode) {
    if (!is_switch(mode)) {
        return c_refused;
    }
    s_stacks[sim_id].configured_mode = mode;
    return c_success;
}

int32_t configure_sim(Modem&, const Caller&, uint32_t sim_id, int32_t mode) {
    if (!is_switch(mode)) {
        return c_refused;
    }
    s_stacks[sim_id].configured_sim_mode = mode;
    return c_success;
}

// Everybody hears of a stack that has changed its mode, whoever asked for it.
void switch_stack(Modem& modem, uint32_t sim_id, int32_t mode) {
    Stack& stack = s_stacks[sim_id];
    stack.sim_mode = stack.configured_sim_mode;
    if (stack.mode != mode) {
        stack.mode = mode;
        const UtaCpsSetModeParams param{mode, 0, 0};
        modem.indicate<uta::row::UtaMsCpsSetModeIndCb>(sim_id, &param);
    }
    modem.stack_switched(sim_id, stack.mode == c_stack_on, stack.sim_mode == c_sim_on);
}

int32_t set_mode(Modem& modem, const Caller& caller, uint32_t sim_id, int32_t mode, int32_t, uint32_t,
                 uint32_t context_id) {
    if (!is_switch(mode)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, mode, context_id] {
        modem.send<uta::row::UtaMsCpsSetModeRsp>(caller.client, caller.context_id, sim_id, mode, context_id, c_success);
        switch_stack(modem, sim_id, mode);
    });
    return c_success;
}

int32_t set_sim_mode(Modem& modem, const Caller& caller, uint32_t sim_id, int32_t mode, uint32_t, uint32_t context_id) {
    if (!is_switch(mode)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, mode, context_id] {
        Stack& stack = s_stacks[sim_id];
        stack.sim_mode = mode;
        modem.send<uta::row::UtaMsCpsSetSimModeRsp>(caller.client, caller.context_id, sim_id, mode, context_id,
                                                    c_success);
        modem.stack_switched(sim_id, stack.mode == c_stack_on, stack.sim_mode == c_sim_on);
    });
    return c_success;
}

std::string stack_command(Modem& modem, const std::vector<std::string>& arguments) {
    if (arguments.size() != 2 || (arguments[0] != "0" && arguments[0] != "1") ||
        (arguments[1] != "on" && arguments[1] != "off")) {
        return "wants the stack's number and on or off";
    }
    switch_stack(modem, arguments[0] == "1" ? 1 : 0, arguments[1] == "on" ? c_stack_on : c_stack_off);
    return "";
}

}  // namespace

Service cps_service() {
    using namespace uta::row;
    return {.name = "cps",
            .functions = {serve<UtaMsCpsSetModeReq, set_mode>(), serve<UtaMsCpsSetSimModeReq, set_sim_mode>(),
                          serve<UtaMsCpsSetStackModeConfiguration, configure_stack>(),
                          serve<UtaMsCpsSetSimModeConfiguration, configure_sim>()},
            .commands = {{"stack", "0|1 on|off", "switches a protocol stack as if another user of the modem had",
                          stack_command}},
            .forget = forget,
            .describe = describe};
}
