// One message of a client, and how a stream of bytes is cut into messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/android/rild/arguments.h"
#include "host/android/rild/parcel.h"

// Cuts a stream into parcels. Of a parcel beyond c_largest_parcel it keeps the head alone and skips the rest as it
// comes: the client gets its answer and the stream stays in step.
class MessageCutter {
public:
    struct Message {
        std::vector<uint8_t> parcel;
        bool too_large = false;
    };

    // Takes bytes of the stream in order.
    void feed(std::span<const uint8_t> bytes);
    bool has_next() const;
    // The next whole message. False when there is none yet.
    bool next(Message& message);
    // Forgets everything, for a new stream.
    void reset();

private:
    uint32_t next_length() const;
    std::vector<uint8_t> bytes_;  // not given away yet
    uint32_t skip_ = 0;           // bytes of the stream that still belong to a message too large
};

struct Request {
    int32_t number = 0;
    int32_t serial = 0;
    Arguments arguments;
};

enum class Reading {
    good,
    no_serial,  // nothing to answer
    unknown,    // the number has no form
    malformed,  // too large, or too short for its arguments
};

// With any result but no_serial `number` and `serial` are set.
Reading read_request(const MessageCutter::Message& message, Request& request);
