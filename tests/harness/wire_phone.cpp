#include "tests/harness/wire_phone.h"

#include <cutils/properties.h>

#include <algorithm>
#include <cstring>

#include "tests/harness/sleeps.h"

namespace {

constexpr int c_service_event = 1028;
constexpr int c_limited_service = 209;  // what Android hears of the dual SIM service 1
const std::string c_place = "AA AA AA AA";

std::string byte(size_t value) {
    return to_hex({static_cast<uint8_t>(value)}) + " ";
}

std::string word(uint32_t value) {
    return byte(value >> 24U) + byte(value >> 16U) + byte(value >> 8U) + byte(value);
}

// A long length's bytes go from the least significant up.
std::string length(size_t n) {
    return n < 0x80 ? byte(n) : n < 0x100 ? "81 " + byte(n) : "82 " + byte(n) + byte(n >> 8U);
}

std::string packet(uint32_t id, const std::string& context, const std::string& parameters) {
    const std::string tag = id < 0x80 ? byte(id) : byte(0x80U | id >> 7U) + byte(id & 0x7FU);
    const std::string body = context + " " + record(tag, parameters);
    return "02 04 " + word(static_cast<uint32_t>(12 + from_hex(body).size())) + "02 04 " + word(id) + body;
}

std::string with(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// The integers of a short message.
std::vector<int> integers(const std::string& data) {
    std::vector<int> values(data.size() <= 2 * sizeof(int) ? data.size() / sizeof(int) : 0);
    if (!values.empty()) {
        memcpy(values.data(), data.data(), values.size() * sizeof(int));
    }
    return values;
}

}  // namespace

std::string u8(uint32_t value) {
    return "02 01 " + byte(value);
}

std::string u16(uint32_t value) {
    return "02 02 " + byte(value >> 8U) + byte(value);
}

std::string u32(uint32_t value) {
    return "02 04 " + word(value);
}

std::string octets(const std::string& content, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) {
        bytes += byte(i < content.size() ? static_cast<uint8_t>(content[i]) : 0);
    }
    return "55 " + length(size) + u32(static_cast<uint32_t>(size)) + u32(0) + bytes;
}

std::string record(const std::string& tag, const std::string& content) {
    return "7F " + tag + " " + length(from_hex(content).size()) + content;
}

std::string indication(uint32_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, "20 00 01 00", body + u32(sim_id));
}

std::string response(uint32_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, c_place, record("06", "02 04 " + c_place) + body + u32(sim_id));
}

std::string dual_sim_service(uint32_t state, uint32_t sim_id) {
    return indication(84, record("81 72", u32(state)), sim_id);
}

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "(unset)");
    return value;
}

WirePhone::WirePhone(const std::vector<std::string>& arguments, uint8_t sim) : Phone(arguments) {
    harness_take_slept();  // has the library's sleeps take no time
    sim_id = sim;
    bring_up();
    forget();
}

void WirePhone::forget() {
    android.reset();
    modem.take_received();
}

std::string WirePhone::hear(const std::vector<std::string>& packets) {
    android.reset();
    for (const std::string& one : packets) {
        modem.send(one);
    }
    modem.send(dual_sim_service(1, sim_id));
    EXPECT_TRUE(soon([&] {
        const auto all = android.unsolicited();
        return !all.empty() && all.back().number == c_service_event &&
               integers(all.back().data) == std::vector<int>{c_limited_service};
    }));
    auto all = android.unsolicited();
    all.pop_back();
    std::string heard;
    for (const FakeAndroid::Unsolicited& message : all) {
        heard += (heard.empty() ? "" : " ") + std::to_string(message.number);
        const char* before = ":";
        for (const int value : integers(message.data)) {
            heard += before + std::to_string(value);
            before = ",";
        }
    }
    return heard;
}

std::string WirePhone::text_of(const FakeAndroid::Completion& done) {
    std::string text = std::to_string(done.error);
    if (done.data.size() == sizeof(int)) {
        text += ": " + std::to_string(integers(done.data).front());
    }
    return text;
}

std::vector<std::string> WirePhone::sent() {
    std::vector<std::string> packets;
    for (const Bytes& packet : modem.take_received()) {
        const std::string context = to_hex(Bytes(packet.begin() + 12, packet.begin() + 16));
        const bool is_answered = context.starts_with("20 00 01");
        contexts.push_back(context);
        packets.push_back(is_answered ? with(to_hex(packet), context, c_place) : to_hex(packet));
    }
    return packets;
}

void WirePhone::reply(const std::string& response, size_t before_last) {
    modem.send(as_reply(response, before_last));
}

std::string WirePhone::as_reply(const std::string& response, size_t before_last) const {
    return with(response, c_place, contexts.at(contexts.size() - 1 - before_last));
}
