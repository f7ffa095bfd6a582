// The networks around the phone: registration with one of them, the search for all. A stack on the air with a card that
// can be used registers with the network of its card, or with another one abroad; without one it is there for emergency
// calls only.
#include "host/modem/net.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "host/modem/card.h"
#include "host/modem/engineering.h"
#include "host/modem/modem.h"
#include "host/modem/radio.h"

namespace {

using Milliseconds = Loop::Milliseconds;

// Bands of 3GPP TS 45.005, 2 and 25.101, 5.2, by the modem's numbers. LTE has none of these.
constexpr int32_t c_gsm_900 = 1;
constexpr int32_t c_no_band = 18;
constexpr int32_t c_umts_1 = 50;
constexpr int32_t c_umts_4 = 53;
constexpr int32_t c_umts_8 = 57;

constexpr std::array<Network, 5> c_networks = {{
    {262, 1, false, 2, false, c_umts_1, 0x1A2B, 0x00ABCDEF, 10612, 9662, 321},
    {262, 1, false, 1, false, c_gsm_900, 0x1A2C, 0x00001234, 25, 25, 0x11},
    {262, 2, false, 2, false, c_umts_8, 0x2B01, 0x00B00B1E, 3012, 2787, 98},
    {262, 3, false, 3, true, c_no_band, 0x3C01, 0x00C0FFEE, 1300, 19300, 77},
    {310, 260, true, 2, false, c_umts_4, 0x4D01, 0x00D15EA5, 1637, 1412, 205},
}};
constexpr size_t c_home = 0;

constexpr int32_t c_registered = 0;
constexpr int32_t c_limited_service = 1;
constexpr int32_t c_no_service = 2;
constexpr int32_t c_no_cause = 255;
constexpr int32_t c_cause_no_subscriber = 2;  // IMSI unknown in HLR
constexpr int32_t c_cause_not_allowed = 11;   // PLMN not allowed (3GPP TS 24.008, annex G.1)
constexpr int32_t c_cause_conflict = 22;      // the other SIM has the radio
constexpr int32_t c_status_unknown = 3;

constexpr Milliseconds c_search_time{60};
constexpr Milliseconds c_scan_time{250};

struct Stack {
    bool on = false;
    size_t network = c_home;  // registered there, or about to be
    bool registered = false;
    bool camps = false;  // on a cell, registered or not
};
std::array<Stack, c_stacks> s_stacks;

// The network's cell at a site. Those of GSM differ in their frequency.
Cell cell_of(const Network& network, uint32_t sim_id, size_t site) {
    constexpr size_t c_arfcn_step = 4;
    Cell cell{};
    cell.network = &network;
    cell.id = static_cast<uint32_t>(network.cell_id + site);
    cell.channel = static_cast<uint16_t>(network.channel + (network.rat == c_gsm ? c_arfcn_step * site : 0));
    cell.code = static_cast<uint16_t>(network.code + site);
    cell.level = level_of_site(sim_id, site);
    return cell;
}

Cell serving_cell(uint32_t sim_id) {
    return cell_of(c_networks[s_stacks[sim_id].network], sim_id, serving_site(sim_id));
}

bool is_same_plmn(const Network& one, const Network& other) {
    return one.mcc == other.mcc && one.mnc == other.mnc;
}

void fill(UtaNetRatPlmn& out, const Network& network) {
    out.rat = network.rat;
    out.plmn.mcc = network.mcc;
    out.plmn.mnc = network.mnc;
    out.plmn.three_digit_mnc = network.three_digit_mnc ? 1 : 0;
}

void report_registration(Modem& modem, uint32_t sim_id, int32_t status, int32_t cause) {
    const Network& network = c_networks[s_stacks[sim_id].network];
    UtaNetRegistrationInfoIndParam param{};
    param.cs_status = status;
    param.ps_status = status;
    param.rej_cause = cause;
    param.second_cause = cause;
    param.band = network.band;
    param.roaming = stack_roams(sim_id) ? 1 : 0;
    fill(param.network, network);
    param.lai.plmn = param.network.plmn;
    param.lai.lac.lac = network.lac;
    param.rai.lai = param.lai;
    param.tai.plmn = param.network.plmn;
    modem.indicate<uta::row::UtaMsNetRegistrationInfoIndCb>(sim_id, &param);
}

void report_cell(Modem& modem, uint32_t sim_id) {
    const Network& network = c_networks[s_stacks[sim_id].network];
    UtaNetCellInfoIndParam param{};
    param.mcc = network.mcc;
    param.mnc = network.mnc;
    param.cell_id = serving_cell(sim_id).id;
    param.lac = network.lac;
    param.gprs = 1;
    param.edge = network.rat == c_gsm ? 1 : 0;
    param.hsdpa = network.rat == 2 ? 1 : 0;
    param.rat = network.rat;
    modem.indicate<uta::row::UtaMsNetCellInfoIndCb>(sim_id, &param);
}

void go_to(Modem& modem, uint32_t sim_id, size_t network) {
    Stack& stack = s_stacks[sim_id];
    if (stack.camps && stack.network != network) {
        count_cell_change(sim_id, c_networks[stack.network], c_networks[network]);
    }
    stack.network = network;
    stack.registered = true;
    stack.camps = true;
    report_cell(modem, sim_id);
    report_registration(modem, sim_id, c_registered, c_no_cause);
    radio_registered(modem, sim_id, c_networks[network].mcc, c_networks[network].mnc);
}

bool may_register(uint32_t sim_id) {
    return s_stacks[sim_id].on && card_is_usable(sim_id);
}

// The network's cell of a technology that the stack may use; the number of networks for none.
size_t find_cell(uint32_t sim_id, uint16_t mcc, uint16_t mnc) {
    const auto* const found = std::find_if(c_networks.begin(), c_networks.end(), [&](const Network& network) {
        return network.mcc == mcc && network.mnc == mnc && !network.forbidden && radio_allows(sim_id, network.rat);
    });
    return static_cast<size_t>(found - c_networks.begin());
}

// The index of a network that may be used; the number of networks for none. MCC 0xFFFF leaves the choice to the modem.
size_t find_network(uint32_t sim_id, const UtaNetPlmn& wanted) {
    const bool any = wanted.mcc == 0xFFFF;
    return find_cell(sim_id, any ? c_networks[c_home].mcc : wanted.mcc, any ? c_networks[c_home].mnc : wanted.mnc);
}

int32_t attach(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaNetAttachReqParam* param,
               uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    const size_t network = find_network(sim_id, param->network.plmn);
    modem.later(c_search_time, [&modem, caller, sim_id, network, context_id] {
        if (network == c_networks.size() || !may_register(sim_id)) {
            UtaNetAttachRejParam rejection{};
            rejection.reject_cause = network == c_networks.size() ? c_cause_not_allowed : c_cause_no_subscriber;
            modem.send<uta::row::UtaMsNetAttachRejCb>(caller.client, caller.context_id, sim_id, &rejection, context_id);
            return;
        }
        go_to(modem, sim_id, network);
        UtaNetAttachCnfParam confirmation{};
        fill(confirmation.network, c_networks[network]);
        modem.send<uta::row::UtaMsNetAttachCnfCb>(caller.client, caller.context_id, sim_id, &confirmation, context_id);
    });
    return c_success;
}

int32_t scan(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(c_scan_time, [&modem, caller, sim_id, context_id] {
        UtaNetScanResParam result{};
        result.count = static_cast<int32_t>(c_networks.size());
        for (size_t i = 0; i < c_networks.size(); ++i) {
            fill(result.entries[i].network, c_networks[i]);
            result.entries[i].forbidden = c_networks[i].forbidden ? 1 : 0;
        }
        modem.send<uta::row::UtaMsNetScanRspCb>(caller.client, caller.context_id, sim_id, &result, context_id);
    });
    return c_success;
}

int32_t attach_packet_service(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        const UtaNetPsAttachResParam result{};
        modem.send<uta::row::UtaMsNetPsAttachRspCb>(caller.client, caller.context_id, sim_id, &result, context_id);
    });
    return c_success;
}

int32_t signal_info(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        UtaNetExtendedRadioSignalParam signal{};
        signal.psc = serving_cell(sim_id).code;
        modem.send<uta::row::UtaMsNetGetExtendedRadioSignalInfoRspCb>(caller.client, caller.context_id, sim_id, &signal,
                                                                      context_id);
    });
    return c_success;
}

int32_t configure_receiver(Modem& modem, const Caller& caller, uint32_t sim_id,
                           const UtaNetConfigureRxDiversityDarpParams*, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        modem.send<uta::row::UtaMsNetConfigureRxDiversityDarpIndCb>(caller.client, caller.context_id, sim_id, c_success,
                                                                    context_id);
    });
    return c_success;
}

void lose_service(Modem& modem, uint32_t sim_id) {
    s_stacks[sim_id].registered = false;
    s_stacks[sim_id].camps = false;
    report_registration(modem, sim_id, c_no_service, c_no_cause);
}

void limit_service(Modem& modem, uint32_t sim_id) {
    s_stacks[sim_id].registered = false;
    s_stacks[sim_id].camps = true;
    report_registration(modem, sim_id, c_limited_service, c_no_cause);
}

void search(Modem& modem, uint32_t sim_id) {
    modem.later(c_search_time, [&modem, sim_id] {
        const Stack& stack = s_stacks[sim_id];
        if (stack.on && !card_is_usable(sim_id)) {
            limit_service(modem, sim_id);
        } else if (stack.on && !stack.registered) {
            const size_t home = find_cell(sim_id, c_networks[c_home].mcc, c_networks[c_home].mnc);
            if (home == c_networks.size()) {
                lose_service(modem, sim_id);
            } else {
                go_to(modem, sim_id, home);
            }
        }
    });
}

void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool) {
    if (!stack_on) {
        s_stacks[sim_id] = {};
        return;
    }
    s_stacks[sim_id].on = true;
    search(modem, sim_id);
}

// The registration is gone with the card, also when one is put in again before a search has ended.
void card_changed(Modem& modem, uint32_t sim_id) {
    if (s_stacks[sim_id].on && !card_is_usable(sim_id)) {
        limit_service(modem, sim_id);
    } else {
        search(modem, sim_id);
    }
}

std::string network_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    const uint32_t sim_id = arguments.size() > 1 && arguments.back() == "1" ? 1 : 0;
    if (what == "lost") {
        lose_service(modem, sim_id);
        return "";
    }
    if (what == "conflict") {
        report_registration(modem, sim_id, c_status_unknown, c_cause_conflict);
        return "";
    }
    unsigned plmn = 0;
    const auto [end, error] = std::from_chars(what.data(), what.data() + what.size(), plmn);
    if (error == std::errc() && end == what.data() + what.size() && (what.size() == 5 || what.size() == 6)) {
        const unsigned factor = what.size() == 5 ? 100 : 1000;
        if (!may_register(sim_id)) {
            return "the stack is off, or its card can't be used";
        }
        for (size_t i = 0; i < c_networks.size(); ++i) {
            if (c_networks[i].mcc == plmn / factor && c_networks[i].mnc == plmn % factor) {
                go_to(modem, sim_id, i);
                return "";
            }
        }
        return "no such network here: " + what;
    }
    return "wants a network such as 26201, lost or conflict";
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_stacks.size(); ++i) {
        const Network& network = c_networks[s_stacks[i].network];
        text += (i == 0 ? "stack " : ", stack ") + std::to_string(i);
        text += s_stacks[i].registered ? " at " + std::to_string(network.mcc) + " " + std::to_string(network.mnc)
                                       : " not registered";
    }
    return text;
}

}  // namespace

bool stack_is_registered(uint32_t sim_id) {
    return s_stacks[sim_id].registered;
}

bool stack_roams(uint32_t sim_id) {
    const Stack& stack = s_stacks[sim_id];
    return stack.registered && c_networks[stack.network].mcc != c_networks[c_home].mcc;
}

bool stack_is_on_gsm(uint32_t sim_id) {
    return stack_is_registered(sim_id) && c_networks[s_stacks[sim_id].network].rat == c_gsm;
}

void network_settings_changed(Modem& modem, uint32_t sim_id) {
    Stack& stack = s_stacks[sim_id];
    const Network& network = c_networks[stack.network];
    if (!stack.registered) {
        search(modem, sim_id);
        return;
    }
    if (radio_allows(sim_id, network.rat)) {
        return;
    }
    const size_t other = find_cell(sim_id, network.mcc, network.mnc);
    if (other != c_networks.size()) {
        go_to(modem, sim_id, other);
        return;
    }
    lose_service(modem, sim_id);
}

void serving_site_changed(Modem& modem, uint32_t sim_id) {
    const Network& network = c_networks[s_stacks[sim_id].network];
    if (s_stacks[sim_id].camps) {
        count_cell_change(sim_id, network, network);
        report_cell(modem, sim_id);
    }
}

std::vector<Cell> cells_around(uint32_t sim_id) {
    if (!s_stacks[sim_id].camps) {
        return {};
    }
    const Network& own = c_networks[s_stacks[sim_id].network];
    std::vector<Cell> cells;
    cells.reserve(c_networks.size() * c_sites);
    cells.push_back(serving_cell(sim_id));
    for (const Network& network : c_networks) {
        for (size_t site = 0; site < c_sites; ++site) {
            const bool is_serving = &network == &own && site == serving_site(sim_id);
            const Cell cell = cell_of(network, sim_id, site);
            if (!is_serving && is_same_plmn(network, own) && radio_allows(sim_id, network.rat) && cell.level > 0) {
                cells.push_back(cell);
            }
        }
    }
    return cells;
}

Service net_service() {
    using namespace uta::row;
    return {.name = "net",
            .functions = {serve<UtaMsNetAttachReq, attach>(), serve<UtaMsNetScanReq, scan>(),
                          serve<UtaMsNetPsAttachReq, attach_packet_service>(),
                          serve<UtaMsNetGetExtendedRadioSignalInfoReq, signal_info>(),
                          serve<UtaMsNetConfigureRxDiversityDarp, configure_receiver>()},
            .commands = {{"network", "PLMN|lost|conflict [0|1]",
                          "a stack moves to the network (26201, 26202, 310260), loses it, or meets the other SIM",
                          network_command}},
            .forget = [] { s_stacks = {}; },
            .describe = describe,
            .stack_switched = stack_switched,
            .card_changed = card_changed};
}
