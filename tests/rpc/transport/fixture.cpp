#include "tests/rpc/transport/fixture.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"

std::atomic<int> g_second_sleeps{0};
std::atomic<int> g_polls_interrupted{0};
std::atomic<int64_t> g_realtime_back_ms{-3600000};
std::atomic<uint32_t> g_meh_client{0};

namespace {

constexpr int c_no_socket = -1;

// Which receive timeout of the process is brief: of its first attempt's send, receive or registration socket.
std::atomic<int> s_brief_timeout{c_no_socket};
std::atomic<int> s_timeouts{0};

std::mutex s_log_lock;
std::vector<std::string>& s_log = *new std::vector<std::string>;  // the client's threads outlive main

void nap() {
    const timespec time{0, 1000000};
    nanosleep(&time, nullptr);
}

}  // namespace

void RPCConnectionChanged(bool) {}

// --- The process's own libc and platform -----------------------------------------------------------------------------

extern "C" {

unsigned sleep(unsigned /*seconds*/) {
    g_second_sleeps++;
    nap();
    return 0;
}

int usleep(useconds_t /*time*/) {
    nap();
    return 0;
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) {
        const int64_t ns = time->tv_nsec - g_realtime_back_ms.load() % 1000 * 1000000;
        time->tv_sec -= static_cast<time_t>(g_realtime_back_ms.load() / 1000 + (ns < 0 ? 1 : 0));
        time->tv_nsec = static_cast<long>(ns < 0 ? ns + 1000000000 : ns);
    }
    return static_cast<int>(result);
}

int poll(pollfd* fds, nfds_t count, int timeout) {
    if (g_polls_interrupted > 0) {
        g_polls_interrupted--;
        errno = EINTR;
        return -1;
    }
    const timespec time{timeout / 1000, timeout % 1000 * 1000000L};
    return ppoll(fds, count, timeout < 0 ? nullptr : &time, nullptr);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t length) noexcept {
    const timeval none{0, 0};
    const timeval brief{0, 20000};
    const bool limits = name == SO_RCVTIMEO && static_cast<const timeval*>(value)->tv_sec != 0;
    const void* used = !limits ? value : s_timeouts++ == s_brief_timeout ? &brief : &none;
    return static_cast<int>(syscall(SYS_setsockopt, fd, level, name, used, length));
}

int __android_log_print(int /*prio*/, const char* /*tag*/, const char* format, ...) {
    char line[512];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof line, format, args);
    va_end(args);
    const std::lock_guard hold(s_log_lock);
    s_log.emplace_back(line);
    return length;
}

int registerMEH(uint32_t client, void (* /*handler*/)(uint32_t)) {
    g_meh_client = client;
    return 0;
}
}

int times_logged(const std::string& part) {
    const std::lock_guard hold(s_log_lock);
    int times = 0;
    for (const std::string& line : s_log) {
        times += line.find(part) != std::string::npos ? 1 : 0;
    }
    return times;
}

bool soon(const std::function<bool()>& condition) {
    for (int i = 0; i < 20000; i++) {
        if (condition()) {
            return true;
        }
        nap();
    }
    return false;
}

void in_own_process(const std::function<void()>& body) {
    for (const auto& entry : std::filesystem::directory_iterator("/data")) {
        std::filesystem::remove_all(entry.path());
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(120);
        body();
        exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << (WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "failed");
}

// --- Packets ---------------------------------------------------------------------------------------------------------

namespace {

Bytes word(uint32_t value) {
    return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value)};
}

}  // namespace

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes packet(uint32_t index, uint32_t context_id, const Bytes& rest) {
    const auto size = static_cast<uint32_t>(16 + rest.size());
    return Bytes{2, 4} + word(size) + Bytes{2, 4} + word(index) + word(context_id) + rest;
}

Bytes return_of(uint32_t id, uint32_t context_id, uint32_t value) {
    return packet(id + 1000, context_id, Bytes{2, 4} + word(value));
}

uint32_t word_at(const Bytes& bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; i++) {
        value = value << 8 | bytes.at(offset + i);
    }
    return value;
}

int32_t call(uint32_t id, uint32_t context_id) {
    const Bytes request = packet(id, context_id);
    RpcReturn ret{};
    if (RPCSynchronousCall(id, context_id, request, ret) == 0) {
        EXPECT_EQ(ret.body, nullptr);
        return c_rpc_transport_failure;
    }
    const Bytes body(ret.body, ret.body + ret.length);
    RPCReleaseReturn(ret);
    return static_cast<int32_t>(word_at(body, 6));
}

// --- The daemon ------------------------------------------------------------------------------------------------------

namespace {

constexpr const char* c_paths[] = {"/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv"};
constexpr int REG = 0;
constexpr int SEND = 1;
constexpr int RECV = 2;

void close_fd(int& fd) {
    if (fd >= 0) {
        close(fd);
    }
    fd = -1;
}

void put(int fd, const Bytes& bytes) {
    send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

Bytes take(int fd, size_t length) {
    Bytes bytes(length);
    if (recv(fd, bytes.data(), length, MSG_WAITALL) != static_cast<ssize_t>(length)) {
        bytes.clear();
    }
    return bytes;
}

}  // namespace

void FakeDaemon::listen_all() {
    for (int i = REG; i <= RECV; i++) {
        unlink(c_paths[i]);
        sockaddr_un address{AF_UNIX, {}};
        strcpy(address.sun_path, c_paths[i]);
        listener_[i] = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(bind(listener_[i], reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(listen(listener_[i], 4), 0);
    }
}

void FakeDaemon::put_marker() {
    mkdir("/data/rpcd", 0755);
    std::ofstream("/data/rpcd/rpcd.txt") << "up";
}

bool FakeDaemon::knocked() const {
    pollfd state{listener_[REG], POLLIN, 0};
    return poll(&state, 1, 0) == 1;
}

void FakeDaemon::so_silent(Step last) {
    s_brief_timeout = last == GREET_SEND ? 0 : last == GREET_RECV ? 1 : 2;
}

void FakeDaemon::admit(uint8_t app_id, Step last, bool silent) {
    const auto ends_at = [&](Step step) {
        if (step == last && silent) {
            while (!take(client_[REG], 1).empty()) {  // until the client gives this attempt up and closes
            }
        }
        if (step == last) {
            hang_up(true, true);
            close_fd(client_[REG]);
        }
        return step == last;
    };
    client_[REG] = accept(listener_[REG], nullptr, nullptr);
    if (ends_at(ACCEPT_REG)) {
        return;
    }
    const Bytes hello = {'R', 'E', 'G', 'I', 'S', 'T', 'E', 'R'};
    EXPECT_EQ(take(client_[REG], hello.size()), hello);
    if (ends_at(REPLY)) {
        return;
    }
    put(client_[REG], {last == ID_ZERO ? uint8_t{0} : app_id, 0xEE});
    if (ends_at(ID_ZERO)) {
        return;
    }
    client_[SEND] = accept(listener_[SEND], nullptr, nullptr);
    if (ends_at(GREET_SEND)) {
        return;
    }
    put(client_[SEND], {'h', 'i'});
    client_[RECV] = accept(listener_[RECV], nullptr, nullptr);
    if (ends_at(GREET_RECV)) {
        return;
    }
    if (last == FAREWELL) {
        close_fd(client_[SEND]);  // ahead of the greeting that the client waits for
    }
    put(client_[RECV], {'h', 'i'});
    if (ends_at(FAREWELL)) {
        return;
    }
    EXPECT_EQ(take(client_[SEND], 11), (Bytes{'D', 'E', 'R', 'E', 'G', 'I', 'S', 'T', 'E', 'R', app_id}));
}

Bytes FakeDaemon::read_packet() {
    const Bytes head = take(client_[SEND], 12);
    return head.empty() ? head : head + take(client_[SEND], word_at(head, 2) - head.size());
}

void FakeDaemon::write(const Bytes& bytes) {
    put(client_[RECV], bytes);
}

void FakeDaemon::hang_up(bool send, bool recv) {
    if (send) {
        close_fd(client_[SEND]);
    }
    if (recv) {
        close_fd(client_[RECV]);
    }
}

void FakeDaemon::die() {
    hang_up(true, true);
    close_fd(client_[REG]);
    for (int& fd : listener_) {
        close_fd(fd);
    }
}

void with_client(uint8_t app_id, const std::function<void(FakeDaemon& daemon)>& body) {
    in_own_process([&] {
        FakeDaemon daemon;
        FakeDaemon::put_marker();
        std::thread admitting([&] { daemon.admit(app_id); });
        EXPECT_EQ(RegisterRPCClient(nullptr), 0x20000000U | static_cast<uint32_t>(app_id) << 8);
        admitting.join();
        body(daemon);
    });
}

void expect_call(FakeDaemon& daemon, uint32_t id, uint32_t context_id, int32_t value) {
    std::thread caller([=] { EXPECT_EQ(call(id, context_id), value); });
    EXPECT_EQ(daemon.read_packet(), packet(id, context_id));
    daemon.write(return_of(id, context_id, static_cast<uint32_t>(value)));
    caller.join();
}
