// The far end of the RPC client's three sockets, on bytes alone: it registers clients, answers every synchronous call
// with a value that the test sets, keeps what it received, and sends what the test wrote by hand. It knows no record.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

using Bytes = std::vector<uint8_t>;

class ScriptedModem {
public:
    // The client becomes application `app_id`, and the next higher one each time that the daemon was away.
    explicit ScriptedModem(uint8_t app_id = 1, bool starts = true);
    ~ScriptedModem();
    ScriptedModem(const ScriptedModem&) = delete;
    ScriptedModem& operator=(const ScriptedModem&) = delete;

    // The RPC daemon starts: it listens on the phone's paths and puts the readiness marker / it dies, which closes its
    // connections and leaves marker and paths behind. What was set here holds on.
    void start();
    void stop();
    bool wait_registered();  // until the client is there; false after ten seconds

    // The return of function `id`: its value, and bytes behind it (output parameters). Default 0, none; 1249 for the
    // version (32).
    void set_return(uint32_t id, int32_t value, const Bytes& output = {});
    void set_returns(uint32_t id, std::vector<int32_t> values);  // one after the other, then the last one for ever
    void set_silent(uint32_t id, bool silent);                   // no return at all
    // The next returns of `id`, in this order, before any of the above.
    struct Return {
        std::vector<int32_t> values;
        Bytes output;
        bool silent = false;
    };
    void set_next_returns(uint32_t id, std::vector<Return> returns);
    void set_unseen(uint32_t id);  // answered, and not kept as received
    // Bytes that follow the return of `id`: an answer or indication, with the request's context id put in place of
    // AA AA AA AA.
    void set_answer(uint32_t id, const Bytes& bytes);
    // The same, made from the request's bytes; null for none.
    using Answer = std::function<Bytes(const Bytes& request)>;
    void set_answer(uint32_t id, Answer answer);

    void send(const Bytes& bytes);

    // What came since the last call, returns not counted.
    std::vector<Bytes> take_received();
    // Waits until function `id` came `count` times; false after ten seconds.
    bool wait_for(uint32_t id, size_t count = 1);

private:
    void serve();
    void register_client();
    void answer(const Bytes& packet);

    int listeners_[3] = {-1, -1, -1};
    int stop_pipe_[2] = {-1, -1};
    int send_ = -1;  // the client's sending connection
    int recv_ = -1;  // the client's receiving connection
    uint8_t app_id_;
    std::thread thread_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::map<uint32_t, Return> returns_;
    std::map<uint32_t, std::vector<Return>> next_returns_;
    std::map<uint32_t, Answer> answers_;
    std::set<uint32_t> unseen_;
    std::vector<Bytes> received_;
    std::map<uint32_t, size_t> counts_;
};
