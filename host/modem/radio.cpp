#include "host/modem/radio.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <optional>
#include <string_view>
#include <utility>

#include "host/modem/modem.h"
#include "host/modem/net.h"

namespace {

using Milliseconds = Loop::Milliseconds;

// Signals as the modem counts them: 0 to 98, each step a decibel and higher the better.
constexpr uint8_t c_signal_start = 50;
constexpr uint8_t c_signal_indoor = 20;
constexpr uint8_t c_signal_tunnel = 4;
constexpr int c_report_step = 4;  // a smaller change is not worth a report
constexpr int c_report_step_screen_off = 16;
constexpr Milliseconds c_walk_time{250};

// A walk past three sites: what the phone hears at each step of the nearest, and the steps at which it passes them. The
// last one lies behind the end of the way.
constexpr std::array<uint8_t, 16> c_walk = {50, 58, 66, 72, 64, 52, 38, 26, 34, 46, 60, 74, 62, 48, 32, 44};
constexpr std::array<int, c_sites> c_site_steps = {3, 11, 18};
constexpr int c_fading = 6;  // a step further away
constexpr uint8_t c_no_signal = 99;

constexpr uint32_t c_timezone_quarters = 4;  // central Europe
constexpr int32_t c_configured = 1;
constexpr int32_t c_not_configured = 0;

// A stack may use everything until it is told otherwise.
UtaNetConfigureNetworkModeParam start_mode() {
    UtaNetConfigureNetworkModeParam mode{};
    mode.rats = {1, 1, 1};
    mode.order = {3, 2, 1};
    mode.gsm.list.count = 2;
    mode.gsm.list.bands[0] = {0, 1};
    mode.gsm.list.bands[1] = {4, 1};
    mode.umts.list.count = 2;
    mode.umts.list.bands[0] = {50, 1};
    mode.umts.list.bands[1] = {57, 1};
    return mode;
}

struct Radio {
    bool reporting = false;
    uint8_t signal = c_signal_start;
    uint8_t reported = 0xFF;
    size_t step = 0;     // of the way, where the phone is
    uint32_t walks = 0;  // begun or broken off
    UtaNetConfigureNetworkModeParam mode = start_mode();
    uint8_t scri_timer = 5;  // seconds, as is the next
    uint8_t delay_timer = 10;
    int32_t dormancy = 2;
};
std::array<Radio, c_stacks> s_radios;
bool s_screen_off = false;

struct Name {
    uint16_t mcc;
    uint16_t mnc;
    const char* long_name;
    const char* short_name;
    const char* country;
    bool tells_itself;  // the network sends its name and the time
};

// The third one of net.cpp is in no list of the modem's.
constexpr std::array<Name, 2> c_names = {{
    {262, 1, "Example Mobile", "Example", "D", true},
    {310, 260, "Example Wireless", "ExWire", "USA", false},
}};

const Name* find_name(uint32_t mcc, uint32_t mnc) {
    const auto* const found = std::find_if(c_names.begin(), c_names.end(),
                                           [&](const Name& name) { return name.mcc == mcc && name.mnc == mnc; });
    return found == c_names.end() ? nullptr : found;
}

// --- Signal ---

void report_signal(Modem& modem, uint32_t sim_id) {
    Radio& radio = s_radios[sim_id];
    const int step = s_screen_off ? c_report_step_screen_off : c_report_step;
    if (!radio.reporting || !stack_is_registered(sim_id) ||
        (radio.reported != 0xFF && std::abs(radio.signal - radio.reported) < step)) {
        return;
    }
    radio.reported = radio.signal;
    UtaNetRadioSignalIndParam param{};
    param.signal = radio.signal;
    modem.indicate<uta::row::UtaMsNetRadioSignalIndCb>(sim_id, &param);
}

void set_signal(Modem& modem, uint32_t sim_id, uint8_t signal) {
    s_radios[sim_id].signal = signal;
    report_signal(modem, sim_id);
}

int distance(uint32_t sim_id, size_t site) {
    return std::abs(static_cast<int>(s_radios[sim_id].step) - c_site_steps[site]);
}

void go_to(Modem& modem, uint32_t sim_id, size_t step) {
    const size_t site = serving_site(sim_id);
    s_radios[sim_id].step = step;
    if (serving_site(sim_id) != site) {
        serving_site_changed(modem, sim_id);
    }
    set_signal(modem, sim_id, c_walk[step]);
}

void walk(Modem& modem, uint32_t sim_id, size_t step, uint32_t walks) {
    if (step >= c_walk.size() || s_radios[sim_id].walks != walks) {
        return;
    }
    go_to(modem, sim_id, step);
    modem.later(c_walk_time, [&modem, sim_id, step, walks] { walk(modem, sim_id, step + 1, walks); });
}

int32_t set_reporting(Modem& modem, const Caller&, uint32_t sim_id, int32_t reporting) {
    s_radios[sim_id].reporting = reporting != 0;
    report_signal(modem, sim_id);
    return c_success;
}

std::string signal_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    const bool is_step = what == "at";
    const size_t stack_at = is_step ? 2 : 1;
    const uint32_t sim_id = arguments.size() > stack_at && arguments[stack_at] == "1" ? 1 : 0;
    const std::string number = is_step && arguments.size() > 1 ? arguments[1] : what;
    unsigned value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool is_number = error == std::errc() && end == number.data() + number.size();
    const uint32_t walks = ++s_radios[sim_id].walks;
    if (what == "walk") {
        walk(modem, sim_id, 0, walks);
    } else if (what == "indoor") {
        set_signal(modem, sim_id, c_signal_indoor);
    } else if (what == "tunnel") {
        set_signal(modem, sim_id, c_signal_tunnel);
    } else if (is_step && is_number && value < c_walk.size()) {
        go_to(modem, sim_id, value);
    } else if (!is_step && is_number && value <= c_no_signal) {
        set_signal(modem, sim_id, static_cast<uint8_t>(value));
    } else {
        return "wants 0 to 98, 99 for none, walk, at and one of its steps, 0 to 15, indoor or tunnel";
    }
    return "";
}

// --- Names and time ---

// A name as 3GPP TS 24.008, 10.5.3.5a has it: a coding octet and 7-bit characters of those that ASCII and the GSM
// alphabet share. Its length.
uint8_t put_name(uint8_t (&out)[43], std::string_view name) {
    size_t bits = 0;
    for (const char c : name) {
        const unsigned code = static_cast<uint8_t>(c);
        out[1 + bits / 8] = static_cast<uint8_t>(out[1 + bits / 8] | code << bits % 8);
        out[2 + bits / 8] = static_cast<uint8_t>(out[2 + bits / 8] | code >> (8 - bits % 8));
        bits += 7;
    }
    const size_t octets = (bits + 7) / 8;
    out[0] = static_cast<uint8_t>(0x80 | (octets * 8 - bits));
    return static_cast<uint8_t>(1 + octets);
}

// The same in UCS2.
uint8_t put_wide_name(uint8_t (&out)[43], std::string_view name) {
    size_t used = 0;
    out[used++] = 0x90;
    for (const char c : name) {
        out[used++] = 0;
        out[used++] = static_cast<uint8_t>(c);
    }
    return static_cast<uint8_t>(used);
}

void put_time(UtaNetNitzInfoIndParam& param, int8_t timezone, int8_t dst) {
    const time_t now = time(nullptr);
    tm utc{};
    gmtime_r(&now, &utc);
    param.is_time_available = 1;
    param.year = static_cast<uint16_t>(utc.tm_year + 1900);
    param.month = static_cast<uint8_t>(utc.tm_mon + 1);
    param.day = static_cast<uint8_t>(utc.tm_mday);
    param.hour = static_cast<uint8_t>(utc.tm_hour);
    param.minute = static_cast<uint8_t>(utc.tm_min);
    param.second = static_cast<uint8_t>(utc.tm_sec);
    param.is_timezone_available = 1;
    param.timezone = timezone;
    param.is_dst_available = 1;
    param.dst = dst;
}

std::optional<int8_t> small_number(const std::string& text) {
    int8_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::string nitz_command(Modem& modem, const std::vector<std::string>& arguments) {
    constexpr size_t c_name_max = 20;
    const auto timezone =
        arguments.size() > 1 ? small_number(arguments[1]) : std::optional<int8_t>(c_timezone_quarters);
    const auto dst = arguments.size() > 2 ? small_number(arguments[2]) : std::optional<int8_t>(0);
    if (arguments.empty() || arguments[0].size() > c_name_max || !timezone || !dst) {
        return "wants a name of up to 20 letters, quarters of an hour from UTC and hours of daylight saving";
    }
    UtaNetNitzInfoIndParam param{};
    param.long_name_length = put_wide_name(param.long_name, arguments[0]);
    put_time(param, *timezone, *dst);
    modem.indicate<uta::row::UtaMsNetNitzInfoIndCb>(uint32_t{0}, &param);
    return "";
}

int32_t get_names(Modem&, const Caller&, uint32_t, const UtaNetGetPlmnListDataInputParam* param,
                  UtaNetGetPlmnListDataOutputParam* names) {
    const Name* const found = param == nullptr || names == nullptr ? nullptr : find_name(param->mcc, param->mnc);
    if (found == nullptr) {
        return c_refused;
    }
    std::string_view(found->long_name).copy(names->long_name, sizeof(names->long_name) - 1);
    std::string_view(found->short_name).copy(names->short_name, sizeof(names->short_name) - 1);
    std::string_view(found->country).copy(names->country, sizeof(names->country) - 1);
    return c_success;
}

// --- Technologies and bands ---

int32_t configure(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaNetConfigureNetworkModeParam* param,
                  uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, wanted = *param, context_id] {
        UtaNetConfigureNetworkModeParam& mode = s_radios[sim_id].mode;
        const bool any = wanted.rats.gsm != 0 || wanted.rats.umts != 0 || wanted.rats.lte != 0;
        UtaNetConfigureNetworkModeRspParam answer{};
        answer.result = wanted.update_rats == 1 && !any ? c_not_configured : c_configured;
        if (answer.result == c_configured) {
            if (wanted.update_rats == 1) {
                mode.rats = wanted.rats;
            }
            if (wanted.update_order == 1) {
                mode.order = wanted.order;
            }
            // An action of 0 leaves the bands to the modem.
            mode.gsm = wanted.gsm.action == 0 ? start_mode().gsm : wanted.gsm;
            mode.umts = wanted.umts.action == 0 ? start_mode().umts : wanted.umts;
            mode.lte = wanted.lte;
        }
        modem.send<uta::row::UtaMsNetConfigureNetworkModeRspCb>(caller.client, caller.context_id, sim_id, &answer,
                                                                context_id);
        modem.indicate<uta::row::UtaMsNetNetworkModeChangeIndCb>(sim_id, &mode);
        network_settings_changed(modem, sim_id);
    });
    return c_success;
}

// The stacks change their technologies and preferences with each other. Nothing in the request tells whose it is: it is
// the first stack's.
int32_t swap_rats(Modem& modem, const Caller& caller, const UtaStackInstances*, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, context_id] {
        UtaNetConfigureNetworkModeParam& first = s_radios[0].mode;
        UtaNetConfigureNetworkModeParam& second = s_radios[1].mode;
        std::swap(first.rats, second.rats);
        std::swap(first.order, second.order);
        const UtaNetSwapRatSettingsRspParam answer = {
            c_success, {first.rats, first.order}, {second.rats, second.order}};
        modem.send<uta::row::UtaMsNetSwapRatSettingsRspCb>(caller.client, caller.context_id, uint32_t{0}, &answer,
                                                           context_id);
        for (uint32_t sim_id = 0; sim_id < c_stacks; ++sim_id) {
            const UtaNetSwapRatSettingsIndParam swapped = {c_success, answer.first, answer.second};
            modem.indicate<uta::row::UtaMsNetSwapRatSettingsIndCb>(sim_id, &swapped);
            network_settings_changed(modem, sim_id);
        }
    });
    return c_success;
}

int32_t band_status(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        UtaNetBandStatusParams status{};
        status.gsm_band_status.current_band_configuration = s_radios[sim_id].mode.gsm.list;
        status.umts_band_status.current_band_configuration = s_radios[sim_id].mode.umts.list;
        modem.send<uta::row::UtaMsNetBandStatusRspCb>(caller.client, caller.context_id, sim_id, &status, context_id);
    });
    return c_success;
}

// --- The screen and fast dormancy ---

int32_t set_screen(Modem&, const Caller&, int32_t off) {
    s_screen_off = off != 0;
    return c_success;
}

int32_t set_scri_timer(Modem&, const Caller&, uint32_t sim_id, uint8_t seconds) {
    s_radios[sim_id].scri_timer = seconds;
    return c_success;
}

int32_t read_scri_timer(Modem&, const Caller&, uint32_t sim_id, uint8_t* seconds) {
    *seconds = s_radios[sim_id].scri_timer;
    return c_success;
}

int32_t set_delay_timer(Modem&, const Caller&, uint32_t sim_id, uint8_t seconds) {
    s_radios[sim_id].delay_timer = seconds;
    return c_success;
}

int32_t read_delay_timer(Modem&, const Caller&, uint32_t sim_id, uint8_t* seconds) {
    *seconds = s_radios[sim_id].delay_timer;
    return c_success;
}

int32_t trigger(Modem&, const Caller&, uint32_t sim_id, const UtaNetTriggerFdorExtParam* param) {
    if (param == nullptr) {
        return c_refused;
    }
    s_radios[sim_id].dormancy = param->mode;
    s_radios[sim_id].scri_timer = param->scri_timer;
    s_radios[sim_id].delay_timer = param->delay_timer;
    return c_success;
}

void forget() {
    s_radios = {};
    s_screen_off = false;
}

void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool) {
    if (stack_on) {
        const UtaNetRatModeStatusParam status = {s_radios[sim_id].mode.rats, s_radios[sim_id].mode.order};
        modem.indicate<uta::row::UtaMsNetRatModeStatusIndCb>(sim_id, &status);
    }
}

std::string describe() {
    std::string text = s_screen_off ? "screen off" : "screen on";
    for (size_t i = 0; i < s_radios.size(); ++i) {
        const Radio& radio = s_radios[i];
        text += ", stack " + std::to_string(i) + " signal " + std::to_string(radio.signal) +
                (radio.reporting ? "" : " unreported") + (radio.dormancy == 1 ? " dormant" : "");
    }
    return text;
}

}  // namespace

bool radio_allows(uint32_t sim_id, int32_t rat) {
    const UtaNetRats& rats = s_radios[sim_id].mode.rats;
    return rat == 1 ? rats.gsm != 0 : rat == 2 ? rats.umts != 0 : rats.lte != 0;
}

size_t serving_site(uint32_t sim_id) {
    size_t nearest = 0;
    for (size_t site = 1; site < c_sites; ++site) {
        nearest = distance(sim_id, site) < distance(sim_id, nearest) ? site : nearest;
    }
    return nearest;
}

uint8_t level_of_site(uint32_t sim_id, size_t site) {
    const uint8_t signal = s_radios[sim_id].signal;
    const int further = distance(sim_id, site) - distance(sim_id, serving_site(sim_id));
    return signal == c_no_signal ? uint8_t{0} : static_cast<uint8_t>(std::max(0, signal - c_fading * further));
}

void radio_registered(Modem& modem, uint32_t sim_id, uint16_t mcc, uint16_t mnc) {
    s_radios[sim_id].reported = 0xFF;
    report_signal(modem, sim_id);
    const Name* const name = find_name(mcc, mnc);
    if (name == nullptr || !name->tells_itself) {
        return;
    }
    UtaNetNitzInfoIndParam param{};
    param.long_name_length = put_name(param.long_name, name->long_name);
    param.short_name_length = put_name(param.short_name, name->short_name);
    put_time(param, c_timezone_quarters, 0);
    modem.indicate<uta::row::UtaMsNetNitzInfoIndCb>(sim_id, &param);
}

Service radio_service() {
    using namespace uta::row;
    return {
        .name = "radio",
        .functions = {serve<UtaMsNetSetRadioSignalReporting, set_reporting>(),
                      serve<UtaMsNetGetPlmnListData, get_names>(), serve<UtaMsNetConfigureNetworkModeReq, configure>(),
                      serve<UtaMsNetSwapRatSettingsReq, swap_rats>(), serve<UtaMsNetBandStatusReq, band_status>(),
                      serve<SetApScreenState, set_screen>(), serve<UtaMsNetSetFdorTimer, set_scri_timer>(),
                      serve<UtaMsNetReadFdorTimer, read_scri_timer>(),
                      serve<UtaMsNetWriteFdorDelayTimer, set_delay_timer>(),
                      serve<UtaMsNetReadFdorDelayTimer, read_delay_timer>(), serve<UtaMsNetTriggerFdorExt, trigger>()},
        .commands =
            {{"signal", "0..99|walk|at STEP|indoor|tunnel [0|1]",
              "what a stack hears of its cell; a walk passes three sites, at its steps 3, 11 and (not reached) 18",
              signal_command},
             {"nitz", "NAME [ZONE [DST]]",
              "the network of stack 0 tells a name, in UCS2, and the time: quarters of an hour from UTC, hours",
              nitz_command}},
        .forget = forget,
        .describe = describe,
        .stack_switched = stack_switched};
}
