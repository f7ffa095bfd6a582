#include "ril/core/src/mtpm/nvm.h"

#include <algorithm>

#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

int32_t nvm_read(uint32_t area, uint32_t offset, uint32_t length, std::span<uint8_t> out, const char* function) {
    UtaNvmParams nvm{};
    nvm.area = area;
    nvm.offset = offset;
    nvm.length = length;
    nvm.data = out.data();
    const int32_t result = RemUtaNvmRead(&nvm);
    // What the modem gave is a block of the RPC client's.
    uint8_t* const block = nvm.data == out.data() ? nullptr : nvm.data;
    if (result == 0 && block != nullptr) {
        std::copy_n(block, std::min<size_t>(nvm.length, out.size()), out.data());
    }
    RPC_MemFree(block);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaNvmRead failed\n", function);
        return -1;
    }
    return 0;
}
