// A transport that keeps what the stubs send and answers with what a test has laid out.
#pragma once

#include <deque>

#include "tests/rpc/stubs/hex.h"

struct FakeTransport {
    struct Call {
        uint32_t id;
        uint32_t context_id;
        Bytes packet;
    };
    std::vector<Call> calls;     // synchronous exchanges, in order
    std::vector<Bytes> one_way;  // packets sent without one
    std::deque<Bytes> returns;   // bodies of the returns to give; without one a call finds no answer
    int unreleased = 0;          // returns that nobody has released
};

// The transport since the last reset.
FakeTransport& fake_transport();
void reset_fake_transport();
