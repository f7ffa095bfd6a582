// Short messages, broadcasts and alarms for people: what stands in the octets that the phone shows, and the requests
// that a text becomes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What an answer to a request, or an unsolicited response, says besides its octets; empty for one without messages.
std::string message_in_answer(int request, const std::string& value);
std::string message_in_unsol(int number, const std::string& value);

// A request with its arguments as words in the form of arguments_of().
struct MessageRequest {
    int request;
    std::string_view form;
    std::vector<std::string> words;
};

// The requests of `sms ...` and `broadcast ...`. Nothing when the words don't suit.
std::optional<std::vector<MessageRequest>> message_requests(const std::vector<std::string>& words);
std::optional<std::vector<MessageRequest>> broadcast_requests(const std::vector<std::string>& words);

constexpr const char* c_sms_help =
    "NUMBER TEXT [report] | ok | refuse [CAUSE] | memory full|free | centre [NUMBER] | sim list [2g] | sim write "
    "NUMBER "
    "TEXT | sim delete RECORD   messages";
constexpr const char* c_broadcast_help =
    "listen FROM TO | silence | CHANNEL TEXT   cell broadcasts; the last one is the modem's";
