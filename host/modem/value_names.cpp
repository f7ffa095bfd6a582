#include "host/modem/value_names.h"

#include <array>
#include <span>

namespace {

struct ValueName {
    int64_t value;
    std::string_view name;
};

constexpr ValueName c_stack_modes[] = {{0, "off"}, {1, "on"}};
constexpr ValueName c_sim_modes[] = {{0, "on"}, {1, "off"}};
constexpr ValueName c_pin_activities[] = {{0, "verify"}, {1, "unblock"}, {2, "disable"}, {3, "enable"}, {4, "change"}};

struct Enumeration {
    std::string_view owner;
    std::string_view field;
    std::span<const ValueName> names;
};

constexpr Enumeration c_enumerations[] = {
    {"UtaMsCpsSetModeReq", "mode", c_stack_modes},
    {"UtaMsCpsSetModeRsp", "mode", c_stack_modes},
    {"UtaMsCpsSetStackModeConfiguration", "mode", c_stack_modes},
    {"UtaCpsSetModeParams", "mode", c_stack_modes},
    {"UtaMsCpsSetSimModeReq", "mode", c_sim_modes},
    {"UtaMsCpsSetSimModeRsp", "mode", c_sim_modes},
    {"UtaMsCpsSetSimModeConfiguration", "mode", c_sim_modes},
    {"UtaSimGenPinReqParam", "activity", c_pin_activities},
    {"UtaSimGenPinRspParam", "activity", c_pin_activities},
    {"UtaSimGenPinIndParam", "activity", c_pin_activities},
};

constexpr ValueName c_events[] = {{0xB1000000, "E_MODEM_DOWN"},
                                  {0xB2000000, "E_MODEM_UP"},
                                  {0xB3000000, "E_MODEM_RESET"},
                                  {0xB4000000, "E_MODEM_SHUTDOWN"}};

std::string_view name_in(std::span<const ValueName> names, int64_t value) {
    for (const ValueName& entry : names) {
        if (entry.value == value) {
            return entry.name;
        }
    }
    return {};
}

std::optional<int64_t> value_in(std::span<const ValueName> names, std::string_view name) {
    for (const ValueName& entry : names) {
        if (entry.name == name) {
            return entry.value;
        }
    }
    return std::nullopt;
}

std::span<const ValueName> find_names(std::string_view owner, std::string_view field) {
    for (const Enumeration& enumeration : c_enumerations) {
        if (enumeration.owner == owner && enumeration.field == field) {
            return enumeration.names;
        }
    }
    return {};
}

}  // namespace

std::string_view value_name(std::string_view owner, std::string_view field, int64_t value) {
    return name_in(find_names(owner, field), value);
}

std::optional<int64_t> value_of_name(std::string_view owner, std::string_view field, std::string_view name) {
    return value_in(find_names(owner, field), name);
}

std::string_view event_name(uint32_t code) {
    return name_in(c_events, code);
}

std::optional<uint32_t> event_of_name(std::string_view name) {
    const auto value = value_in(c_events, name);
    return value ? std::optional(static_cast<uint32_t>(*value)) : std::nullopt;
}
