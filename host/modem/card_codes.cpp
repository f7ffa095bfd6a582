// PINs and PUKs, fixed dialling and personalisation locks: what clients ask for, what the card makes of it, and what is
// told of it.
#include <algorithm>
#include <array>

#include "host/modem/card.h"
#include "host/modem/modem.h"

namespace {

constexpr int32_t c_verify = 0;
constexpr int32_t c_unblock = 1;
constexpr int32_t c_disable = 2;
constexpr int32_t c_enable = 3;
constexpr int32_t c_change = 4;

constexpr int32_t c_pin2_key = 0x81;

constexpr int32_t c_pin_enabled = 1;
constexpr int32_t c_pin_verified = 5;

// Digits, filled up with FF.
template <size_t n>
std::string code_of(const uint8_t (&octets)[n]) {
    constexpr uint8_t c_filler = 0xFF;
    return {std::begin(octets), std::find(std::begin(octets), std::end(octets), c_filler)};
}

struct Entry {
    int32_t activity;
    int32_t pin;
    std::string code1;
    std::string code2;
};

std::optional<Entry> entry_of(const UtaSimGenPinReqParam& param) {
    const auto& member = param.member;
    switch (param.activity) {
        case c_verify:
            return Entry{param.activity, member.verify.pin, code_of(member.verify.code1.code), ""};
        case c_unblock:
            return Entry{param.activity, member.unblock.pin, code_of(member.unblock.code1.code),
                         code_of(member.unblock.code2.code)};
        case c_disable:
            return Entry{param.activity, member.disable.pin, code_of(member.disable.code1.code), ""};
        case c_enable:
            return Entry{param.activity, member.enable.pin, code_of(member.enable.code1.code), ""};
        case c_change:
            return Entry{param.activity, member.change.pin, code_of(member.change.code1.code),
                         code_of(member.change.code2.code)};
        default:
            return std::nullopt;
    }
}

uint16_t enter(card::Card& card, card::Secret& secret, const Entry& entry) {
    switch (entry.activity) {
        case c_verify:
            return card::verify(card, secret, entry.code1);
        case c_unblock:
            return card::unblock(card, secret, entry.code1, entry.code2);
        case c_change:
            return card::change(card, secret, entry.code1, entry.code2);
        default:
            return card::enable(card, secret, entry.code1, entry.activity == c_enable);
    }
}

// A code that was wrong leaves a PIN that is there; what it was before, verified or not, is not told.
int32_t pin_status(const card::Secret& secret, bool went_well) {
    const int32_t status = chv_status(secret);
    return status == c_pin_verified && !went_well ? c_pin_enabled : status;
}

int32_t enter_pin(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimGenPinReqParam* param,
                  uint32_t context_id) {
    const auto entry = param != nullptr ? entry_of(*param) : std::nullopt;
    if (!entry || !card_has_power(sim_id)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, entry, context_id] {
        card::Card& card = card_of(sim_id);
        card::Secret& secret = entry->pin == c_pin2_key ? card.pin2 : card.pin1;
        const bool was_usable = card_is_usable(sim_id);
        const uint16_t words = enter(card, secret, *entry);
        const int32_t status = pin_status(secret, words == card::c_done);
        const UtaSimGenPinRspParam response{.field_1 = 0,
                                            .activity = entry->activity,
                                            .pin = entry->pin,
                                            .status = status,
                                            .sw1_pin = static_cast<uint8_t>(words >> 8),
                                            .sw2_pin = static_cast<uint8_t>(words),
                                            .attempts = secret.attempts,
                                            .unblock_attempts = secret.unblock_attempts};
        modem.send<uta::row::UtaMsSimGenPinRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
        // The caller has his response; the others hear of it.
        const UtaSimGenPinIndParam indication{.field_1 = 0,
                                              .activity = entry->activity,
                                              .pin = entry->pin,
                                              .status = status,
                                              .attempts = secret.attempts,
                                              .unblock_attempts = secret.unblock_attempts};
        for (const ClientState& other : modem.clients()) {
            if (other.id != caller.client) {
                modem.send<uta::row::UtaMsSimGenPinIndCb>(other.id, Modem::base_context(other.id), sim_id, &indication);
            }
        }
        if (!was_usable) {
            card_was_unlocked(modem, sim_id);
        }
    });
    return c_success;
}

// --- Fixed dialling --------------------------------------------------------------------------------------------------

constexpr int32_t c_fdn_on = 0;
constexpr int32_t c_fdn_failed = 1;

int32_t switch_fdn(Modem& modem, const Caller&, uint32_t sim_id, int32_t fdn_state) {
    if (!card_has_power(sim_id)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, sim_id, fdn_state] {
        const bool done = card::set_fdn(card_of(sim_id), fdn_state == c_fdn_on);
        report_fdn(modem, sim_id, done ? c_success : c_fdn_failed);
    });
    return c_success;
}

// --- Locks -----------------------------------------------------------------------------------------------------------

constexpr int32_t c_set = 0;
constexpr int32_t c_query = 5;

constexpr int32_t c_lock_refused = 0;
constexpr int32_t c_lock_active = 1;
constexpr int32_t c_lock_opened = 4;
constexpr int32_t c_lock_open = 5;

UtaSimLockStates lock_states(uint32_t sim_id) {
    UtaSimLockStates states{};
    const auto& locks = card_of(sim_id).locks;
    for (size_t i = 0; i < std::size(states.locks); ++i) {
        states.locks[i].type = static_cast<int32_t>(i);
        states.locks[i].status = c_lock_open;
        if (i < locks.size()) {
            states.locks[i].status = locks[i].is_active ? c_lock_active : c_lock_open;
            states.locks[i].retrial_count = locks[i].attempts;
            states.sim_lock_required |= locks[i].is_active ? 1 : 0;
        }
    }
    return states;
}

// The right code turns a lock round. The status of what follows.
int32_t turn(card::Lock& lock, const std::string& code) {
    if (lock.attempts == 0) {
        return c_lock_refused;
    }
    if (code != lock.code) {
        --lock.attempts;
        return c_lock_refused;
    }
    lock.attempts = card::Lock::c_attempts;
    lock.is_active = !lock.is_active;
    return lock.is_active ? c_lock_active : c_lock_opened;
}

int32_t modify_lock(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimModifyLockCommand* command,
                    uint32_t context_id) {
    if (command == nullptr || !card_has_power(sim_id) || (command->action != c_set && command->action != c_query) ||
        command->lock_type < 0 || command->lock_type >= static_cast<int32_t>(card::c_locks)) {
        return c_refused;
    }
    const auto index = static_cast<size_t>(command->lock_type);
    const bool is_set = command->action == c_set;
    modem.later(modem.settings.latency, [&modem, caller, sim_id, index, is_set, code = code_of(command->password),
                                         context_id] {
        card::Lock& lock = card_of(sim_id).locks[index];
        const bool was_usable = card_is_usable(sim_id);
        const int32_t status = is_set ? turn(lock, code) : 0;
        UtaSimModifyLockRspParam response{};
        response.states = lock_states(sim_id);
        response.action = is_set ? c_set : c_query;
        if (is_set) {
            response.states.locks[index].status = status;
            response.states.locks[index].result = status == c_lock_refused ? c_refused : c_success;
        }
        modem.send<uta::row::UtaMsSimModifyLockRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
        if (is_set && status != c_lock_refused) {
            report_locks(modem, sim_id);
        }
        if (was_usable != card_is_usable(sim_id)) {
            was_usable ? modem.card_changed(sim_id) : card_was_unlocked(modem, sim_id);
        }
    });
    return c_success;
}

}  // namespace

int32_t chv_status(const card::Secret& secret) {
    if (secret.code.empty()) {
        return 0;
    }
    if (secret.is_blocked()) {
        return secret.unblock_attempts == 0 ? 4 : 3;
    }
    return !secret.is_enabled ? 2 : secret.is_verified ? c_pin_verified : c_pin_enabled;
}

void report_fdn(Modem& modem, uint32_t sim_id, int32_t status) {
    const UtaSimFdnStateIndParam param{
        .status = status, .fdn_state = static_cast<int32_t>(card::fdn_state(card_of(sim_id))), .field_3 = 0};
    modem.indicate<uta::row::UtaMsSimFdnStateIndCb>(sim_id, &param);
}

void report_locks(Modem& modem, uint32_t sim_id) {
    const UtaSimLockStates states = lock_states(sim_id);
    modem.indicate<uta::row::UtaMsSimLockStatusIndCb>(sim_id, &states);
}

Service card_codes_service() {
    using namespace uta::row;
    return {.name = "card codes",
            .functions = {serve<UtaMsSimGenPinReq, enter_pin>(), serve<UtaMsSimSetFdnReq, switch_fdn>(),
                          serve<UtaMsSimModifyLockReq, modify_lock>()},
            .commands = {}};
}
