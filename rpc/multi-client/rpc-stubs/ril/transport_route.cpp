#include "rpc/multi-client/rpc-stubs/ril/transport_route.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_slots.h"
#include "rpc/multi-client/utils/osa/android/rpc_log.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"

namespace {

constexpr const char* c_task = "AppRecvFromRPCIFTask";  // in the log

// Function id to row of RPCUnpackerTable; 0 for no row. Written before the RPC threads exist.
std::array<uint32_t, c_rpc_return_base> FuncIdIndexMap;

RpcUnpacker find_unpacker(uint32_t index) {
    if (index >= FuncIdIndexMap.size() || FuncIdIndexMap[index] == 0) {
        return nullptr;
    }
    return RPCUnpackerTable[FuncIdIndexMap[index]].unpacker;
}

// The body begins with the context id that the peer got with the call.
void route_return(uint32_t id, std::span<const uint8_t> body) {
    ExReadCursor cursor{body.data(), body.data() + body.size(), false};
    uint32_t context_id = 0;
    ExReadContextId(cursor, context_id);
    if (cursor.failed) {
        RPC_LOG_ERROR("%s: return of function %u has no context id\n", c_task, id);
        return;
    }
    // Allocated ahead, so that the lock covers no call into the allocator.
    RpcReturn ret{static_cast<uint8_t*>(malloc(body.size())), body.size()};
    if (ret.body == nullptr) {
        RPC_LOG_ERROR("%s: malloc failed\n", c_task);
        return;
    }
    memcpy(ret.body, body.data(), body.size());

    uint32_t slot = c_synch_sem_count;
    {
        const SysMutexHold hold(SynchSemLock);
        slot = RPCGetSemaphoreId(id, context_id);
        if (slot != c_synch_sem_count) {
            RPCSetSyncBuffer(slot, ret);
        }
    }
    if (slot == c_synch_sem_count) {
        RPC_LOG_ERROR("%s: sem_index is MAX\n", c_task);
        RPCReleaseReturn(ret);
        return;
    }
    RPCReleaseSemaphore(slot);
}

void route_packet(uint32_t index, std::span<const uint8_t> body) {
    if (index > c_rpc_return_base) {
        route_return(index - c_rpc_return_base, body);
    } else if (find_unpacker(index) != nullptr) {
        APPSendMsg(body, index);
    }
}

}  // namespace

void CreateFuncIdIndexMap() {
    for (uint32_t row = 1; RPCUnpackerTable[row].id != -1; row++) {
        const int32_t id = RPCUnpackerTable[row].id;
        if (id > 0 && static_cast<uint32_t>(id) < FuncIdIndexMap.size()) {
            FuncIdIndexMap[static_cast<uint32_t>(id)] = row;
        }
    }
}

void RPCRouteReceived(std::span<const uint8_t> received) {
    std::span<const uint8_t> left = received;
    while (!left.empty()) {
        ExReadCursor cursor{left.data(), left.data() + left.size(), false};
        uint32_t index = 0;
        uint32_t size = 0;
        if (ExReadBufferHeader(cursor, index, size) == 0) {
            RPC_LOG_ERROR("packet_left[%u] has no packet header, abandon it!\n", static_cast<uint32_t>(left.size()));
            return;
        }
        if (size > left.size()) {
            RPC_LOG_ERROR("packet_size[%d] is bigger than packet_left[%u], abandon it! ret_type_idx[%u]\n",
                          static_cast<int32_t>(size), static_cast<uint32_t>(left.size()), index);
            return;
        }
        if (size < c_rpc_header_size) {
            RPC_LOG_ERROR("packet_size[%d] is less than its header, abandon it! ret_type_idx[%u]\n",
                          static_cast<int32_t>(size), index);
            return;
        }
        route_packet(index, left.subspan(c_rpc_header_size, size - c_rpc_header_size));
        left = left.subspan(size);
    }
}

void RPCDispatch(const RpcQueueEntry& entry) {
    const RpcUnpacker unpacker = find_unpacker(entry.index);
    if (unpacker != nullptr) {
        unpacker({entry.data, entry.length});
    }
}
