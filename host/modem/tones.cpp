// Tones on their way to the far end of a call (3GPP TS 24.008, 5.5.7), which remembers what it hears.
#include "host/modem/calls.h"
#include "host/modem/commands.h"
#include "host/modem/engineering.h"

namespace {

using namespace calls;

struct Tone {
    char digit;
    Loop::Clock::time_point begin;
    std::optional<Loop::Milliseconds> length;  // none while it sounds
};

std::array<std::vector<Tone>, c_stacks> s_heard;  // of the last call that a tone was for
std::array<uint32_t, c_stacks> s_serial;          // of that call

void end_tone(uint32_t sim_id) {
    for (Tone& tone : s_heard[sim_id]) {
        if (!tone.length) {
            tone.length = std::chrono::duration_cast<Loop::Milliseconds>(Loop::Clock::now() - tone.begin);
        }
    }
}

// A tone needs an active call; one that still sounds ends with it.
bool begin_tone(uint32_t sim_id, const UtaCallCsStartDtmfReqParams& param) {
    const Call* call = find_call(sim_id, param.call.call_id);
    if (call == nullptr || call->state != State::ACTIVE) {
        return false;
    }
    if (s_serial[sim_id] != call->serial) {
        s_serial[sim_id] = call->serial;
        s_heard[sim_id].clear();
    }
    end_tone(sim_id);
    s_heard[sim_id].push_back({static_cast<char>(param.digit), Loop::Clock::now(), std::nullopt});
    return true;
}

int32_t start_dtmf(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsStartDtmfReqParams* param,
                   uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, wanted = *param, context_id] {
        UtaCallCsStartDtmfRspCbParams response{};
        response.call = wanted.call;
        ++counted(sim_id).start_dtmf_msgs;
        if (begin_tone(sim_id, wanted)) {
            ++counted(sim_id).start_dtmf_ack_msgs;
        } else {
            ++counted(sim_id).start_dtmf_rej_msgs;
            response.result = 1;
            response.call_error_cause = UNKNOWN_CALL;
        }
        modem.send<uta::row::UtaMsCallCsStartDtmfRspCb>(caller.client, caller.context_id, sim_id, &response,
                                                        context_id);
    });
    return c_success;
}

int32_t stop_dtmf(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallCsCallId* call_id,
                  uint32_t context_id) {
    if (call_id == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, id = *call_id, context_id] {
        end_tone(sim_id);
        ++counted(sim_id).stop_dtmf_msgs;
        ++counted(sim_id).stop_dtmf_ack_msgs;
        modem.send<uta::row::UtaMsCallCsStopDtmfRspCb>(caller.client, caller.context_id, sim_id, &id, context_id);
    });
    return c_success;
}

std::string digits(uint32_t sim_id) {
    std::string text;
    for (const Tone& tone : s_heard[sim_id]) {
        text += tone.digit;
    }
    return text;
}

std::string heard_command(Modem&, const std::vector<std::string>& arguments) {
    const auto stack = arguments.size() > 1 ? parse_integer(arguments[1]) : std::optional(0);
    if (arguments.empty() || arguments.size() > 2 || !stack || *stack < 0 || *stack >= static_cast<int32_t>(c_stacks)) {
        return "wants digits";
    }
    const std::string heard = digits(static_cast<uint32_t>(*stack));
    return heard == arguments[0] ? "" : "the far end heard: " + heard;
}

std::string describe() {
    std::string text = "heard:";
    for (const Tone& tone : s_heard[0]) {
        text += std::string(" ") + tone.digit;
        text += tone.length ? " " + std::to_string(tone.length->count()) + " ms" : " sounds";
    }
    return text;
}

}  // namespace

Service tones_service() {
    using namespace uta::row;
    return {.name = "tones",
            .functions = {serve<UtaMsCallCsStartDtmfReq, start_dtmf>(), serve<UtaMsCallCsStopDtmfReq, stop_dtmf>()},
            .commands = {{"heard", "DIGITS [0|1]",
                          "fails unless the far end of the last call with tones heard these; status tells how long",
                          heard_command}},
            .forget = [] { s_serial = {}; },
            .describe = describe};
}
