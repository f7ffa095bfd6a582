// The phone's network: lo, and pairs of virtual Ethernet devices. The phone's ends, veth0 and on, are down, as the
// library finds them. The far ends, peer0 and on, are the network's, which has a namespace of its own (far_side.cpp).
#include <linux/if_ether.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/sandbox/far_side.h"
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

// Both ends share one hardware address: the phone asks nobody for its neighbour's, so its frames go to its own.
using HardwareAddress = std::array<unsigned char, ETH_ALEN>;

void add_end(Message& message, const std::string& name, const HardwareAddress& address) {
    message.add(ifinfomsg{});
    message.add_text(IFLA_IFNAME, name);
    message.add(rtattr{sizeof(rtattr) + ETH_ALEN, IFLA_ADDRESS});
    message.add(address);
}

HardwareAddress make_address() {
    HardwareAddress address;
    if (getrandom(address.data(), address.size(), 0) != static_cast<ssize_t>(address.size())) {
        fail("getrandom", errno);
    }
    address[0] = static_cast<unsigned char>((address[0] & 0xFCU) | 0x02U);  // of one station, given locally
    return address;
}

void add_veth(int fd, const std::string& name, const std::string& peer, pid_t far_side) {
    const HardwareAddress address = make_address();
    Message message;
    message.add(nlmsghdr{0, RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL, 0, 0});
    add_end(message, name, address);
    const size_t info = message.open(IFLA_LINKINFO);
    message.add_text(IFLA_INFO_KIND, "veth");
    const size_t data = message.open(IFLA_INFO_DATA);
    const size_t far_end = message.open(VETH_INFO_PEER);
    add_end(message, peer, address);
    message.add(rtattr{sizeof(rtattr) + sizeof(far_side), IFLA_NET_NS_PID});
    message.add(far_side);
    message.close(far_end);
    message.close(data);
    message.close(info);
    const int error = ask_kernel(fd, message.bytes());
    if (error != 0) {
        fail("cannot make the interface " + name, error);
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
    FarSide far_side = start_far_side();
    for (int i = 0; i < veths; ++i) {
        const std::string number = std::to_string(i);
        add_veth(netlink, "veth" + number, "peer" + number, far_side.process);
    }
    open_far_side(far_side, veths);
    close(control);
    close(netlink);
}
