#include "tests/harness/phone.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr uint32_t c_modem_up = 0xB2000000;
constexpr uint8_t c_set_mode = 228;
constexpr uint8_t c_set_sim_mode = 230;
constexpr const char* c_power_state = "/sys/devices/platform/tqz_boot/state";
constexpr const char* c_radio_log = "/dev/log/radio";

void make_phone_new() {
    namespace fs = std::filesystem;
    fs::resize_file("/dev/__properties__", 0);
    fs::remove("/system/etc/dun-ril/repository.txt");
    fs::remove(c_radio_log);
    const fs::path folder = fs::path(c_power_state).parent_path();
    fs::remove_all(folder);
    fs::create_directory(folder);
    std::ofstream(c_power_state) << "ON";
}

}  // namespace

void in_own_process(const std::function<void()>& body) {
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        make_phone_new();
        body();
        exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

bool soon(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::string radio_log() {
    std::ostringstream text;
    text << std::ifstream(c_radio_log).rdbuf();
    return text.str();
}

Phone::Phone(std::vector<std::string> arguments, bool has_daemon)
    : modem(1, has_daemon),
      link_(ModemLinkServer::start(c_modem_link_path, {.registered = {},
                                                       .request =
                                                           [this](int, uint32_t request) {
                                                               last_manager_request = request;
                                                               ++manager_requests;
                                                           },
                                                       .gone = {}})),
      arguments_(std::move(arguments)) {
    if (link_ == nullptr) {
        perror(c_modem_link_path);
        abort();
    }
    arguments_.insert(arguments_.begin(), "rild");
    for (std::string& argument : arguments_) {
        argv_.push_back(argument.data());
    }
    argv_.push_back(nullptr);
    library_ = dlopen(DUN_RIL_LIBRARY, RTLD_NOW);
    if (library_ == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        abort();
    }
    const auto ril_init = reinterpret_cast<decltype(&RIL_Init)>(symbol("RIL_Init"));
    init_ = std::thread([=, this] {
        const auto start = std::chrono::steady_clock::now();
        const auto* functions = ril_init(FakeAndroid::env(), static_cast<int>(argv_.size()) - 1, argv_.data());
        init_time_ = std::chrono::steady_clock::now() - start;
        functions_ = functions;
    });
}

// The library's threads have no end: the process's exit ends them.
Phone::~Phone() {
    if (functions_ == nullptr) {
        init_.detach();
    } else {
        init_.join();
    }
}

void Phone::bring_up() {
    answer_mode_requests(0);
    event(c_modem_up);
    ASSERT_TRUE(soon([this] { return initialised(); }));
    wait_radio_state(RADIO_STATE_OFF);
}

// Of the stack and of the SIM.
void Phone::answer_mode_requests(uint8_t mode) {
    for (const uint8_t function : {c_set_mode, c_set_sim_mode}) {
        const auto answer = static_cast<uint8_t>(function - 1);
        const auto tag = static_cast<uint8_t>(answer - 0x80);
        modem.set_answer(function,
                         {2,    4,    0,    0,    0, 0x2F, 2, 4, 0,    0, 0,    answer, 0xAA, 0xAA, 0xAA,  0xAA,
                          0x7F, 0x81, tag,  0x1B, 2, 4,    0, 0, 0,    0, 0x7F, 6,      6,    2,    4,     0xAA,
                          0xAA, 0xAA, 0xAA, 2,    4, 0,    0, 0, mode, 2, 4,    0,      0,    0,    sim_id});
    }
}

void Phone::leave_mode_requests_open() {
    modem.set_answer(c_set_mode, ScriptedModem::Answer());
    modem.set_answer(c_set_sim_mode, ScriptedModem::Answer());
}

void Phone::wait_radio_state(int state) {
    ASSERT_TRUE(soon([&] { return ril()->onStateRequest() == state; })) << ril()->onStateRequest();
}

RIL_Token Phone::request(int number, void* data, size_t length) {
    RIL_Token token = FakeAndroid::token(next_token_++);
    ril()->onRequest(number, data, length, token);
    return token;
}
