// The modem program at the phone's own paths, and clients that write and read its sockets byte by byte.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/modem/capture_format.h"
#include "tests/host/connection.h"

// Bytes from text such as "02 04 0000002C".
Bytes hex(const std::string& text);

// A client of the RPC daemon.
class Client {
public:
    // All steps; with Steps::NONE, none.
    enum class Steps { ALL, NONE };
    explicit Client(Steps steps = Steps::ALL);

    void say_register();  // connects to the first socket
    void take_app_id();   // and connects to the other two
    void say_deregister();

    void write(const std::string& packet) const { send->write(hex(packet)); }
    // The next packet in hexadecimal, empty when none comes. Of the modem's indications, which come when the modem
    // likes, only that of the function named.
    std::string packet(std::string_view indication = {}) const;

    uint8_t app_id = 0;
    std::vector<Connection> reg, send_, recv_;
    Connection* send = nullptr;
    Connection* recv = nullptr;
};

// The modem program, which is up when its first client comes, unless the options say otherwise.
class ModemProcess {
public:
    enum class Wait { FOR_MARKER, FOR_NOTHING };
    explicit ModemProcess(const std::vector<std::string>& options = {}, Wait wait = Wait::FOR_MARKER);
    ~ModemProcess();
    ModemProcess(const ModemProcess&) = delete;
    ModemProcess& operator=(const ModemProcess&) = delete;

    // Sends the signal, 0 for none, and gives the exit status, or 128 and the signal's number.
    int end(int signal);

private:
    pid_t process_ = -1;
};

// A caller of the control socket.
class Control {
public:
    Control() : connection_("/dev/socket/modem_control") {}
    // The lines of the answer up to "ok" or "error ...", joined by newlines.
    std::string operator()(const std::string& command) const;

private:
    Connection connection_;
};

// A process that hears the modem manager's events.
class Listener {
public:
    Listener();
    uint32_t event() const;  // 0 when none comes
    void request(uint32_t code) const;

private:
    Connection connection_;
};

bool exists(const std::string& path);
void write_file(const std::string& path, const std::string& text);
std::string read_file(const std::string& path);

// The generator's version, which every modem answers: what comes back before it was sent earlier.
constexpr const char* c_version_call = "02 04 00000013 02 04 00000020 20000100 7F 20 00";
constexpr const char* c_version_return =
    "0204000000160204000004082000010002040000"
    "04E1";

// A mode request of stack 0, mode on, with the callback 0x08049ABC and the context 0x20000105, its return and response.
constexpr const char* c_set_mode =
    "020400000035 0204000000E4 20000105 7F816421"
    " 7F06060204 20000105 020408049ABC 020400000000 020400000001 020400000000";
constexpr const char* c_set_mode_return = "0204000000160204000004CC20000105020400000000";
constexpr const char* c_set_mode_response =
    "02040000002F0204000000E3200001057F81631B0204000000007F0606020420000105020400000001020400000000";
