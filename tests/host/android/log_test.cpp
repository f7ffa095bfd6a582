#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/temporary_folder.h"

namespace {

using testing::EndsWith;
using testing::MatchesRegex;
using testing::SizeIs;

// Stands before the first line is logged.
std::unique_ptr<TemporaryFolder> s_folder;
class LogFolder : public testing::Environment {
public:
    void SetUp() override {
        s_folder = std::make_unique<TemporaryFolder>();
        std::filesystem::create_directory(s_folder->path() / "system");  // where a file should be
        setenv("ANDROID_LOG_DIR", s_folder->path().c_str(), 1);
        setenv("ANDROID_LOG_TERMINAL", "W", 1);
    }
    void TearDown() override { s_folder.reset(); }
};
[[maybe_unused]] const testing::Environment* const c_log_folder = testing::AddGlobalTestEnvironment(new LogFolder);

std::vector<std::string> lines(const char* buffer) {
    std::ifstream file(s_folder->path() / buffer);
    std::vector<std::string> result;
    for (std::string line; std::getline(file, line);) {
        result.push_back(line);
    }
    return result;
}

TEST(Log, WritesOneLineACall) {
    const std::string ids = "[ ]*" + std::to_string(getpid()) + "[ ]*" + std::to_string(syscall(SYS_gettid)) + " ";
    const std::string head = "[0-1][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9][0-9][0-9] " + ids;
    const struct {
        int prio;
        const char* tag;
        const char* text;
        std::string expected;
    } c_rows[] = {
        {ANDROID_LOG_INFO, "DUN-RIL", "on_request", "I DUN-RIL: on_request"},
        {ANDROID_LOG_DEBUG, "DUN-RIL2", "on_request++\n", "D DUN-RIL2: on_request\\+\\+"},
        {ANDROID_LOG_VERBOSE, nullptr, "first\nsecond\r\n\n", "V : first second "},
        {-5, "", "\x1b[2J", "\\? :  \\[2J"},
        {2000000000, "tag", "", "\\? tag: "},
    };
    for (const auto& row : c_rows) {
        const std::string screen = [&row] {
            testing::internal::CaptureStderr();
            EXPECT_GT(__android_log_buf_print(LOG_ID_RADIO, row.prio, row.tag, "%s", row.text), 0);
            return testing::internal::GetCapturedStderr();
        }();
        const std::string line = lines("radio").back();
        EXPECT_THAT(line, MatchesRegex(head + row.expected));
        EXPECT_EQ(row.prio >= ANDROID_LOG_WARN ? line + "\n" : "", screen);
    }
    EXPECT_THAT(lines("radio"), SizeIs(std::size(c_rows)));
}

TEST(Log, CutsLongTexts) {
    const int length = __android_log_print(ANDROID_LOG_INFO, nullptr, "%s%d", std::string(5000, 'x').c_str(), 7);
    EXPECT_EQ(1024, length);
    EXPECT_THAT(lines("main").back(), testing::AllOf(SizeIs(1023), EndsWith("xxx")));
    EXPECT_EQ(1024, __android_log_print(ANDROID_LOG_INFO, std::string(5000, 't').c_str(), "text"));
    EXPECT_THAT(lines("main").back(), testing::AllOf(SizeIs(1023), EndsWith("ttt")));
}

TEST(Log, DropsWhatHasNowhereToGo) {
    errno = E2BIG;
    EXPECT_EQ(0, __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_INFO, "tag", "text"));
    EXPECT_EQ(E2BIG, errno);
    EXPECT_EQ(-1, __android_log_buf_print(4, ANDROID_LOG_INFO, "tag", "text"));
    EXPECT_EQ(-1, __android_log_buf_print(-1, ANDROID_LOG_INFO, "tag", "text"));
}

TEST(Log, KeepsTheLinesOfThreadsAndProcessesApart) {
    constexpr int c_lines = 300;
    const auto write = [](int writer) {
        for (int i = 0; i < c_lines; ++i) {
            const std::string filler(static_cast<size_t>(i * 3), static_cast<char>('a' + writer));
            __android_log_buf_print(LOG_ID_EVENTS, ANDROID_LOG_INFO, "t", "%d %d %s.", writer, i, filler.c_str());
        }
    };
    std::vector<pid_t> children;
    for (int writer = 0; writer < 3; ++writer) {
        children.push_back(fork());
        if (children.back() == 0) {
            write(writer);
            _exit(0);
        }
    }
    std::vector<std::thread> threads;
    for (int writer = 3; writer < 6; ++writer) {
        threads.emplace_back(write, writer);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const pid_t child : children) {
        waitpid(child, nullptr, 0);
    }
    std::map<int, int> next;  // of each writer
    for (const std::string& line : lines("events")) {
        int writer = -1;
        int number = -1;
        std::istringstream text(line.substr(line.find("t: ") + 3));
        std::string filler;
        text >> writer >> number >> filler;
        ASSERT_EQ(next[writer]++, number) << line;
        ASSERT_EQ(std::string(static_cast<size_t>(number * 3), static_cast<char>('a' + writer)) + ".", filler);
    }
    EXPECT_THAT(next, testing::Each(testing::Pair(testing::_, c_lines)));
    EXPECT_THAT(next, SizeIs(6));
}

}  // namespace
