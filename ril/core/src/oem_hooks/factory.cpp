// What a factory line reads out of every phone.
#include <cutils/properties.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string_view>

#include "ril/core/src/mtpm/nvm.h"
#include "ril/core/src/oem_hooks/oem_hooks.h"
#include "ril/utils/thread_stop.h"
#include "ril/utils/trace.h"

namespace {

uint32_t s_sn_ok = 0;
uint32_t s_calib_done = 0;

int32_t get_sn() {
    constexpr uint32_t c_area = 0x10080000;
    constexpr uint32_t c_offset = 84;
    constexpr uint32_t c_length = 80;
    std::array<char, PROPERTY_VALUE_MAX> text{};  // 91 characters and their end
    if (nvm_read(c_area, c_offset, c_length, {reinterpret_cast<uint8_t*>(text.data()), text.size() - 1}, __func__) !=
        0) {
        return -1;
    }
    s_sn_ok = 1;
    property_set("gsm.serialno1", text.data());
    return 0;
}

// --- The channel -----------------------------------------------------------------------------------------------------

constexpr int c_pause_us = 500 * 1000;
constexpr size_t c_reply_max = 1000;

// Waits for the channel to have something, at the longest five seconds; the RIL thread's end ends it too.
bool has_something(int channel) {
    constexpr int c_slice_us = 100 * 1000;
    constexpr int c_slices = 50;
    pollfd wanted = {channel, POLLIN, 0};
    for (int slice = 0; slice < c_slices && poll(&wanted, 1, 0) == 0 && !thread_stop_requested(); ++slice) {
        usleep(c_slice_us);
    }
    return poll(&wanted, 1, 0) > 0;
}

// What the channel says half a second after a question, in however many pieces; empty when it says nothing.
std::string_view ask(int channel, std::string_view question, std::array<char, c_reply_max>& reply) {
    reply.fill('\0');
    if (write(channel, question.data(), question.size()) != static_cast<ssize_t>(question.size())) {
        RIL_TRACE(TRACE_ERROR, "%s: write failed\n", "get_calib");
        return {};
    }
    usleep(c_pause_us);
    size_t length = 0;
    for (bool more = has_something(channel); more && length < reply.size();) {
        const ssize_t count = read(channel, reply.data() + length, reply.size() - length);
        if (count <= 0) {
            break;
        }
        length += static_cast<size_t>(count);
        pollfd wanted = {channel, POLLIN, 0};
        more = poll(&wanted, 1, 0) > 0;
    }
    return {reply.data(), length};
}

bool holds(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

int32_t talk(int channel) {
    std::array<char, c_reply_max> reply;
    usleep(c_pause_us);
    const std::string_view status = ask(channel, "at@sec:Status_info()\r\n", reply);
    if (status.empty()) {
        RIL_TRACE(TRACE_ERROR, "%s: no answer\n", "get_calib");
        return -1;
    }
    if (holds(status, "access_level = 0")) {
        s_calib_done = 1;
        return -1;
    }
    const std::string_view result = ask(channel, "at@nvm:cal_prodparm.calib.result?\r\n", reply);
    if (holds(result, "OK")) {
        s_calib_done = 1;
        if (holds(result, "1")) {
            property_set("gsm.calib", "true");
        }
    }
    return 0;
}

int32_t get_calib() {
    const int channel = open("/dev/tzpipe-backup", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (channel < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: open failed: %s\n", __func__, strerror(errno));
        return -1;
    }
    const int32_t result = talk(channel);
    close(channel);
    return result;
}

}  // namespace

void oem_read_factory_data() {
    if (s_sn_ok == 0) {
        get_sn();
    }
    if (s_calib_done == 0) {
        get_calib();
    }
}
