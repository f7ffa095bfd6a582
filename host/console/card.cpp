// What people want of the card and what takes more than one request, or another one by its words.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "host/console/console.h"
#include "host/console/toolkit.h"
#include "host/console/words.h"
#include "ril/include/telephony/ril.h"

namespace {

using namespace std::chrono_literals;

constexpr auto c_answer_patience = 10s;

constexpr int c_get_response = 0xC0;
constexpr int c_read_binary = 0xB0;
constexpr int c_read_record = 0xB2;
constexpr int c_absolute = 4;  // record mode
constexpr size_t c_most_bytes = 255;

// Where a file may be, when nobody says where: in the master file, and else in the USIM, the network's directory of a
// SIM, or the one of telecom.
constexpr const char* c_master = "3F00";
constexpr const char* c_directories[] = {"3F007FFF", "3F007F20", "3F007F10"};
constexpr int c_first_below_master = 0x6F00;

std::optional<int> hex_number(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

// What an answer says, from "sw1=144 sw2=0 data=...".
struct Answer {
    bool is_good = false;
    std::string words = "none";
    std::string data;
};

Answer read_answer(const std::string& value) {
    Answer answer;
    int sw1 = 0;
    int sw2 = 0;
    if (sscanf(value.c_str(), "sw1=%d sw2=%d", &sw1, &sw2) == 2) {
        char text[8];
        snprintf(text, sizeof(text), "%02X%02X", sw1 & 0xFF, sw2 & 0xFF);
        answer.words = text;
        answer.is_good = sw1 == 0x90 || sw1 == 0x91;
    }
    const size_t at = value.find("data=");
    answer.data = at == std::string::npos ? "" : value.substr(at + 5);
    std::erase_if(answer.data, [](char letter) { return isxdigit(static_cast<unsigned char>(letter)) == 0; });
    return answer;
}

// The header of a file (3GPP TS 51.011, 9.2.1).
struct Header {
    size_t size = 0;
    bool has_records = false;
    size_t record_size = 0;
};

std::optional<Header> read_header(const std::string& hex) {
    const auto byte = [&](size_t at) { return static_cast<size_t>(hex_number(hex.substr(2 * at, 2)).value_or(0)); };
    constexpr size_t c_header_digits = 30;
    if (hex.size() < c_header_digits) {
        return std::nullopt;
    }
    const Header header = {byte(2) << 8 | byte(3), byte(13) != 0, byte(14)};
    return header.has_records && header.record_size == 0 ? std::nullopt : std::optional(header);
}

}  // namespace

Console::Outcome Console::pin(const Words& words, const std::string&) {
    if (words.size() == 2 && (words[0] == "on" || words[0] == "off")) {
        return lock({"SC", words[0], words[1]}, "");
    }
    return ask(RIL_REQUEST_ENTER_SIM_PIN, "strings", words);
}

Console::Outcome Console::lock(const Words& words, const std::string&) {
    constexpr const char* c_every_class = "7";
    const bool is_set = words.size() > 1 && (words[1] == "on" || words[1] == "off");
    if (words.empty() || words.size() > (is_set ? 3 : 1)) {
        return "wants a facility, then on or off and a code";
    }
    if (!is_set) {
        return ask(RIL_REQUEST_QUERY_FACILITY_LOCK, "strings", {words[0], "", c_every_class});
    }
    return ask(RIL_REQUEST_SET_FACILITY_LOCK, "strings",
               {words[0], words[1] == "on" ? "1" : "0", words.size() > 2 ? words[2] : "", c_every_class});
}

// One request to the card. Nothing when no answer comes.
std::optional<std::string> Console::ask_card(int command, int file, const std::string& path, size_t p1, size_t p2,
                                             size_t p3) {
    std::deque<Event>& events = session(sim_).events();
    const size_t before = events.size();
    const auto integer = [](size_t value) { return "i:" + std::to_string(value); };
    if (!ask(RIL_REQUEST_SIM_IO, "items",
             {integer(static_cast<size_t>(command)), integer(static_cast<size_t>(file)), "s:" + path, integer(p1),
              integer(p2), integer(p3), "s:null", "s:null", "s:null"})
             .empty()) {
        return std::nullopt;
    }
    std::optional<std::string> value;
    serve(c_answer_patience, [&] {
        for (size_t i = before; i < events.size() && !value; ++i) {
            if (events[i].is_completion && events[i].number == RIL_REQUEST_SIM_IO) {
                value = events[i].error == 0 ? events[i].value : "";
                events[i].taken = true;
            }
        }
        return value.has_value();
    });
    return value;
}

// A file as Android reads it: its header, then all of its bytes or records.
Console::Outcome Console::file(const Words& words, const std::string&) {
    const auto is = std::find(words.begin(), words.end(), "is");
    const auto place = static_cast<size_t>(is - words.begin());
    const auto id = place < 1 || place > 2 ? std::nullopt : hex_number(words[0]);
    if (!id) {
        return "wants a file such as 6F07, a path if it is in no usual place, and is VALUE if there is only one";
    }
    Words paths(std::begin(c_directories), std::end(c_directories));
    if (place == 2) {
        paths = {words[1]};
    } else if (*id < c_first_below_master) {
        paths = {c_master};
    }
    Answer answer;
    std::string path;
    for (size_t i = 0; i < paths.size() && !answer.is_good; ++i) {
        path = paths[i];
        answer = read_answer(ask_card(c_get_response, *id, path, 0, 0, 15).value_or(""));
    }
    const auto header = read_header(answer.data);
    if (!answer.is_good || !header) {
        return "the card says " + answer.words;
    }
    const size_t step = header->has_records ? header->record_size : c_most_bytes;
    std::string bytes;
    for (size_t at = 0, record = 1; at < header->size; at += step, ++record) {
        const size_t length = std::min(step, header->size - at);
        answer = read_answer(header->has_records
                                 ? ask_card(c_read_record, *id, path, record, c_absolute, length).value_or("")
                                 : ask_card(c_read_binary, *id, path, at >> 8, at & 0xFF, length).value_or(""));
        if (!answer.is_good) {
            return "the card says " + answer.words;
        }
        bytes += (bytes.empty() || !header->has_records ? "" : " ") + answer.data;
        screen_.plain((header->has_records ? std::to_string(record) + " " : "") + answer.data);
    }
    return is == words.end() || matches({is + 1, words.end()}, bytes) ? "" : "it is something else";
}

// The last command of the card that is Android's, as hexadecimal digits; of a menu, the last one of those.
std::string Console::last_command(bool is_menu) {
    std::string found;
    for (const Event& event : session(sim_).events()) {
        const bool is_one = !event.is_completion && event.number == RIL_UNSOL_STK_PROACTIVE_COMMAND;
        if (is_one && (!is_menu || event.value.find("SET UP MENU") != std::string::npos)) {
            found = event.value.substr(0, event.value.find(' '));
        }
    }
    return found;
}

Console::Outcome Console::toolkit(const Words& words, const std::string&) {
    constexpr int c_done = 0x00;
    constexpr int c_given_up = 0x10;
    const std::string what = words.empty() ? "" : words[0];
    if (what == "start" && words.size() == 1) {
        return ask(RIL_REQUEST_REPORT_STK_SERVICE_IS_RUNNING, "void", {});
    }
    if (what == "menu" && words.size() == 1) {
        const std::string menu = toolkit_text(last_command(true));
        screen_.plain(menu.empty() ? "no menu came" : menu.substr(1));
        return "";
    }
    if (what == "call" && words.size() == 2 && (words[1] == "yes" || words[1] == "no")) {
        return ask(RIL_REQUEST_STK_HANDLE_CALL_SETUP_REQUESTED_FROM_SIM, "ints", {words[1] == "yes" ? "0" : "1"});
    }
    if (what == "select" && words.size() == 2) {
        char envelope[32];
        snprintf(envelope, sizeof(envelope), "D307820201819001%02X",
                 static_cast<unsigned>(std::atoi(words[1].c_str())) & 0xFF);
        return ask(RIL_REQUEST_STK_SEND_ENVELOPE_COMMAND, "string", {envelope});
    }
    const bool is_answer = what == "answer" && words.size() == 2;
    if (!is_answer && (words.size() != 1 || (what != "ok" && what != "back"))) {
        return "wants start, menu, select, ok, answer, back or call";
    }
    const auto response = toolkit_response(last_command(false), what == "back" ? c_given_up : c_done,
                                           is_answer ? std::optional(words[1]) : std::nullopt);
    return response ? ask(RIL_REQUEST_STK_SEND_TERMINAL_RESPONSE, "string", {*response})
                    : "there is no command to answer, or the text is too long";
}
