#include "host/android/rild/output.h"

#include <sys/socket.h>

#include <cerrno>

size_t Output::write(std::span<const uint8_t> bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t result = ::send(fd_, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (result < 0 && errno == EINTR) {
            continue;
        }
        if (result < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            state_ = State::peer_gone;
        }
        if (result <= 0) {
            break;
        }
        written += static_cast<size_t>(result);
    }
    return written;
}

bool Output::start(std::span<const uint8_t> greeting) {
    unsent_.insert(unsent_.begin(), greeting.begin(), greeting.end());
    started_ = true;
    flush();
    return state_ == State::good;
}

bool Output::send(std::span<const uint8_t> message) {
    if (state_ != State::good) {
        return false;
    }
    const size_t written = started_ && unsent_.empty() ? write(message) : 0;
    unsent_.insert(unsent_.end(), message.begin() + static_cast<ptrdiff_t>(written), message.end());
    if (state_ == State::good && unsent_.size() > c_most_unsent) {
        state_ = State::overflown;
    }
    return state_ == State::good;
}

void Output::flush() {
    if (started_ && state_ == State::good) {
        const size_t written = write(unsent_);
        unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<ptrdiff_t>(written));
    }
}
