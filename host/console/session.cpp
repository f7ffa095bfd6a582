#include "host/console/session.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "host/console/messages.h"
#include "host/console/parcel_text.h"
#include "host/console/protocol.h"

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr auto c_connect_period = 100ms;
constexpr size_t c_length_word = 4;
constexpr size_t c_largest_message = 8192;
constexpr size_t c_most_events = 100'000;
constexpr int c_connected = 1034;

uint32_t big_endian(std::string_view bytes) {
    uint32_t value = 0;
    for (const char byte : bytes) {
        value = value << 8U | static_cast<uint8_t>(byte);
    }
    return value;
}

std::string before(const std::string& blank, const std::string& text) {
    return text.empty() ? "" : blank + text;
}

// The lines of a report, without the empty ones between them.
std::string readable(const std::string& text) {
    constexpr std::string_view c_end = "\r\n";
    std::string lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(c_end, at), text.size());
        lines.append(text, at, end - at);
        at = end;
        while (text.compare(at, c_end.size(), c_end) == 0) {
            at += c_end.size();
        }
        lines += at > end ? "\n    " : "";
    }
    return lines;
}

}  // namespace

std::string time_text(Milliseconds time) {
    char text[32];
    const int decimals = time < 1ms ? 2 : time < 10ms ? 1 : 0;
    std::snprintf(text, sizeof(text), "%.*f ms", decimals, time.count());
    return text;
}

Session::Session(std::string path, std::string tag, Screen& screen)
    : path_(std::move(path)), tag_(std::move(tag)), screen_(screen) {
    connect();
}

Session::~Session() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

void Session::connect() {
    next_connect_ = Clock::now() + c_connect_period;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        close(fd);
        return;
    }
    fd_ = fd;
    say("connected to " + path_);
}

void Session::hang_up(const std::string& why) {
    say(why);
    close(fd_);
    fd_ = -1;
    greeted_ = false;
    in_.clear();
    out_.clear();
    const auto lost = std::exchange(asked_, {});
    for (const auto& [serial, asked] : lost) {
        if (asked.is_traffic) {
            ++traffic_.lost;
        } else {
            say("< " + request_name(asked.request) + " LOST");
            add({true, asked.request, c_lost, ""});
        }
    }
}

void Session::collect(std::vector<pollfd>& fds) const {
    if (fd_ >= 0) {
        fds.push_back({fd_, static_cast<short>(out_.empty() ? POLLIN : POLLIN | POLLOUT), 0});
    }
}

void Session::ready(const pollfd& fd) {
    if (fd.fd != fd_ || fd_ < 0) {
        return;
    }
    if ((fd.revents & POLLOUT) != 0) {
        flush();
    }
    if ((fd.revents & ~POLLOUT) == 0) {
        return;
    }
    char bytes[c_largest_message];
    const ssize_t got = recv(fd_, bytes, sizeof(bytes), 0);
    if (got > 0) {
        in_.append(bytes, static_cast<size_t>(got));
        take_messages();
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        hang_up("rild hung up");
    }
}

Clock::time_point Session::tick() {
    const auto now = Clock::now();
    if (fd_ < 0) {
        if (now >= next_connect_) {
            connect();
        }
        return next_connect_;
    }
    if (!traffic_.on) {
        return Clock::time_point::max();
    }
    if (now >= traffic_.next) {
        // A rild that reads nothing gets nothing more.
        if (greeted_ && out_.empty()) {
            send(traffic_.requests[static_cast<size_t>(traffic_.sent % traffic_.requests.size())], "", true);
            ++traffic_.sent;
        }
        traffic_.next = std::max(traffic_.next + traffic_.period, now);
    }
    return traffic_.next;
}

bool Session::ask(int request, std::string_view arguments, const std::string& shown) {
    if (fd_ < 0) {
        return false;
    }
    say("> " + request_name(request) + before(" ", shown));
    send(request, arguments, false);
    return true;
}

void Session::send(int request, std::string_view arguments, bool is_traffic) {
    ++serial_;
    asked_[serial_] = {request, is_traffic, Clock::now()};
    std::string parcel;
    put_int32(parcel, request);
    put_int32(parcel, serial_);
    parcel += arguments;
    for (size_t i = c_length_word; i > 0; --i) {
        out_ += static_cast<char>(parcel.size() >> 8 * (i - 1));
    }
    out_ += parcel;
    flush();
}

// A broken connection shows in the reading.
void Session::flush() {
    const ssize_t sent = ::send(fd_, out_.data(), out_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) {
        out_.erase(0, static_cast<size_t>(sent));
    } else if (errno != EAGAIN && errno != EINTR) {
        out_.clear();
    }
}

void Session::take_messages() {
    while (in_.size() >= c_length_word) {
        const size_t length = big_endian(std::string_view(in_).substr(0, c_length_word));
        if (length + c_length_word > c_largest_message || length < 2 * sizeof(int32_t)) {
            hang_up("rild sent a message of " + std::to_string(length) + " bytes: hung up");
            return;
        }
        if (in_.size() - c_length_word < length) {
            return;
        }
        const std::string message = in_.substr(c_length_word, length);
        in_.erase(0, c_length_word + length);
        take(message);
    }
}

void Session::take(std::string_view message) {
    ParcelCursor head(message);
    const int32_t kind = head.int32();
    const int32_t number = head.int32();
    const std::string_view data = message.substr(2 * sizeof(int32_t));
    if (kind == 0) {
        take_completion(number, data);
    } else if (kind == 1) {
        take_unsol(number, data);
    } else {
        say("!! a message of kind " + std::to_string(kind));
    }
}

void Session::take_completion(int32_t serial, std::string_view data) {
    ParcelCursor parcel(data);
    const int32_t error = parcel.int32();
    const auto found = asked_.find(serial);
    if (found == asked_.end() || !parcel.good()) {
        ++strangers_;
        say("!! an answer to nothing that is open, serial " + std::to_string(serial));
        return;
    }
    const Asked asked = found->second;
    asked_.erase(found);
    if (asked.is_traffic) {
        count(asked, error);
        return;
    }
    std::string value = parcel.left() != 0 ? text_of(response_layout(asked.request), parcel) : "";
    value += message_in_answer(asked.request, value);
    say("< " + request_name(asked.request) + " " + error_name(error) + before(" ", readable(value)) + " (" +
        time_text(Clock::now() - asked.when) + ")");
    add({true, asked.request, error, value});
}

void Session::count(const Asked& asked, int error) {
    ++traffic_.answered;
    ++traffic_.by_error[error];
    traffic_.slowest = std::max<Milliseconds>(traffic_.slowest, Clock::now() - asked.when);
}

void Session::take_unsol(int32_t number, std::string_view data) {
    ParcelCursor parcel(data);
    std::string value = text_of(unsol_layout(number), parcel);
    value += message_in_unsol(number, value);
    say("* " + unsol_name(number) + before(" ", value));
    greeted_ = greeted_ || number == c_connected;
    add({false, number, 0, value});
}

void Session::add(Event event) {
    events_.push_back(std::move(event));
    if (events_.size() > c_most_events) {
        events_.pop_front();
    }
}

size_t Session::outstanding() const {
    return static_cast<size_t>(
        std::count_if(asked_.begin(), asked_.end(), [](const auto& entry) { return !entry.second.is_traffic; }));
}

std::vector<int32_t> Session::unanswered_traffic() const {
    std::vector<int32_t> serials;
    for (const auto& [serial, asked] : asked_) {
        if (asked.is_traffic) {
            serials.push_back(serial);
        }
    }
    return serials;
}

void Session::forget() {
    events_.clear();
}
