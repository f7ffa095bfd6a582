#include "host/android/rild/server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

#include "host/android/rild/forms.h"
#include "host/android/rild/names.h"
#include "host/android/rild/responses.h"

namespace {

constexpr int32_t c_solicited = 0;
constexpr int32_t c_unsolicited = 1;
constexpr int c_most_waiting = 16;  // clients in the listen queue
constexpr mode_t c_socket_mode = 0666;

// A name for a log line, with the number for those that have none.
std::string named(std::string_view name, int number) {
    return name.empty() ? std::to_string(number) : std::string(name);
}

std::string request_name(int number) {
    return named(name_of(c_request_names, number), number);
}

std::string unsol_name(int number) {
    return named(name_of(c_unsol_names, number), number);
}

int64_t milliseconds_since_boot() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

bool make_address(const std::string& path, sockaddr_un& address) {
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    path.copy(address.sun_path, path.size());
    return true;
}

// Whether a process listens at the address.
bool is_served(const sockaddr_un& address) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int result = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const bool served = result == 0 || errno == EAGAIN;
    close(fd);
    return served;
}

}  // namespace

Server::Server(EventLoop& loop, const Log& log) : loop_(loop), log_(log) {
    loop_.serve([this](std::vector<pollfd>& fds) { collect(fds); }, [this](const pollfd& fd) { ready(fd); });
}

Server::~Server() {
    drop_client();
    if (listen_fd_ >= 0) {
        close(listen_fd_);
    }
}

bool Server::listen(const std::string& path) {
    sockaddr_un address = {};
    if (!make_address(path, address)) {
        return false;
    }
    if (is_served(address)) {
        errno = EADDRINUSE;
        return false;
    }
    unlink(path.c_str());
    listen_fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    return listen_fd_ >= 0 && bind(listen_fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
           chmod(path.c_str(), c_socket_mode) == 0 && ::listen(listen_fd_, c_most_waiting) == 0;
}

void Server::start(const RIL_RadioFunctions* functions) {
    functions_.store(functions, std::memory_order_release);
}

// ---------------------------------------------------------------------------------------------------------------------
// The client

// There is always one descriptor to wait for: the client's, or without one that of the next client to come.
void Server::collect(std::vector<pollfd>& fds) {
    std::unique_lock hold(lock_);
    if (client_ && client_->output.state() == Output::State::overflown) {
        hold.unlock();
        log_.say(Log::error, "the client reads nothing: hung up on it");
        drop_client();
        hold.lock();
    }
    if (client_) {
        const int in = busy_ ? 0 : POLLIN;
        const int out = client_->output.has_unsent() ? POLLOUT : 0;
        fds.push_back({client_->fd, static_cast<short>(in | out), 0});
    } else if (functions_.load(std::memory_order_relaxed) != nullptr) {
        fds.push_back({listen_fd_, POLLIN, 0});
    }
}

void Server::ready(const pollfd& fd) {
    if (!client_) {
        accept_client();
        return;
    }
    if ((fd.revents & POLLOUT) != 0) {
        const std::lock_guard hold(lock_);
        client_->output.flush();
    }
    // A hang-up shows up in the reading, behind the requests that came before it.
    if ((fd.revents & ~POLLOUT) != 0 && !busy_) {
        read_client();
    }
}

void Server::accept_client() {
    const int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) {
        return;
    }
    {
        const std::lock_guard hold(lock_);
        ++generation_;
        client_.emplace(Client{fd, Output(fd)});
    }
    log_.say(Log::flow, "client ", generation_, " is here");
    greet();
}

// What the library sends between the client's arrival and the end of this goes out behind the greeting. So no change of
// the radio state is lost: it is either in the greeting or behind it.
void Server::greet() {
    const RIL_RadioFunctions* functions = functions_.load(std::memory_order_relaxed);
    std::vector<uint8_t> greeting;
    const auto add = [this, &greeting](int number, const void* data, size_t length) {
        ParcelWriter parcel;
        if (put_unsolicited(number, data, length, parcel)) {
            const std::vector<uint8_t> message = parcel.take_message();
            greeting.insert(greeting.end(), message.begin(), message.end());
            log_.say(Log::flow, "< ", unsol_name(number));
        }
    };
    add(RIL_UNSOL_RIL_CONNECTED, &functions->version, sizeof(functions->version));
    add(RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED, nullptr, 0);
    const std::lock_guard hold(lock_);
    greeting.insert(greeting.end(), nitz_.begin(), nitz_.end());
    if (client_->output.start(greeting)) {
        nitz_.clear();
    }
}

void Server::drop_client() {
    if (client_) {
        log_.say(Log::flow, "client ", generation_, " is gone");
        const std::lock_guard hold(lock_);
        close(client_->fd);
        client_.reset();
    }
    cutter_.reset();
    busy_ = false;
}

void Server::read_client() {
    uint8_t bytes[c_largest_message];
    const ssize_t length = recv(client_->fd, bytes, sizeof(bytes), MSG_DONTWAIT);
    if (length > 0) {
        cutter_.feed(std::span(bytes).first(static_cast<size_t>(length)));
        dispatch();
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
        drop_client();
    }
}

// One message; the next one is a task of its own, so that callbacks that fell due meanwhile come before it.
void Server::dispatch() {
    MessageCutter::Message message;
    if (cutter_.next(message)) {
        handle(message);
    }
    busy_ = cutter_.has_next();
    if (busy_) {
        loop_.call_after({}, [this, generation = generation_] { dispatch_on(generation); });
    }
}

void Server::dispatch_on(unsigned generation) {
    if (client_ && generation == generation_) {
        dispatch();
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Requests

// Refusals are Android's answers: a number that it doesn't know isn't supported, arguments that it can't read are a
// failure.
void Server::handle(const MessageCutter::Message& message) {
    Request request;
    const Reading reading = read_request(message, request);
    if (reading == Reading::no_serial) {
        log_.say(Log::error, "a message of ", message.parcel.size(), " bytes has no serial: dropped");
        return;
    }
    const std::string name = request_name(request.number);
    log_.say(Log::flow, "[", request.serial, "] > ", name);
    if (reading == Reading::good) {
        RIL_Token token = open_token(request);
        functions_.load(std::memory_order_relaxed)
            ->onRequest(request.number, request.arguments.data, request.arguments.length, token);
        return;
    }
    const bool unknown = reading == Reading::unknown;
    log_.say(Log::error, "[", request.serial, "] ", name, " is ", unknown ? "unknown" : "malformed");
    respond({request.number, request.serial, generation_},
            unknown ? RIL_E_REQUEST_NOT_SUPPORTED : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

// Tokens are numbers in turn, never null. A token that is completed twice is known by it, which the address of a block
// would not allow once the block is used again.
RIL_Token Server::open_token(const Request& request) {
    const std::lock_guard hold(lock_);
    do {
        ++last_token_;
    } while (last_token_ == 0 || pending_.contains(last_token_));
    pending_[last_token_] = {request.number, request.serial, generation_};
    return reinterpret_cast<RIL_Token>(last_token_);
}

void Server::complete(RIL_Token token, RIL_Errno error, const void* data, size_t length) {
    Pending request = {};
    {
        const std::lock_guard hold(lock_);
        const auto found = pending_.find(reinterpret_cast<uintptr_t>(token));
        if (found != pending_.end()) {
            request = found->second;
            pending_.erase(found);
        }
    }
    if (request.generation == 0) {
        log_.say(Log::error, "token ", token, " is completed, but isn't open");
        return;
    }
    respond(request, error, data, length);
}

// A response that can't be sent as the library gave it leaves the client with an error instead of nothing.
void Server::respond(const Pending& request, RIL_Errno error, const void* data, size_t length) {
    const std::string name = request_name(request.number);
    const RIL_RadioFunctions* functions = functions_.load(std::memory_order_acquire);
    const auto start = [&request](RIL_Errno e) {
        ParcelWriter parcel;
        parcel.put_int32(c_solicited);
        parcel.put_int32(request.serial);
        parcel.put_int32(e);
        return parcel;
    };
    ParcelWriter parcel = start(error);
    if (data != nullptr) {
        const Form form = form_of_request(request.number).response;
        const bool in_form = put_response(form, data, length, functions->version, parcel);
        if (!in_form || parcel.too_large()) {
            log_.say(Log::error, "[", request.serial, "] ", name, ": the response of ", length, " bytes is ",
                     parcel.too_large() ? "too large" : "not in its form");
            error = error == RIL_E_SUCCESS ? RIL_E_GENERIC_FAILURE : error;
            parcel = start(error);
        }
    }
    const std::vector<uint8_t> message = parcel.take_message();
    bool sent = false;
    {
        const std::lock_guard hold(lock_);
        sent = request.generation == generation_ && send_locked(message);
    }
    log_.say(Log::flow, "[", request.serial, "] < ", name, " ", named(name_of(c_error_names, error), error),
             sent ? "" : ", dropped: its client is gone");
}

// ---------------------------------------------------------------------------------------------------------------------
// Unsolicited responses

// False when there is nothing to send.
bool Server::put_unsolicited(int number, const void* data, size_t length, ParcelWriter& parcel) {
    const RIL_RadioFunctions* functions = functions_.load(std::memory_order_acquire);
    const Form form = form_of_unsol(number);
    parcel.put_int32(c_unsolicited);
    parcel.put_int32(number);
    bool in_form = true;
    if (form == Form::nitz) {
        parcel.put_string(static_cast<const char*>(data));
        parcel.put_int64(milliseconds_since_boot());
    } else if (functions == nullptr) {
        return false;  // there can't be a client yet
    } else if (form == Form::radio_state) {
        // On the caller's thread, since on the loop's it would be the state of a later moment.
        parcel.put_int32(functions->onStateRequest());
    } else {
        in_form = put_response(form, data, length, functions->version, parcel);
    }
    if (!in_form || parcel.too_large()) {
        const char* why = form == Form::unknown ? "has no form"
                          : parcel.too_large()  ? "is too large"
                                                : "is not in its form";
        log_.say(Log::error, unsol_name(number), " of ", length, " bytes ", why, ": dropped");
        return false;
    }
    return true;
}

void Server::unsolicited(int number, const void* data, size_t length) {
    ParcelWriter parcel;
    if (!put_unsolicited(number, data, length, parcel)) {
        return;
    }
    std::vector<uint8_t> message = parcel.take_message();
    const bool is_nitz = form_of_unsol(number) == Form::nitz;
    bool sent = false;
    {
        const std::lock_guard hold(lock_);
        // A greeting under way takes the time along.
        const bool is_held = is_nitz && client_ && !client_->output.started();
        sent = !is_held && send_locked(message);
        if (is_nitz && !sent) {
            nitz_ = std::move(message);
        }
    }
    log_.say(Log::flow, "< ", unsol_name(number), sent ? "" : is_nitz ? ", kept for the next client" : ", no client");
}

bool Server::send_locked(const std::vector<uint8_t>& message) {
    if (!client_) {
        return false;
    }
    const bool sent = client_->output.send(message);
    if (client_->output.has_unsent() || client_->output.state() == Output::State::overflown) {
        loop_.wake();
    }
    return sent;
}
