#include "tests/call/call_phone.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "tests/harness/sleeps.h"

namespace {

constexpr const char* c_place = "AA AA AA AA";
constexpr int c_service_event = 1028;

std::string byte(size_t value) {
    char text[4];
    snprintf(text, sizeof(text), "%02X ", static_cast<unsigned>(value & 0xFFU));
    return text;
}

std::string word(uint32_t value) {
    return byte(value >> 24U) + byte(value >> 16U) + byte(value >> 8U) + byte(value);
}

// A long length's bytes go from the least significant up.
std::string length(size_t n) {
    return n < 0x80 ? byte(n) : n < 0x100 ? "81 " + byte(n) : "82 " + byte(n) + byte(n >> 8U);
}

std::string packet(uint8_t id, const std::string& context, const std::string& parameters) {
    const std::string body = context + " " + record(byte(id), parameters);
    return "02 04 " + word(static_cast<uint32_t>(12 + from_hex(body).size())) + "02 04 " + word(id) + body;
}

std::string dual_sim_service() {
    return indication(84, record("81 72", u32(1)));
}

std::string as_calls(const void* response, size_t size) {
    std::string text;
    for (size_t i = 0; i < size / sizeof(RIL_Call*); ++i) {
        const RIL_Call& c = *static_cast<RIL_Call* const*>(response)[i];
        char line[512];
        snprintf(line, sizeof(line), "%s%d id=%d toa=%d mpty=%d mt=%d als=%d voice=%d num=%s/%d name=%s/%d",
                 i == 0 ? "" : "; ", c.state, c.index, c.toa, c.isMpty, c.isMT, c.als, c.isVoice,
                 c.number == nullptr ? "-" : c.number, c.numberPresentation, c.name == nullptr ? "-" : c.name,
                 c.namePresentation);
        text += line;
    }
    return text;
}

std::string as_short_calls(const void* response, size_t size) {
    std::string text;
    for (size_t i = 0; i < size / sizeof(RIL_Call*); ++i) {
        const RIL_Call& c = *static_cast<RIL_Call* const*>(response)[i];
        text +=
            (i == 0 ? "" : " ") + std::to_string(c.state) + ":" + std::to_string(c.index) + (c.isMpty != 0 ? "*" : "");
    }
    return text;
}

}  // namespace

std::string u32(uint32_t value) {
    return "02 04 " + word(value);
}

std::string record(const std::string& tag, const std::string& content) {
    return "7F " + tag + " " + length(from_hex(content).size()) + content;
}

std::string call(uint32_t id) {
    return record("81 00", "02 01 " + byte(id));
}

std::string octets(const std::string& text, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) {
        bytes += byte(i < text.size() ? static_cast<uint8_t>(text[i]) : 0);
    }
    return "55 " + length(size) + u32(static_cast<uint32_t>(size)) + u32(0) + bytes;
}

std::string indication(uint8_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, "20 00 01 00", body + u32(sim_id));
}

std::string response(uint8_t id, const std::string& body, uint32_t sim_id) {
    return packet(id, c_place, record("06", std::string("02 04 ") + c_place) + body + u32(sim_id));
}

std::string dialing(uint32_t id) {
    return indication(36, record("81 0F", u32(0) + record("81 02", "02 01 00 ") + call(id)));
}

std::string alerting(uint32_t id) {
    return indication(37, call(id));
}

std::string connected(uint32_t id, const std::string& number, uint32_t name_presentation) {
    return indication(38, record("81 13", record("81 11", u32(0) + u32(0) + u32(0)) + u32(name_presentation) + u32(0) +
                                              octets(number, 82) + call(id)));
}

std::string incoming(uint32_t id, const std::string& number, uint32_t line) {
    const std::string bytes = "02 01 00 02 01 00 ";
    return indication(
        43, record("81 18", u32(line) + record("81 12", record("81 11", u32(0) + u32(0) + u32(0))) + u32(0) + u32(0) +
                                bytes + octets("", 82) + octets("", 23) + u32(0) + u32(0) + u32(0) + u32(0) + bytes +
                                octets(number, 82) + u32(0) + call(id)));
}

std::string status(uint32_t id, uint32_t value, const std::string& number) {
    return indication(67, record("81 32", octets(number, 82) + u32(value) + call(id)));
}

std::string disconnecting(uint32_t id, uint32_t cause) {
    return indication(41, record("81 16", u32(cause) + call(id)));
}

std::string disconnected(uint32_t id, uint32_t cause) {
    return indication(42, record("81 17", u32(cause) + call(id)));
}

std::string emergency_list(uint32_t count, const std::vector<std::pair<uint32_t, std::string>>& entries) {
    std::string body;
    for (size_t i = 10; i-- > 0;) {
        const auto [category, number] = i < entries.size() ? entries[i] : std::pair<uint32_t, std::string>{};
        body += record("81 2F", octets(number, 6) + "02 01 " + byte(category));
    }
    return indication(66, record("81 31", body + "02 01 " + byte(count)));
}

std::string answer_to(uint8_t id, uint32_t call_id, uint32_t result, uint32_t second) {
    const std::string outcome = u32(0) + u32(result);
    switch (id) {
        case c_setup:
            return response(35, record("81 0E", u32(17) + u32(result) + call(call_id)));
        case c_release:
            return response(40, record("81 15", outcome + call(call_id) + u32(0)));
        case c_accept:
            return response(45, record("81 19", outcome + call(call_id)));
        case c_swap:
            return response(48, record("81 1D", outcome + call(second) + call(call_id)));
        case c_hold:
            return response(50, record("81 1E", outcome + call(call_id)));
        case c_retrieve:
            return response(52, record("81 1F", outcome + call(call_id)));
        case c_split:
            return response(54, record("81 20", outcome + call(call_id)));
        case c_join:
            return response(56, record("81 21", outcome));
        default:
            return response(58, record("81 22", outcome + call(call_id)));
    }
}

CallPhone::CallPhone() {
    harness_take_slept();  // has the library's sleeps take no time
    bring_up();
    android.reset();
    modem.take_received();
}

std::string CallPhone::hear(const std::vector<std::string>& packets) {
    android.reset();
    for (const std::string& one : packets) {
        modem.send(one);
    }
    modem.send(dual_sim_service());
    const int end = 209;
    const std::string end_data(reinterpret_cast<const char*>(&end), sizeof(end));
    EXPECT_TRUE(soon([&] {
        const auto all = android.unsolicited();
        return !all.empty() && all.back().number == c_service_event && all.back().data == end_data;
    }));
    auto all = android.unsolicited();
    all.pop_back();
    std::string heard;
    for (const FakeAndroid::Unsolicited& message : all) {
        heard += (heard.empty() ? "" : " ") + std::to_string(message.number);
        for (size_t at = 0; at + sizeof(int) <= message.data.size(); at += sizeof(int)) {
            int value = 0;
            memcpy(&value, message.data.data() + at, sizeof(value));
            heard += (at == 0 ? ":" : ",") + std::to_string(value);
        }
    }
    return heard;
}

void CallPhone::set_calls(const std::string& calls) {
    constexpr uint32_t c_other = 15;
    std::istringstream words(calls);
    size_t members = 0;
    for (std::string one; words >> one;) {
        const auto id = static_cast<uint32_t>(std::stoul(one.substr(1)));
        switch (one[0]) {
            case 'w':
                hear({dialing(c_other), incoming(id), disconnected(c_other)});
                break;
            case 'r':
            case 'W':
                hear({incoming(id)});
                break;
            case 'd':
                hear({dialing(id)});
                break;
            case 'l':
                hear({dialing(id), alerting(id)});
                break;
            case 'h':
                hear({dialing(id), status(id, 12)});
                break;
            case 'm':
                // The first one is held until the second one joins it.
                hear({dialing(id), members == 0 ? status(id, 12) : connected(id)});
                if (++members == 2) {
                    request(RIL_REQUEST_CONFERENCE, nullptr, 0);
                    sent();
                    reply(answer_to(c_join, 0));
                }
                break;
            default:
                hear({dialing(id), connected(id)});
                break;
        }
    }
    hear({});
    sent();
    android.reset();
}

void CallPhone::clear() {
    android.advance(25'000);
    std::vector<std::string> packets;
    for (uint32_t id = 0; id < 18; ++id) {
        packets.push_back(disconnected(id));
    }
    hear(packets);
    sent();
    android.reset();
}

std::string CallPhone::outcome(RIL_Token token) {
    last_token = token;
    for (const FakeAndroid::Completion& done : android.completions()) {
        if (done.token != token) {
            continue;
        }
        std::string text = std::to_string(done.error);
        if (done.data.size() == sizeof(int) && done.text.empty()) {
            int value = 0;
            memcpy(&value, done.data.data(), sizeof(value));
            text += ": " + std::to_string(value);
        }
        return text;
    }
    return "open";
}

std::string CallPhone::dial(const char* number, int clir, RIL_UUS_Info* uus) {
    std::string copy = number == nullptr ? "" : number;
    RIL_Dial data{number == nullptr ? nullptr : copy.data(), clir, uus};
    return outcome(request(RIL_REQUEST_DIAL, &data, sizeof(data)));
}

std::string CallPhone::calls() {
    android.set_interpreter(as_short_calls);
    const std::string text = answer(request(RIL_REQUEST_GET_CURRENT_CALLS, nullptr, 0)).text;
    android.set_interpreter({});
    return text;
}

std::string CallPhone::call_list() {
    android.set_interpreter(as_calls);
    const std::string text = answer(request(RIL_REQUEST_GET_CURRENT_CALLS, nullptr, 0)).text;
    android.set_interpreter({});
    return text;
}

std::vector<std::string> CallPhone::sent() {
    std::vector<std::string> packets;
    for (const Bytes& packet : modem.take_received()) {
        std::string text = to_hex(packet);
        constexpr size_t c_context_at = 36;  // three characters each of 12 bytes
        const std::string context = text.substr(c_context_at, strlen(c_place));
        contexts.push_back(context);
        if (context.substr(0, 8) == "20 00 01") {
            for (size_t at = text.find(context); at != std::string::npos; at = text.find(context)) {
                text.replace(at, context.size(), c_place);
            }
        }
        packets.push_back(text);
    }
    return packets;
}

std::string CallPhone::sent_short() {
    std::string text;
    for (const std::string& packet : sent()) {
        const Bytes bytes = from_hex(packet);
        const uint8_t id = bytes[11];
        text += (text.empty() ? "" : " ") + std::to_string(id);
        const size_t end = bytes.size();
        const auto last = [&](size_t from_end) { return std::to_string(bytes[end - from_end]); };
        // Behind each of these stands the SIM, six bytes.
        if (id == c_release) {  // cause, call id, scope
            text += "(" + last(7) + "," + last(13) + "," + last(20) + ")";
        } else if (id == c_accept || id == c_split) {
            text += "(" + last(7) + ")";
        }
        text += bytes[15] == 0 ? "!" : "";  // nobody waits for the answer
    }
    return text;
}

void CallPhone::reply(const std::string& response, size_t before_last) {
    std::string bytes = response;
    const std::string& context = contexts[contexts.size() - 1 - before_last];
    for (size_t at = bytes.find(c_place); at != std::string::npos; at = bytes.find(c_place)) {
        bytes.replace(at, strlen(c_place), context);
    }
    modem.send(bytes);
}

void in_call_phone(const std::function<void(CallPhone& phone)>& body) {
    in_own_process([&] {
        CallPhone phone;
        body(phone);
    });
}
