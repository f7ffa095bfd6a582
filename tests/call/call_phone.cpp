#include "tests/call/call_phone.h"

#include <map>
#include <sstream>

namespace {

std::string as_calls(const void* response, size_t size) {
    std::string text;
    for (size_t i = 0; i < size / sizeof(void*); ++i) {
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
    for (size_t i = 0; i < size / sizeof(void*); ++i) {
        const RIL_Call& c = *static_cast<RIL_Call* const*>(response)[i];
        text +=
            (i == 0 ? "" : " ") + std::to_string(c.state) + ":" + std::to_string(c.index) + (c.isMpty != 0 ? "*" : "");
    }
    return text;
}

}  // namespace

std::string call(uint32_t id) {
    return record("81 00", u8(id));
}

std::string dialing(uint32_t id) {
    return indication(36, record("81 0F", u32(0) + record("81 02", u8(0)) + call(id)));
}

std::string alerting(uint32_t id) {
    return indication(37, call(id));
}

std::string connected(uint32_t id, const std::string& number, uint32_t name_presentation) {
    return indication(38, record("81 13", record("81 11", u32(0) + u32(0) + u32(0)) + u32(name_presentation) + u32(0) +
                                              octets(number, 82) + call(id)));
}

std::string incoming(uint32_t id, const std::string& number, uint32_t line) {
    const std::string bytes = u8(0) + u8(0);
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
        body += record("81 2F", octets(number, 6) + u8(category));
    }
    return indication(66, record("81 31", body + u8(count)));
}

std::string answer_to(uint8_t id, uint32_t call_id, uint32_t result, uint32_t second) {
    static const std::map<uint8_t, const char*> c_tags = {
        {c_setup, "81 0E"},    {c_release, "81 15"}, {c_accept, "81 19"}, {c_swap, "81 1D"},     {c_hold, "81 1E"},
        {c_retrieve, "81 1F"}, {c_split, "81 20"},   {c_join, "81 21"},   {c_transfer, "81 22"},
    };
    const std::string outcome = u32(id == c_setup ? 17 : 0) + u32(result);  // cause and result
    const std::string between = id == c_swap ? call(second) : "";
    const std::string calls = id == c_join ? "" : call(call_id);
    const std::string behind = id == c_release ? u32(0) : "";
    return response(id + 1U, record(c_tags.at(id), outcome + between + calls + behind));
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
        if (done.token == token) {
            return text_of(done);
        }
    }
    return "open";
}

std::string CallPhone::dial(const char* number, int clir, RIL_UUS_Info* uus) {
    std::string copy = number == nullptr ? "" : number;
    RIL_Dial data{number == nullptr ? nullptr : copy.data(), clir, uus};
    return outcome(request(RIL_REQUEST_DIAL, &data, sizeof(data)));
}

std::string CallPhone::listed(const FakeAndroid::Interpreter& interpreter) {
    android.set_interpreter(interpreter);
    std::string text = answer(request(RIL_REQUEST_GET_CURRENT_CALLS, nullptr, 0)).text;
    android.set_interpreter({});
    return text;
}

std::string CallPhone::calls() {
    return listed(as_short_calls);
}

std::string CallPhone::call_list() {
    return listed(as_calls);
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
