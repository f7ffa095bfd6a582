// libModemLink.so against raw bytes.
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include "tests/host/temporary_folder.h"

namespace {

using namespace std::string_literals;

// The library has one connection per process, so its socket's place is fixed before the first registration.
const TemporaryFolder s_folder;
const std::string c_path = s_folder.path() / "modemlink";
[[maybe_unused]] const int c_is_set = setenv("MODEMLINK_SOCKET", c_path.c_str(), 1);

int listen_at(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address))) << path;
    EXPECT_EQ(0, listen(fd, 5)) << path;
    return fd;
}

void put(int fd, const std::string& bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(fd, bytes.data(), bytes.size()));
}

uint32_t take(int fd) {
    uint32_t word = 0;
    EXPECT_EQ(4, read(fd, &word, sizeof(word)));
    return word;
}

// What the handlers heard, on the library's thread.
int s_events[2];
int s_others[2];

void hear(int pipe, uint32_t event) {
    put(pipe, std::string(reinterpret_cast<const char*>(&event), sizeof(event)));
}

TEST(ModemLink, SpeaksInWordsAndFindsTheManagerAgain) {
    ASSERT_EQ(0, pipe(s_events) + pipe(s_others));
    const auto on_event = [](uint32_t event) { hear(s_events[1], event); };
    EXPECT_EQ(-1, registerMEH(0xB7000000, nullptr));
    EXPECT_EQ(-1, reqMEH(0xA1000000));
    EXPECT_EQ(0, registerMEH(0xB7000000, on_event));
    EXPECT_EQ(-1, reqMEH(0xA1000000)) << "no manager yet";
    for (int round = 0; round < 3; ++round) {
        const int manager = listen_at(c_path);
        const int link = accept(manager, nullptr, nullptr);
        EXPECT_EQ(0xB7000000U, take(link));
        put(link, "\x00\x00"s);
        put(link, "\x00\xB2\x04\x03\x02\x01"s);
        EXPECT_EQ(0xB2000000U, take(s_events[0]));
        EXPECT_EQ(0x01020304U, take(s_events[0]));
        EXPECT_EQ(0, reqMEH(0xA1000000));
        EXPECT_EQ(0xA1000000U, take(link));
        if (round == 1) {  // events go to the handler that was registered last
            EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { hear(s_others[1], event); }));
            put(link, "\x00\x00\x00\xB1"s);
            EXPECT_EQ(0xB1000000U, take(s_others[0]));
            EXPECT_EQ(0, registerMEH(0xB7000000, on_event));
        }
        put(link, "\x00\x00"s);  // and hangs up in the middle of a word
        close(link);
        close(manager);
        unlink(c_path.c_str());
    }
}

}  // namespace
