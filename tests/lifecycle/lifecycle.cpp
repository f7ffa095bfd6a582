#include "tests/lifecycle/lifecycle.h"

#include <gtest/gtest.h>

#include <algorithm>

uint32_t function_id(const Bytes& packet) {
    return uint32_t{packet[10]} << 8U | packet[11];
}

std::vector<std::string> masked(const std::vector<Bytes>& packets) {
    std::vector<std::string> texts;
    for (Bytes packet : packets) {
        if (function_id(packet) == c_set_mode || function_id(packet) == c_set_sim_mode) {
            EXPECT_TRUE(std::equal(packet.begin() + 12, packet.begin() + 16, packet.begin() + 25)) << to_hex(packet);
            std::fill_n(packet.begin() + 12, 4, 0xAA);
            std::fill_n(packet.begin() + 25, 4, 0xAA);
            std::fill_n(packet.begin() + 31, 4, 0xCC);
        }
        texts.push_back(to_hex(packet));
    }
    return texts;
}

std::string card_info(const char* chv1) {
    return std::string(
               "02 04 00 00 00 87 02 04 00 00 00 94 20 00 01 00 7F 81 14 73 7F 82 29 69"
               " 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00"
               " 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00"
               " 02 01 0A 02 01 0A 02 01 0A 02 01 03 02 04 00 00 00 01 02 04 00 00 00 ") +
           chv1 +
           "02 01 00 55 0A 02 04 00 00 00 0A 02 04 00 00 00 00 89 49 02 00 00 12 34 56 78 90"
           " 02 04 00 00 00 03 02 04 00 00 00 00";
}

std::string for_sim_1(std::string packet) {
    packet.back() = '1';
    return packet;
}

std::string with_context(std::string answer, const Bytes& request) {
    const std::string place = "AA AA AA AA";
    const std::string context = to_hex(Bytes(request.begin() + 12, request.begin() + 16));
    for (size_t at = 0; (at = answer.find(place, at)) != std::string::npos;) {
        answer.replace(at, place.size(), context);
    }
    return answer;
}

void restart(Phone& phone) {
    phone.modem.take_received();
    phone.android.reset();
    phone.event(c_event_down);
    phone.event(c_event_up);
    ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 10; }));
    EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_OFF);
}
