#include "rpc/multi-client/rpc-stubs/ril/transport.h"

#include <modemlink/modem_link.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "ril/utils/thread_stop.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_link.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_route.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_slots.h"
#include "rpc/multi-client/utils/osa/android/rpc_log.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"

namespace {

constexpr uint32_t c_modem_event_client = 0xB7000000;
constexpr uint32_t c_ril_client = 0x20000000;  // bits 31 to 28 of the context id: the RIL
constexpr int c_app_id_shift = 8;

constexpr size_t MAX_RECV_BUFF_SIZE = 32768;
constexpr useconds_t c_register_pause_us = 50 * 1000;
constexpr unsigned c_not_connected_pause_s = 1;

constexpr uint32_t c_version_function = 32;  // also its tag; no function of the modem's service has this id

constexpr size_t c_version_packet_room = 32;  // header, context id and an empty function header

enum LinkState : uint32_t {
    LINK_NOT_YET = 0,  // before the first connection
    LINK_UP = 1,
    LINK_LOST = 2,  // registering again
};

// Covers the taking of a slot and the sending of its packet, so that among calls of one function and one context the
// order of the slots is the order of the packets. Nobody sleeps under it. It is not the lock of the slots: the daemon
// may answer before a sender that was preempted in send() runs again, and the RPC receive thread must not wait for
// that. Taken before SynchSemLock.
pthread_mutex_t s_send_lock = PTHREAD_MUTEX_INITIALIZER;

// Written with s_send_lock held, together with s_sockets, by RegisterRPCClient and then by the RPC receive thread.
// Relaxed: without a connection there are no sockets to send on, whatever a sender saw here.
std::atomic<uint32_t> send_rpc_data{LINK_NOT_YET};

// Written by RegisterRPCClient and by the RPC receive thread. Relaxed: the word stands for itself.
std::atomic<uint32_t> RpcClientIndex{0};

// None without a connection. Guarded by s_send_lock, so that no packet goes to a descriptor that was closed and taken
// by another file.
RpcSockets s_sockets;

std::array<uint8_t, MAX_RECV_BUFF_SIZE> recv_msgq_buffer;  // RPC receive thread

sem_t sock_wait;

void wait_until_posted(sem_t& sem) {
    while (sem_wait(&sem) != 0 && errno == EINTR) {
    }
}

// --- Sending ---------------------------------------------------------------------------------------------------------

// Before the first connection a call lingers, in case the daemon is about to come up. While the client registers again
// it must not: Android waits for the answer.
void linger_before_connection() {
    const uint32_t state = send_rpc_data.load(std::memory_order_relaxed);
    if (state == LINK_UP) {
        return;
    }
    RPC_LOG_ERROR("SendDataToRPCIF send_rpc_data = FALSE\n");
    if (state == LINK_NOT_YET) {
        sleep(c_not_connected_pause_s);
    }
}

// Makes the RPC receive thread see the end of a connection on which nothing more can be sent. It first reads what has
// arrived.
void give_up_connection() {
    shutdown(s_sockets.recv_intf_id, SHUT_RDWR);
}

// With s_send_lock held, so it must not sleep: a daemon that leaves some two hundred packets unread makes the socket
// refuse the next one, and that send has failed. True when the whole packet is on the socket.
bool send_packet(std::span<const uint8_t> packet) {
    const int fd = s_sockets.send_intf_id;
    pollfd state{fd, 0, 0};
    int polled = 0;
    do {
        polled = poll(&state, 1, 0);
    } while (polled < 0 && errno == EINTR);  // even a poll that does not wait notices a signal
    if (polled < 0) {
        RPC_LOG_ERROR("SOCKET NO WRITE\n");
        return false;
    }
    if ((state.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        RPC_LOG_ERROR("SOCKET NOT WRITTEN\n");
        give_up_connection();
        return false;
    }
    const ssize_t sent = send(fd, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent == static_cast<ssize_t>(packet.size())) {
        return true;
    }
    const int error = sent < 0 ? errno : 0;
    RPC_LOG_ERROR("%s: msgsnd failed due to errno = %d\n", "AppSendPackedData", error);
    // After a piece of a packet the daemon would take the next packet for the rest of it.
    if (sent >= 0 || error == EPIPE || error == ECONNRESET) {
        give_up_connection();
    }
    return false;
}

// Takes a slot and sends: the slot, or none when the call has failed.
uint32_t send_call(uint32_t id, uint32_t context_id, std::span<const uint8_t> packet) {
    const SysMutexHold hold(s_send_lock);
    uint32_t slot = c_synch_sem_count;
    {
        const SysMutexHold slots(SynchSemLock);
        slot = RPCCreateSemaphore(id, context_id);
    }
    if (slot != c_synch_sem_count && !send_packet(packet)) {
        const SysMutexHold slots(SynchSemLock);
        RPCDeleteSemaphore(slot);
        return c_synch_sem_count;
    }
    return slot;
}

// --- The RPC threads -------------------------------------------------------------------------------------------------

// One read of the receive socket. False when the connection is gone.
//
// The other two sockets are not watched: a second system call for each packet is more than a call's share of time that
// the library may take, and a daemon that dies closes all three. When only the send socket is closed, the next packet
// finds out and ends the connection. Nothing travels on the registration socket after the exchange, and a daemon may
// well close it.
bool receive_packets() {
    const ssize_t received = recv(s_sockets.recv_intf_id, recv_msgq_buffer.data(), recv_msgq_buffer.size(), 0);
    if (received < 0) {
        const int error = errno;
        RPC_LOG_ERROR("%s: msgrcv failed due to errno = %d\n", "AppRecvFromRPCIFTask", error);
        return error == EINTR || error == E2BIG || error == EAGAIN || error == ENOMSG;
    }
    if (received == 0) {
        return false;
    }
    if (static_cast<size_t>(received) >= MAX_RECV_BUFF_SIZE) {
        RPC_LOG_ERROR("%s: recieved size is more than MAX_RECV_BUFF_SIZE\n", "AppRecvFromRPCIFTask");
    }
    RPCRouteReceived({recv_msgq_buffer.data(), static_cast<size_t>(received)});
    return true;
}

// Registers without a limit of attempts; the application id.
uint8_t register_until_accepted(RpcSockets& sockets) {
    uint8_t app_id = 0;
    while ((app_id = RegisterAppToRPC(sockets)) == 0) {
        usleep(c_register_pause_us);
    }
    return app_id;
}

uint32_t base_context_id(uint8_t app_id) {
    return c_ril_client | (static_cast<uint32_t>(app_id) << c_app_id_shift);
}

// From here until the client is registered again, every synchronous call fails at once.
void connection_lost() {
    RPC_LOG_ERROR("%s: the RPC daemon is gone\n", __func__);
    {
        const SysMutexHold hold(s_send_lock);
        send_rpc_data.store(LINK_LOST, std::memory_order_relaxed);
        RpcCloseSockets(s_sockets);
        const SysMutexHold slots(SynchSemLock);
        RPCFailAllSemaphores();
    }
    RPCConnectionChanged(false);
}

// The daemon that comes back knows nothing of this client, which gets a new application id. The marker of the dead
// daemon may still be there; the attempts to register then do the waiting. The pause is for a daemon that registers
// clients and drops them at once.
void connect_again() {
    RpcSockets sockets;
    usleep(c_register_pause_us);
    RpcDaemonConnect();
    const uint8_t app_id = register_until_accepted(sockets);
    RPC_LOG_ERROR("%s: registered again, application id %u\n", __func__, app_id);
    RPCSetClientId(base_context_id(app_id));
    {
        const SysMutexHold hold(s_send_lock);
        s_sockets = sockets;
        send_rpc_data.store(LINK_UP, std::memory_order_relaxed);
    }
    RPCConnectionChanged(true);
}

void* AppRecvFromRPCIFTask(void* /*arg*/) {
    sys_rpc_sem_signal(&sock_wait);
    for (;;) {
        if (!receive_packets()) {
            connection_lost();
            connect_again();
        }
    }
}

void* AppRPCTask(void* /*arg*/) {
    for (;;) {
        RpcQueueEntry entry{};
        if (APPRcvMsg(entry) == 0) {
            APPWaitForMsg();
            continue;
        }
        RPCDispatch(entry);
        free(entry.data);
    }
}

bool start_threads() {
    pthread_attr_t detached;
    if (sys_thread_attr_init(&detached) != 0) {
        return false;
    }
    pthread_t ClientMsgQThread{};
    pthread_t RPCMsgQThread{};
    const bool started = sys_thread_attr_setdetachstate(&detached, PTHREAD_CREATE_DETACHED) == 0 &&
                         sys_thread_new(&ClientMsgQThread, &detached, AppRPCTask, nullptr) == 0 &&
                         sys_thread_new(&RPCMsgQThread, &detached, AppRecvFromRPCIFTask, nullptr) == 0;
    pthread_attr_destroy(&detached);
    return started;
}

// Waits for the daemon and connects. The application id, 0 when there can be no connection in this process.
uint8_t connect_first() {
    RpcSockets sockets;
    if (APPInitQueue() == 0 || sem_init(&sock_wait, 0, 0) != 0 || !RpcOpenSockets(sockets)) {
        return 0;
    }
    CreateFuncIdIndexMap();
    if (RpcDaemonConnect() == 0) {
        RpcCloseSockets(sockets);
        return 0;
    }
    const uint8_t app_id = register_until_accepted(sockets);
    RPCSetClientId(base_context_id(app_id));
    {
        const SysMutexHold hold(s_send_lock);
        s_sockets = sockets;
    }
    if (!start_threads()) {
        RPC_LOG_ERROR("%s--: RPCMsgQThread creation Failed \n", "RegisterRPCClient");
        const SysMutexHold hold(s_send_lock);
        RpcCloseSockets(s_sockets);
        return 0;
    }
    wait_until_posted(sock_wait);
    const SysMutexHold hold(s_send_lock);
    // The RPC receive thread may have lost the connection already.
    if (send_rpc_data.load(std::memory_order_relaxed) == LINK_NOT_YET) {
        send_rpc_data.store(LINK_UP, std::memory_order_relaxed);
    }
    return app_id;
}

}  // namespace

uint32_t RegisterRPCClient(void (*handler)(uint32_t event)) {
    const int status = registerMEH(c_modem_event_client, handler);
    RPC_LOG_DEBUG("%s: registration to MEH done: %d\n", __func__, status);
    const uint8_t app_id = connect_first();
    if (app_id == 0) {
        RPC_LOG_ERROR("%s: no connection to the RPC daemon\n", __func__);
        RPCSetClientId(base_context_id(0));
    }
    return RPCMakeContextId();
}

void RPCSetClientId(uint32_t context_id) {
    RpcClientIndex.store(context_id, std::memory_order_relaxed);
}

uint32_t RPCMakeContextId() {
    return RpcClientIndex.load(std::memory_order_relaxed);
}

int AppSendPackedData(const uint8_t* packet, size_t length) {
    if (packet == nullptr) {
        return 0;
    }
    linger_before_connection();
    const SysMutexHold hold(s_send_lock);
    send_packet({packet, length});
    return 1;
}

int RPCSynchronousCall(uint32_t id, uint32_t context_id, std::span<const uint8_t> packet, RpcReturn& ret) {
    ret = {};
    // On a thread that was told to end the wait would be over at once, and the return nobody's.
    if (packet.data() == nullptr || thread_stop_requested()) {
        return 0;
    }
    linger_before_connection();
    const uint32_t slot = send_call(id, context_id, packet);
    if (slot == c_synch_sem_count) {
        return 0;
    }
    return RPCWaitOnSemaphore(slot, ret);
}

int32_t RemRpcGetRemoteVerInfo() {
    std::array<uint8_t, c_version_packet_room> buffer{};
    ExWriteCursor writer{buffer.data(), buffer.data() + buffer.size() - 1, false};
    const uint32_t context_id = RPCMakeContextId();
    size_t length = EXWriteBERHeader(ExMakeTag(c_version_function), writer, 0);
    length += ExWriteContextId(writer, context_id);
    length += ExWriteBufferHeader(writer, c_version_function, length);

    RpcReturn ret{};
    if (writer.failed || RPCSynchronousCall(c_version_function, context_id, {writer.next + 1, length}, ret) == 0) {
        return c_rpc_transport_failure;
    }
    ExReadCursor reader{ret.body, ret.body + ret.length, false};
    uint32_t echoed_context_id = 0;
    int32_t version = 0;
    ExReadContextId(reader, echoed_context_id);
    EXUnpackINT32(&version, reader);
    RPCReleaseReturn(ret);
    return reader.failed ? c_rpc_transport_failure : version;
}
