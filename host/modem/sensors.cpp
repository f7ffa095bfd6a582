// Four temperature sensors: readings, and alarms that tell when a threshold is crossed.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>

#include "host/modem/commands.h"
#include "host/modem/modem.h"

namespace {

constexpr int32_t c_degree = 1000;  // temperatures are thousandths of a degree Celsius
constexpr double c_lowest = -60;
constexpr double c_highest = 200;

constexpr std::array<const char*, 4> c_names = {"radio", "chip", "battery", "board"};

// A loss of power cools nothing.
std::array<int32_t, c_names.size()> s_temperatures = {30 * c_degree, 35 * c_degree, 25 * c_degree, 28 * c_degree};

// By their handles, which count up from 1 for both. What a client leaves open stays so until the power is gone.
struct Reading {
    ClientId client;
    int32_t context;  // the client's word
    size_t sensor;
    bool runs;
};
struct Alarm {
    ClientId client;
    int32_t context;
    size_t sensor;
    bool measures;
    std::optional<int32_t> minimum;  // until it is crossed
    std::optional<int32_t> maximum;
};
std::map<uint32_t, Reading> s_readings;
std::map<uint32_t, Alarm> s_alarms;
uint32_t s_last_handle = 0;

// The nearest whole degree, and exactly.
UtaSensorValue value_of(size_t sensor) {
    const int32_t temperature = s_temperatures[sensor];
    return {static_cast<int16_t>(std::lround(static_cast<double>(temperature) / c_degree)), temperature};
}

template <typename Opened, typename OpenedHandle>
Opened* find(std::map<uint32_t, Opened>& opened, const OpenedHandle* handle) {
    const auto at = handle == nullptr ? opened.end() : opened.find(handle->handle);
    return at == opened.end() ? nullptr : &at->second;
}

// --- Readings --------------------------------------------------------------------------------------------------------

template <size_t sensor>
int32_t open_reading(Modem&, const Caller& caller, UtaSensorHandle* handle, const UtaSensorCallback*, int32_t count,
                     int32_t context) {
    if (count != 1) {
        return c_refused;
    }
    handle->handle = ++s_last_handle;
    s_readings[handle->handle] = {caller.client, context, sensor, false};
    return c_success;
}

int32_t start_reading(Modem& modem, const Caller&, const UtaSensorHandle* handle) {
    Reading* const reading = find(s_readings, handle);
    if (reading == nullptr || reading->runs) {
        return c_refused;
    }
    reading->runs = true;
    modem.later(modem.settings.latency, [&modem, opened = *handle] {
        Reading* const done = find(s_readings, &opened);
        if (done == nullptr) {
            return;  // closed meanwhile
        }
        done->runs = false;
        const UtaSensorValue value = value_of(done->sensor);
        modem.send<uta::row::UtaSensorMeasurementDoneCb>(done->client, Modem::base_context(done->client), done->context,
                                                         c_success, &value);
    });
    return c_success;
}

int32_t close_reading(Modem&, const Caller&, const UtaSensorHandle* handle) {
    return handle != nullptr && s_readings.erase(handle->handle) != 0 ? c_success : c_refused;
}

// --- Alarms ----------------------------------------------------------------------------------------------------------

// Each threshold that the temperature is beyond is told once.
void look(Modem& modem, Alarm& alarm) {
    constexpr int32_t c_below = 0;
    constexpr int32_t c_above = 1;
    const int32_t temperature = s_temperatures[alarm.sensor];
    const bool is_below = alarm.minimum && temperature < *alarm.minimum;
    const bool is_above = alarm.maximum && temperature > *alarm.maximum;
    if (!alarm.measures || (!is_below && !is_above)) {
        return;
    }
    (is_below ? alarm.minimum : alarm.maximum).reset();
    const UtaSensorValue value = value_of(alarm.sensor);
    modem.send<uta::row::UtaSensorSrvStatusChangedCb>(alarm.client, Modem::base_context(alarm.client), alarm.context,
                                                      is_below ? c_below : c_above, &value);
}

template <size_t sensor>
int32_t open_alarm(Modem&, const Caller& caller, UtaSensorSrvHandle* handle, const UtaSensorSrvCallback*,
                   int32_t context) {
    handle->handle = ++s_last_handle;
    s_alarms[handle->handle] = {caller.client, context, sensor, false, {}, {}};
    return c_success;
}

int32_t start_measurements(Modem&, const Caller&, const UtaSensorSrvHandle* handle) {
    Alarm* const alarm = find(s_alarms, handle);
    if (alarm == nullptr) {
        return c_refused;
    }
    alarm->measures = true;
    return c_success;
}

template <std::optional<int32_t> Alarm::*threshold>
int32_t set_threshold(Modem& modem, const Caller&, const UtaSensorSrvHandle* handle, const UtaSensorValue* value,
                      int32_t) {
    Alarm* const alarm = find(s_alarms, handle);
    if (alarm == nullptr || value == nullptr) {
        return c_refused;
    }
    alarm->*threshold = value->degrees * c_degree;
    modem.later(modem.settings.latency, [&modem, opened = *handle] {
        if (Alarm* const armed = find(s_alarms, &opened)) {
            look(modem, *armed);
        }
    });
    return c_success;
}

int32_t close_alarm(Modem&, const Caller&, const UtaSensorSrvHandle* handle) {
    return handle != nullptr && s_alarms.erase(handle->handle) != 0 ? c_success : c_refused;
}

// --- The air around --------------------------------------------------------------------------------------------------

std::string temperature_command(Modem& modem, const std::vector<std::string>& arguments) {
    const auto sensor = arguments.size() == 2 ? parse_integer(arguments[0]) : std::nullopt;
    if (!sensor || *sensor < 0 || static_cast<size_t>(*sensor) >= c_names.size()) {
        return "wants a sensor, 0 to 3, and degrees";
    }
    double degrees = 0;
    const std::string& text = arguments[1];
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), degrees);
    if (error != std::errc() || end != text.data() + text.size() || !(degrees >= c_lowest && degrees <= c_highest)) {
        return "wants degrees, -60 to 200";
    }
    const auto changed = static_cast<size_t>(*sensor);
    s_temperatures[changed] = static_cast<int32_t>(std::lround(degrees * c_degree));
    for (auto& [handle, alarm] : s_alarms) {
        if (alarm.sensor == changed) {
            look(modem, alarm);
        }
    }
    return "";
}

void forget() {
    s_readings.clear();
    s_alarms.clear();
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < c_names.size(); ++i) {
        std::array<char, 32> degrees{};
        snprintf(degrees.data(), degrees.size(), " %.1f, ", static_cast<double>(s_temperatures[i]) / c_degree);
        text += c_names[i];
        text += degrees.data();
    }
    return text + std::to_string(s_alarms.size()) + " open for alarms";
}

}  // namespace

Service sensors_service() {
    using namespace uta::row;
    return {.name = "sensors",
            .functions = {serve<UtaSensorTrfOpen, open_reading<0>>(), serve<UtaSensorTbbicOpen, open_reading<1>>(),
                          serve<UtaSensorTbatOpen, open_reading<2>>(), serve<UtaSensorTpcbOpen, open_reading<3>>(),
                          serve<UtaSensorStartMeasurement, start_reading>(), serve<UtaSensorClose, close_reading>(),
                          serve<UtaSensorTrfSrvOpen, open_alarm<0>>(), serve<UtaSensorTbbicSrvOpen, open_alarm<1>>(),
                          serve<UtaSensorTbatSrvOpen, open_alarm<2>>(), serve<UtaSensorTpcbSrvOpen, open_alarm<3>>(),
                          serve<UtaSensorSrvStartMeasurements, start_measurements>(),
                          serve<UtaSensorSrvSetThresholdMin, set_threshold<&Alarm::minimum>>(),
                          serve<UtaSensorSrvSetThresholdMax, set_threshold<&Alarm::maximum>>(),
                          serve<UtaSensorSrvClose, close_alarm>()},
            .commands = {{"temperature", "SENSOR DEGREES", "of the radio 0, the chip 1, the battery 2 or the board 3",
                          temperature_command}},
            .forget = forget,
            .describe = describe};
}
