#include "host/modem/power_switch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace {

// A switch that nobody has touched, or that says neither word, is on. Writers don't truncate the file, so that "ON"
// over "OFF" leaves a letter behind.
bool read_state() {
    std::array<char, 32> text = {};
    const int fd = open(c_power_file, O_RDONLY | O_CLOEXEC);
    const ssize_t length = fd < 0 ? 0 : read(fd, text.data(), text.size());
    if (fd >= 0) {
        close(fd);
    }
    return std::string_view(text.data(), static_cast<size_t>(length < 0 ? 0 : length)).find("OFF") ==
           std::string_view::npos;
}

}  // namespace

std::unique_ptr<PowerSwitch> PowerSwitch::start(Loop& loop, std::function<void(bool on)> changed) {
    const int fd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (fd < 0 || inotify_add_watch(fd, c_power_folder, IN_CLOSE_WRITE | IN_MOVED_TO) < 0) {
        if (fd >= 0) {
            close(fd);
        }
        return nullptr;
    }
    return std::unique_ptr<PowerSwitch>(new PowerSwitch(loop, fd, std::move(changed)));
}

PowerSwitch::PowerSwitch(Loop& loop, int watch, std::function<void(bool on)> changed)
    : loop_(loop), watch_(watch), changed_(std::move(changed)), on_(read_state()) {
    loop_.watch(watch_, POLLIN, [this](short) { look(); });
}

PowerSwitch::~PowerSwitch() {
    loop_.forget(watch_);
    close(watch_);
}

void PowerSwitch::look() {
    alignas(inotify_event) std::array<char, 4096> events;
    while (read(watch_, events.data(), events.size()) > 0) {
    }
    const bool on = read_state();
    if (on != on_) {
        on_ = on;
        changed_(on);
    }
}

void PowerSwitch::set(bool on) {
    if (on == on_) {
        return;
    }
    on_ = on;
    const std::string_view text = on ? "ON" : "OFF";
    const int fd = open(c_power_file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        [[maybe_unused]] const ssize_t result = write(fd, text.data(), text.size());
        close(fd);
    }
}
