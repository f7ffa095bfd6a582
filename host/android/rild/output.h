// What goes out to a client. Not locked: the owner sees to that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class Output {
public:
    // A client that lets more than this stand unread, 128 of the largest messages behind what the kernel holds, isn't
    // reading any more.
    static constexpr size_t c_most_unsent = size_t{1024} * 1024;

    enum class State { good, peer_gone, overflown };

    explicit Output(int fd) : fd_(fd) {}

    // Puts `greeting` before everything that has been sent so far, none of which has left yet, and lets it all go.
    bool start(std::span<const uint8_t> greeting);
    bool started() const { return started_; }
    // Gives the kernel what it takes and keeps the rest; never waits. False when the client is lost.
    bool send(std::span<const uint8_t> message);
    // Gives the kernel more of what was kept.
    void flush();
    bool has_unsent() const { return state_ == State::good && !unsent_.empty(); }
    State state() const { return state_; }

private:
    // Bytes taken by the kernel.
    size_t write(std::span<const uint8_t> bytes);

    int fd_;
    bool started_ = false;
    State state_ = State::good;
    std::vector<uint8_t> unsent_;
};
