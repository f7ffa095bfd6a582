// Properties in a file that several processes share.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <thread>

#include "tests/host/temporary_folder.h"

namespace {

const TemporaryFolder s_folder;
// Before the first property is touched.
[[maybe_unused]] const int c_is_set = setenv("ANDROID_PROPERTIES", (s_folder.path() / "properties").c_str(), 1);

std::string get(const std::string& key, const char* unset = nullptr) {
    std::array<char, PROPERTY_VALUE_MAX + 1> value;
    value.fill('#');
    const int length = property_get(key.c_str(), value.data(), unset);
    EXPECT_EQ(length, static_cast<int>(strnlen(value.data(), value.size()))) << key;
    EXPECT_EQ('#', value.back()) << key;
    return value.data();
}

TEST(Properties, KeepToTheLimitsAndFallBackToTheDefault) {
    const std::string longest_key(PROPERTY_KEY_MAX - 1, 'k');
    const std::string longest_value(PROPERTY_VALUE_MAX - 1, 'v');
    EXPECT_EQ("default", get(longest_key, "default"));
    EXPECT_EQ(longest_value, get(longest_key, (longest_value + "v").c_str()));
    EXPECT_EQ(0, property_set(longest_key.c_str(), longest_value.c_str()));
    EXPECT_EQ(-1, property_set((longest_key + "k").c_str(), "x"));
    EXPECT_EQ("default", get(longest_key + "k", "default"));
    EXPECT_EQ(-1, property_set(longest_key.c_str(), (longest_value + "v").c_str()));
    EXPECT_EQ(longest_value, get(longest_key)) << "a refused value leaves the old one";
    EXPECT_EQ(-1, property_set(nullptr, "x"));
    EXPECT_EQ(-1, property_set("", "x"));
    for (const char* value : {"short", "", "again", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(0, property_set("test.set", value));
        EXPECT_EQ(value == nullptr || *value == '\0' ? "default" : value, get("test.set", "default"));
    }
}

// Values by which a mix of two is known.
const std::array<std::string, 3> c_values = {std::string(91, 'a'), std::string(50, 'b'), std::string(7, 'c')};

pid_t start_writer(const std::string& value) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::thread([&value] {
            while (property_set("test.processes", value.c_str()) == 0) {
            }
        }).detach();
        while (property_set("test.processes", value.c_str()) == 0) {
        }
        _exit(1);
    }
    return pid;
}

// Each writer spends its life in property_set, so that is where death meets it. What is read is whole.
TEST(Properties, SurviveTheDeathOfTheirWriters) {
    ASSERT_EQ(0, property_set("test.processes", c_values[0].c_str()));
    std::array<pid_t, c_values.size()> writers;
    std::transform(c_values.begin(), c_values.end(), writers.begin(), start_writer);
    for (size_t round = 0; round < 150; ++round) {
        const size_t victim = round % writers.size();
        std::string value;
        do {
            value = get("test.processes");
            ASSERT_NE(std::find(c_values.begin(), c_values.end(), value), c_values.end()) << value;
        } while (value != c_values[victim]);
        int status = 0;
        kill(writers[victim], SIGKILL);
        ASSERT_EQ(writers[victim], waitpid(writers[victim], &status, 0));
        ASSERT_TRUE(WIFSIGNALED(status)) << "property_set failed";
        ASSERT_EQ(0, property_set("test.round", std::to_string(round).c_str()));
        writers[victim] = start_writer(c_values[victim]);
    }
    for (const pid_t writer : writers) {
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
    }
    EXPECT_EQ(0, property_set("test.processes", "at last"));
    EXPECT_EQ("at last", get("test.processes"));
    EXPECT_EQ("149", get("test.round"));
}

}  // namespace
