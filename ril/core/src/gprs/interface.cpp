#include "ril/core/src/gprs/interface.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
// Behind <netinet/in.h>, whose addresses it takes then.
#include <linux/ipv6.h>

#include <cstdio>
#include <cstring>

#include "ril/core/src/gprs/pdp_context_data.h"
#include "ril/core/src/gprs/pdp_device.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint32_t c_host_prefix = 128;
constexpr uint32_t c_link_local_prefix = 64;
constexpr uint8_t c_link_local[8] = {0xFE, 0x80};

// A socket for requests about one interface.
class Control {
public:
    Control(int family, const char* name) : m_fd(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_name(name) {}
    ~Control() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    bool is_open() const { return m_fd >= 0; }
    const char* name() const { return m_name; }
    bool ask(unsigned long number, void* argument) const { return ioctl(m_fd, number, argument) == 0; }

    ifreq request() const {
        ifreq request{};
        snprintf(request.ifr_name, sizeof(request.ifr_name), "%s", m_name);
        return request;
    }

private:
    int m_fd;
    const char* m_name;
};

// The log lines of a step; their arguments are a function's name and the interface's.
struct flag_failures {
    const char* get;
    const char* set;
};

bool change_flags(const Control& control, int clear, int set, const char* function, const flag_failures& failures) {
    ifreq request = control.request();
    if (!control.ask(SIOCGIFFLAGS, &request)) {
        RIL_TRACE(TRACE_ERROR, failures.get, function, control.name());
        return false;
    }
    request.ifr_flags = static_cast<short>((request.ifr_flags & ~clear) | set);
    if (!control.ask(SIOCSIFFLAGS, &request)) {
        RIL_TRACE(TRACE_ERROR, failures.set, function, control.name());
        return false;
    }
    return true;
}

bool take_down(const Control& control, const char* function) {
    return change_flags(control, IFF_UP, 0, function,
                        {"%s: Failed to get %s interface flags \n", "%s: Failed to set %s interface flags\n"});
}

bool put_up(const Control& control, const char* function, const char* failure) {
    return change_flags(control, 0, IFF_UP | IFF_NOARP, function, {"%s: Failed to get %s flags \n", failure});
}

bool read_index(const Control& control, int& index, const char* function) {
    ifreq request = control.request();
    if (!control.ask(SIOCGIFINDEX, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to get %s interface index\n", function, control.name());
        return false;
    }
    index = request.ifr_ifindex;
    return true;
}

bool read_ipv4(const char* text, in_addr& out, const char* function) {
    if (inet_pton(AF_INET, text, &out) != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: inet_pton failed for %s \n", function, text);
        return false;
    }
    return true;
}

bool read_ipv6(const char* text, in6_addr& out, const char* function) {
    if (inet_pton(AF_INET6, text, &out) != 1) {
        RIL_TRACE(TRACE_ERROR, "%s: inet_pton() failed for %s \n", function, text);
        return false;
    }
    return true;
}

bool is_open(const Control& control, const char* function) {
    if (!control.is_open()) {
        RIL_TRACE(TRACE_ERROR, "%s: Couldn't create IP socket\n", function);
    }
    return control.is_open();
}

sockaddr to_sockaddr(in_addr address) {
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    ipv4.sin_addr = address;
    sockaddr out;
    static_assert(sizeof(out) == sizeof(ipv4));
    memcpy(&out, &ipv4, sizeof(out));
    return out;
}

// The address with a host mask.
bool set_ipv4_address(const Control& control, in_addr address, const char* function) {
    ifreq request = control.request();
    request.ifr_addr = to_sockaddr(address);
    if (!control.ask(SIOCSIFADDR, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to set %s address %x\n", function, control.name(), address.s_addr);
        return false;
    }
    request = control.request();
    request.ifr_netmask = to_sockaddr({INADDR_BROADCAST});
    if (!control.ask(SIOCSIFNETMASK, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to set %s subaddress %x \n", function, control.name(), INADDR_BROADCAST);
        return false;
    }
    return true;
}

// The address for itself, and a link-local one with its interface identifier (RFC 4291, 2.5.6).
bool set_ipv6_addresses(const Control& control, int index, const in6_addr& address, const char* text,
                        const char* function) {
    in6_ifreq request{};
    request.ifr6_addr = address;
    request.ifr6_prefixlen = c_host_prefix;
    request.ifr6_ifindex = index;
    if (!control.ask(SIOCSIFADDR, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to set %s interface ip address %s \n", function, control.name(), text);
        return false;
    }
    memcpy(&request.ifr6_addr, c_link_local, sizeof(c_link_local));
    request.ifr6_prefixlen = c_link_local_prefix;
    if (!control.ask(SIOCSIFADDR, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s Failed to set %s interface local link ip address %s \n", function, control.name(),
                  text);
        return false;
    }
    return true;
}

bool add_ipv6_route(const Control& control, int index, const in6_addr& gateway, const char* function) {
    in6_rtmsg route{};
    route.rtmsg_gateway = gateway;
    route.rtmsg_dst_len = c_host_prefix;
    route.rtmsg_flags = RTF_UP | RTF_GATEWAY;
    route.rtmsg_ifindex = index;
    if (!control.ask(SIOCADDRT, &route)) {
        RIL_TRACE(TRACE_ERROR, "%s: failed to add default v6 route for %s\n", function, control.name());
        return false;
    }
    return true;
}

bool add_ipv4_route(const Control& control, in_addr gateway, const char* function) {
    rtentry route{};
    route.rt_dst.sa_family = AF_INET;
    route.rt_genmask.sa_family = AF_INET;
    route.rt_gateway = to_sockaddr(gateway);
    route.rt_flags = RTF_UP | RTF_GATEWAY;
    char name[IFNAMSIZ];
    snprintf(name, sizeof(name), "%s", control.name());
    route.rt_dev = name;
    if (!control.ask(SIOCADDRT, &route)) {
        RIL_TRACE(TRACE_ERROR, "%s: failed to add default v4 route for %s\n", function, control.name());
        return false;
    }
    return true;
}

int32_t bringup_ipv4_interface(const char* address, const char* name) {
    in_addr own;
    if (!read_ipv4(address, own, __func__)) {
        return -1;
    }
    const Control control(AF_INET, name);
    const bool up = is_open(control, __func__) && take_down(control, __func__) &&
                    set_ipv4_address(control, own, __func__) &&
                    put_up(control, __func__, "%s: ailed to set %s flags \n");
    return up ? 0 : -1;
}

int32_t bringup_ipv6_interface(const char* address, const char* name) {
    in6_addr own;
    if (!read_ipv6(address, own, __func__)) {
        return -1;
    }
    const Control control(AF_INET6, name);
    int index = 0;
    const bool up = is_open(control, __func__) && read_index(control, index, __func__) &&
                    take_down(control, __func__) && set_ipv6_addresses(control, index, own, address, __func__) &&
                    put_up(control, __func__, "%s: Failed to set %s flags \n");
    return up ? 0 : -1;
}

// The only one that adds routes: each protocol's default goes by way of the own address.
int32_t bringup_ipv4v6_interface(const char* ipv4, const char* ipv6, const char* name) {
    in_addr own4;
    if (!read_ipv4(ipv4, own4, __func__)) {
        return -1;
    }
    const Control control4(AF_INET, name);
    int index = 0;
    if (!is_open(control4, __func__) || !read_index(control4, index, __func__) || !take_down(control4, __func__) ||
        !set_ipv4_address(control4, own4, __func__)) {
        return -1;
    }
    in6_addr own6;
    if (!read_ipv6(ipv6, own6, __func__)) {
        return -1;
    }
    const Control control6(AF_INET6, name);
    const bool up = is_open(control6, __func__) && set_ipv6_addresses(control6, index, own6, ipv6, __func__) &&
                    put_up(control6, __func__, "%s: Failed to set %s flags \n") &&
                    add_ipv6_route(control6, index, own6, __func__) && add_ipv4_route(control4, own4, __func__);
    return up ? 0 : -1;
}

int32_t bring_down_ipv4_interface(const char* name) {
    const Control control(AF_INET, name);
    if (!control.is_open()) {
        RIL_TRACE(TRACE_ERROR, "%s: Couldn't create IP socket \n", __func__);
        return -1;
    }
    const bool down =
        change_flags(control, IFF_UP, 0, __func__,
                     {"%s: Failed to get %s interface flags \n", "%s: Failed to set %s interface flags \n"});
    return down ? 0 : -1;
}

// Whether the last step succeeds is only logged.
int32_t bring_down_ipv6_interface(const char* name) {
    const Control control(AF_INET6, name);
    if (!control.is_open()) {
        RIL_TRACE(TRACE_ERROR, "%s: Bad fd\n", __func__);
        return -1;
    }
    ifreq request = control.request();
    if (!control.ask(SIOCGIFINDEX, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s error getting SIOGIFINDEX\n", __func__);
        return -1;
    }
    request = control.request();
    if (!control.ask(SIOCGIFFLAGS, &request)) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to get %s interface flags\n", __func__, name);
        return -1;
    }
    request.ifr_flags = static_cast<short>(request.ifr_flags & ~IFF_UP);
    const bool down = control.ask(SIOCSIFFLAGS, &request);
    RIL_TRACE(TRACE_DETAIL, "%s: ioctl returns:%d bringing DOWN the interface\n", __func__, down ? 0 : -1);
    return 0;
}

// The link has no gateway; Android wants one all the same.
void gprs_set_gateway(T_GPRS_PDP_CONTEXT_DATA& record, const char* address) {
    in_addr gateway;
    if (inet_pton(AF_INET, address, &gateway) != 1) {
        RIL_TRACE(TRACE_ERROR, "%s : inet_pton() failed for %s!\n", __func__, address);
        return;
    }
    gateway.s_addr = htonl((ntohl(gateway.s_addr) & 0xFFFFFF00U) | 1U);
    inet_ntop(AF_INET, &gateway, record.gateway, sizeof(record.gateway));
}

// Splits the text of both addresses at its blank, after which it holds the IPv4 address alone.
int32_t bringup_both(char (&address)[c_ip_text_size], const char* name) {
    char* const blank = strchr(address, ' ');
    if (blank == nullptr || blank == address || blank[1] == '\0') {
        RIL_TRACE(TRACE_ERROR, "%s: p_ipv4 or p_ipv6 night be NULL\n", "bringup_nw");
        return -1;
    }
    *blank = '\0';
    return bringup_ipv4v6_interface(address, blank + 1, name);
}

int32_t bringup_by_type(uint32_t ip_type, char (&address)[c_ip_text_size], const char* name) {
    switch (ip_type) {
        case 3:
        case 6:
            return bringup_both(address, name);
        case 2:
        case 5:
            return bringup_ipv6_interface(address, name);
        case 1:
        case 4:
            return bringup_ipv4_interface(address, name);
        default:
            RIL_TRACE(TRACE_ERROR, "%s: ERROR in vaild IP type", "bringup_nw");
            return -1;
    }
}

}  // namespace

int32_t bringup_nw(uint32_t sim_id, T_GPRS_PDP_CONTEXT_DATA& record) {
    const pdp_ctx_dev* const dev = gprs_find_device(sim_id, record.uta_cid);
    char name[14];
    if (dev == nullptr || !gprs_interface_name(gprs_index_of(sim_id, *dev), name)) {
        return -1;
    }
    char address[c_ip_text_size] = {};
    int32_t result = 0;
    if (gprs_is_ipv4_by_force(record)) {
        callps_ipaddrto_char(address, record.ip_addr);
        RIL_TRACE(TRACE_DETAIL, "%s: the IP address is %s an type is %d\n", __func__, address,
                  static_cast<int>(record.ip_type));
        result = bringup_ipv4_interface(address, name);
    } else {
        gprs_ip_addr_to_char(address, record.ip_type, record.ip_addr);
        result = bringup_by_type(record.ip_type, address, name);
    }
    if (result == 0) {
        gprs_set_gateway(record, address);
    }
    return result;
}

int32_t gprs_bring_down_interface(const char* name) {
    const int32_t ipv4 = bring_down_ipv4_interface(name);
    if (ipv4 != 0) {
        RIL_TRACE(TRACE_ERROR, "Error in bringing down the IPV4 interface\n");
    }
    const int32_t ipv6 = bring_down_ipv6_interface(name);
    if (ipv6 != 0) {
        RIL_TRACE(TRACE_ERROR, "Error in bringing down the IPV6 interface\n");
    }
    return ipv4 != 0 && ipv6 != 0 ? -1 : 0;
}

void gprs_ip_addr_to_char(char (&out)[56], uint32_t type, const uint8_t (&address)[20]) {
    switch (type) {
        case 1:
        case 4:
            inet_ntop(AF_INET, address, out, sizeof(out));
            break;
        case 2:
        case 5:
            inet_ntop(AF_INET6, address, out, sizeof(out));
            break;
        case 3:
        case 6: {
            inet_ntop(AF_INET, address, out, sizeof(out));
            const size_t length = strlen(out);
            out[length] = ' ';
            inet_ntop(AF_INET6, address + sizeof(in_addr), out + length + 1,
                      static_cast<socklen_t>(sizeof(out) - length - 1));
            break;
        }
        default:
            RIL_TRACE(TRACE_ERROR, "%s: ERROR Incorrect IP addess type %d\n", __func__, static_cast<int>(type));
    }
}

void callps_ipaddrto_char(char (&out)[56], const uint8_t (&address)[20]) {
    snprintf(out, sizeof(out), "%u.%u.%u.%u", address[0], address[1], address[2], address[3]);
}
