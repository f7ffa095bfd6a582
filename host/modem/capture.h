// Writes down what goes over the daemon's sockets: to a file, and to everybody who listens at the tap.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "host/modem/capture_format.h"
#include "host/modem/line_server.h"

constexpr const char* c_tap_path = "/dev/socket/uta_tap";

class Capture {
public:
    // Both may be empty. False, with the reason in `error`, when one cannot be opened.
    bool start(Loop& loop, const std::string& file, const std::string& tap, std::string& error);
    ~Capture();

    void add(int client, Channel channel, bool to_modem, std::span<const uint8_t> bytes);

private:
    void tell_tap(const std::string& line);

    std::unique_ptr<FILE, int (*)(FILE*)> file_{nullptr, fclose};
    std::unique_ptr<LineServer> tap_;
    std::map<int, size_t> lost_;  // by caller of the tap: lines since it fell behind
};
