#include "host/console/protocol.h"

#include <algorithm>
#include <charconv>

#include "host/android/rild/names.h"

namespace {

struct Layout {
    int number;
    std::string_view layout;
};

constexpr std::string_view c_ints = "[i]";
constexpr std::string_view c_strings = "[s]";
constexpr std::string_view c_data_calls =
    "version=i calls=[status=i retry=i cid=i active=i type=s interface=s addresses=s dns=s gateways=s]";
constexpr std::string_view c_forwards = "[status=i reason=i class=i toa=i number=s seconds=i]";
constexpr std::string_view c_signal =
    "gsm=i ber=i cdma-dbm=i cdma-ecio=i evdo-dbm=i evdo-ecio=i evdo-snr=i lte=i rsrp=i rsrq=i rssnr=i cqi=i";
constexpr std::string_view c_sim_io = "sw1=i sw2=i data=s";
constexpr std::string_view c_sms = "reference=i pdu=s error=i";
constexpr std::string_view c_cell_infos = "[type=i/cell registered=i stamp=i time=l c]";

constexpr Layout c_responses[] = {
    {1,
     "card=i/card pin=i/pin gsm=i cdma=i ims=i "
     "apps=[type=i/app state=i/app-state perso=i aid=s label=s pin1-replaced=i pin1=i/pin pin2=i/pin]"},
    {2, c_ints},
    {3, c_ints},
    {4, c_ints},
    {5, c_ints},
    {6, c_ints},
    {7, c_ints},
    {8, c_ints},
    {9,
     "[state=i/call index=i toa=i conference=i incoming=i line=i voice=i privacy=i number=s shown=i name=s "
     "name-shown=i uus=(type=i dcs=i data=r)]"},
    {11, "s"},
    {18, c_ints},
    {19, c_signal},
    {20, c_strings},
    {21, c_strings},
    {22, c_strings},
    {25, c_sms},
    {26, c_sms},
    {27, c_data_calls},
    {28, c_sim_io},
    {31, c_ints},
    {33, c_forwards},
    {35, c_ints},
    {38, "s"},
    {39, "s"},
    {42, c_ints},
    {43, c_ints},
    {45, c_ints},
    {48, c_strings},
    {51, "s"},
    {54, c_ints},
    {55, c_ints},
    {56, c_ints},
    {57, c_data_calls},
    {59, "r"},
    {60, c_strings},
    {63, c_ints},
    {66, c_ints},
    {67, "s"},
    {69, "s"},
    {74, c_ints},
    {75, "[rssi=i cell=s]"},
    {81, c_ints},
    {89, "[from=i to=i scheme-from=i scheme-to=i selected=i]"},
    {98, c_strings},
    {100, "s"},
    {105, "s"},
    {107, c_sim_io},
    {108, c_ints},
    {109, c_cell_infos},
};

constexpr Layout c_unsols[] = {
    {1000, "i/radio"}, {1003, "s"},          {1004, "s"},
    {1005, c_ints},    {1006, c_strings},    {1008, "s l"},
    {1009, c_signal},  {1010, c_data_calls}, {1011, "direction=i code=i index=i type=i number=s"},
    {1013, "s"},       {1014, "s"},          {1021, "r"},
    {1023, c_ints},    {1028, "r"},          {1029, c_ints},
    {1034, c_ints},    {1036, c_cell_infos},
};

struct Value {
    std::string_view table;
    int32_t value;
    std::string_view name;
};

constexpr Value c_values[] = {
    {"radio", 0, "off"},     {"radio", 1, "unavailable"}, {"radio", 10, "on"},         {"card", 0, "absent"},
    {"card", 1, "present"},  {"card", 2, "error"},        {"pin", 0, "unknown"},       {"pin", 1, "not-verified"},
    {"pin", 2, "verified"},  {"pin", 3, "disabled"},      {"pin", 4, "blocked"},       {"pin", 5, "dead"},
    {"app", 0, "unknown"},   {"app", 1, "SIM"},           {"app", 2, "USIM"},          {"app", 3, "RUIM"},
    {"app", 4, "CSIM"},      {"app", 5, "ISIM"},          {"app-state", 0, "unknown"}, {"app-state", 1, "detected"},
    {"app-state", 2, "PIN"}, {"app-state", 3, "PUK"},     {"app-state", 4, "perso"},   {"app-state", 5, "ready"},
    {"call", 0, "active"},   {"call", 1, "holding"},      {"call", 2, "dialing"},      {"call", 3, "alerting"},
    {"call", 4, "incoming"}, {"call", 5, "waiting"},      {"cell", 1, "GSM"},          {"cell", 2, "CDMA"},
    {"cell", 3, "LTE"},      {"cell", 4, "WCDMA"},
};

constexpr Shortcut c_shortcuts[] = {
    {"radio", RIL_REQUEST_RADIO_POWER, "onoff", "on|off"},
    {"screen", RIL_REQUEST_SCREEN_STATE, "onoff", "on|off"},
    {"imei", RIL_REQUEST_GET_IMEI, "void", ""},
    {"imeisv", RIL_REQUEST_GET_IMEISV, "void", ""},
    {"version", RIL_REQUEST_BASEBAND_VERSION, "void", ""},
    {"sim", RIL_REQUEST_GET_SIM_STATUS, "void", ""},
    {"imsi", RIL_REQUEST_GET_IMSI, "strings", "[AID]"},
    {"puk", RIL_REQUEST_ENTER_SIM_PUK, "strings", "PUK PIN [AID]"},
    {"calls", RIL_REQUEST_GET_CURRENT_CALLS, "void", ""},
    {"dial", RIL_REQUEST_DIAL, "dial", "NUMBER [CLIR]"},
    {"answer", RIL_REQUEST_ANSWER, "void", ""},
    {"hangup", RIL_REQUEST_HANGUP, "ints", "INDEX"},
    {"why", RIL_REQUEST_LAST_CALL_FAIL_CAUSE, "void", ""},
    {"signal", RIL_REQUEST_SIGNAL_STRENGTH, "void", ""},
    {"operator", RIL_REQUEST_OPERATOR, "void", ""},
    {"scan", RIL_REQUEST_QUERY_AVAILABLE_NETWORKS, "void", ""},
    {"select", RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, "string", "PLMN"},
    {"select-automatic", RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, "void", ""},
    {"hold", RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE, "void", ""},
    {"swap", RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE, "void", ""},
    {"join", RIL_REQUEST_CONFERENCE, "void", ""},
    {"voice", RIL_REQUEST_VOICE_REGISTRATION_STATE, "void", ""},
    {"data-calls", RIL_REQUEST_DATA_CALL_LIST, "void", ""},
    {"cells", RIL_REQUEST_GET_CELL_INFO_LIST, "void", ""},
    {"network-type", RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, "ints", "TYPE"},
    {"ussd", RIL_REQUEST_SEND_USSD, "string", "TEXT"},
    {"oem", RIL_REQUEST_OEM_HOOK_STRINGS, "strings", "COMMAND [WORD...]"},
};

template <typename Table>
std::string_view layout_in(const Table& table, int number) {
    const auto found =
        std::find_if(std::begin(table), std::end(table), [number](const Layout& row) { return row.number == number; });
    return found != std::end(table) ? found->layout : std::string_view{};
}

constexpr std::string_view c_response = "RESPONSE_";

std::string_view without_response(std::string_view name) {
    return name.starts_with(c_response) ? name.substr(c_response.size()) : name;
}

std::string or_number(std::string_view name, int number) {
    return name.empty() ? std::to_string(number) : std::string(name);
}

template <typename Table>
std::optional<int> find_name(const Table& table, std::string_view word) {
    for (const Name& row : table) {
        if (row.name == word || without_response(row.name) == word) {
            return row.number;
        }
    }
    int number = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool whole = error == std::errc() && stop == word.data() + word.size();
    return whole ? std::optional(number) : std::nullopt;
}

}  // namespace

std::string_view response_layout(int request) {
    return layout_in(c_responses, request);
}

std::string_view unsol_layout(int number) {
    return layout_in(c_unsols, number);
}

std::string_view value_name(std::string_view table, int32_t value) {
    for (const Value& row : c_values) {
        if (row.table == table && row.value == value) {
            return row.name;
        }
    }
    return {};
}

std::string request_name(int number) {
    return or_number(name_of(c_request_names, number), number);
}

std::string unsol_name(int number) {
    return or_number(without_response(name_of(c_unsol_names, number)), number);
}

std::string error_name(int number) {
    return or_number(name_of(c_error_names, number), number);
}

std::optional<int> find_request(std::string_view word) {
    return find_name(c_request_names, word);
}

std::optional<int> find_unsol(std::string_view word) {
    return find_name(c_unsol_names, word);
}

std::optional<int> find_error(std::string_view word) {
    return word == "ok" ? std::optional(0) : find_name(c_error_names, word);
}

std::span<const Shortcut> shortcuts() {
    return c_shortcuts;
}
