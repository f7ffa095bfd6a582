#include "host/modem/gsm_text.h"

#include <algorithm>

#include "host/sms/message.h"

CodedText code_text(const std::string& text, size_t most) {
    const std::u32string characters = sms::characters_of(text);
    if (auto septets = sms::septets_of(characters)) {
        septets->resize(std::min(septets->size(), most * 8 / 7));
        if (septets->size() % 8 == 7) {
            septets->push_back('\r');  // else seven bits of nothing would be a character
        }
        return {c_dcs_gsm, sms::pack(*septets)};
    }
    CodedText coded{c_dcs_ucs2, {}};
    for (const char32_t character : characters) {
        if (coded.octets.size() + 2 <= most) {
            coded.octets.push_back(static_cast<uint8_t>(character >> 8));
            coded.octets.push_back(static_cast<uint8_t>(character));
        }
    }
    return coded;
}

std::string decode_text(std::span<const uint8_t> octets, uint8_t dcs) {
    if ((dcs & 0x0C) == 0x04) {
        return {octets.begin(), octets.end()};
    }
    const bool is_ucs2 = (dcs & 0x0C) == 0x08;
    const size_t septets = octets.size() * 8 / 7;
    std::string text = sms::text_of(
        {is_ucs2 ? uint8_t{8} : uint8_t{0}, false, static_cast<uint8_t>(septets), {octets.begin(), octets.end()}});
    if (!is_ucs2 && septets % 8 == 0 && text.ends_with('\r')) {
        text.pop_back();
    }
    return text;
}
