// A service of the modem is a file: cps.cpp holds the mode switches, sys.cpp the identity, and so on. It ends in the
// table that ties UTA functions to the functions above it; services.cpp lists the services.
//
// A served function has the arguments of its row in functions.def, output parameters as pointers to memory that holds
// what the client sent, and gives the return value. A response or indication is sent with Modem::send or
// Modem::indicate, later through Modem::later. A function of the catalogue that no service serves returns 0 and zeros.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/modem/rpc_daemon.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

class Modem;

// Who made a call.
struct Caller {
    ClientId client;
    uint32_t context_id;  // of the packet header; a response carries it back
};

using Handle = int32_t (*)(Modem& modem, const Caller& caller, const uta::Word* words);

struct Served {
    uint16_t id;
    Handle handle;
};

// A line of a scenario: `command arguments`. The result is empty, or what was wrong.
struct Command {
    const char* name;
    const char* usage;  // of the arguments
    const char* help;
    std::function<std::string(Modem& modem, const std::vector<std::string>& arguments)> run;
};

struct Service {
    const char* name;
    std::vector<Served> functions;
    std::vector<Command> commands;
    void (*forget)() = nullptr;           // at each loss of power: everything is as after the first start
    std::string (*describe)() = nullptr;  // its state in one line, for people
    // A stack or its card was switched on or off, or found to be so again.
    void (*stack_switched)(Modem& modem, uint32_t sim_id, bool stack_on, bool card_on) = nullptr;
    void (*card_changed)(Modem& modem, uint32_t sim_id) = nullptr;  // it can be used now, or no longer
    void (*phone_off)() = nullptr;                                  // the phone's own power is gone too
};

std::vector<Service> modem_services();

// --- What ties a function with typed arguments to the words of a packet ----------------------------------------------

template <typename P>
struct Argument {
    using Type = typename P::Argument;
    static Type value(uta::Word word) { return P::value(word); }
};

// The client's pointer, which means nothing here.
template <typename Row>
struct Argument<uta::param::CallbackParameter<Row>> {
    using Type = uint32_t;
    static Type value(uta::Word word) { return static_cast<uint32_t>(word); }
};

template <typename Row, auto function, typename Parameters = typename Row::Parameters>
struct Server;

template <typename Row, auto function, typename... P>
struct Server<Row, function, uta::List<P...>> {
    static int32_t handle(Modem& modem, const Caller& caller, const uta::Word* words) {
        return handle(modem, caller, words, std::index_sequence_for<P...>{});
    }
    template <size_t... I>
    static int32_t handle(Modem& modem, const Caller& caller, [[maybe_unused]] const uta::Word* words,
                          std::index_sequence<I...>) {
        return function(modem, caller, Argument<P>::value(words[I])...);
    }
};

template <typename Row, auto function>
constexpr Served serve() {
    static_assert(Row::Parameters::live, "a record of this function is not spelled out in records.def");
    static_assert(Row::kind == uta::Kind::CALL || Row::kind == uta::Kind::REQUEST || Row::kind == uta::Kind::ONE_WAY);
    return {Row::id, &Server<Row, function>::handle};
}

template <typename Row, typename Parameters = typename Row::Parameters>
struct Sender;

template <typename Row, typename... P>
struct Sender<Row, uta::List<P...>> {
    static_assert(uta::List<P...>::live, "a record of this function is not spelled out in records.def");
    static std::array<uta::Word, sizeof...(P) + 1> words(typename P::Argument... arguments) {
        return {P::word(arguments)..., 0};
    }
};
