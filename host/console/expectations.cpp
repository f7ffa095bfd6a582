// What a script waits for, and the traffic that it lets run meanwhile.
#include <algorithm>
#include <chrono>

#include "host/console/console.h"
#include "host/console/protocol.h"
#include "host/console/words.h"

namespace {

using namespace std::chrono_literals;

constexpr double c_patience = 10;  // seconds
constexpr double c_quiet = 1;      // in which what is not expected could come
constexpr auto c_traffic_period = 5ms;
constexpr const char* c_traffic_requests[] = {"GET_CURRENT_CALLS", "GET_IMEI", "OPERATOR"};

Clock::duration duration_of(double seconds) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string error_text(int error) {
    return error == c_lost ? "LOST" : error_name(error);
}

// The seconds that may stand in front of the words, which they are taken off.
double take_seconds(std::vector<std::string>& words, double otherwise) {
    const auto seconds = words.empty() ? std::nullopt : seconds_of(words[0]);
    if (seconds) {
        words.erase(words.begin());
    }
    return seconds.value_or(otherwise);
}

// The first event that isn't taken and that `is_it` likes.
template <typename Predicate>
Event* find_event(Session& session, Predicate is_it) {
    auto& events = session.events();
    const auto found =
        std::find_if(events.begin(), events.end(), [&](const Event& event) { return !event.taken && is_it(event); });
    return found != events.end() ? &*found : nullptr;
}

std::string traffic_text(const Session& session, const Traffic& traffic) {
    std::string text =
        "traffic: " + std::to_string(traffic.sent) + " sent, " + std::to_string(traffic.answered) + " answered";
    std::string separator = " (";
    for (const auto& [error, count] : traffic.by_error) {
        text += separator + std::to_string(count) + " " + error_name(error);
        separator = ", ";
    }
    text += traffic.by_error.empty() ? "" : ")";
    return text + ", " + std::to_string(session.unanswered_traffic().size()) + " open, " +
           std::to_string(traffic.lost) + " lost, " + std::to_string(session.strangers()) +
           " answers too many, the slowest took " + time_text(traffic.slowest);
}

}  // namespace

Console::Outcome Console::expect(const Words& words, const std::string&) {
    if (words.empty()) {
        return "wants something to expect";
    }
    const Words rest(words.begin() + 1, words.end());
    if (words[0] == "unsol") {
        return expect_unsol(rest);
    }
    if (words[0] == "no") {
        return expect_no_unsol(rest);
    }
    return words[0] == "traffic-balanced" ? expect_balance(rest) : expect_completion(words);
}

// The first one with the name and the value: others of the name may come before it.
Console::Outcome Console::expect_unsol(const Words& words) {
    const auto number = words.empty() ? std::nullopt : find_unsol(words[0]);
    if (!number) {
        return "no such unsolicited response";
    }
    Words values(words.begin() + 1, words.end());
    const double seconds = take_seconds(values, c_patience);
    Session& from = session(sim_);
    const auto find = [&] {
        return find_event(from, [&](const Event& event) {
            return !event.is_completion && event.number == *number && matches(values, event.value);
        });
    };
    if (!serve(duration_of(seconds), [&] { return find() != nullptr; })) {
        return "it didn't come";
    }
    find()->taken = true;
    return "";
}

Console::Outcome Console::expect_no_unsol(const Words& words) {
    Words rest = words;
    const auto number = rest.size() < 2 || rest[0] != "unsol" ? std::nullopt : find_unsol(rest[1]);
    if (!number) {
        return "wants unsol and a name";
    }
    rest.erase(rest.begin(), rest.begin() + 2);
    const double seconds = take_seconds(rest, c_quiet);
    Session& from = session(sim_);
    const auto is_there = [&] {
        return find_event(from, [&](const Event& e) { return !e.is_completion && e.number == *number; }) != nullptr;
    };
    return serve(duration_of(seconds), is_there) ? "it came" : "";
}

// The oldest completion of the request, which has to be the right one.
Console::Outcome Console::expect_completion(const Words& words) {
    const bool any_request = words[0] == "completion";
    const auto request = any_request ? std::optional(0) : find_request(words[0]);
    if (!request || words.size() < 2) {
        return "wants a request and an error";
    }
    const bool any_error = words[1] == "any";
    const auto error = words[1] == "LOST" ? std::optional(c_lost) : any_error ? std::optional(0) : find_error(words[1]);
    if (!error) {
        return "no such error";
    }
    Words values(words.begin() + 2, words.end());
    const double seconds = take_seconds(values, c_patience);
    Session& from = session(sim_);
    Event* event = nullptr;
    const auto find = [&] {
        event =
            find_event(from, [&](const Event& e) { return e.is_completion && (any_request || e.number == *request); });
        return event != nullptr;
    };
    if (!serve(duration_of(seconds), find)) {
        return "it wasn't completed";
    }
    event->taken = true;
    if (!any_error && event->error != *error) {
        return "it was " + error_text(event->error);
    }
    return matches(values, event->value) ? "" : "it was " + event->value;
}

Console::Outcome Console::wait(const Words& words, const std::string&) {
    if (words.empty()) {
        return "wants something to wait for";
    }
    Words rest(words.begin() + 1, words.end());
    Session& from = session(sim_);
    if (words[0] == "connected") {
        const double seconds = take_seconds(rest, c_patience);
        return serve(duration_of(seconds), [&] { return from.is_greeted(); }) ? "" : "rild doesn't greet";
    }
    if (words[0] == "completion") {
        const double seconds = take_seconds(rest, c_patience);
        return serve(duration_of(seconds), [&] { return from.outstanding() == 0; }) ? "" : "some have no answer";
    }
    return expect_unsol(words);
}

// ---------------------------------------------------------------------------------------------------------------------
// Traffic

Console::Outcome Console::traffic(const Words& words, const std::string&) {
    Session& from = session(sim_);
    Traffic& traffic = from.traffic();
    if (words == Words{"off"}) {
        traffic.on = false;
        screen_.say((sim_ == 1 ? "sim2 " : "") + traffic_text(from, traffic));
        return "";
    }
    if (words.empty() || words[0] != "on") {
        return "wants on or off";
    }
    Words rest(words.begin() + 1, words.end());
    const double period = take_seconds(rest, c_traffic_period.count());
    if (rest.empty()) {
        rest.assign(std::begin(c_traffic_requests), std::end(c_traffic_requests));
    }
    std::vector<int> requests;
    for (const std::string& word : rest) {
        const auto request = find_request(word);
        if (!request) {
            return "no request " + word;
        }
        requests.push_back(*request);
    }
    traffic = {};
    traffic.on = true;
    traffic.period = duration_of(period / 1000);
    traffic.requests = requests;
    traffic.next = Clock::now();
    return "";
}

// New traffic may go on meanwhile.
Console::Outcome Console::expect_balance(const Words& words) {
    Words rest = words;
    const double seconds = take_seconds(rest, c_patience);
    Session& from = session(sim_);
    const auto open = from.unanswered_traffic();
    const auto all = [&] {
        return std::none_of(open.begin(), open.end(), [&](int32_t serial) { return from.is_unanswered(serial); });
    };
    const bool answered = serve(duration_of(seconds), all);
    const Traffic& traffic = from.traffic();
    screen_.say((sim_ == 1 ? "sim2 " : "") + traffic_text(from, traffic));
    if (!answered) {
        return "some requests have no answer";
    }
    return traffic.sent == 0 ? "there was none" : traffic.lost + from.strangers() != 0 ? "it isn't" : "";
}
