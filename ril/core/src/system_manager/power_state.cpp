// The modem's power switch: a kernel file that takes and gives the words "ON" and "OFF".
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "ril/core/src/system_manager/bring_up.h"
#include "ril/utils/trace.h"

namespace {

constexpr const char* c_power_state_file = "/sys/devices/platform/tqz_boot/state";
constexpr std::array<const char*, 2> c_power_state_str = {"OFF", "ON"};
constexpr int32_t c_unreadable = -1;

int32_t write_state(const char* word) {
    const int fd = open(c_power_state_file, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Can not open state file\n", __func__);
        return -1;
    }
    const size_t length = strlen(word);
    const ssize_t written = write(fd, word, length);
    close(fd);
    if (written < static_cast<ssize_t>(length)) {
        RIL_TRACE(TRACE_ERROR, "%s: Error writing state\n", __func__);
        return -1;
    }
    return 0;
}

int32_t read_state() {
    const int fd = open(c_power_state_file, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return c_unreadable;
    }
    char text[32];
    const ssize_t got = read(fd, text, sizeof(text) - 1);
    close(fd);
    if (got < 0) {
        return c_unreadable;
    }
    text[got] = '\0';
    for (const int32_t state : {0, 1}) {
        if (strstr(text, c_power_state_str[static_cast<size_t>(state)]) != nullptr) {
            return state;
        }
    }
    return c_unreadable;
}

}  // namespace

int32_t modem_power_state_set(uint32_t state) {
    if (state >= c_power_state_str.size() || write_state(c_power_state_str[state]) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: MODEM POWER ON/OFF: Error writing ON/OFF command\n", __func__);
        return -1;
    }
    const int32_t now = read_state();
    if (now == c_unreadable) {
        RIL_TRACE(TRACE_ERROR, "%s: MODEM POWER ON/OFF: Error reading ON/OFF command\n", __func__);
        return -1;
    }
    if (now != static_cast<int32_t>(state)) {
        RIL_TRACE(TRACE_ERROR, "%s: MODEM POWER ON/OFF: Transition failed\n", __func__);
        return -1;
    }
    return 0;
}
