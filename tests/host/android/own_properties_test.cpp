// Properties where there is no file to share: a table of the process's own, which can fill up.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

namespace {

std::string get(const std::string& key) {
    std::array<char, PROPERTY_VALUE_MAX> value;
    property_get(key.c_str(), value.data(), "unset");
    return value.data();
}

TEST(OwnProperties, StayInTheProcessAndFillUp) {
    setenv("ANDROID_PROPERTIES", "/dev/null/no/such/file", 1);
    ASSERT_EQ(0, property_set("test.key", "parent"));
    const pid_t child = fork();
    if (child == 0) {
        _exit(property_set("test.key", "child") == 0 && get("test.key") == "child" ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
    EXPECT_EQ("parent", get("test.key"));

    int count = 0;
    while (count < 10000 && property_set(("test.fill." + std::to_string(count)).c_str(), "full") == 0) {
        ++count;
    }
    EXPECT_GE(count, 300);
    EXPECT_LT(count, 10000);
    EXPECT_EQ("unset", get("test.fill." + std::to_string(count)));
    for (int i = 0; i < count; ++i) {
        const std::string key = "test.fill." + std::to_string(i);
        ASSERT_EQ("full", get(key));
        ASSERT_EQ(0, property_set(key.c_str(), key.c_str()));
        ASSERT_EQ(key, get(key));
    }
}

}  // namespace
