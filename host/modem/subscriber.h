// The home location register: for each stack's subscriber what is forwarded, barred and waiting, by basic service, and
// the barring password, and what the operator provides. It belongs to the network, and so outlives the modem's loss of
// power.
//
// Runs in the loop.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/modem/mmi.h"

namespace subscriber {

// Basic service groups by the modem's numbers. Those up to SMS are teleservices.
enum Group : int32_t { ALL_SERVICES = 0, TELEPHONY = 1, FAX = 4, SMS = 5, DATA_ASYNC = 10, DATA_SYNC = 11 };

enum Condition { UNCONDITIONAL, BUSY, NO_REPLY, NOT_REACHABLE, CONDITIONS };
enum Bar { ALL_OUTGOING, INTERNATIONAL, INTERNATIONAL_BUT_HOME, ALL_INCOMING, INCOMING_ROAMING, BARS };

// Errors of 3GPP TS 24.080, 4.5.
enum Error : int32_t {
    NO_ERROR = 0,
    ILLEGAL_OPERATION = 16,
    ERROR_STATUS = 17,
    INCOMPATIBLE = 20,
    NEGATIVE_PASSWORD_CHECK = 37,
    PASSWORD_REGISTRATION_FAILURE = 38,
    TOO_MANY_ATTEMPTS = 43,
};

enum class Service { FORWARDING, BARRING, WAITING, CLIR, CLIP, COLP, PASSWORD };

// An entry's bits are P 4, R 2, A 1 of 3GPP TS 23.011, 2.1.
struct Entry {
    Group group;
    int32_t status;
    std::string number;
    int32_t seconds = 0;
};

struct Answer {
    Service service;
    Error error = NO_ERROR;
    std::vector<Entry> entries;  // of an interrogation, those that are active in front
};

// Does what the string says; nothing for a code that is no service's.
std::optional<Answer> serve(uint32_t sim_id, const MmiString& mmi);

// Where a call of that group goes under a condition, or nothing.
struct Diversion {
    std::string number;
    int32_t seconds;
};
std::optional<Diversion> diversion(uint32_t sim_id, Condition condition, Group group = TELEPHONY);
bool bars_outgoing(uint32_t sim_id, const std::string& number);
bool bars_incoming(uint32_t sim_id, bool roams);
bool lets_wait(uint32_t sim_id);

// What the operator provides: whether the subscriber may withhold his number (3GPP TS 22.081), and the index of the
// closed user group that he shares with a number (3GPP TS 22.085).
void provide_clir(uint32_t sim_id, bool is_provided);
bool may_withhold(uint32_t sim_id);
void provide_group(uint32_t sim_id, const std::string& number, uint16_t index);
std::optional<uint16_t> group_with(uint32_t sim_id, const std::string& number);

std::string describe();

}  // namespace subscriber
