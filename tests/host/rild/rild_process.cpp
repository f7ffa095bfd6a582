#include "tests/host/rild/rild_process.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <sstream>
#include <thread>

namespace {

constexpr int c_patience = 10'000;  // milliseconds

bool wait_readable(int fd, int milliseconds = c_patience) {
    pollfd wanted = {fd, POLLIN, 0};
    return poll(&wanted, 1, milliseconds) == 1;
}

std::string little_endian(uint64_t value, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> 8 * i);
    }
    return bytes;
}

}  // namespace

Process::Process(std::vector<std::string> words, bool with_pair) {
    int pair[2] = {-1, -1};
    if (with_pair) {
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
        words.push_back("-f");
        words.push_back(std::to_string(pair[1]));
    }
    std::vector<char*> argv;
    std::transform(words.begin(), words.end(), std::back_inserter(argv), [](std::string& word) { return word.data(); });
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(pair[0]);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(pair[1]);
    fd_ = pair[0];
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(fd_);
}

void Process::tell(const std::string& line) {
    const std::string text = line + "\n";
    EXPECT_EQ(static_cast<ssize_t>(text.size()), ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL)) << line;
}

std::string Process::line() {
    for (;;) {
        const size_t end = text_.find('\n');
        if (end != std::string::npos) {
            std::string line = text_.substr(0, end);
            text_.erase(0, end + 1);
            return line;
        }
        char bytes[4096];
        const ssize_t got = wait_readable(fd_) ? read(fd_, bytes, sizeof(bytes)) : -1;
        if (got <= 0) {
            ADD_FAILURE() << "no line; so far: " << text_;
            return "";
        }
        text_.append(bytes, static_cast<size_t>(got));
    }
}

int Process::stop() {
    kill(pid_, SIGTERM);
    return wait();
}

int Process::wait() {
    int status = 0;
    const pid_t ended = waitpid(pid_, &status, 0);
    pid_ = -1;
    return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

namespace {

std::vector<std::string> rild_words(const std::vector<std::string>& library_arguments) {
    std::vector<std::string> words = {RILD, "-l", FAKE_RIL, "--"};
    words.insert(words.end(), library_arguments.begin(), library_arguments.end());
    return words;
}

}  // namespace

RildProcess::RildProcess(const std::vector<std::string>& library_arguments) : Process(rild_words(library_arguments)) {
    EXPECT_EQ(0U, line().find("init"));
}

RildProcess::~RildProcess() {
    EXPECT_EQ(0, stop());
}

void RildProcess::set_mode(const std::string& mode) {
    tell("mode " + mode);
    tell("ping");
    EXPECT_EQ("pong", line());
}

RilClient::RilClient(const std::string& path) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(c_patience);
    while (connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "no rild at " << path;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

RilClient::~RilClient() {
    hang_up();
}

void RilClient::send(const std::string& bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

std::string RilClient::message() {
    std::string bytes;
    size_t wanted = 4;
    while (bytes.size() < wanted) {
        char part[8192];
        const ssize_t got = wait_readable(fd_) ? read(fd_, part, std::min(wanted - bytes.size(), sizeof(part))) : -2;
        if (got == -2) {
            ADD_FAILURE() << "no message";
        }
        if (got <= 0) {
            return "end";
        }
        bytes.append(part, static_cast<size_t>(got));
        if (bytes.size() == 4) {
            uint32_t length = 0;
            for (const char byte : bytes) {
                length = length << 8U | static_cast<uint8_t>(byte);
            }
            wanted += length;
        }
    }
    return bytes.substr(4);
}

bool RilClient::has_data() const {
    return wait_readable(fd_, 0);
}

void RilClient::hang_up() {
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
}

std::string bytes_of(const std::string& hex) {
    std::string bytes;
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits), [](unsigned char c) { return std::isxdigit(c); });
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoul(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string parcel(const std::string& words) {
    std::string bytes;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        if (word == "n") {
            word = "-1";
        }
        if (word[0] == '\'') {
            const std::string text = word.substr(1, word.size() - 2);
            bytes += little_endian(text.size(), 4);
            for (const char letter : text) {
                bytes += little_endian(static_cast<uint8_t>(letter), 2);
            }
            bytes += little_endian(0, text.size() % 2 == 0 ? 4 : 2);
        } else if (word[0] == 'x') {
            const std::string raw = bytes_of(word.substr(1));
            bytes += little_endian(raw.size(), 4) + raw + little_endian(0, (4 - raw.size() % 4) % 4);
        } else if (word[0] == 'L') {
            bytes += little_endian(std::stoull(word.substr(1)), 8);
        } else {
            bytes += little_endian(static_cast<uint64_t>(std::stoll(word)), 4);
        }
    }
    return bytes;
}

std::string framed(const std::string& parcel_bytes) {
    std::string length = little_endian(parcel_bytes.size(), 4);
    std::reverse(length.begin(), length.end());
    return length + parcel_bytes;
}

std::string request(int number, int serial, const std::string& words) {
    return framed(parcel(std::to_string(number) + " " + std::to_string(serial) + " " + words));
}
