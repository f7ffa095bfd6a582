#include "host/console/modem_control.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

ModemControl::~ModemControl() {
    hang_up();
}

void ModemControl::hang_up() {
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
}

bool ModemControl::connect() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0 || ::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        hang_up();
    }
    in_.clear();
    return fd_ >= 0;
}

bool ModemControl::send(const std::string& line) {
    const std::string text = line + "\n";
    for (int attempt = 0; attempt < 2; ++attempt) {  // the second for a modem that was started anew
        if ((fd_ >= 0 || connect()) &&
            ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size())) {
            return true;
        }
        hang_up();
    }
    return false;
}

void ModemControl::collect(std::vector<pollfd>& fds) const {
    if (fd_ >= 0) {
        fds.push_back({fd_, POLLIN, 0});
    }
}

void ModemControl::ready(const pollfd& fd) {
    if (fd.fd != fd_ || fd_ < 0) {
        return;
    }
    char bytes[4096];
    const ssize_t got = recv(fd_, bytes, sizeof(bytes), MSG_DONTWAIT);
    if (got > 0) {
        in_.append(bytes, static_cast<size_t>(got));
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        hang_up();
    }
}

std::optional<std::string> ModemControl::line() {
    const size_t end = in_.find('\n');
    if (end == std::string::npos) {
        return {};
    }
    const std::string line = in_.substr(0, end);
    in_.erase(0, end + 1);
    return line;
}
