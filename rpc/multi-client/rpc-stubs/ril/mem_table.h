// What one unpacking has allocated, until its owner is done with the data. Runs on any thread; a table belongs to one
// call and is not shared.
#pragma once

#include <cstddef>
#include <cstdint>

// The first ten blocks stand in `entries`. A packet can hold more (a list of records with optional parts does): those
// hang on `overflow`, so that they are freed with the rest.
struct MemTable {
    struct Entry {
        void* block;     // owned, null for a free entry
        uint32_t order;  // bytes allocated through this table before the block
    };
    struct Overflow;

    Entry entries[10];
    Overflow* overflow;
    uint32_t allocated;  // bytes so far
};

void* RPC_MemAlloc(size_t size);  // malloc; the owner frees with RPC_MemFree
void RPC_MemFree(void* block);    // null is ignored

// A zeroed block that lives as long as `mem_table` keeps it, or null: for size 0, and when there is no memory.
void* PgenAllocNew(size_t size, MemTable& mem_table);

// Frees every block and leaves the table empty. 1.
int ReleaseMemTable(MemTable& mem_table);

// Leaves the table empty without freeing the blocks: whoever holds the pointers to them frees each with RPC_MemFree.
void HandOverMemTable(MemTable& mem_table);
