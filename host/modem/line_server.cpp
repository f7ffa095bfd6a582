#include "host/modem/line_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "host/modem/unix_socket.h"

std::unique_ptr<LineServer> LineServer::start(Loop& loop, const std::string& path, LineListener listener) {
    const int fd = listen_unix(path);
    if (fd < 0) {
        return nullptr;
    }
    return std::unique_ptr<LineServer>(new LineServer(loop, path, fd, std::move(listener)));
}

LineServer::LineServer(Loop& loop, std::string path, int listening, LineListener listener)
    : loop_(loop), path_(std::move(path)), listening_(listening), listener_(std::move(listener)) {
    loop_.watch(listening_, POLLIN, [this](short) { accept_all(); });
}

LineServer::~LineServer() {
    for (const auto& [id, caller] : callers_) {
        loop_.forget(caller.fd);
        close(caller.fd);
    }
    unlink(path_.c_str());
    loop_.forget(listening_);
    close(listening_);
}

void LineServer::accept_all() {
    for (int fd = 0; (fd = accept_unix(listening_)) >= 0;) {
        const int id = ++last_caller_;
        callers_[id].fd = fd;
        loop_.watch(fd, POLLIN, [this, id](short events) { serve(id, events); });
        if (listener_.arrived) {
            listener_.arrived(id);
        }
    }
}

void LineServer::hang_up(int id) {
    const auto at = callers_.find(id);
    if (at == callers_.end()) {
        return;
    }
    loop_.forget(at->second.fd);
    close(at->second.fd);
    callers_.erase(at);
    if (listener_.gone) {
        listener_.gone(id);
    }
}

// One read; the descriptor comes back when there is more. False at the end of the connection. A caller that has shut
// down its sending side gets the answers to what it sent and is gone then.
bool LineServer::read_some(Caller& caller) {
    std::array<char, 16384> bytes;
    const ssize_t got = recv(caller.fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got > 0) {
        caller.in.append(bytes.data(), static_cast<size_t>(got));
        return caller.in.size() <= c_line_longest || caller.in.find('\n') != std::string::npos;
    }
    return got < 0 && (errno == EINTR || errno == EAGAIN);
}

bool LineServer::flush(Caller& caller) {
    while (!caller.out.empty()) {
        const ssize_t sent = ::send(caller.fd, caller.out.data(), caller.out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            caller.out.erase(0, static_cast<size_t>(sent));
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            return false;
        }
    }
    loop_.change(caller.fd, static_cast<short>(caller.out.empty() ? POLLIN : POLLIN | POLLOUT));
    return true;
}

// A line may make the listener hang up on anybody, so the caller is looked up anew for each.
void LineServer::take_lines(int id) {
    for (;;) {
        const auto at = callers_.find(id);
        const size_t end = at == callers_.end() ? std::string::npos : at->second.in.find('\n');
        if (end == std::string::npos) {
            return;
        }
        std::string line = at->second.in.substr(0, end);
        at->second.in.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (listener_.line) {
            listener_.line(id, line);
        }
    }
}

void LineServer::serve(int id, short) {
    const auto at = callers_.find(id);
    if (at == callers_.end()) {
        return;
    }
    const bool open = flush(at->second) && read_some(at->second);
    take_lines(id);
    if (!open) {
        hang_up(id);
    }
}

bool LineServer::send(int caller, const std::string& text) {
    const auto at = callers_.find(caller);
    if (at == callers_.end() || at->second.out.size() + text.size() > c_line_backlog) {
        return false;
    }
    at->second.out += text;
    flush(at->second);  // a broken connection is noticed by its descriptor
    return true;
}
