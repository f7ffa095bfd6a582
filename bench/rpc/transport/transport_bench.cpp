// What the library costs on top of the kernel: a synchronous call against a bare exchange of the same two packets, and
// indications against the same hand-offs, in paired runs of one process. The peer of both is the same code in a process
// of its own.
//
// With "--calls N" it only makes N calls through the library, for callgrind.
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

void RPCConnectionChanged(bool) {}

namespace {

constexpr uint8_t c_app_id = 1;
constexpr int c_pairs = 41;
constexpr int c_calls = 2000;     // in one run
constexpr int c_batches = 60;     // in one run
constexpr size_t c_batch = 64;    // indications on the way at a time, below the queue's 80
constexpr uint8_t c_accept = 44;  // function id of the call

// UtaMsCallCsAcceptCallReq for call 1 of SIM 0 in context 0x20000105, its return, and the response callback.
constexpr uint8_t c_request[] = {0x02, 0x04, 0,    0,    0,    0x29, 0x02, 0x04, 0,    0,    0,    0x2C, 0x20, 0,
                                 1,    5,    0x7F, 0x2C, 0x16, 0x7F, 0x06, 0x06, 0x02, 0x04, 0x20, 0,    1,    5,
                                 0x7F, 0x81, 0,    0x03, 0x02, 0x01, 0x01, 0x02, 0x04, 0,    0,    0,    0};
constexpr uint8_t c_return[] = {2, 4, 0, 0, 0, 0x16, 2, 4, 0, 0, 4, 0x14, 0x20, 0, 1, 5, 2, 4, 0, 0, 0, 0};
constexpr uint8_t c_indication[] = {
    0x02, 0x04, 0,    0,    0,    0x39, 0x02, 0x04, 0, 0,    0,    0x2D, 0x20, 0,    1,    5, 0x7F, 0x2D, 0x26,
    0x7F, 0x06, 0x06, 0x02, 0x04, 0x20, 0,    1,    5, 0x7F, 0x81, 0x19, 0x13, 0x02, 0x04, 0, 0,    0,    0,
    0x02, 0x04, 0,    0,    0,    0,    0x7F, 0x81, 0, 0x03, 0x02, 0x01, 0x01, 0x02, 0x04, 0, 0,    0,    0};

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "%s: %s\n", what, strerror(errno));
        exit(1);
    }
}

void wait_for(sem_t& sem) {
    while (sem_wait(&sem) != 0) {
    }
}

// --- The peer --------------------------------------------------------------------------------------------------------

int listen_on(const char* path) {
    sockaddr_un address{AF_UNIX, {}};
    strcpy(address.sun_path, path);
    unlink(path);
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    check(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0, path);
    return fd;
}

// Answers each call with its return and everything else with a batch of indications.
[[noreturn]] void serve(int from, int to) {
    std::array<uint8_t, 2048> packet;
    while (recv(from, packet.data(), packet.size(), 0) > 0) {
        if (packet[11] == c_accept) {
            send(to, c_return, sizeof c_return, MSG_NOSIGNAL);
            continue;
        }
        for (size_t i = 0; i < c_batch; i++) {
            send(to, c_indication, sizeof c_indication, MSG_NOSIGNAL);
        }
    }
    // The end of the parent ends it from outside: on a way out of its own, callgrind would leave the peer's profile.
    for (;;) {
        pause();
    }
}

[[noreturn]] void play_daemon(const std::array<int, 3>& listeners) {
    std::array<char, 50> text;
    const int reg = accept(listeners[0], nullptr, nullptr);
    check(recv(reg, text.data(), text.size(), 0) == 8, "REGISTER");
    send(reg, &c_app_id, 1, 0);
    const int from = accept(listeners[1], nullptr, nullptr);
    send(from, "hi", 2, 0);
    const int to = accept(listeners[2], nullptr, nullptr);
    send(to, "hi", 2, 0);
    check(recv(from, text.data(), 11, MSG_WAITALL) == 11, "DEREGISTER");
    serve(from, to);
}

// The child ends with this process.
void in_child(const std::function<void()>& body) {
    const pid_t child = fork();
    check(child >= 0, "fork");
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
}

// --- Through the library ---------------------------------------------------------------------------------------------

sem_t s_batch_done;
size_t s_delivered;  // RPC dispatch thread; read when no batch is on its way

void delivered() {
    s_delivered++;
    if (s_delivered % c_batch == 0) {
        sem_post(&s_batch_done);
    }
}

void connect_library() {
    const std::array<int, 3> listeners = {listen_on("/data/rpc_reg"), listen_on("/data/rpc_send"),
                                          listen_on("/data/rpc_recv")};
    mkdir("/data/rpcd", 0755);
    std::ofstream("/data/rpcd/rpcd.txt") << "up";
    in_child([&] { play_daemon(listeners); });
    check(RegisterRPCClient(nullptr) == (0x20000000U | c_app_id << 8), "RegisterRPCClient");
}

void call_through_library() {
    UtaCallCsCallId call_id{};
    call_id.call_id = 1;
    check(RemUtaMsCallCsAcceptCallReq(0, &call_id, 0x20000105) == 0, "RemUtaMsCallCsAcceptCallReq");
}

constexpr uint8_t c_batch_wanted[] = {2, 4, 0, 0, 0, 12, 2, 4, 0, 0, 0, 1};

void batch_through_library() {
    AppSendPackedData(c_batch_wanted, sizeof c_batch_wanted);
    wait_for(s_batch_done);
}

// --- The same without it ---------------------------------------------------------------------------------------------

struct Bare {
    int to = -1;
    int from = -1;
    sem_t returned;
    sem_t queued;
    sem_t batch_done;
    std::mutex lock;  // of the ring
    std::array<std::array<uint8_t, sizeof c_indication>, 80> ring;
    size_t head = 0;
    size_t tail = 0;
    size_t delivered = 0;
};
Bare& s_bare = *new Bare;

void bare_receive() {
    static std::array<uint8_t, 32768> s_buffer;
    for (;;) {
        const ssize_t received = recv(s_bare.from, s_buffer.data(), s_buffer.size(), 0);
        if (received <= 0) {
            return;
        }
        if (received == sizeof c_return) {
            sem_post(&s_bare.returned);
            continue;
        }
        for (size_t at = 0; at < static_cast<size_t>(received); at += sizeof c_indication) {
            {
                const std::lock_guard hold(s_bare.lock);
                memcpy(s_bare.ring[s_bare.tail++ % s_bare.ring.size()].data(), &s_buffer[at], sizeof c_indication);
            }
            sem_post(&s_bare.queued);
        }
    }
}

void bare_dispatch() {
    for (;;) {
        wait_for(s_bare.queued);
        std::array<uint8_t, sizeof c_indication> packet;
        {
            const std::lock_guard hold(s_bare.lock);
            packet = s_bare.ring[s_bare.head++ % s_bare.ring.size()];
        }
        check(packet[11] == c_accept + 1, "bare indication");
        if (++s_bare.delivered % c_batch == 0) {
            sem_post(&s_bare.batch_done);
        }
    }
}

void connect_bare() {
    int up[2];
    int down[2];
    check(socketpair(AF_UNIX, SOCK_STREAM, 0, up) == 0 && socketpair(AF_UNIX, SOCK_STREAM, 0, down) == 0, "socketpair");
    in_child([&] {
        close(up[0]);
        close(down[0]);
        serve(up[1], down[1]);
    });
    close(up[1]);
    close(down[1]);
    s_bare.to = up[0];
    s_bare.from = down[0];
    sem_init(&s_bare.returned, 0, 0);
    sem_init(&s_bare.queued, 0, 0);
    sem_init(&s_bare.batch_done, 0, 0);
    std::thread(bare_receive).detach();
    std::thread(bare_dispatch).detach();
}

void call_bare() {
    send(s_bare.to, c_request, sizeof c_request, MSG_NOSIGNAL);
    wait_for(s_bare.returned);
}

void batch_bare() {
    send(s_bare.to, c_batch_wanted, sizeof c_batch_wanted, MSG_NOSIGNAL);
    wait_for(s_bare.batch_done);
}

// --- Paired runs -----------------------------------------------------------------------------------------------------

double seconds(int times, void (*body)()) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; i++) {
        body();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Comparison {
    double library;  // seconds of one run, median
    double bare;
    double ratio;  // median of the ratios of the pairs
};

Comparison compare(int times, void (*library)(), void (*bare)()) {
    std::vector<double> libraries;
    std::vector<double> bares;
    std::vector<double> ratios;
    seconds(times, library);
    seconds(times, bare);
    for (int pair = 0; pair < c_pairs; pair++) {
        // Who goes first alternates, so that a drift of the machine favours neither.
        const bool library_first = pair % 2 == 0;
        const double first = seconds(times, library_first ? library : bare);
        const double second = seconds(times, library_first ? bare : library);
        libraries.push_back(library_first ? first : second);
        bares.push_back(library_first ? second : first);
        ratios.push_back(libraries.back() / bares.back());
    }
    return {median(libraries), median(bares), median(ratios)};
}

}  // namespace

void UtaMsCallCsAcceptCallRspCb(uint32_t /*sim_id*/, const UtaCallCsAcceptCallRspCbParams* /*param*/,
                                uint32_t /*context_id*/) {
    delivered();
}

// No modem manager runs beside the measurement.
extern "C" int registerMEH(uint32_t /*client*/, void (* /*handler*/)(uint32_t)) {
    return 0;
}

int main(int argc, char** argv) {
    sem_init(&s_batch_done, 0, 0);
    connect_library();
    if (argc == 3 && std::string(argv[1]) == "--calls") {
        seconds(atoi(argv[2]), call_through_library);
        return 0;
    }
    connect_bare();

    const Comparison call = compare(c_calls, call_through_library, call_bare);
    printf("synchronous call: library %.2f us, bare exchange %.2f us, ratio %.3f (median of %d pairs, limit 1.1)\n",
           call.library / c_calls * 1e6, call.bare / c_calls * 1e6, call.ratio, c_pairs);

    const Comparison batch = compare(c_batches, batch_through_library, batch_bare);
    constexpr double c_indications = static_cast<double>(c_batches) * c_batch;
    printf("indications: library %.0f/s, bare hand-offs %.0f/s, time ratio %.3f (median of %d pairs)\n",
           c_indications / batch.library, c_indications / batch.bare, batch.ratio, c_pairs);
    const size_t sent = static_cast<size_t>((c_pairs + 1) * c_batches) * c_batch;
    printf("indications lost with %zu on the way at a time: %zu of %zu\n", c_batch, sent - s_delivered, sent);
    return s_delivered == sent ? 0 : 1;
}
