#include "tests/host/modem/fixture.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "host/modem/unix_socket.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

// Longer than anything here takes; a test that runs into it has failed.
constexpr int c_patience_ms = 10000;

bool readable(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, c_patience_ms) == 1;
}

void nap() {
    const timespec time{0, 2000000};
    nanosleep(&time, nullptr);
}

}  // namespace

Bytes hex(const std::string& text) {
    const auto bytes = from_hex(text);
    EXPECT_TRUE(bytes) << text;
    return bytes.value_or(Bytes{});
}

// --- Connection ------------------------------------------------------------------------------------------------------

Connection::Connection(const std::string& path) : fd_(connect_unix(path)) {
    EXPECT_GE(fd_, 0) << path;
}

bool Connection::possible(const std::string& path) {
    const int fd = connect_unix(path);
    ::close(fd);
    return fd >= 0;
}

Connection::~Connection() {
    close();
}

Connection::Connection(Connection&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Connection& Connection::operator=(Connection&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

void Connection::close() {
    if (fd_ >= 0) {
        ::close(std::exchange(fd_, -1));
    }
}

void Connection::write(const Bytes& bytes) const {
    EXPECT_EQ(::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

Bytes Connection::read(size_t most) const {
    Bytes bytes(most);
    const ssize_t got = readable(fd_) ? recv(fd_, bytes.data(), most, 0) : 0;
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return bytes;
}

Bytes Connection::read_all(size_t size) const {
    Bytes bytes;
    while (bytes.size() < size) {
        const Bytes more = read(size - bytes.size());
        if (more.empty()) {
            return bytes;
        }
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

std::string Connection::line() const {
    std::string text;
    for (Bytes byte = read(1); !byte.empty() && byte[0] != '\n'; byte = read(1)) {
        text += static_cast<char>(byte[0]);
    }
    return text;
}

bool Connection::closed() const {
    char byte = 0;
    return readable(fd_) && recv(fd_, &byte, 1, 0) <= 0;
}

// --- Client ----------------------------------------------------------------------------------------------------------

Client::Client(Steps steps) {
    if (steps == Steps::ALL) {
        say_register();
        take_app_id();
        say_deregister();
    }
}

void Client::say_register() {
    reg.emplace_back("/data/rpc_reg");
    reg.back().write("REGISTER");
}

void Client::take_app_id() {
    const Bytes reply = reg.back().read(50);
    ASSERT_FALSE(reply.empty());
    app_id = reply[0];
    send_.emplace_back("/data/rpc_send");
    send = &send_.back();
    EXPECT_FALSE(send->read(50).empty());
    recv_.emplace_back("/data/rpc_recv");
    recv = &recv_.back();
    EXPECT_FALSE(recv->read(50).empty());
}

void Client::say_deregister() {
    send->write(std::string("DEREGISTER") + static_cast<char>(app_id));
}

std::string Client::packet(std::string_view indication) const {
    for (;;) {
        Bytes bytes = recv->read_all(c_rpc_header_size);
        if (bytes.size() < c_rpc_header_size) {
            return to_hex(bytes);
        }
        const size_t size = static_cast<size_t>(bytes[4]) << 8 | bytes[5];
        const Bytes rest = recv->read_all(size - bytes.size());
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        const uta::Function* function = uta::find_function(static_cast<uint32_t>(bytes[10] << 8 | bytes[11]));
        const bool indicates = function != nullptr && (function->kind == uta::Kind::INDICATION ||
                                                       function->kind == uta::Kind::IGNORED_INDICATION);
        if (!indicates || indication == uta::function_name(*function)) {
            return to_hex(bytes);
        }
    }
}

// --- The program -----------------------------------------------------------------------------------------------------

ModemProcess::ModemProcess(const std::vector<std::string>& options, Wait wait) {
    std::vector<std::string> words = {MODEM_PROGRAM, "--quiet", "--boot-delay", "0"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
        execv(arguments[0], arguments.data());
        _exit(99);
    }
    for (int i = 0; wait == Wait::FOR_MARKER && i < c_patience_ms / 2 && !exists("/data/rpcd/rpcd.txt"); ++i) {
        nap();
    }
}

ModemProcess::~ModemProcess() {
    if (process_ > 0) {
        EXPECT_EQ(end(SIGTERM), 0);
    }
}

int ModemProcess::end(int signal) {
    int status = 0;
    if (signal != 0) {
        kill(process_, signal);
    }
    waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Control::operator()(const std::string& command) const {
    connection_.write(command + "\n");
    std::string answer = connection_.line();
    for (std::string last = answer; last != "ok" && !last.starts_with("error ") && !last.empty();) {
        last = connection_.line();
        answer += "\n" + last;
    }
    return answer;
}

Listener::Listener() : connection_("/dev/socket/modemlink") {
    request(0xB7000000);
}

uint32_t Listener::event() const {
    const Bytes word = connection_.read_all(4);
    return word.size() != 4 ? 0
                            : static_cast<uint32_t>(word[0]) | static_cast<uint32_t>(word[1]) << 8 |
                                  static_cast<uint32_t>(word[2]) << 16 | static_cast<uint32_t>(word[3]) << 24;
}

void Listener::request(uint32_t code) const {
    connection_.write(Bytes{static_cast<uint8_t>(code), static_cast<uint8_t>(code >> 8),
                            static_cast<uint8_t>(code >> 16), static_cast<uint8_t>(code >> 24)});
}

bool exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

void write_file(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

std::string read_file(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}
