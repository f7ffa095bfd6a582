// The network of an operator in small: a server at 10.20.0.1 and 2001:db8:ff::1 that answers pings and gives a page on
// port 80, and a route to each address that a phone can get (host/modem/packet_data.cpp) over the pair that it gets it
// on.
#include "host/sandbox/far_side.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
// Behind <netinet/in.h>, whose addresses it takes then.
#include <linux/ipv6.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "host/sandbox/sandbox.h"

namespace {

constexpr const char* c_server4[] = {"10.20.0.1", "10.20.30.1", "10.20.31.1"};  // and what Android takes for gateways
constexpr const char* c_server6 = "2001:db8:ff::1";
constexpr int c_first_host = 40;  // of the network's own context; then one for each of the phone's
constexpr int c_stacks = 2;
constexpr uint16_t c_port = 80;
constexpr std::string_view c_page =
    "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nThe network greets the phone.\n";

sockaddr address_of(const std::string& text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    sockaddr out;
    static_assert(sizeof(out) == sizeof(address));
    memcpy(&out, &address, sizeof(out));
    return out;
}

void ask(int fd, unsigned long request, void* argument, const std::string& what) {
    if (ioctl(fd, request, argument) != 0) {
        fail(what, errno);
    }
}

void add_address(int fd, const std::string& interface, const std::string& text) {
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_addr = address_of(text);
    ask(fd, SIOCSIFADDR, &request, "address " + text);
}

void add_route(int fd, std::string interface, const std::string& text) {
    rtentry route{};
    route.rt_dst = address_of(text);
    route.rt_genmask = address_of("255.255.255.255");
    route.rt_flags = RTF_UP | RTF_HOST;
    route.rt_dev = interface.data();
    ask(fd, SIOCADDRT, &route, "route to " + text);
}

void add_route6(int fd, const std::string& interface, const std::string& text) {
    in6_rtmsg route{};
    inet_pton(AF_INET6, text.c_str(), &route.rtmsg_dst);
    route.rtmsg_dst_len = 128;
    route.rtmsg_metric = 1;
    route.rtmsg_flags = RTF_UP;
    route.rtmsg_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    ask(fd, SIOCADDRT, &route, "route to " + text);
}

std::string hexadecimal(int number) {
    constexpr char c_digits[] = "0123456789abcdef";
    return {c_digits[number / 16], c_digits[number % 16]};
}

void add_routes(int fd4, int fd6, const std::string& peer, int host) {
    for (int stack = 0; stack < c_stacks; ++stack) {
        add_route(fd4, peer, "10.20." + std::to_string(30 + stack) + "." + std::to_string(host));
        add_route6(fd6, peer, "2001:db8:0:" + std::to_string(stack) + ":aabb:ccff:fe00:" + hexadecimal(host));
    }
}

void configure(int veths) {
    const int fd4 = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int fd6 = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd4 < 0 || fd6 < 0) {
        fail("socket", errno);
    }
    bring_up(fd4, "lo");
    for (size_t i = 0; i < std::size(c_server4); ++i) {
        add_address(fd4, "lo:" + std::to_string(i + 1), c_server4[i]);
    }
    in6_ifreq request{};
    inet_pton(AF_INET6, c_server6, &request.ifr6_addr);
    request.ifr6_prefixlen = 128;
    request.ifr6_ifindex = static_cast<int>(if_nametoindex("lo"));
    ask(fd6, SIOCSIFADDR, &request, c_server6);
    for (int i = 0; i < veths; ++i) {
        const std::string peer = "peer" + std::to_string(i);
        bring_up(fd4, peer, IFF_NOARP);
        add_routes(fd4, fd6, peer, c_first_host + 1 + i);
    }
    if (veths > 0) {
        add_routes(fd4, fd6, "peer0", c_first_host);
    }
    close(fd4);
    close(fd6);
}

int listen_on_port() {
    const int fd = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(c_port);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(fd, 16) != 0) {
        fail("the network's server", errno);
    }
    return fd;
}

// What has no end: a line each 10 ms, until nobody has taken one for a second.
void give_without_end(int fd) {
    while (send(fd, "la la la\n", 9, MSG_NOSIGNAL) > 0) {
        usleep(10'000);
    }
}

// One after the other. Whoever says nothing holds the others up for a second.
[[noreturn]] void serve(int listening) {
    for (;;) {
        const int fd = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        const timeval patience{1, 0};
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
        constexpr unsigned c_unheard_ms = 1000;
        setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &c_unheard_ms, sizeof(c_unheard_ms));
        std::array<char, 4096> request;
        const ssize_t got = recv(fd, request.data(), request.size(), 0);
        if (got > 0) {
            send(fd, c_page.data(), c_page.size(), MSG_NOSIGNAL);
        }
        if (std::string_view(request.data(), static_cast<size_t>(std::max<ssize_t>(got, 0)))
                .starts_with("GET /radio")) {
            give_without_end(fd);
        }
        close(fd);
    }
}

}  // namespace

void bring_up(int fd, const std::string& name, int more_flags) {
    ifreq request = {};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    int result = ioctl(fd, SIOCGIFFLAGS, &request);
    if (result == 0) {
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | more_flags);
        result = ioctl(fd, SIOCSIFFLAGS, &request);
    }
    if (result != 0) {
        fail("cannot bring up the interface " + name, errno);
    }
}

FarSide start_far_side() {
    std::array<int, 2> pair;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) {
        fail("socketpair", errno);
    }
    const pid_t process = fork();
    if (process < 0) {
        fail("fork", errno);
    }
    int veths = 0;
    if (process == 0) {
        close(pair[0]);
        if (unshare(CLONE_NEWNET) != 0) {
            fail("the network's namespace", errno);
        }
        if (write(pair[1], &veths, sizeof(veths)) != sizeof(veths) ||
            read(pair[1], &veths, sizeof(veths)) != sizeof(veths)) {
            fail("the network's process", errno);
        }
        configure(veths);
        const int listening = listen_on_port();
        if (write(pair[1], &veths, sizeof(veths)) != sizeof(veths)) {
            fail("the network's process", errno);
        }
        close(pair[1]);
        serve(listening);
    }
    close(pair[1]);
    if (read(pair[0], &veths, sizeof(veths)) != sizeof(veths)) {
        fail("the network's process", 0);
    }
    return {process, pair[0]};
}

void open_far_side(FarSide& far_side, int veths) {
    if (write(far_side.go, &veths, sizeof(veths)) != sizeof(veths) ||
        read(far_side.go, &veths, sizeof(veths)) != sizeof(veths)) {
        fail("the network's process", 0);
    }
    close(far_side.go);
    far_side.go = -1;
}
