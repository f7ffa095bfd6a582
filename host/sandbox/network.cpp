// The phone's network: lo, and pairs of virtual Ethernet devices. The phone's ends, veth0 and on, are down, as the
// library finds them; the far ends, peer0 and on, are up, so that a packet sent has somewhere to arrive.
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/sandbox/sandbox.h"

namespace {

// A netlink message under construction.
class Message {
public:
    // Bytes of `record`, padded.
    template <typename Record>
    size_t add(const Record& record) {
        return add_bytes(&record, sizeof(record));
    }
    void add_text(unsigned short type, const std::string& text) {
        add(rtattr{static_cast<unsigned short>(sizeof(rtattr) + text.size() + 1), type});
        add_bytes(text.c_str(), text.size() + 1);
    }
    // An attribute around whatever is added until close.
    size_t open(unsigned short type) { return add(rtattr{0, type}); }
    void close(size_t at) {
        const auto length = static_cast<unsigned short>(bytes_.size() - at);
        std::memcpy(bytes_.data() + at + offsetof(rtattr, rta_len), &length, sizeof(length));
    }
    std::string& bytes() { return bytes_; }

private:
    size_t add_bytes(const void* data, size_t size) {
        const size_t at = bytes_.size();
        bytes_.append(static_cast<const char*>(data), size);
        bytes_.append(NLMSG_ALIGN(size) - size, '\0');
        return at;
    }
    std::string bytes_;
};

// Sends a request and gives the error that the kernel acknowledges it with, 0 for success.
int ask_kernel(int fd, std::string& request) {
    const auto length = static_cast<uint32_t>(request.size());
    std::memcpy(request.data() + offsetof(nlmsghdr, nlmsg_len), &length, sizeof(length));
    if (send(fd, request.data(), request.size(), 0) < 0) {
        return errno;
    }
    struct {
        nlmsghdr header;
        nlmsgerr error;
        char more[1024];
    } reply = {};
    const ssize_t got = recv(fd, &reply, sizeof(reply), 0);
    if (got < 0) {
        return errno;
    }
    const bool whole = static_cast<size_t>(got) >= sizeof(reply.header) + sizeof(reply.error);
    return whole && reply.header.nlmsg_type == NLMSG_ERROR ? -reply.error.error : EPROTO;
}

void add_veth(int fd, const std::string& name, const std::string& peer) {
    Message message;
    message.add(nlmsghdr{0, RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL, 0, 0});
    message.add(ifinfomsg{});
    message.add_text(IFLA_IFNAME, name);
    const size_t info = message.open(IFLA_LINKINFO);
    message.add_text(IFLA_INFO_KIND, "veth");
    const size_t data = message.open(IFLA_INFO_DATA);
    const size_t far_end = message.open(VETH_INFO_PEER);
    message.add(ifinfomsg{});
    message.add_text(IFLA_IFNAME, peer);
    message.close(far_end);
    message.close(data);
    message.close(info);
    const int error = ask_kernel(fd, message.bytes());
    if (error != 0) {
        fail("cannot make the interface " + name, error);
    }
}

void bring_up(int fd, const std::string& name) {
    ifreq request = {};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    int result = ioctl(fd, SIOCGIFFLAGS, &request);
    if (result == 0) {
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
        result = ioctl(fd, SIOCSIFFLAGS, &request);
    }
    if (result != 0) {
        fail("cannot bring up the interface " + name, errno);
    }
}

}  // namespace

void make_network(int veths) {
    const int netlink = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (netlink < 0 || control < 0) {
        fail("socket", errno);
    }
    bring_up(control, "lo");
    for (int i = 0; i < veths; ++i) {
        const std::string number = std::to_string(i);
        add_veth(netlink, "veth" + number, "peer" + number);
        bring_up(control, "peer" + number);
    }
    close(control);
    close(netlink);
}
