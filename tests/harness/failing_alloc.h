// Allocations that fail on order, on the thread that asked for it.
#pragma once

// While it lives, the allocation number `nth` (from 0) that this thread makes through calloc or malloc gives null.
class FailingAlloc {
public:
    explicit FailingAlloc(int nth);
    ~FailingAlloc();
    FailingAlloc(const FailingAlloc&) = delete;
    FailingAlloc& operator=(const FailingAlloc&) = delete;

    // True once the allocation was refused.
    static bool refused();
};
