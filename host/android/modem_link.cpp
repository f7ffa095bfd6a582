// The library's half of modem_link_protocol.h. One thread connects, reads and calls the handler. While the manager is
// away the thread sleeps on inotify until something appears where the socket should be.
//
// The waits are poll's: the process that this library is loaded into may have a sleep of its own.
//
// The environment variable MODEMLINK_SOCKET names another socket.
#include <fcntl.h>
#include <limits.h>
#include <modemlink/modem_link.h>
#include <poll.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

#include "host/android/modem_link_protocol.h"

namespace {

using Handler = void (*)(uint32_t event);

// At a socket that refuses: how often to try, and the first pause, which doubles each time (5 seconds in all). It
// bridges the manager's steps from making the socket to listening on it.
constexpr int c_tries = 10;
constexpr int c_first_pause_ms = 5;
// When waiting for a sign is in vain.
constexpr int c_blind_pause_ms = 1000;
// Between the loss of a connection and the next attempt, so that a manager that hangs up at once isn't called in a
// loop.
constexpr int c_hangup_pause_ms = 50;

pthread_mutex_t s_lock = PTHREAD_MUTEX_INITIALIZER;
bool s_thread_runs = false;            // under s_lock
int s_connection = -1;                 // under s_lock: the thread connects and closes, reqMEH sends
std::atomic<Handler> s_handler;        // written by the registering thread
std::atomic<uint32_t> s_client;        // written by the registering thread
std::array<char, PATH_MAX> s_path;     // fixed before the thread starts
std::array<char, PATH_MAX> s_folder;   // where s_path's last step lies
std::array<char, PATH_MAX> s_outside;  // where s_folder lies

void pause_ms(int milliseconds) {
    poll(nullptr, 0, milliseconds);
}

// Copies `path` up to its last slash.
void parent_of(std::array<char, PATH_MAX>& parent, std::string_view path) {
    const size_t slash = path.rfind('/');
    const std::string_view text = slash == std::string_view::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    text.copy(parent.data(), parent.size() - 1);
}

void set_path() {
    const char* named = getenv("MODEMLINK_SOCKET");
    const std::string_view path = named != nullptr ? named : c_modem_link_path;
    path.copy(s_path.data(), s_path.size() - 1);
    parent_of(s_folder, s_path.data());
    parent_of(s_outside, s_folder.data());
}

// A connected socket, or -1.
int connect_once() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string_view path = s_path.data();
    if (path.size() >= sizeof(address.sun_path)) {
        return -1;
    }
    path.copy(address.sun_path, path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const int error = errno;
        close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

// Watches the socket's folder, or, while that doesn't exist, the folder around it. False when neither can be.
bool watch(int notify) {
    constexpr uint32_t c_signs = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
    return notify >= 0 && (inotify_add_watch(notify, s_folder.data(), c_signs) >= 0 ||
                           inotify_add_watch(notify, s_outside.data(), c_signs) >= 0);
}

// Waits for a sign of the manager, `pause` at most (-1 for no limit). True when there was one.
bool wait_for_sign(int notify, int pause) {
    pollfd waiting = {notify, POLLIN, 0};  // poll passes over a negative descriptor
    if (poll(&waiting, 1, pause) <= 0) {
        return false;
    }
    std::array<char, 4096> signs;
    while (read(notify, signs.data(), signs.size()) > 0) {
    }
    return true;
}

// Returns once there is a connection.
int connect_to_manager() {
    // The kernel takes some 20 ms to close a watch: none for a manager that is there already.
    int fd = connect_once();
    if (fd >= 0) {
        return fd;
    }
    const int notify = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    bool watched = watch(notify);
    fd = connect_once();  // what appeared before the watch gives no sign
    for (int tries = 0; fd < 0; fd = connect_once()) {
        // What isn't there will be seen to come; what refuses may only not be listening yet; the rest (no descriptors
        // left, say) passes unseen.
        const bool soon = errno != ENOENT && tries < c_tries;
        const bool seen = watched && (errno == ENOENT || errno == ECONNREFUSED);
        const int pause = soon ? c_first_pause_ms << tries : seen ? -1 : c_blind_pause_ms;
        if (wait_for_sign(notify, pause)) {
            tries = 0;
            watched = watch(notify);  // the folder may be what has appeared
        } else if (soon) {
            ++tries;
        } else {
            watched = watch(notify);
        }
    }
    if (notify >= 0) {
        close(notify);
    }
    return fd;
}

bool send_word(int fd, uint32_t word) {
    const ModemLinkWord bytes = modem_link_pack(word);
    ssize_t sent = 0;
    do {
        sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(bytes.size());
}

// False when the manager has hung up.
bool receive_word(int fd, uint32_t& word) {
    ModemLinkWord bytes;
    for (size_t have = 0; have < bytes.size();) {
        const ssize_t got = recv(fd, bytes.data() + have, bytes.size() - have, 0);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return false;
        }
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    word = modem_link_unpack(bytes);
    return true;
}

void set_connection(int fd) {
    pthread_mutex_lock(&s_lock);
    s_connection = fd;
    pthread_mutex_unlock(&s_lock);
}

void* event_thread(void*) {
    for (;;) {
        const int fd = connect_to_manager();
        if (send_word(fd, s_client.load(std::memory_order_relaxed))) {
            set_connection(fd);
            uint32_t event = 0;
            while (receive_word(fd, event)) {
                s_handler.load(std::memory_order_acquire)(event);
            }
            set_connection(-1);
        }
        close(fd);
        pause_ms(c_hangup_pause_ms);
    }
}

// Under s_lock. The thread blocks no signals: the threads that a handler starts inherit its mask.
bool start_thread() {
    set_path();
    pthread_t thread = {};
    if (pthread_create(&thread, nullptr, event_thread, nullptr) != 0) {
        return false;
    }
    pthread_detach(thread);
    return true;
}

}  // namespace

int registerMEH(uint32_t client, void (*handler)(uint32_t event)) {
    if (handler == nullptr) {
        return -1;
    }
    pthread_mutex_lock(&s_lock);
    s_client.store(client, std::memory_order_relaxed);
    s_handler.store(handler, std::memory_order_release);
    s_thread_runs = s_thread_runs || start_thread();
    const bool runs = s_thread_runs;
    pthread_mutex_unlock(&s_lock);
    return runs ? 0 : -1;
}

int reqMEH(uint32_t request) {
    pthread_mutex_lock(&s_lock);
    const bool sent = s_connection >= 0 && send_word(s_connection, request);
    pthread_mutex_unlock(&s_lock);
    return sent ? 0 : -1;
}
