// The modem's four temperature sensors: one reading, and an alarm that goes off once.
#include <array>
#include <cstdio>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/oem_hooks/oem_hooks.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_rf_sensor = 0;
constexpr int32_t c_hundredths = 100;

struct sensor_functions {
    int32_t (*open)(UtaSensorHandle* handle, const UtaSensorCallback* callback, int32_t count, int32_t context);
    int32_t (*open_service)(UtaSensorSrvHandle* handle, const UtaSensorSrvCallback* callback, int32_t context);
    const char* not_open;
};

#define SENSOR(name, text)                                                                               \
    {                                                                                                    \
        [](UtaSensorHandle* handle, const UtaSensorCallback* callback, int32_t count, int32_t context) { \
            return RemUtaSensor##name##Open(handle, callback, count, context);                           \
        },                                                                                               \
            [](UtaSensorSrvHandle* handle, const UtaSensorSrvCallback* callback, int32_t context) {      \
                return RemUtaSensor##name##SrvOpen(handle, callback, context);                           \
            },                                                                                           \
            text                                                                                         \
    }
constexpr std::array<sensor_functions, 4> c_sensors = {{
    SENSOR(Trf, "%s: ERROR: RF sensor was not open\n"),
    SENSOR(Tbbic, "%s: ERROR: baseband chip sensor was not open\n"),
    SENSOR(Tbat, "%s: ERROR: baseband battery sensor was not open\n"),
    SENSOR(Tpcb, "%s: ERROR: baseband PCB sensor was not open\n"),
}};

bool is_sensor(int32_t sensor_id) {
    return sensor_id >= 0 && static_cast<size_t>(sensor_id) < c_sensors.size();
}

// --- One reading -----------------------------------------------------------------------------------------------------

// The reading that a context is in flight for. The modem is given the context's id, not an address: what it gives back
// is worth no more than what stands here.
struct sensor_reading {
    bool runs;
    int32_t sensor_id;
    UtaSensorHandle handle;
};
std::array<sensor_reading, std::tuple_size_v<decltype(rilreq_state_info)>> s_readings{};

struct measurement {
    int32_t result;
    UtaSensorValue value;
};

void oem_get_thermal_measurement_done_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const sensor_reading reading = s_readings[ctxt_id];
    if (!reading.runs) {
        return;
    }
    const auto& done = *static_cast<const measurement*>(p_params);
    RemUtaSensorClose(&reading.handle);
    if (done.result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Measurement FAILED\n", __func__);
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    char text[12];
    const int32_t temperature =
        reading.sensor_id == c_rf_sensor ? done.value.fine / 10 : done.value.degrees * c_hundredths;
    snprintf(text, sizeof(text), "%u", static_cast<uint32_t>(temperature));
    char* answer = text;
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &answer, sizeof(answer));
}

// RPC dispatch thread.
void oem_get_thermal_measurement_callback(int32_t context, int32_t result, const UtaSensorValue* value) {
    const measurement done = {result, value == nullptr ? UtaSensorValue{} : *value};
    qelril_post_utamsrspcb(ril_instance, &done, static_cast<uint32_t>(context), oem_get_thermal_measurement_done_cb);
}

// --- Alarms ----------------------------------------------------------------------------------------------------------

// What the modem gives back is the sensor's number. An alarm that the modem does not tell any more, or that was
// stopped, is not armed.
struct sensor_alarm {
    uint32_t armed;  // so many of its callbacks may come
    UtaSensorSrvHandle handle;
};
std::array<sensor_alarm, c_sensors.size()> s_alarms{};

enum alarm_event : int32_t { ALARM_BELOW = 0, ALARM_ABOVE = 1, ALARM_STOPPED = 2 };

struct alarm_report {
    int32_t sensor_id;
    int32_t event;
    UtaSensorValue value;
};

void close_alarm(sensor_alarm& alarm) {
    if (alarm.handle.handle != 0) {
        RemUtaSensorSrvClose(&alarm.handle);
    }
    alarm.handle.handle = 0;
}

void oem_set_thermal_alarm_cb(uint32_t sim_id, const void* p_params) {
    constexpr int32_t c_oem_thermal_alarm = 208;
    const auto& report = *static_cast<const alarm_report*>(p_params);
    if (!is_sensor(report.sensor_id) || s_alarms[static_cast<size_t>(report.sensor_id)].armed == 0) {
        return;
    }
    sensor_alarm& alarm = s_alarms[static_cast<size_t>(report.sensor_id)];
    --alarm.armed;
    switch (report.event) {
        case ALARM_BELOW:
        case ALARM_ABOVE: {
            RIL_TRACE(TRACE_EVENT, "%s: Threshold Crossed\n", __func__);
            const std::array<int32_t, 3> message = {c_oem_thermal_alarm, report.sensor_id,
                                                    report.value.degrees * c_hundredths};
            RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_OEM_HOOK_RAW, message.data(), sizeof(message));
            close_alarm(alarm);
            break;
        }
        case ALARM_STOPPED:
            RIL_TRACE(TRACE_ERROR, "%s: Unexpected event ERROR MONITORING STOPPED\n", __func__);
            break;
        default:
            RIL_TRACE(TRACE_ERROR, "%s: Unexpected event = %d\n", __func__, report.event);
            break;
    }
}

// RPC dispatch thread.
void oem_set_thermal_threshold_callback(int32_t context, int32_t event, const UtaSensorValue* value) {
    const alarm_report report = {context, event, value == nullptr ? UtaSensorValue{} : *value};
    qelril_post_utamsindcb(ril_instance, &report, oem_set_thermal_alarm_cb);
}

// The nearest whole degree, as 16 bits. No overflow, whatever the text said.
UtaSensorValue whole_degrees(int32_t hundredths) {
    return {static_cast<int16_t>((int64_t{hundredths} + c_hundredths / 2) / c_hundredths), 0};
}

int32_t failed(const char* message, int32_t error) {
    RIL_TRACE(TRACE_ERROR, message, "oem_hooks_set_thermal_threshold", error);
    return -1;
}

int32_t start_alarm(const UtaSensorSrvHandle& handle, int32_t minimum, int32_t maximum) {
    constexpr int32_t c_option = 1;
    if (const int32_t error = RemUtaSensorSrvStartMeasurements(&handle); error != 0) {
        return failed("%s: Start measurements failed, error code = %d\n", error);
    }
    const UtaSensorValue low = whole_degrees(minimum);
    if (const int32_t error = RemUtaSensorSrvSetThresholdMin(&handle, &low, c_option); error != 0) {
        return failed("%s: Set Threshold Min failed, error code = %d\n", error);
    }
    const UtaSensorValue high = whole_degrees(maximum);
    if (const int32_t error = RemUtaSensorSrvSetThresholdMax(&handle, &high, c_option); error != 0) {
        return failed("%s: Set Threshold Max failed, error code = %d\n", error);
    }
    return 0;
}

}  // namespace

void oem_hooks_module_init() {
    s_alarms = {};
}

int32_t oem_hooks_get_thermal_sensor(request_context& context, int32_t sensor_id) {
    if (!is_sensor(sensor_id)) {
        RIL_TRACE(TRACE_ERROR, "%s: Unknown sensor id = %d\n", __func__, sensor_id);
        RIL_TRACE(TRACE_ERROR, "%s: Open failed for sensor id = %d\n", __func__, sensor_id);
        return -1;
    }
    const uint32_t ctxt_id = context.id();
    sensor_reading& reading = s_readings[ctxt_id];
    reading = {false, sensor_id, {}};
    const UtaSensorCallback callback = {oem_get_thermal_measurement_callback};
    if (c_sensors[static_cast<size_t>(sensor_id)].open(&reading.handle, &callback, 1,
                                                       static_cast<int32_t>(context.uta_id())) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Open failed for sensor id = %d\n", __func__, sensor_id);
        return -1;
    }
    reading.runs = true;
    rilreq_state_info[ctxt_id].p_released = [](uint32_t released) { s_readings[released].runs = false; };
    return RemUtaSensorStartMeasurement(&reading.handle) == 0 ? 0 : -1;
}

int32_t oem_hooks_arm_thermal_alarm(int32_t sensor_id, int32_t minimum, int32_t maximum) {
    if (!is_sensor(sensor_id)) {
        return failed("%s: Unknown sensor id = %d\n", sensor_id);
    }
    sensor_alarm& alarm = s_alarms[static_cast<size_t>(sensor_id)];
    const UtaSensorSrvCallback callback = {oem_set_thermal_threshold_callback};
    if (c_sensors[static_cast<size_t>(sensor_id)].open_service(&alarm.handle, &callback, sensor_id) != 0) {
        return -1;
    }
    ++alarm.armed;
    if (start_alarm(alarm.handle, minimum, maximum) != 0) {
        --alarm.armed;
        return -1;
    }
    return 0;
}

int32_t oem_hooks_stop_thermal_alarm(int32_t sensor_id) {
    if (!is_sensor(sensor_id)) {
        return failed("%s: Cannot stop unknown sensor id = %d\n", sensor_id);
    }
    sensor_alarm& alarm = s_alarms[static_cast<size_t>(sensor_id)];
    if (alarm.handle.handle == 0) {
        RIL_TRACE(TRACE_ERROR, c_sensors[static_cast<size_t>(sensor_id)].not_open, "oem_hooks_set_thermal_threshold");
        return -1;
    }
    close_alarm(alarm);
    alarm.armed = 0;
    return 0;
}
