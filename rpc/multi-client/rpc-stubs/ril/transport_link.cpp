#include "rpc/multi-client/rpc-stubs/ril/transport_link.h"

#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "rpc/multi-client/utils/osa/android/rpc_log.h"

namespace {

constexpr std::string_view c_reg_path = "/data/rpc_reg";
constexpr std::string_view c_send_path = "/data/rpc_send";
constexpr std::string_view c_recv_path = "/data/rpc_recv";
constexpr const char* c_marker_directory = "/data/rpcd/";
constexpr const char* c_marker = "/data/rpcd/rpcd.txt";

// The daemon's sockets are named with the length of a plain socket address. The paths just fit; the kernel takes a path
// without a terminator.
constexpr socklen_t c_address_length = sizeof(sockaddr);
constexpr size_t c_path_room = c_address_length - offsetof(sockaddr_un, sun_path);
static_assert(c_reg_path.size() <= c_path_room && c_send_path.size() <= c_path_room &&
              c_recv_path.size() <= c_path_room);

constexpr std::string_view c_register = "REGISTER";
constexpr std::string_view c_deregister = "DEREGISTER";
constexpr size_t c_reply_max = 50;
constexpr size_t c_inotify_read_max = 32768;

// A daemon that accepts and then keeps silent, or that lets its backlog fill up, ends the attempt after this time; the
// next one has new sockets.
constexpr timeval c_step_timeout = {5, 0};

constexpr timeval c_no_timeout = {0, 0};

void limit_receive(int fd, const timeval& timeout) {
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
}

int open_socket(const char* name) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        RPC_LOG_ERROR("%s- socket error error=%d\n", name, errno);
        return -1;
    }
    limit_receive(fd, c_step_timeout);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &c_step_timeout, sizeof(c_step_timeout));  // connect() too
    return fd;
}

void close_socket(int& fd) {
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}

bool connect_socket(int fd, std::string_view path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, path.data(), path.size());
    return connect(fd, reinterpret_cast<const sockaddr*>(&address), c_address_length) == 0;
}

bool send_message(int fd, std::span<const char> message) {
    if (send(fd, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size())) {
        return true;
    }
    RPC_LOG_ERROR("%s: msgsnd failed due to errno = %d\n", "RegisterAppToRPC", errno);
    return false;
}

// The number of bytes received, 0 when the peer closed, or the negative error (both logged).
ssize_t receive_reply(int fd, std::array<uint8_t, c_reply_max>& reply) {
    ssize_t received = 0;
    do {
        received = recv(fd, reply.data(), reply.size(), 0);
    } while (received < 0 && errno == EINTR);
    const int error = received < 0 ? errno : 0;
    if (received <= 0) {
        RPC_LOG_ERROR("%s: recv failed due to errno = %d\n", "RegisterAppToRPC", error);
    }
    return received < 0 ? -error : received;
}

// The daemon greets on the send and the receive socket. What it says is not used and an error is only logged, but a
// peer that closed or keeps silent ends the attempt: a greeting that comes later would be taken for a packet.
bool await_greeting(int fd) {
    std::array<uint8_t, c_reply_max> reply{};
    const ssize_t received = receive_reply(fd, reply);
    return received != 0 && received != -EAGAIN;
}

// The steps of one registration in their order; the application id or 0.
uint8_t exchange(const RpcSockets& sockets) {
    if (!connect_socket(sockets.reg_intf_id, c_reg_path)) {
        RPC_LOG_ERROR("%s: Connect to reg_intf_id failed , errno = %d\n", "RegisterAppToRPC", errno);
        return 0;
    }
    if (!send_message(sockets.reg_intf_id, c_register)) {
        return 0;
    }
    std::array<uint8_t, c_reply_max> reply{};
    if (receive_reply(sockets.reg_intf_id, reply) <= 0) {
        return 0;
    }
    const uint8_t app_id = reply[0];
    if (app_id == 0) {
        return 0;  // no client has this id
    }
    if (!connect_socket(sockets.send_intf_id, c_send_path)) {
        RPC_LOG_ERROR("%s: Connect to send_intf_id failed\n", "RegisterAppToRPC");
        return 0;
    }
    if (!await_greeting(sockets.send_intf_id)) {
        return 0;
    }
    if (!connect_socket(sockets.recv_intf_id, c_recv_path)) {
        RPC_LOG_ERROR("%s: Connect to recv_intf_idfailed\n", "RegisterAppToRPC");
        return 0;
    }
    if (!await_greeting(sockets.recv_intf_id)) {
        return 0;
    }
    std::array<char, c_deregister.size() + 1> farewell{};
    memcpy(farewell.data(), c_deregister.data(), c_deregister.size());
    farewell.back() = static_cast<char>(app_id);
    if (!send_message(sockets.send_intf_id, farewell)) {
        return 0;
    }
    limit_receive(sockets.recv_intf_id, c_no_timeout);
    return app_id;
}

// One read of the watch. Any event ends the wait.
bool await_event(int watcher) {
    static std::array<char, c_inotify_read_max> s_events;  // one thread at a time waits for the daemon
    ssize_t received = 0;
    do {
        received = read(watcher, s_events.data(), s_events.size());
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        RPC_LOG_ERROR("%s:read failed on inotify\n", "RpcDaemonConnect");
        return false;
    }
    RPC_LOG_DEBUG("%s: %d bytes of events\n", "RpcDaemonConnect", static_cast<int>(received));
    return true;
}

}  // namespace

bool RpcOpenSockets(RpcSockets& sockets) {
    sockets.send_intf_id = open_socket("send_intf_id");
    sockets.recv_intf_id = open_socket("recv_intf_id");
    sockets.reg_intf_id = open_socket("reg_intf_id");
    if (sockets.send_intf_id >= 0 && sockets.recv_intf_id >= 0 && sockets.reg_intf_id >= 0) {
        return true;
    }
    RpcCloseSockets(sockets);
    return false;
}

void RpcCloseSockets(RpcSockets& sockets) {
    close_socket(sockets.send_intf_id);
    close_socket(sockets.recv_intf_id);
    close_socket(sockets.reg_intf_id);
}

int RpcDaemonConnect() {
    // The kernel takes some 20 ms to close a watch: none for a daemon that is there already.
    if (access(c_marker, F_OK) == 0) {
        return 1;
    }
    const int watcher = inotify_init();
    if (watcher < 0) {
        RPC_LOG_ERROR("%s:inotify initialization failed\n", __func__);
        return 0;
    }
    const int watch =
        inotify_add_watch(watcher, c_marker_directory, IN_ACCESS | IN_MODIFY | IN_OPEN | IN_CREATE | IN_DELETE);
    if (watch < 0) {
        RPC_LOG_ERROR("%s:no watch on %s, errno = %d\n", __func__, c_marker_directory, errno);
    }
    // The watch comes first: a marker that appears after this test is an event. Without a watch nothing could end the
    // wait, so the caller's attempts to register take its place.
    const bool ready = watch < 0 || access(c_marker, F_OK) == 0 || await_event(watcher);
    if (watch >= 0) {
        inotify_rm_watch(watcher, watch);
    }
    close(watcher);
    return ready ? 1 : 0;
}

uint8_t RegisterAppToRPC(RpcSockets& sockets) {
    // A socket that connected in a failed attempt cannot connect again.
    if (sockets.reg_intf_id < 0 && !RpcOpenSockets(sockets)) {
        return 0;
    }
    const uint8_t app_id = exchange(sockets);
    if (app_id == 0) {
        RpcCloseSockets(sockets);
    }
    return app_id;
}
