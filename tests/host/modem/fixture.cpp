#include "tests/host/modem/fixture.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

// Longer than anything here takes; a test that runs into it has failed.
constexpr int c_patience_ms = 10000;

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
    std::vector<std::string> words = {MODEM_PROGRAM, "--quiet", "--seed", "0", "--boot-delay", "0"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
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
