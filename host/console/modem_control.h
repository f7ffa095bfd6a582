// The modem's control socket: a line in, lines out that end with "ok" or "error ...".
#pragma once

#include <poll.h>

#include <optional>
#include <string>
#include <vector>

class ModemControl {
public:
    explicit ModemControl(std::string path) : path_(std::move(path)) {}
    ~ModemControl();
    ModemControl(const ModemControl&) = delete;
    ModemControl& operator=(const ModemControl&) = delete;

    // False when nobody listens.
    bool send(const std::string& line);
    void collect(std::vector<pollfd>& fds) const;
    void ready(const pollfd& fd);
    // The next line that the modem said.
    std::optional<std::string> line();
    bool is_connected() const { return fd_ >= 0; }

private:
    bool connect();
    void hang_up();

    std::string path_;
    int fd_ = -1;
    std::string in_;
};
