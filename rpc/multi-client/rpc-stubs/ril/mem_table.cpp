#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"

#include <cstdlib>

// A block past the tenth. The block is an allocation of its own, like those in the entries.
struct MemTable::Overflow {
    Overflow* next;
    void* block;
};

void* RPC_MemAlloc(size_t size) {
    return malloc(size);
}

void RPC_MemFree(void* block) {
    free(block);
}

void* PgenAllocNew(size_t size, MemTable& mem_table) {
    void* block = size == 0 ? nullptr : calloc(1, size);
    if (block == nullptr) {
        return nullptr;
    }
    const uint32_t order = mem_table.allocated;
    mem_table.allocated += static_cast<uint32_t>(size);
    for (MemTable::Entry& entry : mem_table.entries) {
        if (entry.block == nullptr) {
            entry = {block, order};
            return block;
        }
    }
    auto* overflow = static_cast<MemTable::Overflow*>(malloc(sizeof(MemTable::Overflow)));
    if (overflow == nullptr) {
        free(block);
        return nullptr;
    }
    *overflow = {mem_table.overflow, block};
    mem_table.overflow = overflow;
    return block;
}

int ReleaseMemTable(MemTable& mem_table) {
    for (const MemTable::Entry& entry : mem_table.entries) {
        if (entry.block == nullptr) {
            break;
        }
        free(entry.block);
    }
    for (const MemTable::Overflow* overflow = mem_table.overflow; overflow != nullptr; overflow = overflow->next) {
        free(overflow->block);
    }
    HandOverMemTable(mem_table);
    return 1;
}

void HandOverMemTable(MemTable& mem_table) {
    while (mem_table.overflow != nullptr) {
        MemTable::Overflow* next = mem_table.overflow->next;
        free(mem_table.overflow);
        mem_table.overflow = next;
    }
    for (MemTable::Entry& entry : mem_table.entries) {
        if (entry.block == nullptr) {
            break;
        }
        entry = {};
    }
    mem_table.allocated = 0;
}
