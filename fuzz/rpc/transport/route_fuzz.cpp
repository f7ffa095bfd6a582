// One read of the receive socket: the bytes go through the routing that the RPC receive thread uses, then the queue is
// drained as the RPC dispatch thread does, and waiting callers take their returns.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_route.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_slots.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"

void RPCConnectionChanged(bool) {}

namespace {

size_t s_bytes_delivered;
volatile uint8_t s_sink;

void read_all(std::span<const uint8_t> bytes) {
    s_bytes_delivered += bytes.size();
    for (const uint8_t byte : bytes) {
        s_sink = static_cast<uint8_t>(s_sink ^ byte);
    }
}

int unpack(std::span<const uint8_t> body) {
    read_all(body);
    return 0;
}

constexpr RPCHostUnpackerRow c_rows[] = {{-1, nullptr}, {45, unpack}, {76, unpack}, {999, unpack}, {-1, nullptr}};

// Callers that wait.
constexpr struct {
    uint32_t id;
    uint32_t context_id;
} c_waiting[] = {{44, 0x20000105}, {44, 0x20000105}, {44, 0x20000106}, {32, 0x20000100}};

void require(bool holds) {
    if (!holds) {
        abort();
    }
}

}  // namespace

const RPCHostUnpackerRow* const RPCUnpackerTable = c_rows;

extern "C" int registerMEH(uint32_t /*client*/, void (* /*handler*/)(uint32_t)) {
    return 0;
}

// The lines are formatted, so that their arguments are read, and go nowhere.
extern "C" int __android_log_print(int /*prio*/, const char* /*tag*/, const char* format, ...) {
    char line[256];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof line, format, args);
    va_end(args);
    return length;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool s_mapped = (CreateFuncIdIndexMap(), true);
    require(s_mapped && APPInitQueue() == 1);
    s_bytes_delivered = 0;
    uint32_t slots[std::size(c_waiting)];
    {
        const SysMutexHold hold(SynchSemLock);
        for (size_t i = 0; i < std::size(slots); i++) {
            slots[i] = RPCCreateSemaphore(c_waiting[i].id, c_waiting[i].context_id);
        }
    }

    RPCRouteReceived({data, size});

    int queued = 0;
    for (RpcQueueEntry entry{}; APPRcvMsg(entry) == 1; queued++) {
        RPCDispatch(entry);
        free(entry.data);
    }
    require(queued <= c_rpc_queue_size);

    {
        const SysMutexHold hold(SynchSemLock);
        RPCFailAllSemaphores();
    }
    for (const uint32_t slot : slots) {
        RpcReturn ret{};
        RPCWaitOnSemaphore(slot, ret);
        read_all({ret.body, ret.length});
        RPCReleaseReturn(ret);
    }
    require(s_bytes_delivered <= size);
    return 0;
}
