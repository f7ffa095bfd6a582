// The modem's packets about calls, put together from the bytes of the wire format, and the phone that hears them.
#pragma once

#include <string>
#include <vector>

#include "tests/harness/wire_phone.h"

constexpr uint8_t c_setup = 34;
constexpr uint8_t c_release = 39;
constexpr uint8_t c_accept = 44;
constexpr uint8_t c_swap = 47;
constexpr uint8_t c_hold = 49;
constexpr uint8_t c_retrieve = 51;
constexpr uint8_t c_split = 53;
constexpr uint8_t c_join = 55;
constexpr uint8_t c_transfer = 57;

std::string call(uint32_t id);  // its record

std::string dialing(uint32_t id);
std::string alerting(uint32_t id);
std::string connected(uint32_t id, const std::string& number = "", uint32_t name_presentation = 0);
std::string incoming(uint32_t id, const std::string& number = "", uint32_t line = 0);
std::string status(uint32_t id, uint32_t status, const std::string& number = "");
std::string disconnecting(uint32_t id, uint32_t cause);
std::string disconnected(uint32_t id, uint32_t cause = 16);
std::string emergency_list(uint32_t count, const std::vector<std::pair<uint32_t, std::string>>& entries);

// The answer to request `id`, with a call id (a second one for a swap) and a result.
std::string answer_to(uint8_t id, uint32_t call_id, uint32_t result = 0, uint32_t second = 0);

class CallPhone : public WirePhone {
public:
    // Calls by letter and id, "a1 h2": a active, h held, d dialing, l alerting, r ringing, W waiting beside the ones
    // before it, w waiting alone, m member of a conference. In this order, into an empty table.
    void set_calls(const std::string& calls);
    void clear();  // ends all calls and requests

    // Error and integer of an answer: "0", "2", "0: 16"; "open" while there is none.
    std::string outcome(RIL_Token token);
    std::string ask(int number) { return outcome(request(number, nullptr, 0)); }
    std::string ask(int number, int value) { return outcome(request(number, value)); }
    std::string dial(const char* number, int clir = 0, RIL_UUS_Info* uus = nullptr);
    // State and id of each call, "0:1 1:2*", with a star for a member.
    std::string calls();
    // All that Android sees of each call.
    std::string call_list();

    // Function ids and what tells them apart, "39(2,0,16) 44(3)".
    std::string sent_short();

    RIL_Token last_token = nullptr;

private:
    std::string listed(const FakeAndroid::Interpreter& interpreter);
};
