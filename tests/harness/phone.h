// The shipped library in a process with a fake Android above it, a scripted modem below it and the modem manager's
// events in the test's hands. The process runs in the sandbox, with the phone's own paths. Sleeps take no time.
#pragma once

#include <dlfcn.h>
#include <telephony/ril.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/android/modem_link_server.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/scripted_modem.h"

// Runs `body` in a process of its own, since the library starts once per process, and with a new phone; its failures
// are the caller's test's. The phone is as it comes out of the box: no property, no configuration file, no log, the
// modem's power state "ON".
void in_own_process(const std::function<void()>& body);

// The radio log so far.
std::string radio_log();

class Phone {
public:
    // Loads the library and calls RIL_Init with these arguments on a thread, which blocks there until the modem is up.
    // Without a daemon, modem.start() is the caller's.
    explicit Phone(std::vector<std::string> arguments = {}, bool has_daemon = true);
    ~Phone();
    Phone(const Phone&) = delete;
    Phone& operator=(const Phone&) = delete;

    void event(uint32_t modem_event) { link_->announce(modem_event); }  // to the library, as the modem manager sends it
    // What the modem answers mode requests with from now on: that mode.
    void answer_mode_requests(uint8_t mode);
    void leave_mode_requests_open();

    // The first E_MODEM_UP, up to the return of RIL_Init and the radio's first state.
    void bring_up();
    void wait_radio_state(int state);  // fails the test after ten seconds
    bool initialised() const { return functions_ != nullptr; }

    // One request on the event thread; its token is its running number.
    RIL_Token request(int number, void* data, size_t length);
    RIL_Token request(int number, int value) { return request(number, &value, sizeof(value)); }
    // Waits for its completion.
    FakeAndroid::Completion answer(RIL_Token token) { return android.wait_completion(token); }

    ScriptedModem modem;
    uint8_t sim_id = 0;  // in the modem's answers
    FakeAndroid& android = FakeAndroid::instance();
    const RIL_RadioFunctions* ril() { return functions_; }
    void* symbol(const char* name) { return dlsym(library_, name); }  // of the library
    // How often the library asked the modem manager for something, and what for the last time.
    std::atomic<uint32_t> manager_requests{0};
    std::atomic<uint32_t> last_manager_request{0};
    // How long RIL_Init took, once it has returned.
    std::chrono::steady_clock::duration init_time() const { return init_time_; }

private:
    std::unique_ptr<ModemLinkServer> link_;
    std::vector<std::string> arguments_;
    std::vector<char*> argv_;
    void* library_ = nullptr;
    std::chrono::steady_clock::duration init_time_{};  // written before functions_
    std::atomic<const RIL_RadioFunctions*> functions_{nullptr};
    std::thread init_;
    uintptr_t next_token_ = 1;
};

// True once the condition holds, false after ten seconds.
bool soon(const std::function<bool()>& condition);
