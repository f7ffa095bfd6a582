// A whole RIL_REQUEST_SETUP_DATA_CALL, nine exchanges and the interface, against the same bytes over bare sockets with
// the hand-offs from thread to thread that the library owes, and the same bare ioctl calls. One peer answers both.
// All threads share a processor: where the scheduler puts nine of them on several makes more of a difference than
// what is measured here, and stays for a whole run.
//   gprs_bench            the ratio
//   gprs_bench setup N    N data calls, to count instructions with a profiler
#include <arpa/inet.h>
#include <net/if.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "bench/paired.h"
#include "bench/peer.h"
#include "host/android/modem_link_server.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/sleeps.h"

namespace {

namespace row = uta::row;

constexpr uint32_t c_context = 0x20000100;
constexpr int32_t c_cid = 31;
constexpr uint8_t c_address[] = {10, 20, 30, 41};
constexpr int32_t c_ipv4 = 1;

void check(bool holds, const char* what) {
    if (!holds) {
        perror(what);
        exit(1);
    }
}

struct Signal {
    Signal() { sem_init(&sem, 0, 0); }
    void give() { sem_post(&sem); }
    void wait() {
        while (sem_wait(&sem) != 0) {
        }
    }
    sem_t sem;
};

// --- What the peer says ----------------------------------------------------------------------------------------------

template <class Row, class Param>
Peer::Packet packet_of(const Param& param) {
    alignas(8) static uint8_t s_buffer[4096];
    Param copy = param;
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&copy), c_context};
    const auto packet = uta::pack_packet(*uta::find_function(uint32_t{Row::id}), c_context, words, s_buffer);
    return {packet.begin(), packet.end()};
}

template <class Request, class Response, class Param>
void respond(Peer& peer, Param param) {
    param.id.cid = c_cid;
    peer.answer_with(Request::id, packet_of<Response>(param));
}

template <class Row>
void say_return(Peer& peer, int32_t result, UtaCallPsPdpContextId* out) {
    alignas(8) uint8_t buffer[256];
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(out)};
    const auto& function = *uta::find_function(uint32_t{Row::id});
    peer.return_with(Row::id, uta::pack_return(function, c_context, result, words, buffer));
}

void teach(Peer& peer) {
    UtaCallPsPdpContextId obtained{c_cid};
    say_return<row::UtaMsCallPsObtainPdpContextId>(peer, 0, &obtained);
    say_return<row::UtaRPCPsConnectToDatachannelReq>(peer, 7, nullptr);
    respond<row::UtaMsCallPsDefinePrimaryReq, row::UtaMsCallPsDefinePrimaryRspCb>(peer,
                                                                                  UtaCallPsDefinePrimaryRspCbParams{});
    respond<row::UtaMsCallPsSetReqDnsReq, row::UtaMsCallPsSetReqDnsRspCb>(peer, UtaCallPsSetReqDnsRspCbParams{});
    respond<row::UtaMsCallPsActivateReq, row::UtaMsCallPsActivateRspCb>(peer, UtaCallPsActivateRspCbParams{});
    UtaCallPsGetNegIpAddrRspCbParams address{};
    address.address.ip_type = c_ipv4;
    memcpy(address.address.ip_addr, c_address, sizeof(c_address));
    respond<row::UtaMsCallPsGetNegIpAddrReq, row::UtaMsCallPsGetNegIpAddrRspCb>(peer, address);
    UtaCallPsGetNegotiatedDnsRspCbParams dns{};
    dns.primary_dns = address.address;
    respond<row::UtaMsCallPsGetNegotiatedDnsReq, row::UtaMsCallPsGetNegotiatedDnsRspCb>(peer, dns);
    respond<row::UtaMsCallPsConnectReq, row::UtaMsCallPsConnectRspCb>(peer, UtaCallPsConnectRspCbParams{});
}

// --- The baseline ----------------------------------------------------------------------------------------------------

// Three threads, as the library has them: one reads the socket, one hands responses on and waits until they have been
// taken, one sends. Whoever asks waits until the first request is on its way, and then for the end.
class Bare {
public:
    Bare(Peer& peer, const std::vector<Peer::Packet>& calls) : peer_(peer), calls_(calls) {
        check(socketpair(AF_UNIX, SOCK_STREAM, 0, send_) == 0 && socketpair(AF_UNIX, SOCK_STREAM, 0, recv_) == 0,
              "socketpair");
        std::thread([this] { peer_.serve(send_[1], recv_[1]); }).detach();
        std::thread([this] { receive(); }).detach();
        std::thread([this] { dispatch(); }).detach();
        std::thread([this] { work(); }).detach();
    }

    void set_up() {
        asked_.give();
        begun_.wait();
        done_.wait();
    }
    Clock::time_point done_at;

private:
    void receive() {
        std::vector<uint8_t> bytes;
        uint8_t buffer[4096];
        for (ssize_t got = 0; (got = recv(recv_[0], buffer, sizeof(buffer), 0)) > 0;) {
            bytes.insert(bytes.end(), buffer, buffer + got);
            while (bytes.size() >= 12 && bytes.size() >= Peer::word(bytes.data() + 2)) {
                const bool is_return = Peer::function_of(bytes.data()) >= 1000;
                bytes.erase(bytes.begin(), bytes.begin() + static_cast<long>(Peer::word(bytes.data() + 2)));
                (is_return ? returned_ : queued_).give();
            }
        }
    }

    void dispatch() {
        for (;;) {
            queued_.wait();
            answered_.give();
            taken_.wait();
        }
    }

    void work() {
        for (;;) {
            asked_.wait();
            exchange_all();
            configure();
            done_at = Clock::now();
            done_.give();
        }
    }

    void exchange_all() {
        bool is_answer_in_hand = false;
        for (const Peer::Packet& call : calls_) {
            check(send(send_[0], call.data(), call.size(), 0) == static_cast<ssize_t>(call.size()), "send");
            returned_.wait();
            if (!peer_.answers(Peer::function_of(call.data()))) {
                continue;
            }
            (is_answer_in_hand ? taken_ : begun_).give();
            answered_.wait();
            is_answer_in_hand = true;
        }
        taken_.give();
    }

    static void change_flags(int fd, ifreq request, int clear, int set) {
        check(ioctl(fd, SIOCGIFFLAGS, &request) == 0, "flags");
        request.ifr_flags = static_cast<short>((request.ifr_flags & ~clear) | set);
        check(ioctl(fd, SIOCSIFFLAGS, &request) == 0, "flags");
    }

    static void configure() {
        const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq request{};
        strcpy(request.ifr_name, "veth0");
        change_flags(fd, request, IFF_UP, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        memcpy(&address.sin_addr, c_address, sizeof(c_address));
        memcpy(&request.ifr_addr, &address, sizeof(address));
        check(ioctl(fd, SIOCSIFADDR, &request) == 0, "address");
        address.sin_addr.s_addr = INADDR_BROADCAST;
        memcpy(&request.ifr_netmask, &address, sizeof(address));
        check(ioctl(fd, SIOCSIFNETMASK, &request) == 0, "mask");
        change_flags(fd, request, 0, IFF_UP | IFF_NOARP);
        close(fd);
    }

    Peer& peer_;
    const std::vector<Peer::Packet>& calls_;
    int send_[2] = {};
    int recv_[2] = {};
    Signal asked_, begun_, done_, returned_, queued_, answered_, taken_;
};

// --- The library -----------------------------------------------------------------------------------------------------

std::atomic<Clock::rep> s_done_at{0};
Signal s_done;
Signal s_ended;

void set_up(const RIL_RadioFunctions* ril) {
    char texts[][9] = {"1", "0", "internet", "0", "IP"};
    char* data[] = {texts[0], texts[1], texts[2], nullptr, nullptr, texts[3], texts[4]};
    ril->onRequest(RIL_REQUEST_SETUP_DATA_CALL, data, sizeof(data), FakeAndroid::token(1));
    s_done.wait();
}

void completed(RIL_Errno error, size_t length) {
    s_done_at = Clock::now().time_since_epoch().count();
    if (error != RIL_E_SUCCESS || length != sizeof(RIL_Data_Call_Response_v6)) {
        fprintf(stderr, "the data call failed\n");
        exit(1);
    }
    s_done.give();
}

void measure(const std::function<double()>& library, const std::function<double()>& bare) {
    constexpr int c_rounds = 2000;
    std::vector<double> setups;
    std::vector<double> exchanges;
    std::vector<double> ratios;
    for (int round = 0; round < c_rounds; ++round) {
        const bool is_first = round % 2 == 0;
        const double first = is_first ? library() : bare();
        const double second = is_first ? bare() : library();
        setups.push_back(is_first ? first : second);
        exchanges.push_back(is_first ? second : first);
        ratios.push_back(setups.back() / exchanges.back());
    }
    print_pairs("RIL_REQUEST_SETUP_DATA_CALL", {median(setups), median(exchanges), median(ratios)});
}

}  // namespace

int main(int argc, char** argv) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<size_t>(sched_getcpu()), &one);
    check(sched_setaffinity(0, sizeof(one), &one) == 0, "sched_setaffinity");
    std::ofstream("/system/etc/dun-ril/repository.txt") << "[string]\nmodem_dev_name_1 = /dev/data0\n";
    Peer peer(row::UtaMsCallPsDefinePrimaryReq::id);
    teach(peer);
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    const RIL_RadioFunctions* ril = RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);
    FakeAndroid::instance().set_observer(
        {[](RIL_Token, RIL_Errno error, const void*, size_t length) { completed(error, length); },
         [](int number, const void*, size_t) {
             if (number == RIL_UNSOL_DATA_CALL_LIST_CHANGED ||
                 number == RIL_UNSOL_RESPONSE_VOICE_NETWORK_STATE_CHANGED) {
                 s_ended.give();
             }
         }});
    UtaNetRegistrationInfoIndParam registered{};
    registered.network.plmn.mcc = 262;
    registered.network.plmn.mnc = 1;
    peer.give(packet_of<row::UtaMsNetRegistrationInfoIndCb>(registered));
    s_ended.wait();

    UtaCallPsDeactivateIndCbParams end{};
    end.id.cid = c_cid;
    const Peer::Packet ended = packet_of<row::UtaMsCallPsDeactivateIndCb>(end);
    const auto library = [&] {
        const Clock::time_point start = Clock::now();
        set_up(ril);
        const double took = ns(Clock::duration(s_done_at) - start.time_since_epoch());
        peer.give(ended);
        s_ended.wait();
        FakeAndroid::instance().reset();
        return took;
    };
    for (int i = 0; argc == 3 && i < atoi(argv[2]); ++i) {
        library();
    }
    if (argc == 3) {
        return 0;
    }
    std::vector<Peer::Packet> calls;
    peer.record(&calls);
    library();
    peer.record(nullptr);
    // Its end is two calls more.
    calls.resize(9);
    Bare bare(peer, calls);
    measure(library, [&] {
        const Clock::time_point start = Clock::now();
        bare.set_up();
        const double took = ns(bare.done_at - start);
        // As the library does when the call ends.
        const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq request{};
        strcpy(request.ifr_name, "veth0");
        check(ioctl(fd, SIOCSIFFLAGS, &request) == 0, "down");
        close(fd);
        return took;
    });
}
