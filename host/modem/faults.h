// What a scenario asked the modem to do wrong, by function.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

enum class Fault : uint8_t {
    REFUSE,  // a call: its return value, without the call taking effect
    LATE,    // milliseconds: a call reaches the modem so much later, a response or indication the client
    DROP,    // the packet is lost on its way
};

class Faults {
public:
    static constexpr uint16_t c_every = 0;  // no function has this id

    // `once`: only for the next packet of the function.
    void set(uint16_t function, Fault fault, int32_t value, bool once);
    // For c_every, all faults of all functions.
    void clear(uint16_t function);
    // The fault's value for a packet of `function`, which uses up one that is for once. A function's own fault comes
    // before that of c_every.
    std::optional<int32_t> take(uint16_t function, Fault fault);
    // One line for each, without a newline at the end.
    std::string describe() const;

private:
    struct Entry {
        int32_t value;
        bool once;
    };
    std::map<std::pair<uint16_t, Fault>, Entry> entries_;
};
