// libModemLink.so and the server half, each against raw bytes.
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "host/android/modem_link_server.h"
#include "tests/host/temporary_folder.h"

namespace {

using namespace std::string_literals;

// The library has one connection per process, so its socket's place is fixed before the first registration.
const TemporaryFolder s_folder;
const std::string c_path = s_folder.path() / "modemlink";
[[maybe_unused]] const int c_is_set = setenv("MODEMLINK_SOCKET", c_path.c_str(), 1);

int socket_at(const std::string& path, int (*step)(int, const sockaddr*, socklen_t)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, step(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address))) << path;
    return fd;
}

void put(int fd, const std::string& bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

// So many bytes, fewer when the peer hangs up.
std::string take(int fd, size_t size) {
    std::string bytes(size, '\0');
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(recv(fd, bytes.data(), size, MSG_WAITALL), 0)));
    return bytes;
}

// What arrives on another thread.
template <typename Item>
class Inbox {
public:
    void put(Item item) {
        const std::lock_guard guard(lock_);
        items_.push_back(std::move(item));
        changed_.notify_all();
    }
    Item take() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return !items_.empty(); });
        Item item = items_.front();
        items_.erase(items_.begin());
        return item;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<Item> items_;
};

TEST(ModemLink, SpeaksInWordsAndFindsTheManagerAgain) {
    static Inbox<uint32_t> s_events;
    static Inbox<uint32_t> s_others;
    EXPECT_EQ(-1, registerMEH(0xB7000000, nullptr));
    EXPECT_EQ(-1, reqMEH(0xA1000000));
    EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { s_events.put(event); }));
    EXPECT_EQ(-1, reqMEH(0xA1000000)) << "no manager yet";
    for (int round = 0; round < 3; ++round) {
        const int manager = socket_at(c_path, bind);
        EXPECT_EQ(0, listen(manager, 5));
        const int link = accept(manager, nullptr, nullptr);
        EXPECT_EQ("\x00\x00\x00\xB7"s, take(link, 4));
        put(link, "\x00\x00"s);
        put(link, "\x00\xB2\x04\x03\x02\x01"s);
        EXPECT_EQ(0xB2000000U, s_events.take());
        EXPECT_EQ(0x01020304U, s_events.take());
        EXPECT_EQ(0, reqMEH(0xA1000000));
        EXPECT_EQ("\x00\x00\x00\xA1"s, take(link, 4));
        if (round == 1) {  // events go to the handler that was registered last
            EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { s_others.put(event); }));
            put(link, "\x00\x00\x00\xB1"s);
            EXPECT_EQ(0xB1000000U, s_others.take());
            EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { s_events.put(event); }));
        }
        put(link, "\x00\x00"s);  // and hangs up in the middle of a word
        close(link);
        close(manager);
        unlink(c_path.c_str());
    }
}

TEST(ModemLinkServer, SpeaksInWordsAndWaitsForNoClient) {
    const std::string path = s_folder.path() / "server";
    Inbox<std::string> heard;
    const auto hear = [&heard](const char* what, int client, uint32_t word) {
        char text[64];
        snprintf(text, sizeof(text), "%s %d %08X", what, client, word);
        heard.put(text);
    };
    ModemLinkListener listener;
    listener.registered = [hear](int client, uint32_t code) { hear("registered", client, code); };
    listener.request = [hear](int client, uint32_t request) { hear("request", client, request); };
    listener.gone = [hear](int client) { hear("gone", client, 0); };
    EXPECT_EQ(nullptr, ModemLinkServer::start("/no/such/folder/socket", listener));
    EXPECT_EQ(nullptr, ModemLinkServer::start(s_folder.path() / std::string(200, 'x'), listener));
    auto server = ModemLinkServer::start(path, listener);
    ASSERT_NE(nullptr, server);
    server->announce(0xB2000000);
    const int first = socket_at(path, connect);
    put(first, "\x01\x00"s);
    put(first, "\x00\xB7\x00\x00\x00\xA1\x04"s);
    EXPECT_EQ("registered 1 B7000001", heard.take());
    EXPECT_EQ("request 1 A1000000", heard.take());
    EXPECT_EQ("\x00\x00\x00\xB2"s, take(first, 4));
    server->forget();
    const int deaf = socket_at(path, connect);
    put(deaf, "\x02\x00\x00\xB7"s);
    EXPECT_EQ("registered 2 B7000002", heard.take());
    const int silent = socket_at(path, connect);  // never registers
    EXPECT_TRUE(server->send(1, 0x01020304));
    EXPECT_FALSE(server->send(7, 0x01020304));
    EXPECT_EQ("\x04\x03\x02\x01"s, take(first, 4));
    // More than the socket holds is kept for a client, and far more ends the friendship.
    constexpr size_t c_kept = 5000;
    for (uint32_t i = 0; i < c_kept; ++i) {
        server->broadcast(i);
    }
    EXPECT_EQ("\x87\x13\x00\x00"s, take(first, c_kept * 4).substr(c_kept * 4 - 4));
    for (uint32_t i = 0; i < 2 * c_modem_link_backlog; ++i) {
        EXPECT_TRUE(server->send(2, i) || i > c_modem_link_backlog / 2) << i;
    }
    EXPECT_EQ("gone 2 00000000", heard.take());
    EXPECT_EQ(1U, server->clients());
    server.reset();
    EXPECT_EQ("", take(first, 1));
    EXPECT_EQ("", take(silent, 1)) << "and it was sent nothing";
    EXPECT_FALSE(std::filesystem::exists(path));
    for (const int fd : {first, deaf, silent}) {
        close(fd);
    }
}

}  // namespace
