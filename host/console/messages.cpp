#include "host/console/messages.h"

#include <telephony/ril.h>

#include <algorithm>

#include "host/console/parcel_text.h"
#include "host/console/toolkit.h"
#include "host/sms/message.h"

namespace {

using Words = std::vector<std::string>;
using Requests = std::vector<MessageRequest>;

constexpr size_t c_card_records = 10;
constexpr size_t c_record_digits = size_t{2} * 176;

std::string described(const std::optional<sms::Octets>& octets) {
    const auto message = octets ? sms::read(*octets) : std::nullopt;
    return message ? " " + sms::describe(*message) : "";
}

// A record of EF_SMS (3GPP TS 51.011, 10.5.3).
std::string record_text(const sms::Octets& record) {
    constexpr const char* c_states[] = {" free", " read", " free", " unread", " free", " sent", " free", " unsent"};
    const std::string state = c_states[record[0] & 7];
    return (record[0] & 1) == 0 ? state : state + described(sms::Octets(record.begin() + 1, record.end()));
}

// A page (3GPP TS 23.041, 9.4.1.2). The filling of the last one is left out.
std::string page_text(const sms::Octets& page) {
    constexpr size_t c_header = 6;
    if (page.size() < c_header) {
        return "";
    }
    const sms::Octets content(page.begin() + c_header, page.end());
    std::string text = sms::text_of({0, false, static_cast<uint8_t>(content.size() * 8 / 7), content});
    text.erase(std::min(text.find_last_not_of('\r') + 1, text.size()));
    return " channel=" + std::to_string(page[2] << 8 | page[3]) + " page=" + std::to_string(page[5] >> 4) + "/" +
           std::to_string(page[5] & 15) + " text=\"" + text + "\"";
}

// An alarm of a temperature sensor: the event, the sensor, hundredths of a degree.
std::string alarm_text(const sms::Octets& bytes) {
    constexpr uint8_t c_alarm = 208;
    if (bytes.size() != 3 * sizeof(int32_t) || bytes[0] != c_alarm) {
        return "";
    }
    ParcelCursor cursor({reinterpret_cast<const char*>(bytes.data()) + sizeof(int32_t), 2 * sizeof(int32_t)});
    const int32_t sensor = cursor.int32();
    return " sensor=" + std::to_string(sensor) + " degrees=" + std::to_string(cursor.int32() / 100);
}

// The octets of a value between angles.
std::optional<sms::Octets> raw_octets(const std::string& value) {
    return sms::octets_of(value.substr(1, value.size() < 2 ? 0 : value.size() - 2));
}

Requests send(const Words& words) {
    static uint8_t s_reference;
    sms::Message message;
    message.kind = sms::Kind::SUBMIT;
    message.number = words[0];
    message.wants_report = words.size() > 2;
    Requests requests;
    for (const sms::UserData& data : sms::user_data_of(words[1], ++s_reference)) {
        message.data = data;
        // The centre's address is not part of the text.
        requests.push_back(
            {RIL_REQUEST_SEND_SMS_EXPECT_MORE, "strings", {"null", sms::hex_of(sms::write(message)).substr(2)}});
    }
    requests.back().request = RIL_REQUEST_SEND_SMS;
    return requests;
}

Requests list_card(bool is_3g) {
    Requests requests;
    for (size_t record = 1; record <= c_card_records; ++record) {
        requests.push_back({RIL_REQUEST_SIM_IO,
                            "items",
                            {"i:178", "i:28476", is_3g ? "s:3F007FFF" : "s:3F007F10", "i:" + std::to_string(record),
                             "i:4", "i:176", "s:null", "s:null", "s:null"}});
    }
    return requests;
}

Requests write_card(const std::string& number, const std::string& text) {
    sms::Message message;
    message.number = number;
    message.time = sms::time_now();
    Requests requests;
    for (const sms::UserData& data : sms::user_data_of(text, 1)) {
        message.data = data;
        requests.push_back({RIL_REQUEST_WRITE_SMS_TO_SIM,
                            "items",
                            {"i:1", "s:" + sms::hex_of(sms::write(message)).substr(2), "s:null"}});
    }
    return requests;
}

std::optional<Requests> of_card(const Words& words) {
    const std::string what = words.size() > 1 ? words[1] : "";
    if (what == "list") {
        return list_card(words.size() == 2);
    }
    if (what == "write" && words.size() == 4) {
        return write_card(words[2], words[3]);
    }
    if (what == "delete" && words.size() == 3) {
        return Requests{{RIL_REQUEST_DELETE_SMS_ON_SIM, "ints", {words[2]}}};
    }
    return {};
}

}  // namespace

std::string message_in_answer(int request, const std::string& value) {
    const size_t data = value.find("data=\"");
    if (request != RIL_REQUEST_SIM_IO || data == std::string::npos) {
        return "";
    }
    const auto record = sms::octets_of(value.substr(data + 6, c_record_digits));
    const bool is_record = record && record->size() == c_record_digits / 2 && value.back() == '"' &&
                           value.size() == data + 6 + c_record_digits + 1;
    return is_record ? record_text(*record) : "";
}

std::string message_in_unsol(int number, const std::string& value) {
    switch (number) {
        case RIL_UNSOL_RESPONSE_NEW_SMS:
        case RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT:
            return described(sms::octets_of(value));
        case RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS: {
            const auto page = raw_octets(value);
            return page ? page_text(*page) : "";
        }
        case RIL_UNSOL_OEM_HOOK_RAW: {
            const auto bytes = raw_octets(value);
            return bytes ? alarm_text(*bytes) : "";
        }
        case RIL_UNSOL_STK_PROACTIVE_COMMAND:
        case RIL_UNSOL_STK_EVENT_NOTIFY:
            return toolkit_text(value);
        default:
            return "";
    }
}

std::optional<Requests> message_requests(const Words& words) {
    const std::string what = words.empty() ? "" : words[0];
    if (what == "ok" && words.size() == 1) {
        return Requests{{RIL_REQUEST_SMS_ACKNOWLEDGE, "ints", {"1", "0"}}};
    }
    if (what == "refuse" && words.size() <= 2) {
        return Requests{{RIL_REQUEST_SMS_ACKNOWLEDGE, "ints", {"0", words.size() == 2 ? words[1] : "255"}}};
    }
    if (what == "memory" && words.size() == 2) {
        return Requests{{RIL_REQUEST_REPORT_SMS_MEMORY_STATUS, "ints", {words[1] == "full" ? "0" : "1"}}};
    }
    if (what == "centre" && words.size() == 1) {
        return Requests{{RIL_REQUEST_GET_SMSC_ADDRESS, "void", {}}};
    }
    if (what == "centre" && words.size() == 2) {
        return Requests{{RIL_REQUEST_SET_SMSC_ADDRESS, "string", {words[1]}}};
    }
    if (what == "sim") {
        return of_card(words);
    }
    const bool is_text = words.size() == 2 || (words.size() == 3 && words[2] == "report");
    return is_text ? std::optional(send(words)) : std::nullopt;
}

std::optional<Requests> broadcast_requests(const Words& words) {
    if (words.size() == 3 && words[0] == "listen") {
        return Requests{{RIL_REQUEST_GSM_SET_BROADCAST_SMS_CONFIG,
                         "items",
                         {"i:1", "i:" + words[1], "i:" + words[2], "i:0", "i:19", "i:1"}},
                        {RIL_REQUEST_GSM_SMS_BROADCAST_ACTIVATION, "ints", {"0"}}};
    }
    if (words == Words{"silence"}) {
        return Requests{{RIL_REQUEST_GSM_SMS_BROADCAST_ACTIVATION, "ints", {"1"}}};
    }
    return {};
}
