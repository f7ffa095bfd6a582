// The platform's libraries: properties and logs that several processes share, and the modem manager's link.
#include <android/log.h>
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;

constexpr const char* c_link = "/data/modemlink";
// Before a library looks.
[[maybe_unused]] const int c_is_set = setenv("ANDROID_PROPERTIES", "/data/other", 1) +
                                      setenv("ANDROID_LOG_DIR", "/data", 1) + setenv("ANDROID_LOG_TERMINAL", "W", 1) +
                                      setenv("MODEMLINK_SOCKET", c_link, 1);

// --- Properties ------------------------------------------------------------------------------------------------------

std::string get(const std::string& key, const char* unset = nullptr) {
    char value[PROPERTY_VALUE_MAX + 1];
    std::fill(std::begin(value), std::end(value), '#');
    const int length = property_get(key.c_str(), value, unset);
    EXPECT_EQ(length, static_cast<int>(strnlen(value, sizeof(value)))) << key;
    EXPECT_EQ('#', value[PROPERTY_VALUE_MAX]) << key;
    return value;
}

TEST(Properties, KeepToTheLimitsAndFallBackToTheDefault) {
    const std::string longest_key(PROPERTY_KEY_MAX - 1, 'k');
    const std::string longest_value(PROPERTY_VALUE_MAX - 1, 'v');
    EXPECT_EQ(longest_value, get(longest_key, (longest_value + "v").c_str()));
    EXPECT_EQ(0, property_set(longest_key.c_str(), longest_value.c_str()));
    EXPECT_EQ(-1, property_set(longest_key.c_str(), (longest_value + "v").c_str()));
    EXPECT_EQ(longest_value, get(longest_key)) << "a refused value leaves the old one";
    for (const std::string& key : {longest_key + "k", ""s}) {
        EXPECT_EQ(-1, property_set(key.c_str(), "x"));
        EXPECT_EQ("default", get(key, "default"));
    }
    EXPECT_EQ(0, property_set("test.set", nullptr));
    EXPECT_EQ("default", get("test.set", "default"));
}

// Values by which a mix of two is known.
const std::vector<std::string> c_values = {std::string(91, 'a'), std::string(50, 'b'), std::string(7, 'c')};

pid_t start_writer(const std::string& value) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const auto write = [&value] {
            while (property_set("test.processes", value.c_str()) == 0) {
            }
        };
        std::thread(write).detach();
        write();
        _exit(1);
    }
    return pid;
}

// Each writer spends its life in property_set, so that is where death meets it. What is read is whole.
TEST(Properties, SurviveTheDeathOfTheirWriters) {
    std::vector<pid_t> writers;
    for (const std::string& value : c_values) {
        writers.push_back(start_writer(value));
    }
    for (size_t round = 0; round < 150; ++round) {
        const size_t victim = round % writers.size();
        for (std::string value; value != c_values[victim]; value = get("test.processes")) {
            ASSERT_TRUE(value.empty() || testing::Value(c_values, testing::Contains(value))) << value;
        }
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
    EXPECT_EQ("149", get("test.round"));
}

// --- Logs ------------------------------------------------------------------------------------------------------------

std::vector<std::string> lines(const std::string& buffer) {
    std::ifstream file("/data/" + buffer);
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
        {2000000000, "", "\x1b[2J", "\\? :  \\[2J"},
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
    constexpr size_t c_lines = 300;
    const auto write = [](char writer) {
        for (size_t i = 0; i < c_lines; ++i) {
            __android_log_buf_print(LOG_ID_EVENTS, ANDROID_LOG_INFO, "t", "%s.", std::string(i * 3, writer).c_str());
        }
    };
    const pid_t child = fork();
    std::thread other(write, child == 0 ? 'a' : 'b');
    write(child == 0 ? 'c' : 'd');
    other.join();
    if (child == 0) {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    std::map<char, size_t> next;  // of each writer; its first line is of no letter
    for (const std::string& line : lines("events")) {
        const std::string text = line.substr(line.find("t: ") + 3);
        if (text != ".") {
            ASSERT_EQ(std::string(++next[text[0]] * 3, text[0]) + ".", text);
        }
    }
    EXPECT_EQ(next,
              (std::map<char, size_t>{{'a', c_lines - 1}, {'b', c_lines - 1}, {'c', c_lines - 1}, {'d', c_lines - 1}}));
}

// --- The modem manager's link ----------------------------------------------------------------------------------------

void put(int fd, const std::string& bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(fd, bytes.data(), bytes.size()));
}

uint32_t take(int fd) {
    uint32_t word = 0;
    EXPECT_EQ(4, read(fd, &word, sizeof(word)));
    return word;
}

int s_heard[2];  // by the handler, on the library's thread

TEST(ModemLink, SpeaksInWordsAndFindsTheManagerAgain) {
    ASSERT_EQ(0, pipe(s_heard));
    EXPECT_EQ(-1, registerMEH(0xB7000000, nullptr));
    EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) {
                  put(s_heard[1], std::string(reinterpret_cast<const char*>(&event), sizeof(event)));
              }));
    EXPECT_EQ(-1, reqMEH(0xA1000000)) << "no manager yet";
    for (int round = 0; round < 3; ++round) {
        sockaddr_un address = {AF_UNIX, {}};
        strcpy(address.sun_path, c_link);
        const int manager = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_EQ(0, bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
        ASSERT_EQ(0, listen(manager, 5));
        const int link = accept(manager, nullptr, nullptr);
        EXPECT_EQ(0xB7000000U, take(link));
        put(link, "\x00\x00"s);
        put(link, "\x00\xB2\x04\x03\x02\x01"s);
        EXPECT_EQ(0xB2000000U, take(s_heard[0]));
        EXPECT_EQ(0x01020304U, take(s_heard[0]));
        EXPECT_EQ(0, reqMEH(0xA1000000));
        EXPECT_EQ(0xA1000000U, take(link));
        put(link, "\x00\x00"s);  // and hangs up in the middle of a word
        close(link);
        close(manager);
        unlink(c_link);
    }
}

}  // namespace
