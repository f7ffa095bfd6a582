// The cell broadcast centre (3GPP TS 23.041): messages on channels in pages, for the stacks that listen to them.
#include <algorithm>

#include "host/modem/commands.h"
#include "host/modem/modem.h"
#include "host/modem/net.h"
#include "host/sms/message.h"

namespace {

constexpr int32_t c_done = 1;
constexpr int32_t c_lets_through = 0;
constexpr size_t c_page_octets = 82;
constexpr size_t c_page_characters = 93;
constexpr size_t c_pages_max = 15;
constexpr uint8_t c_dcs_english = 1;
constexpr uint8_t c_carriage_return = 13;

struct Stack {
    UtaCbsFilterParam filter{};
    bool listens = false;
};
std::array<Stack, c_stacks> s_stacks;
uint16_t s_serial_number;

int32_t set_filter(Modem&, const Caller&, uint32_t sim_id, const UtaCbsFilterParam* filter) {
    if (filter == nullptr || filter->dcs_cnt > std::size(filter->dcs) ||
        filter->mid_range_cnt > std::size(filter->mid_range)) {
        return c_refused;
    }
    s_stacks[sim_id].filter = *filter;
    return c_success;
}

int32_t get_filter(Modem&, const Caller&, uint32_t sim_id, UtaCbsFilterParam* filter) {
    *filter = s_stacks[sim_id].filter;
    return c_success;
}

template <typename Row>
int32_t listen(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id, bool on) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id, on] {
        s_stacks[sim_id].listens = on;
        modem.send<Row>(caller.client, caller.context_id, sim_id, c_done, context_id);
    });
    return c_success;
}

int32_t start(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return listen<uta::row::UtaMsCbsStartRspCb>(modem, caller, sim_id, context_id, true);
}

int32_t stop(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    return listen<uta::row::UtaMsCbsStopRspCb>(modem, caller, sim_id, context_id, false);
}

bool is_let_through(const UtaCbsFilterParam& filter, uint16_t channel, uint8_t dcs) {
    const auto* const ranges = filter.mid_range;
    const bool is_in_range = std::any_of(ranges, ranges + filter.mid_range_cnt, [channel](const UtaCbsMidRange& range) {
        return range.from <= channel && channel <= range.to;
    });
    const bool is_in_scheme = std::count(filter.dcs, filter.dcs + filter.dcs_cnt, dcs) != 0;
    return (is_in_range && is_in_scheme) == (filter.filter_mode == c_lets_through);
}

std::string broadcast(Modem& modem, const std::vector<std::string>& arguments) {
    const int32_t channel = arguments.size() == 2 ? parse_integer(arguments[0]).value_or(-1) : -1;
    const auto septets = arguments.size() == 2 ? sms::septets_of(sms::characters_of(arguments[1])) : std::nullopt;
    if (channel < 0 || channel > UINT16_MAX || !septets || septets->empty() ||
        septets->size() > c_pages_max * c_page_characters) {
        return "wants a channel and a text of the 7-bit alphabet, 15 pages of 93 characters at most";
    }
    UtaCbsData message{};
    message.dcs = c_dcs_english;
    message.serial_number = static_cast<uint16_t>(++s_serial_number << 4);
    message.message_id = static_cast<uint16_t>(channel);
    for (size_t at = 0; at < septets->size(); at += c_page_characters, ++message.pages) {
        sms::Octets page(c_page_characters, c_carriage_return);
        std::copy_n(septets->begin() + static_cast<std::ptrdiff_t>(at),
                    std::min(c_page_characters, septets->size() - at), page.begin());
        const sms::Octets packed = sms::pack(page);
        std::copy_n(packed.begin(), c_page_octets, message.page_data + (c_page_octets + 1) * message.pages);
    }
    message.size = static_cast<uint16_t>((c_page_octets + 1) * message.pages);
    for (uint32_t sim_id = 0; sim_id < c_stacks; ++sim_id) {
        const Stack& stack = s_stacks[sim_id];
        if (stack.listens && stack_is_registered(sim_id) &&
            is_let_through(stack.filter, message.message_id, message.dcs)) {
            modem.indicate<uta::row::UtaMsCbsNewMessageIndCb>(sim_id, &message);
        }
    }
    return "";
}

}  // namespace

Service cbs_service() {
    using namespace uta::row;
    return {
        .name = "cbs",
        .functions = {serve<UtaMsCbsSetFilter, set_filter>(), serve<UtaMsCbsGetFilter, get_filter>(),
                      serve<UtaMsCbsStartReq, start>(), serve<UtaMsCbsStopReq, stop>()},
        .commands = {{"broadcast", "CHANNEL TEXT", "a message to all phones that listen to the channel", broadcast}},
        .forget = [] { s_stacks = {}; }};
}
