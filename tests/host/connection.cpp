#include "tests/host/connection.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {

constexpr int c_patience_ms = 20'000;

bool readable(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, c_patience_ms) == 1;
}

using Step = int (*)(int, const sockaddr*, socklen_t);  // connect or bind

// The socket, or -1.
int socket_at(const std::string& path, Step step) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (step(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        return fd;
    }
    ::close(fd);
    return -1;
}

}  // namespace

Connection::Connection(Descriptor descriptor) : fd_(descriptor.fd) {
    EXPECT_GE(fd_, 0);
}

Connection::Connection(const std::string& path) : fd_(socket_at(path, connect)) {
    EXPECT_GE(fd_, 0) << path;
}

bool Connection::possible(const std::string& path) {
    const int fd = socket_at(path, connect);
    ::close(fd);
    return fd >= 0;
}

Connection Connection::listening(const std::string& path) {
    unlink(path.c_str());
    Connection listener(Descriptor{socket_at(path, bind)});
    EXPECT_EQ(0, listen(listener.fd_, 5)) << path;
    return listener;
}

Connection Connection::accepted() const {
    return Connection(Descriptor{readable(fd_) ? accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC) : -1});
}

Connection::~Connection() {
    close();
}

Connection::Connection(Connection&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Connection& Connection::operator=(Connection&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

void Connection::close() {
    if (fd_ >= 0) {
        ::close(std::exchange(fd_, -1));
    }
}

void Connection::write(const std::vector<uint8_t>& bytes) const {
    EXPECT_EQ(::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

void Connection::write(const std::string& text) const {
    write(std::vector<uint8_t>(text.begin(), text.end()));
}

std::vector<uint8_t> Connection::read(size_t most) const {
    std::vector<uint8_t> bytes(most);
    const ssize_t got = readable(fd_) ? recv(fd_, bytes.data(), most, 0) : 0;
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return bytes;
}

std::vector<uint8_t> Connection::read_all(size_t size) const {
    std::vector<uint8_t> bytes;
    while (bytes.size() < size) {
        const std::vector<uint8_t> more = read(size - bytes.size());
        if (more.empty()) {
            return bytes;
        }
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

std::string Connection::text(size_t size) const {
    const std::vector<uint8_t> bytes = read_all(size);
    return std::string(bytes.begin(), bytes.end());
}

std::string Connection::line() const {
    std::string text;
    for (std::vector<uint8_t> byte = read(1); !byte.empty() && byte[0] != '\n'; byte = read(1)) {
        text += static_cast<char>(byte[0]);
    }
    return text;
}

bool Connection::closed() const {
    char byte = 0;
    return readable(fd_) && recv(fd_, &byte, 1, 0) <= 0;
}
