#include "host/modem/unix_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool make_address(const std::string& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    path.copy(address.sun_path, path.size());
    return true;
}

int fail_and_close(int fd) {
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
}

}  // namespace

int listen_unix(const std::string& path) {
    sockaddr_un address;
    if (!make_address(path, address)) {
        return -1;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return -1;
    }
    unlink(path.c_str());
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 || chmod(path.c_str(), 0666) != 0 ||
        listen(fd, SOMAXCONN) != 0) {
        return fail_and_close(fd);
    }
    return fd;
}

int accept_unix(int listening) {
    for (;;) {
        const int fd = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd >= 0 || (errno != EINTR && errno != ECONNABORTED)) {
            return fd;
        }
    }
}

int connect_unix(const std::string& path) {
    sockaddr_un address;
    if (!make_address(path, address)) {
        return -1;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        return fail_and_close(fd);
    }
    return fd;
}

pid_t peer_process(int fd) {
    ucred credentials = {};
    socklen_t length = sizeof(credentials);
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) == 0 ? credentials.pid : 0;
}
