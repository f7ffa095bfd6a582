// The requests of a fuzz target, each with a token of its own: one that is completed twice, or never, is seen.
#pragma once

#include <telephony/ril.h>

#include <map>

#include "fuzz/input.h"

class Requests {
public:
    RIL_Token add(int32_t number) {
        const auto token = reinterpret_cast<RIL_Token>(++count_);
        open_[token] = number;
        return token;
    }

    // The number of the request that ends with it.
    int32_t complete(RIL_Token token) {
        const auto found = open_.find(token);
        FUZZ_CHECK(found != open_.end());
        const int32_t number = found->second;
        open_.erase(found);
        return number;
    }

    bool are_complete() const { return open_.empty(); }

private:
    std::map<RIL_Token, int32_t> open_;
    uintptr_t count_ = 0;
};
