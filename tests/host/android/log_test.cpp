#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/temporary_folder.h"

namespace {

const TemporaryFolder& folder() {
    static const TemporaryFolder s_folder;
    return s_folder;
}
// Before the first line is logged.
[[maybe_unused]] const int c_is_set =
    setenv("ANDROID_LOG_DIR", folder().path().c_str(), 1) + setenv("ANDROID_LOG_TERMINAL", "W", 1);

std::vector<std::string> lines(const char* buffer) {
    std::ifstream file(folder().path() / buffer);
    std::vector<std::string> result;
    for (std::string line; std::getline(file, line);) {
        result.push_back(line);
    }
    return result;
}

TEST(Log, WritesOneLineACall) {
    const std::string head = "[0-1][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9][0-9][0-9] [ ]*" +
                             std::to_string(getpid()) + "[ ]*[0-9]+ ";
    const struct {
        int prio;
        const char* tag;
        const char* text;
        std::string expected;
    } c_rows[] = {
        {ANDROID_LOG_INFO, "DUN-RIL", "on_request++\n", "I DUN-RIL: on_request\\+\\+"},
        {ANDROID_LOG_VERBOSE, nullptr, "first\nsecond\r\n\n", "V : first second "},
        {-5, "", "\x1b[2J", "\\? :  \\[2J"},
        {2000000000, "tag", "", "\\? tag: "},
    };
    for (const auto& row : c_rows) {
        testing::internal::CaptureStderr();
        EXPECT_GT(__android_log_buf_print(LOG_ID_RADIO, row.prio, row.tag, "%s", row.text), 0);
        const std::string line = lines("radio").back();
        EXPECT_THAT(line, testing::MatchesRegex(head + row.expected));
        EXPECT_EQ(row.prio >= ANDROID_LOG_WARN ? line + "\n" : "", testing::internal::GetCapturedStderr());
    }
    EXPECT_EQ(1024, __android_log_print(ANDROID_LOG_INFO, nullptr, "%s%d", std::string(5000, 'x').c_str(), 7));
    EXPECT_EQ(1023U, lines("main").back().size());
    EXPECT_EQ(-1, __android_log_buf_print(4, ANDROID_LOG_INFO, "tag", "text"));
}

TEST(Log, KeepsTheLinesOfThreadsAndProcessesApart) {
    constexpr int c_lines = 300;
    const auto write = [](int writer) {
        for (int i = 0; i < c_lines; ++i) {
            const std::string filler(static_cast<size_t>(i * 3), static_cast<char>('a' + writer));
            __android_log_buf_print(LOG_ID_EVENTS, ANDROID_LOG_INFO, "t", "%d %d %s.", writer, i, filler.c_str());
        }
    };
    const pid_t child = fork();
    std::thread other(write, child == 0 ? 0 : 1);
    write(child == 0 ? 2 : 3);
    other.join();
    if (child == 0) {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
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
    EXPECT_EQ(next, (std::map<int, int>{{0, c_lines}, {1, c_lines}, {2, c_lines}, {3, c_lines}}));
}

}  // namespace
