#include "host/console/toolkit.h"

#include <algorithm>
#include <vector>

#include "host/sms/message.h"

namespace {

using sms::Octets;

struct Name {
    uint8_t type;
    const char* name;
};
// ETSI TS 102 223, 9.4.
constexpr Name c_names[] = {
    {0x01, "REFRESH"},
    {0x02, "MORE TIME"},
    {0x03, "POLL INTERVAL"},
    {0x04, "POLLING OFF"},
    {0x05, "SET UP EVENT LIST"},
    {0x10, "SET UP CALL"},
    {0x11, "SEND SS"},
    {0x12, "SEND USSD"},
    {0x13, "SEND SHORT MESSAGE"},
    {0x14, "SEND DTMF"},
    {0x15, "LAUNCH BROWSER"},
    {0x20, "PLAY TONE"},
    {0x21, "DISPLAY TEXT"},
    {0x22, "GET INKEY"},
    {0x23, "GET INPUT"},
    {0x24, "SELECT ITEM"},
    {0x25, "SET UP MENU"},
    {0x26, "PROVIDE LOCAL INFORMATION"},
    {0x27, "TIMER MANAGEMENT"},
    {0x28, "SET UP IDLE MODE TEXT"},
};

struct Tlv {
    uint8_t tag;  // without the comprehension flag
    Octets value;
};

// What stands in the template, as far as it is whole.
std::vector<Tlv> read_tlvs(const Octets& octets) {
    std::vector<Tlv> all;
    size_t at = octets.size() > 1 && octets[1] == 0x81 ? 3 : 2;
    while (at + 2 <= octets.size()) {
        const size_t head = octets[at + 1] == 0x81 && at + 3 <= octets.size() ? 3 : 2;
        const size_t length = octets[at + head - 1];
        if (at + head + length > octets.size()) {
            break;
        }
        const auto begin = octets.begin() + static_cast<ptrdiff_t>(at + head);
        all.push_back({static_cast<uint8_t>(octets[at] & 0x7F), {begin, begin + static_cast<ptrdiff_t>(length)}});
        at += head + length;
    }
    return all;
}

std::string letters(const Octets& octets, size_t from) {
    return octets.size() <= from ? "" : std::string(octets.begin() + static_cast<ptrdiff_t>(from), octets.end());
}

// A text, behind its coding scheme (8.15); one that is not of 8 bits stays digits.
std::string text_of(const Octets& octets) {
    constexpr uint8_t c_eight_bit = 0x04;
    return octets.empty() || octets[0] == c_eight_bit ? letters(octets, 1) : sms::hex_of(octets);
}

std::string described(const Octets& octets) {
    std::string text;
    for (const Tlv& tlv : read_tlvs(octets)) {
        if (tlv.tag == 0x01 && tlv.value.size() == 3) {
            const auto* const name = std::find_if(std::begin(c_names), std::end(c_names),
                                                  [&](const Name& row) { return row.type == tlv.value[1]; });
            text += name != std::end(c_names) ? name->name : "command " + std::to_string(tlv.value[1]);
        } else if (tlv.tag == 0x05) {
            text += " \"" + letters(tlv.value, 0) + "\"";
        } else if (tlv.tag == 0x0D) {
            text += " \"" + text_of(tlv.value) + "\"";
        } else if (tlv.tag == 0x0F && !tlv.value.empty()) {
            text += ", " + std::to_string(tlv.value[0]) + " \"" + letters(tlv.value, 1) + "\"";
        }
    }
    return text;
}

}  // namespace

std::string toolkit_text(const std::string& hex) {
    const auto octets = sms::octets_of(hex);
    const std::string text = octets ? described(*octets) : "";
    return text.empty() ? "" : " " + text;
}

std::optional<std::string> toolkit_response(const std::string& command, int result,
                                            const std::optional<std::string>& text) {
    const auto octets = sms::octets_of(command);
    const auto tlvs = octets ? read_tlvs(*octets) : std::vector<Tlv>{};
    constexpr size_t c_longest_text = 120;
    if (tlvs.empty() || tlvs[0].tag != 0x01 || tlvs[0].value.size() != 3 || (text && text->size() > c_longest_text)) {
        return std::nullopt;
    }
    Octets response = {0x81, 0x03, tlvs[0].value[0], tlvs[0].value[1], tlvs[0].value[2], 0x82, 0x02, 0x82, 0x81};
    const Octets end = {0x83, 0x01, static_cast<uint8_t>(result)};
    response.insert(response.end(), end.begin(), end.end());
    if (text) {
        const Octets front = {0x8D, static_cast<uint8_t>(text->size() + 1), 0x04};
        response.insert(response.end(), front.begin(), front.end());
        response.insert(response.end(), text->begin(), text->end());
    }
    return sms::hex_of(response);
}
