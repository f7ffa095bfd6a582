// A card that is powered and open initialises itself once its stack is on the air (3GPP TS 31.102, 5.1.1).
//
// It keeps its power, and with it what was verified, over a crash of the modem; it loses it with the phone's own, by
// request, and when it is taken out. What is written to it stays until the phone ends.
#include "host/modem/card.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "host/modem/modem.h"

namespace {

using Milliseconds = Loop::Milliseconds;

constexpr int32_t c_ind_present = 3;
constexpr int32_t c_ind_absent = 0;
constexpr int32_t c_reset_by_request = 0;
constexpr int32_t c_reset_removal = 7;
constexpr int32_t c_indicator_gone = 2;
constexpr int32_t c_indicator_there = 3;
constexpr uint8_t c_app_class_2g = 0;
constexpr uint8_t c_app_class_3g = 255;

constexpr uint16_t c_ef_iccid = 0x2FE2;
constexpr uint16_t c_ef_imsi = 0x6F07;
constexpr uint16_t c_ef_fdn = 0x6F3B;
constexpr uint16_t c_telecom = 0x7F10;

constexpr Milliseconds c_reset_time{15};  // answer to reset, and the first files
constexpr Milliseconds c_read_time{40};   // the files behind the PIN

struct Slot {
    card::Card card;
    bool inserted = true;
    bool stack_is_on = false;
    bool powered = true;
    bool opened = false;  // a client listens
};

// A card that comes along. That of the second stack has an identity of its own: the last digits of ICCID and IMSI.
card::Card built_in(const std::string& kind, uint32_t sim_id) {
    std::string error;
    card::Card card = card::read_card(card::built_in_card(kind), error).value_or(card::Card{});
    if (sim_id != 0) {
        card::find_file(card, {{card::c_master_file, c_ef_iccid}})->content.back() += 1;
        card::find_network_file(card, c_ef_imsi)->content.back() += 0x10;
    }
    return card;
}

std::array<Slot, c_stacks>& slots() {
    static std::array<Slot, c_stacks> s_slots = [] {
        std::array<Slot, c_stacks> made;
        for (uint32_t i = 0; i < c_stacks; ++i) {
            made[i].card = built_in("3g", i);
        }
        return made;
    }();
    return s_slots;
}

bool wants_lock_opened(const card::Card& card) {
    return std::any_of(card.locks.begin(), card.locks.end(), [](const card::Lock& lock) { return lock.is_active; });
}

void report_card(Modem& modem, uint32_t sim_id, int32_t reset_type, int32_t indicator) {
    UtaSimCardInfoParam param{};
    param.reset_type = reset_type;
    param.indicator = indicator;
    modem.indicate<uta::row::UtaMsSimCardIndCb>(sim_id, &param);
}

void report_info(Modem& modem, uint32_t sim_id) {
    card::Card& card = card_of(sim_id);
    UtaSimInfoType param{};
    if (card_has_power(sim_id)) {
        param.sim_ind = c_ind_present;
        if (const card::File* iccid = card::find_file(card, {{card::c_master_file, c_ef_iccid}})) {
            std::copy_n(iccid->content.begin(), std::min(iccid->content.size(), sizeof(param.uicc_id)), param.uicc_id);
        }
        param.app_class = card.is_3g ? c_app_class_3g : c_app_class_2g;
        param.chv1_status = chv_status(card.pin1);
        param.chv2_status = chv_status(card.pin2);
        param.chv1_retries_left = card.pin1.attempts;
        param.retries_2 = card.pin1.unblock_attempts;
        param.retries_3 = card.pin2.attempts;
        param.retries_4 = card.pin2.unblock_attempts;
    } else {
        param.sim_ind = c_ind_absent;
    }
    modem.indicate<uta::row::UtaMsSimInfoIndCb>(sim_id, &param);
}

// The IMSI behind its length.
void fill_imsi(uint32_t sim_id, UtaSimInitType& init) {
    const card::File* imsi = card::find_network_file(card_of(sim_id), c_ef_imsi);
    if (imsi != nullptr && imsi->content.size() > sizeof(init.imsi)) {
        init.imsi_len = std::min(imsi->content[0], static_cast<uint8_t>(sizeof(init.imsi)));
        std::copy_n(imsi->content.begin() + 1, init.imsi_len, init.imsi);
    }
}

// What follows when the card's files can be read and the stack is on the air.
void initialise(Modem& modem, uint32_t sim_id) {
    modem.later(c_read_time, [&modem, sim_id] {
        if (!card_is_usable(sim_id) || !slots()[sim_id].stack_is_on) {
            return;
        }
        UtaSimInitType init{};
        init.init_result = 1;
        fill_imsi(sim_id, init);
        modem.indicate<uta::row::UtaMsSimInitIndCb>(sim_id, &init);
        modem.indicate<uta::row::UtaMsSimFullAccessIndCb>(sim_id);
        report_fdn(modem, sim_id, c_success);
        UtaNetIsAttachAllowedIndParams allowed{};
        allowed.is_attach_allowed = 1;
        modem.indicate<uta::row::UtaMsNetIsAttachAllowedIndCb>(sim_id, &allowed);
    });
}

int32_t open_card(Modem& modem, const Caller&, uint32_t sim_id) {
    slots()[sim_id].opened = true;
    modem.later(modem.settings.latency, [&modem, sim_id] { start_card(modem, sim_id); });
    return c_success;
}

void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool card_on) {
    Slot& slot = slots()[sim_id];
    const bool was_on = std::exchange(slot.stack_is_on, stack_on);
    const bool was_powered = std::exchange(slot.powered, card_on);
    if (was_powered && !card_on) {
        card::reset(slot.card);
    }
    if (!slot.opened) {
        return;
    }
    if (was_powered != card_on) {
        if (card_on) {
            start_card(modem, sim_id);
        } else {
            report_card(modem, sim_id, c_reset_by_request, c_indicator_gone);
            report_info(modem, sim_id);
        }
    } else if (stack_on && !was_on && slot.inserted) {
        initialise(modem, sim_id);
    }
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::string remove_card(Modem& modem, uint32_t sim_id) {
    Slot& slot = slots()[sim_id];
    slot.inserted = false;
    card::reset(slot.card);
    report_card(modem, sim_id, c_reset_removal, c_indicator_gone);
    modem.later(c_reset_time, [&modem, sim_id] {
        if (!slots()[sim_id].inserted) {  // else the new card tells of itself
            report_info(modem, sim_id);
        }
    });
    modem.card_changed(sim_id);
    return "";
}

// The card that was taken out, unless the words name another.
std::string insert_card(Modem& modem, uint32_t sim_id, const std::vector<std::string>& words) {
    Slot& slot = slots()[sim_id];
    std::optional<card::Card> card;
    bool wants_pin = false;
    for (const std::string& word : words) {
        if (word == "pin") {
            wants_pin = true;
        } else if (word == "2g" || word == "3g") {
            card = built_in(word, sim_id);
        } else {
            std::ostringstream text;
            const std::ifstream file(word);
            if (!file) {
                return "cannot read " + word;
            }
            text << file.rdbuf();
            std::string error;
            card = card::read_card(text.str(), error);
            if (!card) {
                return error.insert(0, word + ":");
            }
        }
    }
    if (card) {
        slot.card = std::move(*card);
    }
    slot.card.pin1.is_enabled |= wants_pin;
    card::reset(slot.card);
    slot.inserted = true;
    start_card(modem, sim_id);
    modem.card_changed(sim_id);
    return "";
}

// Somebody else at the card, such as its toolkit, entered the PIN.
std::string unlock_card(Modem& modem, uint32_t sim_id) {
    card::Card& card = card_of(sim_id);
    if (!card_has_power(sim_id) || card.pin1.is_blocked()) {
        return "there is no card whose PIN could be entered";
    }
    card.pin1.is_verified = true;
    report_info(modem, sim_id);
    card_was_unlocked(modem, sim_id);
    return "";
}

std::string card_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    const bool has_stack = arguments.size() > 1 && (arguments.back() == "0" || arguments.back() == "1");
    const uint32_t sim_id = has_stack && arguments.back() == "1" ? 1 : 0;
    const std::vector<std::string> words(arguments.begin() + (arguments.empty() ? 0 : 1),
                                         arguments.end() - (has_stack ? 1 : 0));
    if (what == "insert") {
        return insert_card(modem, sim_id, words);
    }
    if (words.empty() && what == "remove") {
        return remove_card(modem, sim_id);
    }
    if (words.empty() && what == "unlock") {
        return unlock_card(modem, sim_id);
    }
    return "wants remove, insert or unlock";
}

std::string describe_code(const char* name, const card::Secret& secret) {
    constexpr const char* c_words[] = {"unknown", "asked for", "off", "blocked", "blocked for good", "verified"};
    return std::string(", ") + name + " " + c_words[chv_status(secret)] + " (" + std::to_string(secret.attempts) + "/" +
           std::to_string(secret.unblock_attempts) + " attempts)";
}

std::string describe() {
    std::string text;
    for (uint32_t i = 0; i < c_stacks; ++i) {
        const Slot& slot = slots()[i];
        text += (i == 0 ? "card " : "; card ") + std::to_string(i) +
                (!slot.inserted    ? " out"
                 : slot.card.is_3g ? " 3G"
                                   : " 2G");
        if (slot.inserted) {
            text += (slot.powered ? "" : " without power") + describe_code("PIN1", slot.card.pin1) +
                    describe_code("PIN2", slot.card.pin2);
        }
        for (size_t k = 0; slot.inserted && k < card::c_locks; ++k) {
            text += slot.card.locks[k].is_active ? std::string(", locked ") + card::c_lock_names[k] : "";
        }
    }
    return text;
}

// Digits of two to the byte, low nibble first.
std::string digits_of(const card::Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        for (const int nibble : {byte & 0xF, byte >> 4}) {
            if (nibble > 9) {
                return text;
            }
            text += static_cast<char>('0' + nibble);
        }
    }
    return text;
}

}  // namespace

card::Card& card_of(uint32_t sim_id) {
    return slots()[sim_id].card;
}

bool card_has_power(uint32_t sim_id) {
    const Slot& slot = slots()[sim_id];
    return slot.inserted && slot.powered;
}

bool card_is_usable(uint32_t sim_id) {
    const card::Card& card = card_of(sim_id);
    return card_has_power(sim_id) && card.pin1.is_known() && !wants_lock_opened(card);
}

bool card_allows_call(uint32_t sim_id, const std::string& number) {
    constexpr size_t c_behind_name = 14;  // length, type of number, ten bytes of digits, two identifiers
    constexpr size_t c_digit_bytes = 10;
    card::Card& card = card_of(sim_id);
    if (card::fdn_state(card) != card::Fdn::ON) {
        return true;
    }
    const std::string digits = number.substr(number.starts_with('+') ? 1 : 0);
    const card::File* file = card.is_3g ? card::find_network_file(card, c_ef_fdn)
                                        : card::find_file(card, {{card::c_master_file, c_telecom, c_ef_fdn}});
    for (size_t i = 0; file != nullptr && file->record_size >= c_behind_name && i < file->records(); ++i) {
        const auto at = file->content.begin() + static_cast<ptrdiff_t>((i + 1) * file->record_size - c_behind_name + 2);
        const std::string allowed = digits_of({at, at + c_digit_bytes});
        if (!allowed.empty() && digits.starts_with(allowed)) {
            return true;
        }
    }
    return false;
}

void start_card(Modem& modem, uint32_t sim_id) {
    report_card(modem, sim_id, c_reset_by_request, c_indicator_there);
    modem.later(c_reset_time, [&modem, sim_id] {
        report_info(modem, sim_id);
        if (card_has_power(sim_id)) {
            report_locks(modem, sim_id);
        }
        initialise(modem, sim_id);
    });
}

void card_was_unlocked(Modem& modem, uint32_t sim_id) {
    if (card_is_usable(sim_id)) {
        initialise(modem, sim_id);
        modem.card_changed(sim_id);
    }
}

Service card_service() {
    using namespace uta::row;
    return {
        .name = "card",
        .functions = {serve<UtaMsSimOpenReq, open_card>()},
        .commands = {{"card", "remove | insert [2g|3g|FILE] [pin] | unlock [0|1]",
                      "the card of a stack: taken out; put in, one that comes along or is described in FILE, or the\n"
                      "one that was taken out, with a PIN that is asked for or as it was; its PIN entered",
                      card_command}},
        .forget =
            [] {
                for (Slot& slot : slots()) {  // the card itself stays where it is
                    slot.stack_is_on = slot.opened = false;
                    slot.powered = true;
                }
            },
        .describe = describe,
        .stack_switched = stack_switched,
        .phone_off =
            [] {
                for (Slot& slot : slots()) {
                    card::reset(slot.card);
                }
            }};
}
