// A card: any text as its description, or any commands to one that comes along. It has to stay in its memory, files in
// their sizes and counters in their range.
#include <cstdlib>

#include "host/modem/card/card.h"

namespace {

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

card::Card built_in(const char* kind) {
    std::string error;
    return card::read_card(card::built_in_card(kind), error).value_or(card::Card{});
}

// Each command has its length in front.
void send_all(card::Card card, std::span<const uint8_t> commands) {
    std::vector<size_t> sizes;
    for (const card::File& file : card.files) {
        sizes.push_back(file.content.size());
    }
    while (!commands.empty()) {
        const size_t length = std::min<size_t>(commands[0], commands.size() - 1);
        const card::Bytes answer = card::transmit(card, commands.subspan(1, length));
        check(answer.size() >= 2 && answer.size() <= 258);
        commands = commands.subspan(1 + length);
    }
    for (size_t i = 0; i < sizes.size(); ++i) {
        check(card.files[i].kind == card::Kind::OBJECTS || card.files[i].content.size() == sizes[i]);
    }
    check(card.pin1.attempts <= 3 && card.pin1.unblock_attempts <= 10);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const card::Card s_3g = built_in("3g");
    static const card::Card s_2g = built_in("2g");
    if (size == 0) {
        return 0;
    }
    const std::span<const uint8_t> rest(data + 1, size - 1);
    if (data[0] == '3' || data[0] == '2') {
        send_all(data[0] == '3' ? s_3g : s_2g, rest);
        return 0;
    }
    std::string error;
    if (auto card = card::read_card(std::string(data, data + size), error)) {
        constexpr uint8_t c_select[] = {7, 0x00, 0xA4, 0x00, 0x04, 0x02, 0x7F, 0xFF, 5, 0x00, 0xC0, 0, 0, 0};
        send_all(*card, c_select);
        card::fdn_state(*card);
    } else {
        check(!error.empty());
    }
    return 0;
}
