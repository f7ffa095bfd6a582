#include "tests/harness/phone.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace {

constexpr uint32_t c_modem_up = 0xB2000000;

}  // namespace

void in_own_process(const std::function<void()>& body) {
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
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

Phone::Phone(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {
    arguments_.insert(arguments_.begin(), "rild");
    for (std::string& argument : arguments_) {
        argv_.push_back(argument.data());
    }
    argv_.push_back(nullptr);
    link_ = ModemLinkServer::start(c_modem_link_path, {});
    void* library = dlopen(DUN_RIL_LIBRARY, RTLD_NOW);
    if (library == nullptr || link_ == nullptr) {
        fprintf(stderr, "%s\n", library == nullptr ? dlerror() : "no modem link");
        abort();
    }
    const auto ril_init = reinterpret_cast<decltype(&RIL_Init)>(dlsym(library, "RIL_Init"));
    init_ = std::thread(
        [=, this] { functions_ = ril_init(FakeAndroid::env(), static_cast<int>(argv_.size()) - 1, argv_.data()); });
}

// The library's threads have no end: the process's exit ends them.
Phone::~Phone() {
    if (functions_ == nullptr) {
        init_.detach();
    } else {
        init_.join();
    }
}

void Phone::event(uint32_t modem_event) {
    link_->announce(modem_event);
}

void Phone::bring_up() {
    answer_mode_requests(0);
    event(c_modem_up);
    ASSERT_TRUE(soon([this] { return initialised(); }));
    wait_radio_state(RADIO_STATE_OFF);
}

void Phone::answer_mode_requests(uint8_t mode, uint8_t result) {
    modem.set_answer(228, "02 04 00 00 00 2F 02 04 00 00 00 E3 AA AA AA AA 7F 81 63 1B 02 04 00 00 00" +
                              to_hex({result}) + "7F 06 06 02 04 AA AA AA AA 02 04 00 00 00" + to_hex({mode}) +
                              "02 04 00 00 00 00");
}

void Phone::wait_radio_state(int state) {
    ASSERT_TRUE(soon([&] { return ril()->onStateRequest() == state; })) << ril()->onStateRequest();
}

RIL_Token Phone::request(int number, void* data, size_t length) {
    RIL_Token token = FakeAndroid::token(next_token_++);
    ril()->onRequest(number, data, length, token);
    return token;
}

const RIL_RadioFunctions* Phone::ril() {
    return functions_;
}
