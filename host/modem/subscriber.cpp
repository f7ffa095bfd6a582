#include "host/modem/subscriber.h"

#include <algorithm>

#include "host/modem/modem.h"

namespace subscriber {

namespace {

struct Forwarding {
    std::string number;
    bool active = false;
    int32_t seconds = 0;
};

const std::set<Group> c_all_groups = {TELEPHONY, FAX, SMS, DATA_ASYNC, DATA_SYNC};

struct Subscriber {
    std::array<std::map<Group, Forwarding>, CONDITIONS> forwarding;
    std::array<std::set<Group>, BARS> barring;
    std::set<Group> waiting = c_all_groups;
    std::string password = "0000";
    int wrong_passwords = 0;
    bool may_withhold = true;
    std::map<std::string, uint16_t> groups;  // by the other one's number
};

std::array<Subscriber, c_stacks> s_subscribers;

constexpr int32_t c_provisioned = 4;
constexpr int32_t c_registered = 2;
constexpr int32_t c_active = 1;

constexpr int c_attempts = 3;
constexpr size_t c_password_size = 4;
constexpr const char* c_home_country = "49";

// 3GPP TS 22.030, annex C; those that are not there are not served.
const std::map<std::string, std::set<Group>> c_basic_services = {
    {"", c_all_groups},
    {"10", {TELEPHONY, FAX, SMS}},
    {"11", {TELEPHONY}},
    {"12", {FAX, SMS}},
    {"13", {FAX}},
    {"16", {SMS}},
    {"19", {TELEPHONY, FAX}},
    {"20", {DATA_ASYNC, DATA_SYNC}},
    {"21", {DATA_ASYNC}},
    {"22", {DATA_SYNC}},
    {"24", {DATA_SYNC}},
    {"25", {DATA_ASYNC}},
};

// Annex B.
const std::map<std::string, std::vector<Condition>> c_forwarding_codes = {
    {"21", {UNCONDITIONAL}},
    {"67", {BUSY}},
    {"61", {NO_REPLY}},
    {"62", {NOT_REACHABLE}},
    {"002", {UNCONDITIONAL, BUSY, NO_REPLY, NOT_REACHABLE}},
    {"004", {BUSY, NO_REPLY, NOT_REACHABLE}},
};

// The last three are only deactivated.
const std::map<std::string, std::vector<Bar>> c_barring_codes = {
    {"33", {ALL_OUTGOING}},
    {"331", {INTERNATIONAL}},
    {"332", {INTERNATIONAL_BUT_HOME}},
    {"35", {ALL_INCOMING}},
    {"351", {INCOMING_ROAMING}},
    {"330", {ALL_OUTGOING, INTERNATIONAL, INTERNATIONAL_BUT_HOME, ALL_INCOMING, INCOMING_ROAMING}},
    {"333", {ALL_OUTGOING, INTERNATIONAL, INTERNATIONAL_BUT_HOME}},
    {"353", {ALL_INCOMING, INCOMING_ROAMING}},
};

std::optional<std::set<Group>> groups_of(const std::string& basic_service) {
    const auto row = c_basic_services.find(basic_service);
    return row != c_basic_services.end() ? std::optional(row->second) : std::nullopt;
}

void put_active_first(std::vector<Entry>& entries) {
    std::stable_partition(entries.begin(), entries.end(), [](const Entry& it) { return (it.status & c_active) != 0; });
}

// --- Forwarding, 3GPP TS 22.082 --------------------------------------------------------------------------------------

// Five to thirty seconds in steps of five; 20 when none is said.
std::optional<int32_t> no_reply_time(const std::string& text) {
    constexpr int32_t c_default = 20;
    constexpr int32_t c_step = 5;
    constexpr int32_t c_longest = 30;
    if (text.empty()) {
        return c_default;
    }
    const int32_t seconds = text.size() <= 2 ? std::stoi(text) : c_longest + 1;
    return seconds % c_step == 0 && seconds >= c_step && seconds <= c_longest ? std::optional(seconds) : std::nullopt;
}

Error change_forwarding(Subscriber& subscriber, MmiProcedure procedure, const MmiString& mmi,
                        const std::vector<Condition>& conditions) {
    const auto groups = groups_of(mmi.item(1));
    const auto seconds = no_reply_time(mmi.item(2));
    const bool registers = procedure == MmiProcedure::REGISTRATION;
    if (!groups || !seconds || (registers && mmi.item(0).empty())) {
        return ILLEGAL_OPERATION;
    }
    bool is_registered = false;
    for (const Condition condition : conditions) {
        for (const Group group : *groups) {
            auto& forwarding = subscriber.forwarding[condition];
            if (registers && subscriber.barring[ALL_OUTGOING].contains(group)) {
                return INCOMPATIBLE;
            }
            if (registers) {
                forwarding[group] = {mmi.item(0), true, *seconds};
            } else if (procedure == MmiProcedure::ERASURE) {
                forwarding.erase(group);
            } else if (const auto it = forwarding.find(group); it != forwarding.end()) {
                it->second.active = procedure == MmiProcedure::ACTIVATION;
                is_registered = true;
            }
        }
    }
    return procedure == MmiProcedure::ACTIVATION && !is_registered ? ERROR_STATUS : NO_ERROR;
}

std::vector<Entry> list_forwarding(const Subscriber& subscriber, const std::vector<Condition>& conditions) {
    std::vector<Entry> entries;
    for (const Condition condition : conditions) {
        for (const auto& [group, it] : subscriber.forwarding[condition]) {
            const int32_t status = c_provisioned | c_registered | (it.active ? c_active : 0);
            entries.push_back({group, status, it.number, condition == NO_REPLY ? it.seconds : 0});
        }
    }
    if (entries.empty()) {
        entries.push_back({TELEPHONY, c_provisioned, "", 0});
    }
    return entries;
}

Answer serve_forwarding(Subscriber& subscriber, const MmiString& mmi, const std::vector<Condition>& conditions) {
    if (mmi.procedure == MmiProcedure::INTERROGATION) {
        return {Service::FORWARDING, NO_ERROR, list_forwarding(subscriber, conditions)};
    }
    // A star and a number register too (3GPP TS 22.030, 6.5.2).
    const bool registers = mmi.procedure == MmiProcedure::ACTIVATION && !mmi.item(0).empty();
    const MmiProcedure procedure = registers ? MmiProcedure::REGISTRATION : mmi.procedure;
    return {Service::FORWARDING, change_forwarding(subscriber, procedure, mmi, conditions), {}};
}

// --- Barring and its password, 3GPP TS 22.088, 22.004 ----------------------------------------------------------------

Error check_password(Subscriber& subscriber, const std::string& password) {
    if (subscriber.wrong_passwords >= c_attempts) {
        return TOO_MANY_ATTEMPTS;
    }
    if (password != subscriber.password) {
        ++subscriber.wrong_passwords;
        return NEGATIVE_PASSWORD_CHECK;
    }
    subscriber.wrong_passwords = 0;
    return NO_ERROR;
}

bool is_forwarded(const Subscriber& subscriber, Group group) {
    return std::any_of(subscriber.forwarding.begin(), subscriber.forwarding.end(), [&](const auto& it) {
        const auto entry = it.find(group);
        return entry != it.end() && entry->second.active;
    });
}

Error change_barring(Subscriber& subscriber, const MmiString& mmi, const std::vector<Bar>& bars) {
    const auto groups = groups_of(mmi.item(1));
    const bool activates = mmi.procedure == MmiProcedure::ACTIVATION;
    if (!groups || (!activates && mmi.procedure != MmiProcedure::DEACTIVATION) || (activates && bars.size() != 1)) {
        return ILLEGAL_OPERATION;
    }
    if (const Error error = check_password(subscriber, mmi.item(0)); error != NO_ERROR) {
        return error;
    }
    for (const Bar bar : bars) {
        for (const Group group : *groups) {
            if (activates && bar == ALL_OUTGOING && is_forwarded(subscriber, group)) {
                return INCOMPATIBLE;
            }
            if (activates) {
                subscriber.barring[bar].insert(group);
            } else {
                subscriber.barring[bar].erase(group);
            }
        }
    }
    return NO_ERROR;
}

std::vector<Entry> list_groups(const std::set<Group>& active) {
    std::vector<Entry> entries;
    entries.reserve(c_all_groups.size());
    for (const Group group : c_all_groups) {
        entries.push_back({group, c_provisioned | (active.contains(group) ? c_active : 0), "", 0});
    }
    put_active_first(entries);
    return entries;
}

Answer serve_barring(Subscriber& subscriber, const MmiString& mmi, const std::vector<Bar>& bars) {
    if (mmi.procedure != MmiProcedure::INTERROGATION) {
        return {Service::BARRING, change_barring(subscriber, mmi, bars), {}};
    }
    if (bars.size() != 1) {
        return {Service::BARRING, ILLEGAL_OPERATION, {}};
    }
    return {Service::BARRING, NO_ERROR, list_groups(subscriber.barring[bars.front()])};
}

// *03*ZZ*OLD*NEW*NEW#, with one star or two.
Error change_password(Subscriber& subscriber, const MmiString& mmi) {
    constexpr const char* c_barring = "330";
    const std::string& service = mmi.item(0);
    if ((mmi.procedure != MmiProcedure::ACTIVATION && mmi.procedure != MmiProcedure::REGISTRATION) ||
        (!service.empty() && service != c_barring)) {
        return ILLEGAL_OPERATION;
    }
    if (const Error error = check_password(subscriber, mmi.item(1)); error != NO_ERROR) {
        return error;
    }
    if (mmi.item(2) != mmi.item(3) || mmi.item(2).size() != c_password_size) {
        return PASSWORD_REGISTRATION_FAILURE;
    }
    subscriber.password = mmi.item(2);
    return NO_ERROR;
}

// --- Waiting, 3GPP TS 22.083, and the identities, 22.081 -------------------------------------------------------------

Answer serve_waiting(Subscriber& subscriber, const MmiString& mmi) {
    if (mmi.procedure == MmiProcedure::INTERROGATION) {
        return {Service::WAITING, NO_ERROR, list_groups(subscriber.waiting)};
    }
    const auto groups = groups_of(mmi.item(0));
    const bool activates = mmi.procedure == MmiProcedure::ACTIVATION;
    if (!groups || (!activates && mmi.procedure != MmiProcedure::DEACTIVATION)) {
        return {Service::WAITING, ILLEGAL_OPERATION, {}};
    }
    for (const Group group : *groups) {
        if (activates) {
            subscriber.waiting.insert(group);
        } else {
            subscriber.waiting.erase(group);
        }
    }
    return {Service::WAITING, NO_ERROR, {}};
}

// They are only asked for.
Answer serve_identity(Service service, const MmiString& mmi) {
    return {service, mmi.procedure == MmiProcedure::INTERROGATION ? NO_ERROR : ILLEGAL_OPERATION, {}};
}

bool is_international(const std::string& number) {
    const std::string digits = number.starts_with('+')    ? number.substr(1)
                               : number.starts_with("00") ? number.substr(2)
                                                          : "";
    return !digits.empty() && !digits.starts_with(c_home_country);
}

}  // namespace

std::optional<Answer> serve(uint32_t sim_id, const MmiString& mmi) {
    Subscriber& subscriber = s_subscribers[sim_id];
    if (const auto row = c_forwarding_codes.find(mmi.code); row != c_forwarding_codes.end()) {
        return serve_forwarding(subscriber, mmi, row->second);
    }
    if (const auto row = c_barring_codes.find(mmi.code); row != c_barring_codes.end()) {
        return serve_barring(subscriber, mmi, row->second);
    }
    if (mmi.code == "43") {
        return serve_waiting(subscriber, mmi);
    }
    if (mmi.code == "03") {
        return Answer{Service::PASSWORD, change_password(subscriber, mmi), {}};
    }
    if (mmi.code == "30") {
        return serve_identity(Service::CLIP, mmi);
    }
    if (mmi.code == "31") {
        return serve_identity(Service::CLIR, mmi);
    }
    if (mmi.code == "76") {
        return serve_identity(Service::COLP, mmi);
    }
    return std::nullopt;
}

std::optional<Diversion> diversion(uint32_t sim_id, Condition condition, Group group) {
    const auto& forwarding = s_subscribers[sim_id].forwarding[condition];
    const auto it = forwarding.find(group);
    return it != forwarding.end() && it->second.active ? std::optional(Diversion{it->second.number, it->second.seconds})
                                                       : std::nullopt;
}

bool bars_outgoing(uint32_t sim_id, const std::string& number) {
    const auto& barring = s_subscribers[sim_id].barring;
    return barring[ALL_OUTGOING].contains(TELEPHONY) ||
           (is_international(number) &&
            (barring[INTERNATIONAL].contains(TELEPHONY) || barring[INTERNATIONAL_BUT_HOME].contains(TELEPHONY)));
}

bool bars_incoming(uint32_t sim_id, bool roams) {
    const auto& barring = s_subscribers[sim_id].barring;
    return barring[ALL_INCOMING].contains(TELEPHONY) || (roams && barring[INCOMING_ROAMING].contains(TELEPHONY));
}

bool lets_wait(uint32_t sim_id) {
    return s_subscribers[sim_id].waiting.contains(TELEPHONY);
}

void provide_clir(uint32_t sim_id, bool is_provided) {
    s_subscribers[sim_id].may_withhold = is_provided;
}

bool may_withhold(uint32_t sim_id) {
    return s_subscribers[sim_id].may_withhold;
}

void provide_group(uint32_t sim_id, const std::string& number, uint16_t index) {
    s_subscribers[sim_id].groups[number] = index;
}

std::optional<uint16_t> group_with(uint32_t sim_id, const std::string& number) {
    const auto& groups = s_subscribers[sim_id].groups;
    const auto it = groups.find(number);
    return it != groups.end() ? std::optional(it->second) : std::nullopt;
}

std::string describe() {
    constexpr const char* c_conditions[] = {"always", "when busy", "without a reply", "when not reachable"};
    constexpr const char* c_bars[] = {"outgoing", "international", "international but home", "incoming",
                                      "incoming abroad"};
    std::string text;
    for (uint32_t sim_id = 0; sim_id < c_stacks; ++sim_id) {
        text += (sim_id == 0 ? "stack " : ", stack ") + std::to_string(sim_id) + ":";
        for (size_t i = 0; i < CONDITIONS; ++i) {
            if (const auto to = diversion(sim_id, static_cast<Condition>(i))) {
                text += std::string(" forwarded ") + c_conditions[i] + " to " + to->number;
            }
        }
        for (size_t i = 0; i < BARS; ++i) {
            if (s_subscribers[sim_id].barring[i].contains(TELEPHONY)) {
                text += std::string(" barred ") + c_bars[i];
            }
        }
        text += lets_wait(sim_id) ? " waiting on" : " waiting off";
    }
    return text;
}

}  // namespace subscriber
