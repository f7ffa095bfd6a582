// The RPC daemon's end for a bench: registers one client, returns 0 to every call at once, and notes when a packet of
// one function was read.
#pragma once

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <thread>
#include <vector>

#include "bench/paired.h"

using Clock = std::chrono::steady_clock;

class Peer {
public:
    explicit Peer(uint32_t watched) : watched_(watched) {
        const char* paths[] = {"/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv"};
        for (int i = 0; i < 3; ++i) {
            unlink(paths[i]);
            listeners_[i] = socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            strcpy(address.sun_path, paths[i]);
            if (bind(listeners_[i], reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
                listen(listeners_[i], 4) != 0) {
                perror(paths[i]);
                exit(1);
            }
        }
        mkdir("/data/rpcd", 0755);
        fclose(fopen("/data/rpcd/rpcd.txt", "w"));
        std::thread([this] { serve(); }).detach();
    }

    std::atomic<Clock::rep> seen_at{0};  // when the last packet of the function was read

    // Behind each return of the watched function goes this response, with the request's context.
    void answer_with(std::span<const uint8_t> response) {
        memcpy(response_, response.data(), response.size());
        response_size_ = response.size();
    }

    // A packet to the client, once it is there.
    void give(std::span<const uint8_t> packet) { (void)!send(out_, packet.data(), packet.size(), MSG_NOSIGNAL); }

private:
    static uint32_t word(const uint8_t* at) {
        return uint32_t{at[0]} << 24U | uint32_t{at[1]} << 16U | uint32_t{at[2]} << 8U | at[3];
    }

    void serve() {
        char text[16];
        const uint8_t id = 1;
        const int reg = accept(listeners_[0], nullptr, nullptr);
        (void)!recv(reg, text, 8, MSG_WAITALL);
        (void)!send(reg, &id, 1, 0);
        const int in = accept(listeners_[1], nullptr, nullptr);
        (void)!send(in, &id, 1, 0);
        out_ = accept(listeners_[2], nullptr, nullptr);
        (void)!send(out_, &id, 1, 0);
        (void)!recv(in, text, 11, MSG_WAITALL);
        uint8_t packet[4096];
        for (ssize_t got = recv(in, packet, sizeof(packet), 0); got > 12; got = recv(in, packet, sizeof(packet), 0)) {
            const uint32_t function = word(packet + 8);
            if (function == watched_) {
                seen_at = Clock::now().time_since_epoch().count();
            }
            uint8_t answer[] = {2, 4,          0,          0,          0,          22, 2, 4, 0, 0, 0,
                                0, packet[12], packet[13], packet[14], packet[15], 2,  4, 0, 0, 0, 0};
            const uint32_t index = function + 1000;
            answer[10] = static_cast<uint8_t>(index >> 8U);
            answer[11] = static_cast<uint8_t>(index);
            if (function == 32) {  // the version
                answer[20] = 1249 >> 8;
                answer[21] = 1249 & 0xFF;
            }
            give(answer);
            if (function == watched_ && response_size_ > 0) {
                respond(packet + 12);
            }
        }
    }

    // The context stands in the packet's header and in its first parameter.
    void respond(const uint8_t* context) {
        const uint8_t record[] = {0x7F, 6, 6, 2, 4};
        memcpy(response_ + 12, context, 4);
        auto* at = static_cast<uint8_t*>(memmem(response_, response_size_, record, sizeof(record)));
        memcpy(at + sizeof(record), context, 4);
        give({response_, response_size_});
    }

    uint32_t watched_;
    uint8_t response_[2048];
    std::atomic<size_t> response_size_{0};
    int listeners_[3];
    std::atomic<int> out_{-1};
};

inline double ns(Clock::duration duration) {
    return std::chrono::duration<double, std::nano>(duration).count();
}

// What takes its way through the sockets, and a synchronous call before it.
struct Figures {
    std::vector<double> subject;
    std::vector<double> call;
    std::vector<double> ratio;

    void add(double subject_ns, double bare_ns) {
        subject.push_back(subject_ns);
        call.push_back(bare_ns);
        ratio.push_back(subject_ns / bare_ns);
    }
    void print(const char* name) const {
        std::printf("%-48s %10.1f ns  synchronous call %10.1f ns  ratio %.3f\n", name, median(subject), median(call),
                    median(ratio));
    }
};
