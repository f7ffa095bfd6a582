// The wire encoding of the UTA service: a tag, a length, a value, as in X.690, with fixed-width integers,
// little-endian long lengths and fields that travel last field first.
//
// A packet is written from the end of a buffer towards its start, so that a header is written after its content. Both
// cursors know the bounds of their memory: a write that does not fit and a read that leaves the packet latch `failed`,
// write or read nothing, and so does everything after them. Callers test `failed` once, at the end.
//
// Every function here runs on any thread and touches only its arguments.
#pragma once

#include <cstddef>
#include <cstdint>

// Free memory [base, next + 1): `next` is the next free byte and moves down. A finished packet begins at next + 1.
struct ExWriteCursor {
    uint8_t* base;
    uint8_t* next;
    bool failed;
};

// Unread bytes [next, end): `next` moves up.
struct ExReadCursor {
    const uint8_t* next;
    const uint8_t* end;
    bool failed;
};

constexpr size_t c_rpc_packet_max = 2048;   // buffer of one outgoing packet
constexpr size_t c_rpc_header_size = 12;    // 02 04 size 02 04 index
constexpr uint32_t c_rpc_return_base = 1000;  // a return packet's index is the function id plus this
