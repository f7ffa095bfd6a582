#include "tests/net/packets.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/harness/sleeps.h"

namespace {

constexpr int c_service_event = 1028;
constexpr const char* c_place = "AA AA AA AA ";

std::string byte(uint32_t value) {
    char text[4];
    snprintf(text, sizeof(text), "%02X ", value & 0xFFU);
    return text;
}

std::string word(uint32_t value) {
    return byte(value >> 24U) + byte(value >> 16U) + byte(value >> 8U) + byte(value);
}

size_t bytes(const std::string& text) {
    return from_hex(text).size();
}

// A long length's bytes go from the least significant up.
std::string length(size_t value) {
    const auto n = static_cast<uint32_t>(value);
    if (n < 0x80) {
        return byte(n);
    }
    return n < 0x100 ? "81 " + byte(n) : "82 " + byte(n) + byte(n >> 8U);
}

std::string tag_of(uint32_t number) {
    return number < 0x80 ? byte(number) : byte(0x80U | number >> 7U) + byte(number & 0x7FU);
}

std::string packet(uint16_t id, const std::string& context, const std::string& parameters) {
    const std::string body = context + record(tag_of(id), parameters);
    return "02 04 " + word(static_cast<uint32_t>(12 + bytes(body))) + "02 04 " + word(id) + body;
}

}  // namespace

std::string u16(uint16_t value) {
    return "02 02 " + byte(value >> 8U) + byte(value);
}

std::string u32(uint32_t value) {
    return "02 04 " + word(value);
}

std::string record(const std::string& tag, const std::string& content) {
    return "7F " + tag + " " + length(bytes(content)) + content;
}

std::string plmn(uint16_t mcc, uint16_t mnc, uint32_t three_digits) {
    return record("7B", u32(three_digits) + u16(mnc) + u16(mcc));
}

std::string network(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat) {
    return record("7C", u32(rat) + plmn(mcc, mnc, three_digits));
}

std::string indication(uint16_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, "20 00 01 00 ", body + u32(sim_id));
}

std::string response(uint16_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, c_place, record("06", std::string("02 04 ") + c_place) + body + u32(sim_id));
}

std::string registration(const Registration& v, uint32_t sim_id) {
    const std::string lai = record("7D", record("78", u16(0)) + plmn(0, 0, 0));
    return indication(82,
                      record("81 47", u32(0) + u32(0) + record("7F", record("79", u16(0)) + plmn(0, 0, 0)) + u32(0) +
                                          u32(0) + record("7E", "02 01 00" + lai) + lai + u32(0) + u32(v.roaming) +
                                          u32(v.band) + network(v.mcc, v.mnc, v.three_digits, v.rat) + u32(0) + u32(0) +
                                          u32(0) + u32(v.ps) + u32(v.second_cause) + u32(v.cause) + u32(0) + u32(v.cs)),
                      sim_id);
}

std::string cell(const Cell& v, uint32_t sim_id) {
    return indication(89,
                      record("81 79", u32(v.rat) + u32(v.hsupa) + u32(v.hsdpa) + u32(v.edge) + u32(v.gprs) +
                                          u16(v.lac) + u32(v.cell_id) + u16(v.mnc) + u16(v.mcc)),
                      sim_id);
}

std::string hspa(uint32_t hsdpa, uint32_t hsupa, uint32_t plus, uint32_t sim_id) {
    return indication(90, record("81 7C", u32(plus) + u32(hsupa) + u32(hsdpa)), sim_id);
}

std::string dual_sim_service(uint32_t state, uint32_t sim_id) {
    return indication(84, record("81 72", u32(state)), sim_id);
}

std::string attach_allowed(uint32_t value, uint32_t sim_id) {
    return indication(349, record("01", u32(0) + u32(value)), sim_id);
}

std::string ps_attached(uint16_t mcc, uint16_t mnc, uint16_t lac) {
    const std::string lai = record("7D", record("78", u16(lac)) + plmn(mcc, mnc, 0));
    return indication(81, record("81 42", record("7E", "02 01 00" + lai)));
}

std::string ps_detached(uint32_t origin) {
    return indication(292, record("81 44", u32(0) + u32(0) + u32(origin)));
}

std::string scrambling_code(uint16_t code) {
    return response(351, record("2F", u16(code)));
}

std::string attach_confirmed(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat, uint32_t sim_id) {
    return response(76, record("81 3F", u32(0) + u32(0) + u32(0) + network(mcc, mnc, three_digits, rat) + u32(0)),
                    sim_id);
}

std::string attach_rejected(uint32_t cause) {
    return response(77, record("81 40", u32(0) + u32(0) + u32(cause)));
}

std::string scan_result(const std::vector<Found>& found, uint32_t count, uint32_t rejected) {
    std::string entries;
    for (size_t i = 30; i-- > 0;) {
        const Found v = i < found.size() ? found[i] : Found{0, 0, 0, 0, 0};
        entries += record("81 4D", network(v.mcc, v.mnc, v.three_digits, v.rat) + u32(v.forbidden));
    }
    return response(79, record("81 4E", u32(0) + u32(rejected) + entries + u32(count)));
}

NetPhone::NetPhone(const std::vector<std::string>& arguments, uint8_t sim) : Phone(arguments) {
    harness_take_slept();  // has the library's sleeps take no time
    sim_id = sim;
    bring_up();
    radio(1);
    android.reset();
    modem.take_received();
}

void NetPhone::radio(int on) {
    answer_mode_requests(static_cast<uint8_t>(on));
    EXPECT_EQ(answer(request(RIL_REQUEST_RADIO_POWER, &on, sizeof(on))).error, RIL_E_SUCCESS);
}

std::string NetPhone::hear(const std::vector<std::string>& packets) {
    android.reset();
    for (const std::string& one : packets) {
        modem.send(one);
    }
    modem.send(dual_sim_service(1, sim_id));
    const int end = 209;
    const std::string end_data(reinterpret_cast<const char*>(&end), sizeof(end));
    std::string heard;
    EXPECT_TRUE(soon([&] {
        const auto all = android.unsolicited();
        return !all.empty() && all.back().number == c_service_event && all.back().data == end_data;
    }));
    auto all = android.unsolicited();
    all.pop_back();
    for (const FakeAndroid::Unsolicited& message : all) {
        heard += (heard.empty() ? "" : " ") + std::to_string(message.number);
        if (message.data.size() == sizeof(int)) {
            int value = 0;
            memcpy(&value, message.data.data(), sizeof(value));
            heard += ":" + std::to_string(value);
        }
    }
    return heard;
}

std::string NetPhone::ask(int number, const char* text) {
    const bool strings = number == RIL_REQUEST_VOICE_REGISTRATION_STATE ||
                         number == RIL_REQUEST_DATA_REGISTRATION_STATE ||
                         number == RIL_REQUEST_QUERY_AVAILABLE_NETWORKS;
    android.set_interpreter(strings ? FakeAndroid::as_strings : FakeAndroid::Interpreter());
    return answer_text(request(number, const_cast<char*>(text), text == nullptr ? 0 : sizeof(text)));
}

std::string NetPhone::answer_text(RIL_Token token) {
    const FakeAndroid::Completion done = answer(token);
    std::string text = std::to_string(done.error);
    if (!done.has_data) {
        return text;
    }
    if (done.text.empty() && done.data.size() == sizeof(int)) {
        int value = 0;
        memcpy(&value, done.data.data(), sizeof(value));
        return text + ": " + std::to_string(value);
    }
    text += ": " + done.text;
    for (char& c : text) {
        c = c == '\n' ? '|' : c;
    }
    return text;
}

std::vector<std::string> NetPhone::sent() {
    std::vector<std::string> packets;
    for (const Bytes& packet : modem.take_received()) {
        packets.push_back(to_hex(packet));
    }
    return packets;
}

void NetPhone::reply(const std::string& request, const std::string& response) {
    constexpr size_t c_context_at = 36;  // three characters each of 12 bytes
    const std::string context = request.substr(c_context_at, strlen(c_place));
    std::string bytes = response;
    for (size_t at = bytes.find(c_place); at != std::string::npos; at = bytes.find(c_place)) {
        bytes.replace(at, strlen(c_place), context);
    }
    modem.send(bytes);
}
