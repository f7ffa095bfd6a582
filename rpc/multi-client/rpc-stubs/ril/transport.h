// The client's connection to the RPC daemon: registration, the three sockets, the receive and dispatch threads and the
// slots of synchronous calls. It moves packets; what is in them belongs to the stubs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "rpc/multi-client/rpc-stubs/ril/wire.h"

constexpr int32_t c_rpc_transport_failure = -99;  // what a stub returns when the call or its return was lost
constexpr int32_t c_rpc_version = 1249;           // generator version of this client

// Registers `handler` for modem events, waits for the RPC daemon, registers with it and starts the RPC threads.
// Returns the base context id 0x20000000 | (application id << 8); with application id 0 when the connection failed for
// good. Runs once per process, on the thread of RIL_Init; blocks until the daemon is there.
uint32_t RegisterRPCClient(void (*handler)(uint32_t event));

// The process-wide default context id. It changes when the daemon was gone and gave the client another application id;
// until then, from the daemon's end on, every synchronous call fails at once. Any thread.
void RPCSetClientId(uint32_t context_id);
uint32_t RPCMakeContextId();

// Sends one finished packet of `length` bytes in one piece. 1, also when the socket refused it (the caller learns of
// that through its synchronous wait), 0 for a null argument. Any thread.
int AppSendPackedData(const uint8_t* packet, size_t length);

// The body of a return packet, from its context id on. The owner frees it with RPCReleaseReturn.
struct RpcReturn {
    uint8_t* body;
    size_t length;
};
void RPCReleaseReturn(RpcReturn& ret);

// One synchronous exchange: takes a slot, sends the packet, waits at most 5 seconds for the return of the function
// `id`, best the one that carries `context_id`. 1 with `ret` filled, 0 when no slot was free, the connection is down,
// the wait ended or the thread is told to end. Any thread; two threads in the same function each get their own return:
// by the context id and, within one context, in the order of their packets. A call that alone waits in its function
// takes a return of any context, be it the late one of a call that timed out.
int RPCSynchronousCall(uint32_t id, uint32_t context_id, std::span<const uint8_t> packet, RpcReturn& ret);

// The peer's generator version, or -99. Any thread.
int32_t RemRpcGetRemoteVerInfo();

// --- Declared here, defined by the rooms above
// -----------------------------------------------------------------------------

// The connection to the RPC daemon is gone, or there again with another application id; not told of the first one. RPC
// receive thread; returns at once.
void RPCConnectionChanged(bool connected);

// Decodes one response or indication and runs its entry point. `body` starts behind the packet header, at the context
// id, and is valid until the function returns. 0, also for a packet that was dropped. RPC dispatch thread.
using RpcUnpacker = int (*)(std::span<const uint8_t> body);

// One row per function that this client can receive. The first and the last row have id -1.
struct RPCHostUnpackerRow {
    int32_t id;
    RpcUnpacker unpacker;
};
extern const RPCHostUnpackerRow* const RPCUnpackerTable;
