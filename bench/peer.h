// The RPC daemon's end for a bench: registers one client, returns 0 to every call at once unless told otherwise, and
// notes when a packet of one function was read.
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
#include <map>
#include <span>
#include <thread>
#include <vector>

#include "bench/paired.h"

using Clock = std::chrono::steady_clock;

class Peer {
public:
    using Packet = std::vector<uint8_t>;

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

    // Behind each return of the function goes this response, with the request's context. For a function without a
    // request under way, from the thread that sends them.
    void answer_with(uint32_t function, std::span<const uint8_t> response) {
        responses_[function] = {response.begin(), response.end()};
    }
    bool answers(uint32_t function) const { return responses_.contains(function); }
    // Instead of a 0; with the request's context.
    void return_with(uint32_t function, std::span<const uint8_t> packet) {
        returns_[function] = {packet.begin(), packet.end()};
    }
    // The calls from here on, until null.
    void record(std::vector<Packet>* calls) { recorded_ = calls; }

    // A packet to the client, once it is there.
    void give(std::span<const uint8_t> packet) { give(out_, packet); }

    // Calls that come in on one socket; what is said to them goes to the other.
    void serve(int in, int out) {
        uint8_t packet[4096];
        for (ssize_t got = recv(in, packet, sizeof(packet), 0); got > 12; got = recv(in, packet, sizeof(packet), 0)) {
            const uint32_t function = function_of(packet);
            if (function == watched_) {
                seen_at = Clock::now().time_since_epoch().count();
            }
            if (std::vector<Packet>* const calls = recorded_; calls != nullptr) {
                calls->emplace_back(packet, packet + got);
            }
            say_return(out, function, packet + 12);
            if (const auto at = responses_.find(function); at != responses_.end()) {
                respond(out, at->second, packet + 12);
            }
        }
    }

    static uint32_t word(const uint8_t* at) {
        return uint32_t{at[0]} << 24U | uint32_t{at[1]} << 16U | uint32_t{at[2]} << 8U | at[3];
    }
    static uint32_t function_of(const uint8_t* packet) { return word(packet + 8); }

private:
    static void give(int out, std::span<const uint8_t> packet) {
        (void)!send(out, packet.data(), packet.size(), MSG_NOSIGNAL);
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
        serve(in, out_);
    }

    void say_return(int out, uint32_t function, const uint8_t* context) {
        if (const auto at = returns_.find(function); at != returns_.end()) {
            memcpy(at->second.data() + 12, context, 4);
            give(out, at->second);
            return;
        }
        uint8_t answer[] = {2, 4,          0,          0,          0,          22, 2, 4, 0, 0, 0,
                            0, context[0], context[1], context[2], context[3], 2,  4, 0, 0, 0, 0};
        const uint32_t index = function + 1000;
        answer[10] = static_cast<uint8_t>(index >> 8U);
        answer[11] = static_cast<uint8_t>(index);
        if (function == 32) {  // the version
            answer[20] = 1249 >> 8;
            answer[21] = 1249 & 0xFF;
        }
        give(out, answer);
    }

    // The context stands in the packet's header and in its first parameter.
    static void respond(int out, Packet& response, const uint8_t* context) {
        const uint8_t record[] = {0x7F, 6, 6, 2, 4};
        memcpy(response.data() + 12, context, 4);
        auto* at = static_cast<uint8_t*>(memmem(response.data(), response.size(), record, sizeof(record)));
        memcpy(at + sizeof(record), context, 4);
        give(out, response);
    }

    uint32_t watched_;
    std::map<uint32_t, Packet> returns_;
    std::map<uint32_t, Packet> responses_;
    std::atomic<std::vector<Packet>*> recorded_{nullptr};
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
