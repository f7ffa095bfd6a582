#include "tests/harness/scripted_modem.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr const char* c_paths[3] = {"/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv"};
constexpr const char* c_marker = "/data/rpcd/rpcd.txt";

[[noreturn]] void die(const char* what) {
    perror(what);
    abort();
}

int listen_at(const char* path) {
    unlink(path);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(fd, 8) != 0) {
        die(path);
    }
    return fd;
}

uint32_t word(const Bytes& bytes, size_t at) {
    return uint32_t{bytes[at]} << 24U | uint32_t{bytes[at + 1]} << 16U | uint32_t{bytes[at + 2]} << 8U | bytes[at + 3];
}

void put_word(Bytes& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(value >> static_cast<unsigned>(shift)));
    }
}

void write_all(int fd, const Bytes& bytes) {
    (void)!send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

}  // namespace

ScriptedModem::ScriptedModem(uint8_t app_id, bool starts) : app_id_(app_id) {
    returns_[32] = {{1249}, {}};
    unlink(c_marker);
    if (starts) {
        start();
    }
}

ScriptedModem::~ScriptedModem() {
    unlink(c_marker);
    stop();
}

void ScriptedModem::start() {
    for (int i = 0; i < 3; ++i) {
        listeners_[i] = listen_at(c_paths[i]);
    }
    if (pipe(stop_pipe_) != 0) {
        die("pipe");
    }
    thread_ = std::thread([this] { serve(); });
    mkdir("/data/rpcd", 0755);
    FILE* marker = fopen(c_marker, "w");
    if (marker == nullptr) {
        die(c_marker);
    }
    fclose(marker);
}

void ScriptedModem::stop() {
    if (!thread_.joinable()) {
        return;
    }
    (void)!write(stop_pipe_[1], "x", 1);
    thread_.join();
    const std::lock_guard lock(lock_);
    for (int* fd : {&listeners_[0], &listeners_[1], &listeners_[2], &stop_pipe_[0], &stop_pipe_[1], &send_, &recv_}) {
        if (*fd >= 0) {
            close(std::exchange(*fd, -1));
        }
    }
    ++app_id_;
}

// One registration from its first byte to its last: "REGISTER", the id, two greetings, "DEREGISTER" and the id.
void ScriptedModem::register_client() {
    const int reg = accept(listeners_[0], nullptr, nullptr);
    char text[16] = {};
    if (recv(reg, text, 8, MSG_WAITALL) != 8 || memcmp(text, "REGISTER", 8) != 0) {
        die("registration");
    }
    write_all(reg, {app_id_});
    const int new_send = accept(listeners_[1], nullptr, nullptr);
    write_all(new_send, {0});
    const int new_recv = accept(listeners_[2], nullptr, nullptr);
    write_all(new_recv, {0});
    if (recv(new_send, text, 11, MSG_WAITALL) != 11 || memcmp(text, "DEREGISTER", 10) != 0) {
        die("end of registration");
    }
    close(reg);
    const std::lock_guard lock(lock_);
    send_ = new_send;
    recv_ = new_recv;
    changed_.notify_all();
}

void ScriptedModem::serve() {
    Bytes buffer;
    for (;;) {
        pollfd fds[3] = {{stop_pipe_[0], POLLIN, 0}, {listeners_[0], POLLIN, 0}, {send_, POLLIN, 0}};
        if (poll(fds, 3, -1) < 0) {
            continue;
        }
        if (fds[0].revents != 0) {
            return;
        }
        if (fds[1].revents != 0) {
            register_client();
            buffer.clear();
        }
        if (fds[2].fd >= 0 && fds[2].revents != 0) {
            uint8_t chunk[4096];
            const ssize_t got = recv(send_, chunk, sizeof(chunk), 0);
            if (got <= 0) {
                const std::lock_guard lock(lock_);
                close(send_);
                send_ = -1;
                continue;
            }
            buffer.insert(buffer.end(), chunk, chunk + got);
            while (buffer.size() >= 6 && buffer.size() >= word(buffer, 2)) {
                const auto size = static_cast<std::ptrdiff_t>(word(buffer, 2));
                answer(Bytes(buffer.begin(), buffer.begin() + size));
                buffer.erase(buffer.begin(), buffer.begin() + size);
            }
        }
    }
}

void ScriptedModem::answer(const Bytes& packet) {
    const std::lock_guard lock(lock_);
    const uint32_t id = word(packet, 8);
    if (unseen_.count(id) == 0) {
        received_.push_back(packet);
    }
    ++counts_[id];
    changed_.notify_all();
    std::vector<Return>& next = next_returns_[id];
    const bool has_next = !next.empty();
    Return once;
    if (has_next) {
        once = std::move(next.front());
        next.erase(next.begin());
    }
    auto& [values, output, silent] = has_next ? once : returns_[id];
    if (silent) {
        return;
    }
    const int32_t value = values.empty() ? 0 : values.front();
    if (values.size() > 1) {
        values.erase(values.begin());
    }
    Bytes reply = {2, 4};
    put_word(reply, static_cast<uint32_t>(22 + output.size()));
    reply.insert(reply.end(), {2, 4});
    put_word(reply, id + 1000);
    reply.insert(reply.end(), packet.begin() + 12, packet.begin() + 16);
    reply.insert(reply.end(), {2, 4});
    put_word(reply, static_cast<uint32_t>(value));
    reply.insert(reply.end(), output.begin(), output.end());
    write_all(recv_, reply);
    if (value == 0 && answers_[id]) {
        Bytes bytes = answers_[id](packet);
        const Bytes place = {0xAA, 0xAA, 0xAA, 0xAA};
        for (auto at = std::search(bytes.begin(), bytes.end(), place.begin(), place.end()); at != bytes.end();
             at = std::search(at, bytes.end(), place.begin(), place.end())) {
            std::copy(packet.begin() + 12, packet.begin() + 16, at);
        }
        write_all(recv_, bytes);
    }
}

void ScriptedModem::set_return(uint32_t id, int32_t value, const Bytes& output) {
    const std::lock_guard lock(lock_);
    returns_[id] = {{value}, output};
}

void ScriptedModem::set_next_returns(uint32_t id, std::vector<Return> returns) {
    const std::lock_guard lock(lock_);
    next_returns_[id] = std::move(returns);
}

void ScriptedModem::set_returns(uint32_t id, std::vector<int32_t> values) {
    const std::lock_guard lock(lock_);
    returns_[id] = {std::move(values), {}};
}

void ScriptedModem::set_silent(uint32_t id, bool silent) {
    const std::lock_guard lock(lock_);
    returns_[id].silent = silent;
}

void ScriptedModem::set_unseen(uint32_t id) {
    const std::lock_guard lock(lock_);
    unseen_.insert(id);
}

void ScriptedModem::set_answer(uint32_t id, const Bytes& bytes) {
    set_answer(id, [bytes](const Bytes&) { return bytes; });
}

void ScriptedModem::set_answer(uint32_t id, Answer answer) {
    const std::lock_guard lock(lock_);
    answers_[id] = std::move(answer);
}

void ScriptedModem::send(const Bytes& bytes) {
    const std::lock_guard lock(lock_);
    write_all(recv_, bytes);
}

std::vector<Bytes> ScriptedModem::take_received() {
    const std::lock_guard lock(lock_);
    return std::exchange(received_, {});
}

bool ScriptedModem::wait_registered() {
    std::unique_lock lock(lock_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return recv_ >= 0; });
}

bool ScriptedModem::wait_for(uint32_t id, size_t count) {
    std::unique_lock lock(lock_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return counts_[id] >= count; });
}
