// How a client gets to the RPC daemon. It connects to three sockets, one after the other:
//
//     rpc_reg   "REGISTER" >    < its application id
//     rpc_send                  < a greeting
//     rpc_recv                  < a greeting
//     rpc_send  "DEREGISTER" and the id >, and from here on its packets
//
// The client reads up to 50 bytes of each answer, so nothing else may travel towards it before the last step.
//
// Clients of several processes may be on their way at the same time: the kernel tells whose each connection is. Those
// of one process come one at a time, the others of it wait. A client that stops on its way is given up after a while,
// and at once when it closes its first socket.
#pragma once

#include <sys/types.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "host/modem/capture.h"
#include "host/modem/loop.h"

constexpr const char* c_reg_path = "/data/rpc_reg";
constexpr const char* c_send_path = "/data/rpc_send";
constexpr const char* c_recv_path = "/data/rpc_recv";

// A client that has come all the way. The receiver owns the descriptors.
struct Newcomer {
    uint8_t app_id = 0;
    pid_t process = 0;
    int send = -1;
    int recv = -1;
    Bytes early;  // what came behind its last step
};

struct RegistrationListener {
    std::function<bool(uint8_t app_id)> taken;  // by a client that is there
    std::function<void(Newcomer newcomer)> arrived;
};

class Registration {
public:
    // Listens on the three sockets. Null, with the reason in `error`, when that can't be done.
    static std::unique_ptr<Registration> start(Loop& loop, Capture& capture, RegistrationListener listener,
                                               std::string& error);
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    enum class Step { HELLO, QUEUED, SEND, RECV, FAREWELL };
    struct Attempt {
        pid_t process = 0;
        Step step = Step::HELLO;
        uint8_t app_id = 0;
        int reg = -1;
        int send = -1;
        int recv = -1;
        std::string in;
        Loop::Timer deadline = 0;
    };

    Registration(Loop& loop, Capture& capture, RegistrationListener listener);
    void accept_reg();
    void accept_next(int listening, Step step);
    void read_reg(int id);
    void read_send(int id);
    void admit_next(pid_t process);
    void admit(int id);
    uint8_t free_app_id() const;
    void set_deadline(int id);
    bool greet(int id, int fd, Channel channel, std::string_view text);
    void give_up(int id, const char* why);
    void close_fd(int& fd);

    Loop& loop_;
    Capture& capture_;
    RegistrationListener listener_;
    std::array<int, 3> listening_ = {-1, -1, -1};
    std::map<int, Attempt> attempts_;
    int last_attempt_ = 0;
};
