// Properties in a file that several processes share.
#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/temporary_folder.h"

namespace {

// Stands before the first property is touched.
std::unique_ptr<TemporaryFolder> s_folder;
class SharedFile : public testing::Environment {
public:
    void SetUp() override {
        s_folder = std::make_unique<TemporaryFolder>();
        setenv("ANDROID_PROPERTIES", (s_folder->path() / "properties").c_str(), 1);
    }
    void TearDown() override { s_folder.reset(); }
};
[[maybe_unused]] const testing::Environment* const c_shared_file = testing::AddGlobalTestEnvironment(new SharedFile);

std::string get(const std::string& key, const char* unset = nullptr) {
    std::array<char, PROPERTY_VALUE_MAX + 1> value;
    value.fill('#');
    const int length = property_get(key.c_str(), value.data(), unset);
    EXPECT_EQ(length, static_cast<int>(strnlen(value.data(), value.size()))) << key;
    EXPECT_EQ('#', value.back()) << key;
    return value.data();
}

TEST(Properties, KeepToTheLimits) {
    const std::string longest_key(PROPERTY_KEY_MAX - 1, 'k');
    const std::string longest_value(PROPERTY_VALUE_MAX - 1, 'v');
    EXPECT_EQ(0, property_set(longest_key.c_str(), longest_value.c_str()));
    EXPECT_EQ(longest_value, get(longest_key));
    EXPECT_EQ(-1, property_set((longest_key + "k").c_str(), "x"));
    EXPECT_EQ("default", get(longest_key + "k", "default"));
    EXPECT_EQ(-1, property_set(longest_key.c_str(), (longest_value + "v").c_str()));
    EXPECT_EQ(longest_value, get(longest_key)) << "a refused value leaves the old one";
    EXPECT_EQ(-1, property_set(nullptr, "x"));
    EXPECT_EQ(-1, property_set("", "x"));
    EXPECT_EQ(-1, property_set("key", std::string(100000, 'x').c_str()));
}

TEST(Properties, FallBackToTheDefault) {
    EXPECT_EQ("", get("test.unset"));
    EXPECT_EQ("default", get("test.unset", "default"));
    EXPECT_EQ(std::string(PROPERTY_VALUE_MAX - 1, 'd'), get("test.unset", std::string(200, 'd').c_str()));
    EXPECT_EQ(0, property_set("test.set", "long value"));
    EXPECT_EQ(0, property_set("test.set", "short"));
    EXPECT_EQ("short", get("test.set", "default"));
    EXPECT_EQ(0, property_set("test.set", ""));
    EXPECT_EQ("default", get("test.set", "default"));
    EXPECT_EQ(0, property_set("test.set", "again"));
    EXPECT_EQ(0, property_set("test.set", nullptr));
    EXPECT_EQ("", get("test.set"));
}

// Values by which a mix of two is known.
const std::array<std::string, 3> c_values = {std::string(91, 'a'), std::string(50, 'b'), std::string(7, 'c')};

bool is_whole(const std::string& value) {
    return std::find(c_values.begin(), c_values.end(), value) != c_values.end();
}

TEST(Properties, AreSeenWholeByEveryThread) {
    ASSERT_EQ(0, property_set("test.threads", c_values[0].c_str()));
    std::atomic<size_t> done = 0;
    std::vector<std::thread> writers;
    writers.reserve(c_values.size());
    for (const std::string& value : c_values) {
        writers.emplace_back([&value, &done] {
            for (int i = 0; i < 3000; ++i) {
                EXPECT_EQ(0, property_set("test.threads", value.c_str()));
                EXPECT_EQ(0, property_set(("test.thread." + value.substr(0, 1)).c_str(), value.c_str()));
            }
            ++done;
        });
    }
    std::string mixed;
    while (done < writers.size()) {
        const std::string value = get("test.threads");
        mixed = is_whole(value) ? mixed : value;
    }
    EXPECT_EQ("", mixed);
    for (std::thread& writer : writers) {
        writer.join();
    }
    for (const std::string& value : c_values) {
        EXPECT_EQ(value, get("test.thread." + value.substr(0, 1)));
    }
}

// A process that stands still in property_set holds this lock.
TEST(Properties, AreSetByOneWriterAtATime) {
    ASSERT_EQ(0, property_set("test.turn", "before"));
    const int fd = open((s_folder->path() / "properties").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(0, flock(fd, LOCK_EX));
    std::thread writer([] { EXPECT_EQ(0, property_set("test.turn", "after")); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ("before", get("test.turn")) << "readers go on, the writer waits";
    close(fd);
    writer.join();
    EXPECT_EQ("after", get("test.turn"));
}

pid_t start_writer(const std::string& value) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        while (property_set("test.processes", value.c_str()) == 0) {
        }
        _exit(1);
    }
    return pid;
}

// Each writer spends its life in property_set, so that is where death meets it.
TEST(Properties, SurviveTheDeathOfTheirWriters) {
    ASSERT_EQ(0, property_set("test.processes", c_values[0].c_str()));
    std::array<pid_t, c_values.size()> writers;
    std::transform(c_values.begin(), c_values.end(), writers.begin(), start_writer);
    for (size_t round = 0; round < 150; ++round) {
        const size_t victim = round % writers.size();
        std::string value;
        do {
            value = get("test.processes");
            ASSERT_TRUE(is_whole(value)) << value;
        } while (value != c_values[victim]);
        int status = 0;
        kill(writers[victim], SIGKILL);
        ASSERT_EQ(writers[victim], waitpid(writers[victim], &status, 0));
        ASSERT_TRUE(WIFSIGNALED(status)) << "property_set failed";
        ASSERT_EQ(0, property_set(("test.round." + std::to_string(round)).c_str(), "reached"));
        writers[victim] = start_writer(c_values[victim]);
    }
    for (const pid_t writer : writers) {
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
    }
    EXPECT_EQ(0, property_set("test.processes", "at last"));
    EXPECT_EQ("at last", get("test.processes"));
    EXPECT_EQ("reached", get("test.round.149"));
}

// The table has no room for more, and what it has stays as it was.
TEST(PropertiesAtLast, FillUp) {
    int count = 0;
    while (count < 10000 && property_set(("test.fill." + std::to_string(count)).c_str(), "full") == 0) {
        ++count;
    }
    EXPECT_GE(count, 300);
    EXPECT_LT(count, 10000);
    EXPECT_EQ("unset", get("test.fill." + std::to_string(count), "unset"));
    for (int i = 0; i < count; ++i) {
        const std::string key = "test.fill." + std::to_string(i);
        ASSERT_EQ("full", get(key));
        ASSERT_EQ(0, property_set(key.c_str(), key.c_str()));
        ASSERT_EQ(key, get(key));
    }
}

}  // namespace
