// The client with a daemon that the tests play byte for byte: registration, calls, and what becomes of both when the
// daemon goes. A test has a process of its own, because the client registers once per process; /data is the sandbox's.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <thread>

#include "ril/utils/thread_stop.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/hex.h"

// --- The process's own libc and platform -----------------------------------------------------------------------------

static std::atomic<int> s_second_sleeps{0};
static std::atomic<int> s_signals{0};
static std::atomic<int> s_polls_interrupted{0};  // calls of poll() to come that a signal ends
// How far CLOCK_REALTIME lags: 4900 leaves 100 ms of 5 s. At first an hour ahead, which no busy machine uses up.
std::atomic<int64_t> g_realtime_back_ms{-3600000};
// Which receive timeout of the process is brief, the others are none: of its first attempt's send, receive or
// registration socket.
static std::atomic<int> s_brief_timeout{-1};

extern "C" {

unsigned sleep(unsigned) {
    s_second_sleeps++;
    return 0;
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) {
        const int64_t ms = time->tv_sec * int64_t{1000} + time->tv_nsec / 1000000 - g_realtime_back_ms;
        *time = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000 * 1000000)};
    }
    return static_cast<int>(result);
}

int poll(pollfd* fds, nfds_t count, int timeout) {
    if (s_polls_interrupted > 0) {
        s_polls_interrupted--;
        errno = EINTR;
        return -1;
    }
    const timespec time{timeout / 1000, timeout % 1000 * 1000000L};
    return ppoll(fds, count, timeout < 0 ? nullptr : &time, nullptr);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t length) noexcept {
    static std::atomic<int> s_timeouts{0};
    timeval time{0, 0};
    if (name == SO_RCVTIMEO && static_cast<const timeval*>(value)->tv_sec != 0) {
        time.tv_usec = s_timeouts++ == s_brief_timeout ? 20000 : 0;
        value = &time;
    }
    return static_cast<int>(syscall(SYS_setsockopt, fd, level, name, value, length));
}

int registerMEH(uint32_t, void (*)(uint32_t)) {
    return 0;
}
}

void RPCConnectionChanged(bool) {}

namespace {

constexpr const char* c_marker = "/data/rpcd/rpcd.txt";

void in_own_process(const std::function<void()>& body) {
    unlink(c_marker);
    EXPECT_EXIT((alarm(120), body(), exit(testing::Test::HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "");
}

// True once it holds; false after many seconds.
bool soon(const std::function<bool()>& condition) {
    for (int i = 0; i < 20000; i++) {
        if (condition()) {
            return true;
        }
        usleep(1000);
    }
    return false;
}

// In the client's context `context`.
Bytes packet(uint32_t index, uint8_t context, const std::string& rest = "") {
    const size_t size = 16 + hex(rest).size();
    Bytes bytes = hex("w" + std::to_string(size) + " w" + std::to_string(index) + " 20 00 01 00 " + rest);
    bytes[15] = context;
    return bytes;
}

Bytes return_of(uint32_t id, uint8_t context, uint8_t value) {
    return packet(id + 1000, context, "w" + std::to_string(value));
}

// One synchronous call of an empty request; the peer's value or -99.
int32_t call(uint32_t id, uint8_t context) {
    RpcReturn ret{};
    if (RPCSynchronousCall(id, 0x20000100U | context, packet(id, context), ret) == 0) {
        EXPECT_EQ(ret.body, nullptr);
        return c_rpc_transport_failure;
    }
    const int32_t value = ret.body[ret.length - 1];
    RPCReleaseReturn(ret);
    return value;
}

// --- The daemon ------------------------------------------------------------------------------------------------------

enum Socket { REG, SEND, RECV };
int s_listener[3] = {-1, -1, -1};
int s_client[3] = {-1, -1, -1};

void close_fd(int& fd) {
    close(fd);
    fd = -1;
}

void daemon_starts() {
    constexpr const char* c_paths[] = {"/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv"};
    for (const Socket which : {REG, SEND, RECV}) {
        unlink(c_paths[which]);
        sockaddr_un address{AF_UNIX, {}};
        strcpy(address.sun_path, c_paths[which]);
        s_listener[which] = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(bind(s_listener[which], reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(listen(s_listener[which], 4), 0);
    }
}

void put_marker() {
    mkdir("/data/rpcd", 0755);
    ASSERT_TRUE(std::ofstream(c_marker) << "up");
}

void take_client(Socket which) {
    s_client[which] = accept(s_listener[which], nullptr, nullptr);
}

void put(Socket to, const Bytes& bytes) {
    send(s_client[to], bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

// That many bytes; none when the client closed.
Bytes take(Socket from, size_t length) {
    Bytes bytes(length);
    bytes.resize(recv(s_client[from], bytes.data(), length, MSG_WAITALL) == static_cast<ssize_t>(length) ? length : 0);
    return bytes;
}

void daemon_dies() {
    for (const Socket which : {REG, SEND, RECV}) {
        close_fd(s_client[which]);
        close_fd(s_listener[which]);
    }
}

// Plays one registration, checking every byte. Behind the step `last` it closes what it accepted, or keeps silent until
// the client gives up.
constexpr size_t c_steps = 7;
void admit(uint8_t app_id, size_t last = c_steps, bool silent = false) {
    const std::function<void()> steps[c_steps] = {
        [] { take_client(REG); },
        [] {
            EXPECT_EQ(to_text(take(REG, 8)), to_text({'R', 'E', 'G', 'I', 'S', 'T', 'E', 'R'}));
        },
        [=] {
            put(REG, {last == 2 ? uint8_t{0} : app_id, 0xEE});
        },
        [] { take_client(SEND); },
        [] {
            put(SEND, {'h', 'i'});
            take_client(RECV);
        },
        [=] {
            if (last == 5) {
                close_fd(s_client[SEND]);  // ahead of the greeting that the client waits for
            }
            put(RECV, {'h', 'i'});
        },
        [=] {
            EXPECT_EQ(take(SEND, 11), (Bytes{'D', 'E', 'R', 'E', 'G', 'I', 'S', 'T', 'E', 'R', app_id}));
        },
    };
    for (size_t step = 0; step < c_steps; step++) {
        steps[step]();
        if (step == last) {
            while (silent && !take(REG, 1).empty()) {
            }
            for (int& fd : s_client) {
                close_fd(fd);
            }
            return;
        }
    }
}

Bytes read_packet() {
    const Bytes head = take(SEND, 12);
    Bytes rest = take(SEND, head.empty() ? 0 : head[5] - head.size());
    rest.insert(rest.begin(), head.begin(), head.end());
    return rest;
}

// The body has a daemon with this client.
void with_client(const std::function<void()>& body) {
    in_own_process([&] {
        daemon_starts();
        put_marker();
        std::thread admitting([] { admit(1); });
        EXPECT_EQ(RegisterRPCClient(nullptr), 0x20000100U);
        admitting.join();
        body();
    });
}

// A call that the daemon gets as it is and returns `value` to.
void expect_call(uint32_t id, uint8_t context, uint8_t value) {
    std::thread caller([=] { EXPECT_EQ(call(id, context), value); });
    EXPECT_EQ(to_text(read_packet()), to_text(packet(id, context)));
    put(RECV, return_of(id, context, value));
    caller.join();
}

// --- Registration ----------------------------------------------------------------------------------------------------

TEST(Registration, WaitsForTheMarkerWithTheSocketsThere) {
    in_own_process([] {
        mkdir("/data/rpcd", 0755);
        daemon_starts();
        std::thread client([] { EXPECT_EQ(RegisterRPCClient(nullptr), 0x2000FF00U); });
        pollfd knock{s_listener[REG], POLLIN, 0};
        EXPECT_EQ(poll(&knock, 1, 100), 0);
        put_marker();
        admit(255);
        client.join();
        EXPECT_EQ(RPCMakeContextId(), 0x2000FF00U);
    });
}

TEST(Registration, FailedAttemptIsRepeatedOnFreshSockets) {
    const std::pair<size_t, int> c_silent[] = {{0, 2}, {1, 2}, {3, 0}, {4, 1}};  // behind a step, in which timeout
    const auto attempt = [](size_t step, bool silent) {
        SCOPED_TRACE(testing::Message() << "step " << step << (silent ? " silent" : " closed"));
        in_own_process([=] {
            put_marker();
            daemon_starts();
            std::thread client([] { EXPECT_EQ(RegisterRPCClient(nullptr), 0x20000200U); });
            admit(1, step, silent);
            admit(2);
            client.join();
        });
    };
    for (size_t step = 0; step < c_steps - 1; step++) {
        attempt(step, false);
    }
    for (const auto& [step, timeout] : c_silent) {
        s_brief_timeout = timeout;
        attempt(step, true);
        s_brief_timeout = -1;
    }
}

// --- Calls -----------------------------------------------------------------------------------------------------------

TEST(Call, BeforeTheFirstConnectionItLingers) {
    in_own_process([] {
        const Bytes request = packet(44, 5);
        EXPECT_EQ(AppSendPackedData(nullptr, 12), 0);
        EXPECT_EQ(sys_rpc_sem_wait(nullptr), -1);
        EXPECT_EQ(s_second_sleeps, 0);
        EXPECT_EQ(AppSendPackedData(request.data(), request.size()), 1);
        EXPECT_EQ(s_second_sleeps, 1);
        EXPECT_EQ(times_logged("SendDataToRPCIF send_rpc_data = FALSE\n"), 1);
        EXPECT_EQ(call(44, 5), -99);
    });
}

TEST(Call, VersionHandshakeByteForByte) {
    with_client([] {
        s_polls_interrupted = 3;  // signals do not keep the packet back
        std::thread asking([] { EXPECT_EQ(RemRpcGetRemoteVerInfo(), c_rpc_version); });
        EXPECT_EQ(to_text(read_packet()), to_text(hex("w19 w32 20 00 01 00 7F 20 00")));
        put(RECV, hex("w22 w1032 20 00 01 00 w1249"));
        asking.join();
        std::thread again([] { EXPECT_EQ(RemRpcGetRemoteVerInfo(), -99); });
        read_packet();
        put(RECV, hex("w18 w1032 20 00 01 00 02 04"));  // ends ahead of its value
        again.join();
    });
}

void send_signals_while(pthread_t thread, const std::function<bool()>& condition) {
    struct sigaction action {};
    action.sa_handler = [](int) { s_signals++; };
    sigaction(SIGUSR1, &action, nullptr);
    EXPECT_TRUE(soon([&] { return !condition() || pthread_kill(thread, SIGUSR1) != 0; }));
}

// Half a second of the five is left. A wait that took a new deadline after a signal would not end.
TEST(Call, TimesOutAmongSignalsAndALateReturnIsDropped) {
    with_client([] {
        g_realtime_back_ms = 4500;
        std::atomic<bool> waits{true};
        std::thread caller([&] {
            EXPECT_EQ(call(71, 5), -99);
            waits = false;
        });
        read_packet();
        send_signals_while(caller.native_handle(), [&] { return waits.load(); });
        caller.join();
        EXPECT_EQ(times_logged("sem_timedwait() timed out\n"), 1);
        g_realtime_back_ms = -3600000;
        put(RECV, return_of(71, 5, 1));
        ASSERT_TRUE(soon([] { return times_logged("sem_index is MAX\n") == 1; }));
        expect_call(71, 5, 2);
        EXPECT_EQ(times_logged("msgrcv failed"), 0);  // an idle connection is no event
    });
}

// And not by a signal alone, however many come.
TEST(Call, EndsWhenItsThreadIsToldToEnd) {
    with_client([] {
        std::thread stoppable([] {
            thread_stop_enter();
            EXPECT_EQ(call(71, 5), -99);
            EXPECT_EQ(call(72, 6), -99);  // nothing is sent any more
            thread_stop_leave();
        });
        read_packet();
        send_signals_while(stoppable.native_handle(), [] { return s_signals < 20; });
        thread_stop_request(stoppable.native_handle());
        stoppable.join();
        EXPECT_EQ(times_logged("timed out"), 0);
        put(RECV, return_of(71, 5, 1));
        ASSERT_TRUE(soon([] { return times_logged("sem_index is MAX\n") == 1; }));
        expect_call(73, 5, 7);  // the request's own post may still be in the slot
    });
}

// --- The daemon goes -------------------------------------------------------------------------------------------------

TEST(Connection, WhenTheDaemonGoesWaitingAndNewCallsFailAtOnceUntilItIsBack) {
    with_client([] {
        std::thread waiting([] { EXPECT_EQ(call(44, 5), -99); });
        read_packet();
        daemon_dies();
        waiting.join();
        ASSERT_TRUE(soon([] { return times_logged("Connect to reg_intf_id failed") > 0; }));
        for (int i = 0; i < 41; i++) {  // none of them keeps its slot
            EXPECT_EQ(call(44, 5), -99);
        }
        EXPECT_EQ(times_logged("timed out"), 0);
        EXPECT_EQ(s_second_sleeps, 0);
        daemon_starts();
        admit(4);
        ASSERT_TRUE(soon([] { return RPCMakeContextId() == 0x20000400U; }));
        std::thread answering([] { put(RECV, return_of(45, read_packet()[15], 17)); });
        EXPECT_TRUE(soon([] { return call(45, 6) == 17; }));  // up a moment after the id
        answering.join();
    });
}

// It finds out, at once.
TEST(Connection, ACallThatMeetsTheEndOfItsSocketEndsBoth) {
    with_client([] {
        close_fd(s_client[SEND]);
        EXPECT_EQ(call(44, 5), -99);
        EXPECT_EQ(times_logged("SOCKET NOT WRITTEN\n"), 1);
        admit(4);
        EXPECT_TRUE(soon([] { return RPCMakeContextId() == 0x20000400U; }));
    });
}

TEST(Connection, DaemonThatNeverReadsBlocksNobody) {
    with_client([] {
        const Bytes request = packet(44, 0, "00*2000");
        for (int i = 0; i < 1000; i++) {
            ASSERT_EQ(AppSendPackedData(request.data(), request.size()), 1);
        }
        EXPECT_GT(times_logged("msgsnd failed due to errno = 11"), 0);
        EXPECT_EQ(call(44, 5), -99);
        EXPECT_EQ(times_logged("timed out"), 0);
    });
}

}  // namespace
