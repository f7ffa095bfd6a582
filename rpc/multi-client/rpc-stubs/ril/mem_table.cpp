#include "rpc/multi-client/rpc-stubs/ril/mem_table.h"

#include <cstdlib>
#include <cstring>

struct MemTable::Block {
    Block* next;
    alignas(8) uint8_t data[1];
};

void* RPC_MemAlloc(size_t size) {
    return malloc(size);
}

void RPC_MemFree(void* block) {
    free(block);
}

void* PgenAllocNew(size_t size, MemTable& mem_table) {
    if (size == 0 || size > SIZE_MAX - sizeof(MemTable::Block)) {
        return nullptr;
    }
    for (MemTable::Entry& entry : mem_table.entries) {
        if (entry.block == nullptr) {
            entry.block = calloc(1, size);
            entry.order = mem_table.allocated;
            mem_table.allocated += static_cast<uint32_t>(size);
            return entry.block;
        }
    }
    auto* block = static_cast<MemTable::Block*>(calloc(1, offsetof(MemTable::Block, data) + size));
    if (block == nullptr) {
        return nullptr;
    }
    block->next = mem_table.overflow;
    mem_table.overflow = block;
    mem_table.allocated += static_cast<uint32_t>(size);
    return block->data;
}

int ReleaseMemTable(MemTable& mem_table) {
    for (MemTable::Entry& entry : mem_table.entries) {
        free(entry.block);
    }
    for (MemTable::Block* block = mem_table.overflow; block != nullptr;) {
        MemTable::Block* next = block->next;
        free(block);
        block = next;
    }
    mem_table = {};
    return 1;
}
