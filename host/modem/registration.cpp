#include "host/modem/registration.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "host/modem/say.h"
#include "host/modem/unix_socket.h"

namespace {

constexpr std::array<const char*, 3> c_paths = {c_reg_path, c_send_path, c_recv_path};
constexpr std::string_view c_register = "REGISTER";
constexpr std::string_view c_deregister = "DEREGISTER";
constexpr std::string_view c_greeting = "HELLO";
constexpr size_t c_most_attempts = 64;

// A client lets five seconds pass before it gives up a step.
constexpr Loop::Milliseconds c_hello_time(10000);
constexpr Loop::Milliseconds c_step_time(3000);

std::span<const uint8_t> bytes_of(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// What is there to read, appended to `in`. False at the end of the connection.
bool read_some(int fd, std::string& in) {
    std::array<char, 4096> bytes;
    const ssize_t got = recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got > 0) {
        in.append(bytes.data(), static_cast<size_t>(got));
    }
    return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

bool is_closed(int fd) {
    char byte = 0;
    return recv(fd, &byte, sizeof(byte), MSG_PEEK | MSG_DONTWAIT) == 0;
}

}  // namespace

std::unique_ptr<Registration> Registration::start(Loop& loop, Capture& capture, RegistrationListener listener,
                                                  std::string& error) {
    std::unique_ptr<Registration> it(new Registration(loop, capture, std::move(listener)));
    for (size_t i = 0; i < c_paths.size(); ++i) {
        it->listening_[i] = listen_unix(c_paths[i]);
        if (it->listening_[i] < 0) {
            error = std::string(c_paths[i]) + ": " + strerror(errno);
            return nullptr;
        }
    }
    Registration* self = it.get();
    loop.watch(it->listening_[0], POLLIN, [self](short) { self->accept_reg(); });
    loop.watch(it->listening_[1], POLLIN, [self](short) { self->accept_next(self->listening_[1], Step::SEND); });
    loop.watch(it->listening_[2], POLLIN, [self](short) { self->accept_next(self->listening_[2], Step::RECV); });
    return it;
}

Registration::Registration(Loop& loop, Capture& capture, RegistrationListener listener)
    : loop_(loop), capture_(capture), listener_(std::move(listener)) {}

Registration::~Registration() {
    for (auto& [id, attempt] : attempts_) {
        loop_.cancel(attempt.deadline);
        close_fd(attempt.reg);
        close_fd(attempt.send);
        close_fd(attempt.recv);
    }
    for (size_t i = 0; i < c_paths.size(); ++i) {
        if (listening_[i] >= 0) {
            unlink(c_paths[i]);
            close_fd(listening_[i]);
        }
    }
}

void Registration::close_fd(int& fd) {
    if (fd >= 0) {
        loop_.forget(fd);
        close(fd);
        fd = -1;
    }
}

// Ends an attempt. The next one of its process, which may have waited for this, begins.
void Registration::give_up(int id, const char* why) {
    Attempt& attempt = attempts_.at(id);
    say("registration of process %d given up: %s", static_cast<int>(attempt.process), why);
    const pid_t process = attempt.process;
    loop_.cancel(attempt.deadline);
    close_fd(attempt.reg);
    close_fd(attempt.send);
    close_fd(attempt.recv);
    attempts_.erase(id);
    loop_.after(Loop::Milliseconds(0), [this, process] { admit_next(process); });
}

void Registration::set_deadline(int id) {
    Attempt& attempt = attempts_.at(id);
    loop_.cancel(attempt.deadline);
    const auto time = attempt.step == Step::HELLO ? c_hello_time : c_step_time;
    attempt.deadline = loop_.after(time, [this, id] { give_up(id, "it keeps silent"); });
}

void Registration::accept_reg() {
    for (int fd = 0; (fd = accept_unix(listening_[0])) >= 0;) {
        if (attempts_.size() >= c_most_attempts) {
            give_up(attempts_.begin()->first, "too many others");
        }
        const int id = ++last_attempt_;
        Attempt& attempt = attempts_[id];
        attempt.process = peer_process(fd);
        attempt.reg = fd;
        loop_.watch(fd, POLLIN, [this, id](short) { read_reg(id); });
        set_deadline(id);
    }
}

void Registration::read_reg(int id) {
    Attempt& attempt = attempts_.at(id);
    if (attempt.step == Step::FAREWELL) {
        // It may be through with this socket before the daemon has read its last words on the other.
        close_fd(attempt.reg);
        return;
    }
    if (!read_some(attempt.reg, attempt.in)) {
        give_up(id, "it hung up");
        return;
    }
    if (attempt.step != Step::HELLO || c_register.substr(0, attempt.in.size()) != attempt.in) {
        give_up(id, "it says something else than REGISTER");
        return;
    }
    if (attempt.in.size() == c_register.size()) {
        attempt.step = Step::QUEUED;
        loop_.cancel(attempt.deadline);
        admit_next(attempt.process);
    }
}

// The next attempt of a process, unless one is under way.
void Registration::admit_next(pid_t process) {
    int next = 0;
    for (const auto& [id, attempt] : attempts_) {
        if (attempt.process != process || attempt.step == Step::HELLO) {
            continue;
        }
        if (attempt.step != Step::QUEUED) {
            return;
        }
        next = next == 0 ? id : next;
    }
    if (next != 0) {
        admit(next);
    }
}

// The lowest one, so that the first client of a phone is always 1. 0 when all are taken.
uint8_t Registration::free_app_id() const {
    for (int id = 1; id <= UINT8_MAX; ++id) {
        const bool promised = std::any_of(attempts_.begin(), attempts_.end(),
                                          [id](const auto& entry) { return entry.second.app_id == id; });
        if (!promised && !listener_.taken(static_cast<uint8_t>(id))) {
            return static_cast<uint8_t>(id);
        }
    }
    return 0;
}

void Registration::admit(int id) {
    Attempt& attempt = attempts_.at(id);
    attempt.app_id = free_app_id();
    capture_.add(attempt.app_id, Channel::REG, true, bytes_of(c_register));
    if (attempt.app_id == 0) {
        give_up(id, "all application ids are taken");
        return;
    }
    attempt.in.clear();
    attempt.step = Step::SEND;
    set_deadline(id);
    const char reply = static_cast<char>(attempt.app_id);
    greet(id, attempt.reg, Channel::REG, {&reply, 1});
}

bool Registration::greet(int id, int fd, Channel channel, std::string_view text) {
    if (::send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) != static_cast<ssize_t>(text.size())) {
        give_up(id, "it cannot be answered");
        return false;
    }
    capture_.add(attempts_.at(id).app_id, channel, false, bytes_of(text));
    return true;
}

// A connection to the second or third socket belongs to the attempt of its process that waits for it. One for which
// nobody waits is left over from an attempt that was given up.
void Registration::accept_next(int listening, Step step) {
    for (int fd = 0; (fd = accept_unix(listening)) >= 0;) {
        const pid_t process = peer_process(fd);
        const auto at = std::find_if(attempts_.begin(), attempts_.end(), [&](const auto& entry) {
            return entry.second.step == step && entry.second.process == process;
        });
        if (at == attempts_.end() || is_closed(fd)) {
            close(fd);
            continue;
        }
        const int id = at->first;
        Attempt& attempt = at->second;
        (step == Step::SEND ? attempt.send : attempt.recv) = fd;
        attempt.step = step == Step::SEND ? Step::RECV : Step::FAREWELL;
        set_deadline(id);
        if (step == Step::SEND) {
            loop_.watch(fd, POLLIN, [this, id](short) { read_send(id); });
        }
        greet(id, fd, step == Step::SEND ? Channel::SEND : Channel::RECV, c_greeting);
    }
}

void Registration::read_send(int id) {
    Attempt& attempt = attempts_.at(id);
    if (!read_some(attempt.send, attempt.in)) {
        give_up(id, "it hung up");
        return;
    }
    const std::string farewell = std::string(c_deregister) + static_cast<char>(attempt.app_id);
    const size_t common = std::min(farewell.size(), attempt.in.size());
    if (attempt.step != Step::FAREWELL || attempt.in.substr(0, common) != farewell.substr(0, common)) {
        give_up(id, "it says something else than DEREGISTER and its id");
        return;
    }
    if (attempt.in.size() < farewell.size()) {
        return;
    }
    capture_.add(attempt.app_id, Channel::SEND, true, bytes_of(farewell));
    Newcomer newcomer{attempt.app_id,
                      attempt.process,
                      attempt.send,
                      attempt.recv,
                      {attempt.in.begin() + static_cast<ptrdiff_t>(farewell.size()), attempt.in.end()}};
    const pid_t process = attempt.process;
    loop_.cancel(attempt.deadline);
    loop_.forget(attempt.send);
    close_fd(attempt.reg);
    attempts_.erase(id);
    listener_.arrived(std::move(newcomer));
    admit_next(process);
}
