// libModemLink.so against raw bytes, the server half against raw bytes, and the two together.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/android/modem_link_server.h"
#include "tests/host/temporary_folder.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

constexpr auto c_patience = 60s;  // ends a test that has failed

// The library has one connection per process, so its socket's place is fixed before the first registration. The folder
// is made only when the first manager starts.
std::unique_ptr<TemporaryFolder> s_folder;
std::string s_path;
class SocketFolder : public testing::Environment {
public:
    void SetUp() override {
        s_folder = std::make_unique<TemporaryFolder>();
        s_path = s_folder->path() / "socket" / "modemlink";
        setenv("MODEMLINK_SOCKET", s_path.c_str(), 1);
    }
    void TearDown() override { s_folder.reset(); }
};
[[maybe_unused]] const testing::Environment* const c_socket_folder =
    testing::AddGlobalTestEnvironment(new SocketFolder);

// What arrives on another thread.
template <typename Item>
class Inbox {
public:
    void put(Item item) {
        const std::lock_guard guard(lock_);
        items_.push_back(item);
        changed_.notify_all();
    }
    Item take() {
        std::unique_lock guard(lock_);
        if (!changed_.wait_for(guard, c_patience, [this] { return !items_.empty(); })) {
            ADD_FAILURE() << "nothing came";
            return {};
        }
        Item item = items_.front();
        items_.pop_front();
        return item;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<Item> items_;
};

Inbox<uint32_t> s_events;
pthread_t s_event_thread;
void on_event(uint32_t event) {
    s_event_thread = pthread_self();
    s_events.put(event);
}

sockaddr_un address_of(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

// A socket that speaks in bytes.
class Raw {
public:
    explicit Raw(int fd) : fd_(fd) { EXPECT_GE(fd, 0); }
    ~Raw() { close(fd_); }
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;
    static std::unique_ptr<Raw> connected(const std::string& path) {
        const sockaddr_un address = address_of(path);
        auto raw = std::make_unique<Raw>(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(0, connect(raw->fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
        return raw;
    }
    static std::unique_ptr<Raw> listening(const std::string& path) {
        unlink(path.c_str());
        const sockaddr_un address = address_of(path);
        auto raw = std::make_unique<Raw>(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(0, bind(raw->fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
        EXPECT_EQ(0, listen(raw->fd_, 5));
        return raw;
    }
    std::unique_ptr<Raw> accepted() const {
        return std::make_unique<Raw>(readable() ? accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC) : -1);
    }
    void send_bytes(const std::string& bytes) const {
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()), send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }
    // `size` bytes, or fewer when the peer hangs up.
    std::string receive(size_t size) const {
        std::string bytes(size, 0);
        size_t have = 0;
        for (ssize_t got = 1; have < size && got > 0 && readable(); have += static_cast<size_t>(got)) {
            got = std::max<ssize_t>(recv(fd_, bytes.data() + have, size - have, 0), 0);
        }
        return bytes.substr(0, have);
    }
    bool hung_up() const { return receive(1).empty(); }

private:
    bool readable() const {
        pollfd waiting = {fd_, POLLIN, 0};
        const int result = poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(c_patience).count()));
        EXPECT_EQ(1, result) << "nothing came";
        return result == 1;
    }
    int fd_;
};

TEST(ModemLink, SpeaksInWordsAndFindsTheManagerAgain) {
    EXPECT_EQ(-1, registerMEH(0xB7000000, nullptr));
    EXPECT_EQ(-1, reqMEH(0xA1000000));
    EXPECT_EQ(0, registerMEH(0xB7000000, on_event));
    EXPECT_EQ(-1, reqMEH(0xA1000000)) << "no manager yet";

    std::filesystem::create_directory(s_folder->path() / "socket");
    std::this_thread::sleep_for(20ms);  // so that the library mostly meets the folder without a socket
    for (int round = 0; round < 3; ++round) {
        const auto manager = Raw::listening(s_path);
        const auto link = manager->accepted();
        EXPECT_EQ("\x00\x00\x00\xB7"s, link->receive(4));
        link->send_bytes("\x00\x00"s);
        link->send_bytes("\x00\xB2\x04\x03\x02\x01"s);
        EXPECT_EQ(0xB2000000U, s_events.take());
        EXPECT_EQ(0x01020304U, s_events.take());
        EXPECT_FALSE(pthread_equal(pthread_self(), s_event_thread));
        EXPECT_EQ(0, reqMEH(0xA1000000));
        EXPECT_EQ("\x00\x00\x00\xA1"s, link->receive(4));
        link->send_bytes("\x00\x00"s);  // and hangs up in the middle of a word
    }
}

TEST(ModemLink, HandsEventsToTheHandlerRegisteredLast) {
    static Inbox<uint32_t> s_others;
    const auto manager = Raw::listening(s_path);
    const auto link = manager->accepted();
    EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { s_others.put(event); }));
    link->send_bytes("\x00\x00\x00\xB1"s);
    EXPECT_EQ(0xB1000000U, s_others.take());
    EXPECT_EQ(0, registerMEH(0xB7000000, on_event));
}

// What the server's listener heard, as text.
struct Modem {
    Inbox<std::string> heard;
    std::unique_ptr<ModemLinkServer> server;

    Modem() {
        const auto hear = [this](const char* what, int client, uint32_t word) {
            char text[64];
            snprintf(text, sizeof(text), "%s %d %08X", what, client, word);
            heard.put(text);
        };
        ModemLinkListener listener;
        listener.registered = [hear](int client, uint32_t code) { hear("registered", client, code); };
        listener.request = [hear](int client, uint32_t request) { hear("request", client, request); };
        listener.gone = [hear](int client) { hear("gone", client, 0); };
        server = ModemLinkServer::start(s_folder->path() / "server", listener);
        EXPECT_NE(nullptr, server);
    }
};

TEST(ModemLinkServer, SpeaksInWords) {
    const std::string path = s_folder->path() / "server";
    Modem modem;
    modem.server->announce(0xB2000000);
    const auto first = Raw::connected(path);
    first->send_bytes("\x01\x00"s);
    first->send_bytes("\x00\xB7\x00\x00\x00\xA1\x04"s);
    EXPECT_EQ("registered 1 B7000001", modem.heard.take());
    EXPECT_EQ("request 1 A1000000", modem.heard.take());
    EXPECT_EQ("\x00\x00\x00\xB2"s, first->receive(4));
    modem.server->forget();
    const auto second = Raw::connected(path);
    second->send_bytes("\x02\x00\x00\xB7"s);
    EXPECT_EQ("registered 2 B7000002", modem.heard.take());
    EXPECT_EQ(2U, modem.server->clients());
    const auto silent = Raw::connected(path);  // never registers
    modem.server->broadcast(0xB1000000);
    EXPECT_TRUE(modem.server->send(1, 0x01020304));
    EXPECT_FALSE(modem.server->send(7, 0x01020304));
    EXPECT_EQ("\x00\x00\x00\xB1\x04\x03\x02\x01"s, first->receive(8));
    EXPECT_EQ("\x00\x00\x00\xB1"s, second->receive(4));
    modem.server.reset();
    EXPECT_TRUE(first->hung_up());
    EXPECT_TRUE(second->hung_up());
    EXPECT_TRUE(silent->hung_up()) << "and it was sent nothing";
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ModemLinkServer, WaitsForNoClient) {
    Modem modem;
    const auto deaf = Raw::connected(s_folder->path() / "server");
    deaf->send_bytes("\x00\x00\x00\xB7"s);
    EXPECT_EQ("registered 1 B7000000", modem.heard.take());
    // More than the socket holds is kept for it ...
    constexpr size_t c_kept = 5000;
    for (uint32_t i = 0; i < c_kept; ++i) {
        modem.server->broadcast(i);
    }
    const std::string bytes = deaf->receive(c_kept * 4);
    ASSERT_EQ(c_kept * 4, bytes.size());
    EXPECT_EQ("\x87\x13\x00\x00"s, bytes.substr(bytes.size() - 4));
    // ... and far more ends the friendship.
    for (uint32_t i = 0; i < 2 * c_modem_link_backlog; ++i) {
        modem.server->broadcast(i);
    }
    EXPECT_EQ("gone 1 00000000", modem.heard.take());
    EXPECT_EQ(0U, modem.server->clients());
}

TEST(ModemLinkServer, RefusesAPlaceThatCannotBe) {
    EXPECT_EQ(nullptr, ModemLinkServer::start("/no/such/folder/socket", {}));
    EXPECT_EQ(nullptr, ModemLinkServer::start(s_folder->path() / std::string(200, 'x'), {}));
}

}  // namespace
