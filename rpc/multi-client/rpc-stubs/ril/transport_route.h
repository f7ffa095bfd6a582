// What becomes of the packets of one read of the receive socket, and of those that the queue hands to the dispatch
// thread.
#pragma once

#include <cstdint>
#include <span>

#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"

// Fills FuncIdIndexMap from RPCUnpackerTable. Before the RPC threads exist.
void CreateFuncIdIndexMap();

// Routes the packets that one read brought, from the first on: a return to the caller that waits for it, a response or
// indication with an unpacker to the queue; others are dropped. At a packet that the read does not hold whole, or whose
// header makes no sense, the rest of the read is dropped with one log line. RPC receive thread.
void RPCRouteReceived(std::span<const uint8_t> received);

// Runs the unpacker of a queued entry. The caller keeps the entry. RPC dispatch thread.
void RPCDispatch(const RpcQueueEntry& entry);
