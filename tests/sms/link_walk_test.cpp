// The link of messages over random octets, each walk long enough to come through all that the fuzz target does.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

TEST(LinkWalk, NothingIsLeft) {
    std::mt19937 random(1);
    for (int walk = 0; walk < 60; ++walk) {
        std::vector<uint8_t> octets(4000);
        std::generate(octets.begin(), octets.end(), std::ref(random));
        EXPECT_EQ(LLVMFuzzerTestOneInput(octets.data(), octets.size()), 0);
    }
}
