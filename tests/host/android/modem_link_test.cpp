// libModemLink.so and the server half, each against raw bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>
#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/android/modem_link_server.h"
#include "tests/host/connection.h"
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

TEST(ModemLink, SpeaksInWordsAndFindsTheManagerAgain) {
    EXPECT_EQ(-1, registerMEH(0xB7000000, nullptr));
    EXPECT_EQ(-1, reqMEH(0xA1000000));
    EXPECT_EQ(0, registerMEH(0xB7000000, on_event));
    EXPECT_EQ(-1, reqMEH(0xA1000000)) << "no manager yet";

    std::filesystem::create_directory(s_folder->path() / "socket");
    std::this_thread::sleep_for(20ms);  // so that the library mostly meets the folder without a socket
    for (int round = 0; round < 3; ++round) {
        const Connection manager = Connection::listening(s_path);
        const Connection link = manager.accepted();
        EXPECT_EQ("\x00\x00\x00\xB7"s, link.text(4));
        link.write("\x00\x00"s);
        link.write("\x00\xB2\x04\x03\x02\x01"s);
        EXPECT_EQ(0xB2000000U, s_events.take());
        EXPECT_EQ(0x01020304U, s_events.take());
        EXPECT_FALSE(pthread_equal(pthread_self(), s_event_thread));
        EXPECT_EQ(0, reqMEH(0xA1000000));
        EXPECT_EQ("\x00\x00\x00\xA1"s, link.text(4));
        link.write("\x00\x00"s);  // and hangs up in the middle of a word
    }
}

TEST(ModemLink, HandsEventsToTheHandlerRegisteredLast) {
    static Inbox<uint32_t> s_others;
    const Connection manager = Connection::listening(s_path);
    const Connection link = manager.accepted();
    EXPECT_EQ(0, registerMEH(0xB7000000, [](uint32_t event) { s_others.put(event); }));
    link.write("\x00\x00\x00\xB1"s);
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
    const Connection first(path);
    first.write("\x01\x00"s);
    first.write("\x00\xB7\x00\x00\x00\xA1\x04"s);
    EXPECT_EQ("registered 1 B7000001", modem.heard.take());
    EXPECT_EQ("request 1 A1000000", modem.heard.take());
    EXPECT_EQ("\x00\x00\x00\xB2"s, first.text(4));
    modem.server->forget();
    const Connection second(path);
    second.write("\x02\x00\x00\xB7"s);
    EXPECT_EQ("registered 2 B7000002", modem.heard.take());
    EXPECT_EQ(2U, modem.server->clients());
    const Connection silent(path);  // never registers
    modem.server->broadcast(0xB1000000);
    EXPECT_TRUE(modem.server->send(1, 0x01020304));
    EXPECT_FALSE(modem.server->send(7, 0x01020304));
    EXPECT_EQ("\x00\x00\x00\xB1\x04\x03\x02\x01"s, first.text(8));
    EXPECT_EQ("\x00\x00\x00\xB1"s, second.text(4));
    modem.server.reset();
    EXPECT_TRUE(first.text(1).empty());
    EXPECT_TRUE(second.text(1).empty());
    EXPECT_TRUE(silent.text(1).empty()) << "and it was sent nothing";
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ModemLinkServer, WaitsForNoClient) {
    Modem modem;
    const Connection deaf(s_folder->path() / "server");
    deaf.write("\x00\x00\x00\xB7"s);
    EXPECT_EQ("registered 1 B7000000", modem.heard.take());
    // More than the socket holds is kept for it ...
    constexpr size_t c_kept = 5000;
    for (uint32_t i = 0; i < c_kept; ++i) {
        modem.server->broadcast(i);
    }
    const std::string bytes = deaf.text(c_kept * 4);
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
