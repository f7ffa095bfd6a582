// The simulated modem: its power states, what it does with the packets of its clients, and what it tells them. The
// services behind it (services.h) give it its behaviour.
//
// Runs in the loop.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "host/android/modem_link_server.h"
#include "host/modem/factory_channel.h"
#include "host/modem/faults.h"
#include "host/modem/power_switch.h"
#include "host/modem/rpc_daemon.h"
#include "host/modem/services.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

// Events of the modem manager, and the request that a client can make there.
enum ModemEvent : uint32_t {
    E_MODEM_DOWN = 0xB1000000,
    E_MODEM_UP = 0xB2000000,
    E_MODEM_RESET = 0xB3000000,
    E_MODEM_SHUTDOWN = 0xB4000000,
};
constexpr uint32_t c_request_reset = 0xA1000000;

// Calls to a stack beyond these are accepted and have no effect: on a phone with two SIMs the second instance of the
// RIL opens the stack behind its own as well, and would not start if that were refused.
constexpr uint32_t c_stacks = 2;
constexpr int32_t c_success = 0;
constexpr int32_t c_refused = -1;  // what a call gets that makes no sense

struct Settings {
    Loop::Milliseconds boot_delay{50};  // from power to E_MODEM_UP
    Loop::Milliseconds latency{3};      // from a request to its response
    int32_t version = 1249;             // of the generator, for RpcGetRemoteVerInfo
    bool silent = false;                // no responses
    uint32_t seed = 0;                  // of the order of packets, see flush(); 0: responses first
};

enum class Power { OFF, BOOTING, UP, HUNG };

// A packet that went by, for whoever waits for one.
struct Passage {
    uint64_t number;  // counts up from 1
    uint16_t function;
    uint8_t app_id;
};

class Modem {
public:
    // With its power switch, the modem manager and the factory channel. Null, with the reason in `error`, when those
    // are not to be had.
    static std::unique_ptr<Modem> start(Loop& loop, Capture& capture, Settings settings, std::string& error);
    // Lets clients in: the last step, whose end clients wait for. Nothing else may be called before. False with the
    // reason in `error`.
    bool open(std::string& error);
    ~Modem();
    Modem(const Modem&) = delete;
    Modem& operator=(const Modem&) = delete;

    Settings settings;
    Faults faults;

    // --- Power. Whoever loses power forgets everything: calls, responses on their way, what the services know.
    void boot();       // comes up after the boot delay; nothing when it is up or on its way
    void up();         // E_MODEM_UP now, also when it is up already
    void down();       // E_MODEM_DOWN, and stays so
    void crash();      // E_MODEM_DOWN, then boots
    void reset();      // E_MODEM_RESET, then as a crash
    void shut_down();  // E_MODEM_SHUTDOWN, then E_MODEM_DOWN, and stays so
    void hang();       // answers nothing any more
    void event(uint32_t code);
    Power power() const { return power_; }

    // --- For the services

    // Runs `work` after `delay`, unless the modem loses its power before. A response that it sends and its indications
    // may overtake each other: Settings::seed decides. Responses keep their order, and so do indications.
    void later(Loop::Milliseconds delay, std::function<void()> work);

    // Tells the services of a stack's switches.
    void stack_switched(uint32_t sim_id, bool stack_on, bool card_on);
    // Tells them that a card can be used from now on, or no longer: card_is_usable() says which.
    void card_changed(uint32_t sim_id);

    // A response or indication with the arguments of its row, to one client. Records are packed before this returns.
    template <typename Row, typename... Arguments>
    void send(ClientId client, uint32_t context_id, Arguments... arguments) {
        send_words(client, *uta::find_function(Row::id), context_id, Sender<Row>::words(arguments...).data());
    }
    // An indication to all clients.
    template <typename Row, typename... Arguments>
    void indicate(Arguments... arguments) {
        static_assert(Row::kind == uta::Kind::INDICATION || Row::kind == uta::Kind::IGNORED_INDICATION);
        for (const ClientState& client : daemon_->clients()) {
            send<Row>(client.id, base_context(client.id), arguments...);
        }
    }
    static uint32_t base_context(ClientId client) { return 0x20000000U | uint32_t{app_id_of(client)} << 8; }

    // --- For scenarios: neither power nor faults stand in their way.
    void inject(ClientId client, std::span<const uint8_t> packet);
    std::optional<ClientId> find_client(uint8_t app_id) const;
    std::vector<ClientState> clients() const { return daemon_->clients(); }
    void set_seed(uint32_t seed);
    // That of the client's last request, its base context before the first.
    uint32_t last_context(ClientId client) const;
    std::string describe() const;

    uint64_t passages() const { return next_passage_ - 1; }
    // The first packet of the function behind the passage `after`.
    std::optional<Passage> find_passage(uint64_t after, uint16_t function) const;
    // Told of each packet; null for nobody.
    std::function<void()> on_passage;

private:
    Modem(Loop& loop, Capture& capture, Settings initial);
    bool start_manager(std::string& error);
    void set_power(Power power);
    void lose_power();
    void take(ClientId client, const Bytes& packet);
    void answer(ClientId client, const uta::Function* function, uint32_t index, const Bytes& packet);
    void execute(ClientId client, const uta::Function& function, const Bytes& packet);
    void send_return(ClientId client, uint32_t index, uint32_t context_id, int32_t result);
    void send_words(ClientId client, const uta::Function& function, uint32_t context_id, const uta::Word* words);
    void flush();
    void note(ClientId client, uint32_t function);

    struct Outgoing {
        ClientId client;
        Bytes packet;
        bool is_response;
    };

    Loop& loop_;
    Capture& capture_;
    std::vector<Service> services_;
    std::map<uint16_t, Handle> handlers_;
    std::unique_ptr<RpcDaemon> daemon_;
    std::unique_ptr<PowerSwitch> switch_;
    std::unique_ptr<FactoryChannel> factory_channel_;
    std::unique_ptr<ModemLinkServer> link_;
    Power power_ = Power::OFF;
    uint64_t power_cycle_ = 0;  // counts the losses of power
    std::map<ClientId, uint32_t> contexts_;
    bool collecting_ = false;  // what is sent waits in collected_
    std::deque<Outgoing> collected_;
    std::mt19937 chance_;
    std::deque<Passage> passages_;
    uint64_t next_passage_ = 1;
};
