// Packets over a data call, as the programs of a phone send them.
#include <netdb.h>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "host/console/console.h"

namespace {

class Socket {
public:
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

struct Address {
    sockaddr_storage bytes;
    socklen_t size = 0;  // 0: none
};

Address address_of(const std::string& host, const char* port) {
    Address address{};
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), port, &hints, &found) == 0) {
        memcpy(&address.bytes, found->ai_addr, found->ai_addrlen);
        address.size = found->ai_addrlen;
        freeaddrinfo(found);
    }
    return address;
}

// Connected, over that interface alone if one is named. -1 when there is no way.
int connect_to(const Address& address, int type, int protocol, const std::string& interface, const timeval& patience) {
    const int fd = socket(address.bytes.ss_family, type | SOCK_CLOEXEC, protocol);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const bool bound = interface.empty() || setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, interface.c_str(),
                                                       static_cast<socklen_t>(interface.size())) == 0;
    if (fd >= 0 && (!bound || connect(fd, reinterpret_cast<const sockaddr*>(&address.bytes), address.size) != 0)) {
        close(fd);
        return -1;
    }
    return fd;
}

// RFC 1071.
uint16_t checksum(const std::array<uint16_t, 4>& words) {
    uint32_t sum = 0;
    for (const uint16_t word : words) {
        sum += word;
    }
    return static_cast<uint16_t>(~((sum & 0xFFFFU) + (sum >> 16U)));
}

// One echo request and its reply (RFC 792, RFC 4443).
bool is_echoed(const Address& address, const std::string& interface) {
    constexpr timeval c_patience{0, 300'000};
    const bool is_ipv4 = address.bytes.ss_family == AF_INET;
    const int protocol = is_ipv4 ? int{IPPROTO_ICMP} : int{IPPROTO_ICMPV6};
    const Socket socket(connect_to(address, SOCK_RAW, protocol, interface, c_patience));
    std::array<uint16_t, 4> request{htons(static_cast<uint16_t>((is_ipv4 ? ICMP_ECHO : ICMP6_ECHO_REQUEST) << 8U)), 0,
                                    static_cast<uint16_t>(getpid()), 1};
    request[1] = is_ipv4 ? checksum(request) : uint16_t{0};  // else the kernel's, with the addresses
    if (send(socket.fd(), request.data(), sizeof(request), 0) != static_cast<ssize_t>(sizeof(request))) {
        return false;
    }
    std::array<uint8_t, 2048> packet;
    for (ssize_t got = 0; (got = recv(socket.fd(), packet.data(), packet.size(), 0)) > 0;) {
        const size_t at = is_ipv4 ? size_t{4} * (packet[0] & 0x0FU) : 0;
        if (at + sizeof(request) <= static_cast<size_t>(got) &&
            packet[at] == (is_ipv4 ? ICMP_ECHOREPLY : ICMP6_ECHO_REPLY) &&
            memcmp(packet.data() + at + 4, request.data() + 2, 4) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

Console::Outcome Console::ping(const Words& words, const std::string&) {
    const Address address = address_of(words.empty() ? "" : words[0], nullptr);
    if (address.size == 0 || words.size() > 2) {
        return "wants an address, and an interface if need be";
    }
    // Each time anew: a link that has just come up loses packets, and lends no address to a socket.
    constexpr int c_times = 10;
    for (int i = 0; i < c_times; ++i) {
        if (is_echoed(address, words.size() > 1 ? words[1] : "")) {
            return "";
        }
    }
    return "no answer";
}

Console::Outcome Console::fetch(const Words& words, const std::string&) {
    constexpr std::string_view c_scheme = "http://";
    const std::string url = words.empty() || !words[0].starts_with(c_scheme) ? "" : words[0].substr(c_scheme.size());
    const std::string place = url.substr(0, url.find('/'));
    const bool is_bracketed = place.size() > 2 && place.front() == '[' && place.back() == ']';
    const Address address = address_of(is_bracketed ? place.substr(1, place.size() - 2) : place, "80");
    if (address.size == 0 || words.size() > 2) {
        return "wants http:// with an address, [...] around one of IPv6, and an interface if need be";
    }
    constexpr timeval c_patience{3, 0};
    const Socket socket(connect_to(address, SOCK_STREAM, 0, words.size() > 1 ? words[1] : "", c_patience));
    const std::string path = url.size() > place.size() ? url.substr(place.size()) : "/";
    const std::string request = "GET " + path + " HTTP/1.0\r\nHost: " + place + "\r\n\r\n";
    if (socket.fd() < 0 || send(socket.fd(), request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return "there is no way there";
    }
    std::string page;
    std::array<char, 4096> bytes;
    for (ssize_t got = 0; (got = recv(socket.fd(), bytes.data(), bytes.size(), 0)) > 0;) {
        page.append(bytes.data(), static_cast<size_t>(got));
    }
    const size_t body = page.find("\r\n\r\n");
    if (page.compare(0, 7, "HTTP/1.") != 0 || page.compare(8, 5, " 200 ") != 0 || body == std::string::npos) {
        return page.empty() ? "no answer" : "not the page";
    }
    screen_.say(page.substr(body + 4, page.find_last_not_of("\r\n") - body - 3));
    return "";
}
