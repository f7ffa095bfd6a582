// The application queue between the RPC receive thread, which fills it and never waits, and the RPC dispatch thread,
// which may be parked behind the entry point of one packet while the next ones wait here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

constexpr int32_t c_rpc_queue_size = 80;
constexpr uint32_t c_rpc_message_kind = 2;  // the only kind there is

struct RpcQueueEntry {
    uint8_t* data;  // owned; what follows the packet header
    uint32_t length;
    uint32_t kind;
    uint32_t index;  // function id
};

// Once, before the other functions. 1, 0 without a semaphore.
int APPInitQueue();

// Queues a copy of `data`. 1, 0 when the queue is full or there is no memory (both logged): the packet is lost.
// RPC receive thread.
int APPSendMsg(std::span<const uint8_t> data, uint32_t index);

// 1 and the oldest entry, whose `data` the caller frees; 0 with none. RPC dispatch thread.
int APPRcvMsg(RpcQueueEntry& out);

// Returns when an entry may be there; a signal does not end the wait. RPC dispatch thread.
void APPWaitForMsg();
