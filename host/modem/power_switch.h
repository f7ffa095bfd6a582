// The modem's power state file: whoever writes "OFF" to it takes the modem's power away, "ON" gives it back.
#pragma once

#include <functional>
#include <memory>

#include "host/modem/loop.h"

constexpr const char* c_power_folder = "/sys/devices/platform/tqz_boot";
constexpr const char* c_power_file = "/sys/devices/platform/tqz_boot/state";

// Runs in the loop.
class PowerSwitch {
public:
    // `changed` hears of each change that somebody else makes. Null, with errno, when the folder cannot be watched.
    static std::unique_ptr<PowerSwitch> start(Loop& loop, std::function<void(bool on)> changed);
    ~PowerSwitch();
    PowerSwitch(const PowerSwitch&) = delete;
    PowerSwitch& operator=(const PowerSwitch&) = delete;

    bool is_on() const { return on_; }
    void set(bool on);

private:
    PowerSwitch(Loop& loop, int watch, std::function<void(bool on)> changed);
    void look();

    Loop& loop_;
    int watch_;  // an inotify descriptor
    std::function<void(bool on)> changed_;
    bool on_;
};
