#include "host/modem/unix_socket.h"

#include <fcntl.h>
#include <sys/file.h>
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

// Keeps others from the folder of `path` while it lives, so that of two who start at once one finds the other.
class FolderLock {
public:
    explicit FolderLock(const std::string& path)
        : folder_(open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        flock(folder_, LOCK_EX);
    }
    ~FolderLock() {
        const int error = errno;
        close(folder_);
        errno = error;
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int folder_;
};

// One whose queue of callers is full listens too.
bool somebody_listens(const sockaddr_un& address) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool listens =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 || errno == EAGAIN;
    close(fd);
    return listens;
}

}  // namespace

int listen_unix(const std::string& path) {
    sockaddr_un address;
    if (!make_address(path, address)) {
        return -1;
    }
    const FolderLock lock(path);
    if (somebody_listens(address)) {
        errno = EADDRINUSE;
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
