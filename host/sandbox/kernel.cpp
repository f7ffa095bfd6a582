// What the phone's kernel does and a development machine's does not: it takes a route to IPv6 by way of the interface's
// own address. Here that route is set on-link.
#include <linux/sockios.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace {

int family_of(int fd) {
    int family = AF_UNSPEC;
    socklen_t size = sizeof(family);
    getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &family, &size);
    return family;
}

}  // namespace

// In place of the C library's, for the library that rild loads too.
extern "C" __attribute__((visibility("default"))) int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const auto result = static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
    if (result == 0 || errno != EINVAL || request != SIOCADDRT || family_of(fd) != AF_INET6) {
        return result;
    }
    in6_rtmsg route = *static_cast<in6_rtmsg*>(argument);
    route.rtmsg_gateway = {};
    route.rtmsg_flags &= ~static_cast<uint32_t>(RTF_GATEWAY);
    return static_cast<int>(syscall(SYS_ioctl, fd, request, &route));
}
