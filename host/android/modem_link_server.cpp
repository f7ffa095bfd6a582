#include "host/android/modem_link_server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct Client {
    int fd = -1;
    bool registered = false;
    bool dead = false;  // to be closed by the server's thread
    ModemLinkWord in = {};
    size_t have = 0;  // bytes in `in`
    std::string out;  // not yet taken by the socket
};

void flush(Client& client) {
    while (!client.dead && !client.out.empty()) {
        const ssize_t sent = ::send(client.fd, client.out.data(), client.out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            client.out.erase(0, static_cast<size_t>(sent));
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            client.dead = true;
        }
    }
}

void queue(Client& client, uint32_t event) {
    const ModemLinkWord bytes = modem_link_pack(event);
    client.out.append(bytes.begin(), bytes.end());
    flush(client);
    client.dead = client.dead || client.out.size() > c_modem_link_backlog * sizeof(ModemLinkWord);
}

}  // namespace

struct ModemLinkServer::State {
    ModemLinkListener listener;
    std::string path;
    int listening = -1;
    int wake = -1;  // an eventfd: the thread looks at everything anew
    ino_t socket_file = 0;

    std::mutex lock;  // of everything below
    bool stop = false;
    std::optional<uint32_t> last_state;
    int last_client = 0;
    std::map<int, Client> clients;

    std::thread thread;

    bool listen_at();
    void serve();
    std::vector<pollfd> wait();
    void accept_all();
    void read_all(int id, Client& client, std::vector<std::function<void()>>& news);
    void take_word(int id, Client& client, std::vector<std::function<void()>>& news);
    void bury(std::vector<std::function<void()>>& news);
    void send_to_all(uint32_t event);
    void wake_up() const;
    ~State();
};

// The socket gets its name by rename once it listens, so whoever sees the name can connect.
bool ModemLinkServer::State::listen_at() {
    const std::string made = path + "." + std::to_string(getpid());
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (made.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    made.copy(address.sun_path, made.size());
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (wake < 0 || listening < 0) {
        return false;
    }
    unlink(made.c_str());
    struct stat info = {};
    if (bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        return false;
    }
    if (chmod(made.c_str(), 0666) != 0 || stat(made.c_str(), &info) != 0 || listen(listening, SOMAXCONN) != 0 ||
        rename(made.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(made.c_str());
        errno = error;
        return false;
    }
    socket_file = info.st_ino;
    return true;
}

ModemLinkServer::State::~State() {
    struct stat info = {};
    if (socket_file != 0 && stat(path.c_str(), &info) == 0 && info.st_ino == socket_file) {
        unlink(path.c_str());
    }
    for (auto& [id, client] : clients) {
        close(client.fd);
    }
    for (const int fd : {listening, wake}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void ModemLinkServer::State::wake_up() const {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = write(wake, &one, sizeof(one));
}

// Entries 0 and 1 are the listening socket and the wake-up, then one entry per client in the map's order.
std::vector<pollfd> ModemLinkServer::State::wait() {
    std::vector<pollfd> waiting = {{listening, POLLIN, 0}, {wake, POLLIN, 0}};
    {
        const std::lock_guard guard(lock);
        for (const auto& [id, client] : clients) {
            waiting.push_back({client.fd, static_cast<short>(client.out.empty() ? POLLIN : POLLIN | POLLOUT), 0});
        }
    }
    poll(waiting.data(), waiting.size(), -1);
    return waiting;
}

void ModemLinkServer::State::accept_all() {
    for (;;) {
        const int fd = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd >= 0) {
            clients[++last_client].fd = fd;
        } else if (errno == EMFILE || errno == ENFILE) {
            poll(nullptr, 0, 100);  // the caller stays in the queue, and the descriptor readable
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return;
        }
    }
}

void ModemLinkServer::State::take_word(int id, Client& client, std::vector<std::function<void()>>& news) {
    const uint32_t word = modem_link_unpack(client.in);
    const auto& function = client.registered ? listener.request : listener.registered;
    if (function) {
        news.emplace_back([&function, id, word] { function(id, word); });
    }
    if (!client.registered) {
        client.registered = true;
        if (last_state) {
            queue(client, *last_state);
        }
    }
}

void ModemLinkServer::State::read_all(int id, Client& client, std::vector<std::function<void()>>& news) {
    while (!client.dead) {
        const ssize_t got =
            recv(client.fd, client.in.data() + client.have, client.in.size() - client.have, MSG_DONTWAIT);
        if (got > 0) {
            client.have += static_cast<size_t>(got);
            if (client.have == client.in.size()) {
                client.have = 0;
                take_word(id, client, news);
            }
        } else if (got < 0 && errno == EAGAIN) {
            return;
        } else if (got == 0 || errno != EINTR) {
            client.dead = true;
        }
    }
}

void ModemLinkServer::State::bury(std::vector<std::function<void()>>& news) {
    for (auto at = clients.begin(); at != clients.end();) {
        const auto& [id, client] = *at;
        if (!client.dead) {
            ++at;
            continue;
        }
        if (client.registered && listener.gone) {
            news.emplace_back([this, gone = id] { listener.gone(gone); });
        }
        close(client.fd);
        at = clients.erase(at);
    }
}

void ModemLinkServer::State::serve() {
    for (;;) {
        const std::vector<pollfd> waited = wait();
        std::vector<std::function<void()>> news;  // told without the lock, so that the listener may call the server
        {
            const std::lock_guard guard(lock);
            if (stop) {
                return;
            }
            uint64_t count = 0;
            [[maybe_unused]] const ssize_t result = read(wake, &count, sizeof(count));
            for (auto& [id, client] : clients) {
                flush(client);
                read_all(id, client, news);
            }
            if ((waited[0].revents & POLLIN) != 0) {
                accept_all();
            }
            bury(news);
        }
        for (const auto& tell : news) {
            tell();
        }
    }
}

void ModemLinkServer::State::send_to_all(uint32_t event) {
    for (auto& [id, client] : clients) {
        if (client.registered && !client.dead) {
            queue(client, event);
        }
    }
    wake_up();  // for what is left over and for the dead
}

ModemLinkServer::ModemLinkServer(std::unique_ptr<State> state) : state_(std::move(state)) {}

std::unique_ptr<ModemLinkServer> ModemLinkServer::start(const std::string& path, ModemLinkListener listener) {
    auto state = std::make_unique<State>();
    state->path = path;
    state->listener = std::move(listener);
    if (!state->listen_at()) {
        return nullptr;
    }
    state->thread = std::thread([server = state.get()] { server->serve(); });
    return std::unique_ptr<ModemLinkServer>(new ModemLinkServer(std::move(state)));
}

ModemLinkServer::~ModemLinkServer() {
    {
        const std::lock_guard guard(state_->lock);
        state_->stop = true;
    }
    state_->wake_up();
    state_->thread.join();
}

void ModemLinkServer::broadcast(uint32_t event) {
    const std::lock_guard guard(state_->lock);
    state_->send_to_all(event);
}

void ModemLinkServer::announce(uint32_t event) {
    const std::lock_guard guard(state_->lock);
    state_->last_state = event;
    state_->send_to_all(event);
}

void ModemLinkServer::forget() {
    const std::lock_guard guard(state_->lock);
    state_->last_state.reset();
}

bool ModemLinkServer::send(int client, uint32_t event) {
    const std::lock_guard guard(state_->lock);
    const auto at = state_->clients.find(client);
    if (at == state_->clients.end() || at->second.dead || !at->second.registered) {
        return false;
    }
    queue(at->second, event);
    state_->wake_up();
    return true;
}

size_t ModemLinkServer::clients() {
    const std::lock_guard guard(state_->lock);
    size_t count = 0;
    for (const auto& [id, client] : state_->clients) {
        count += client.registered && !client.dead ? 1 : 0;
    }
    return count;
}
