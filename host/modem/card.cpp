// The card of each stack: there or not, its type, whether it wants a PIN. A card that is powered and open initialises
// itself once its stack is on the air (3GPP TS 31.102, 5.1.1).
#include "host/modem/card.h"

#include <algorithm>
#include <array>

#include "host/modem/modem.h"

namespace {

using Milliseconds = Loop::Milliseconds;

constexpr int32_t c_ind_present = 3;
constexpr int32_t c_ind_absent = 0;
constexpr int32_t c_reset_by_request = 0;
constexpr int32_t c_reset_removal = 7;
constexpr int32_t c_indicator_gone = 2;
constexpr int32_t c_indicator_there = 3;
constexpr int32_t c_chv_needed = 1;
constexpr int32_t c_chv_not_needed = 2;
constexpr uint8_t c_pin_attempts = 3;
constexpr uint8_t c_app_class_2g = 0;
constexpr uint8_t c_app_class_3g = 255;

constexpr Milliseconds c_reset_time{15};  // answer to reset, and the first files
constexpr Milliseconds c_read_time{40};   // the files behind the PIN

struct Card {
    bool inserted = true;
    bool is_3g = true;
    bool wants_pin = false;
    bool stack_is_on = false;
    bool powered = true;
    bool opened = false;  // a client listens
};

std::array<Card, c_stacks> s_cards;

// The IMSI 262011234567890, packed as on the card, and an identity per stack.
constexpr std::array<uint8_t, 8> c_imsi = {0x29, 0x26, 0x10, 0x21, 0x43, 0x65, 0x87, 0x09};

void report_card(Modem& modem, uint32_t sim_id, int32_t reset_type, int32_t indicator) {
    UtaSimCardInfoParam param{};
    param.reset_type = reset_type;
    param.indicator = indicator;
    modem.indicate<uta::row::UtaMsSimCardIndCb>(sim_id, &param);
}

void report_info(Modem& modem, uint32_t sim_id) {
    const Card& card = s_cards[sim_id];
    UtaSimInfoType param{};
    if (card.inserted && card.powered) {
        param.sim_ind = c_ind_present;
        const uint8_t identity[] = {0x98, 0x94, 0x20, 0x00, 0x00,
                                    0x21, 0x43, 0x65, 0x87, static_cast<uint8_t>(0xF0 + sim_id)};
        std::copy(std::begin(identity), std::end(identity), param.uicc_id);
        param.app_class = card.is_3g ? c_app_class_3g : c_app_class_2g;
        param.chv1_status = card.wants_pin ? c_chv_needed : c_chv_not_needed;
        param.chv2_status = c_chv_needed;
        param.chv1_retries_left = c_pin_attempts;
        param.retries_2 = 10;
        param.retries_3 = c_pin_attempts;
        param.retries_4 = 10;
    } else {
        param.sim_ind = c_ind_absent;
    }
    modem.indicate<uta::row::UtaMsSimInfoIndCb>(sim_id, &param);
}

// What follows when the card's files can be read and the stack is on the air.
void initialise(Modem& modem, uint32_t sim_id) {
    modem.later(c_read_time, [&modem, sim_id] {
        if (!card_is_usable(sim_id) || !s_cards[sim_id].stack_is_on) {
            return;
        }
        UtaSimInitType init{};
        init.init_result = 1;
        init.imsi_len = static_cast<uint8_t>(c_imsi.size());
        std::copy(c_imsi.begin(), c_imsi.end(), init.imsi);
        modem.indicate<uta::row::UtaMsSimInitIndCb>(sim_id, &init);
        modem.indicate<uta::row::UtaMsSimFullAccessIndCb>(sim_id);
        UtaNetIsAttachAllowedIndParams allowed{};
        allowed.is_attach_allowed = 1;
        modem.indicate<uta::row::UtaMsNetIsAttachAllowedIndCb>(sim_id, &allowed);
    });
}

// The card was put in, or has power again.
void start_card(Modem& modem, uint32_t sim_id) {
    report_card(modem, sim_id, c_reset_by_request, c_indicator_there);
    modem.later(c_reset_time, [&modem, sim_id] {
        report_info(modem, sim_id);
        initialise(modem, sim_id);
    });
}

int32_t open_card(Modem& modem, const Caller&, uint32_t sim_id) {
    s_cards[sim_id].opened = true;
    modem.later(modem.settings.latency, [&modem, sim_id] { start_card(modem, sim_id); });
    return c_success;
}

void stack_switched(Modem& modem, uint32_t sim_id, bool stack_on, bool card_on) {
    Card& card = s_cards[sim_id];
    const bool was_on = std::exchange(card.stack_is_on, stack_on);
    const bool was_powered = std::exchange(card.powered, card_on);
    if (!card.opened) {
        return;
    }
    if (was_powered != card_on) {
        if (card_on) {
            start_card(modem, sim_id);
        } else {
            report_card(modem, sim_id, c_reset_by_request, c_indicator_gone);
            report_info(modem, sim_id);
        }
    } else if (stack_on && !was_on && card.inserted) {
        initialise(modem, sim_id);
    }
}

uint32_t stack_number(const std::vector<std::string>& arguments, size_t index) {
    return arguments.size() > index && arguments[index] == "1" ? 1 : 0;
}

std::string card_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    const uint32_t sim_id = stack_number(arguments, arguments.size() - (arguments.empty() ? 0 : 1));
    Card& card = s_cards[sim_id];
    const auto said = [&](const char* word) {
        return std::find(arguments.begin(), arguments.end(), word) != arguments.end();
    };
    if (what == "remove") {
        card.inserted = false;
        report_card(modem, sim_id, c_reset_removal, c_indicator_gone);
        modem.later(c_reset_time, [&modem, sim_id] { report_info(modem, sim_id); });
        modem.card_changed(sim_id);
        return "";
    }
    if (what == "insert") {
        card.inserted = true;
        card.is_3g = !said("2g");
        card.wants_pin = said("pin");
        start_card(modem, sim_id);
        modem.card_changed(sim_id);
        return "";
    }
    if (what == "unlock") {
        card.wants_pin = false;
        report_info(modem, sim_id);
        initialise(modem, sim_id);
        modem.card_changed(sim_id);
        return "";
    }
    return "wants remove, insert or unlock";
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_cards.size(); ++i) {
        const Card& card = s_cards[i];
        text += (i == 0 ? "card " : ", card ") + std::to_string(i);
        text += !card.inserted ? " out" : card.is_3g ? " 3G" : " 2G";
        text += card.inserted && card.wants_pin ? ", PIN wanted" : "";
    }
    return text;
}

}  // namespace

bool card_is_usable(uint32_t sim_id) {
    const Card& card = s_cards[sim_id];
    return card.inserted && card.powered && !card.wants_pin;
}

Service card_service() {
    using namespace uta::row;
    return {.name = "card",
            .functions = {serve<UtaMsSimOpenReq, open_card>()},
            .commands = {{"card", "remove|insert|unlock [2g] [pin] [0|1]",
                          "the card of a stack: taken out, put in (with a PIN that is wanted), or its PIN entered",
                          card_command}},
            .forget =
                [] {
                    for (Card& card : s_cards) {  // the card itself stays where it is
                        card.stack_is_on = card.opened = false;
                        card.powered = true;
                    }
                },
            .describe = describe,
            .stack_switched = stack_switched};
}
