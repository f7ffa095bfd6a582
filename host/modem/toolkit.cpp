// The card's toolkit at work (ETSI TS 102 223): it sets up its menu once the phone says that it serves it, and goes
// from command to command as the terminal responses come. The modem carries out calls, messages and timers itself, and
// responds to the card for them: a response of the phone to those is one that nobody has asked for.
#include "host/modem/toolkit.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <sstream>

#include "host/modem/calls.h"
#include "host/modem/card.h"
#include "host/modem/message_centre.h"
#include "host/modem/say.h"
#include "host/modem/toolkit_application.h"

namespace {

using namespace toolkit;

constexpr int32_t c_agreed = 0xFF;
constexpr int32_t c_call_agreed = 0x22FF;
constexpr uint8_t c_done = 0x90;
constexpr uint8_t c_more = 0x91;
constexpr uint8_t c_first_failure = 0x10;  // of the general results

struct Session {
    std::deque<CardCommand> left;
    std::optional<CardCommand> open;  // sent, and not responded to
    uint8_t number = 0;               // of the last command
    std::string said;                 // what became of it
    int32_t commands = 0;
    int32_t responses = 0;  // of the phone, to those
    int32_t strays = 0;     // the phone's other ones
    size_t downloads = 0;
    size_t refreshes = 0;  // that the phone agreed to
};

Application s_application = [] {
    std::string error;
    return read_application(built_in_application(), error).value_or(Application{});
}();
std::array<Session, c_stacks> s_sessions;

Session* session_of(uint32_t sim_id) {
    return sim_id < c_stacks ? &s_sessions[sim_id] : nullptr;
}

void send_command(Modem& modem, uint32_t sim_id, const CardCommand& command, uint8_t number) {
    const Octets octets = command_octets(s_application, command, number);
    UtaSimTkRawDataParam param{};
    param.simtk_transaction_id = {command.type, number};
    param.data_len = static_cast<int16_t>(octets.size());
    std::copy(octets.begin(), octets.end(), param.data);
    modem.indicate<uta::row::UtaMsSimTkProactiveCommandIndCb>(sim_id, &param);
}

void next_command(Modem& modem, uint32_t sim_id);

// The card has heard what became of the open command.
void finish_command(Modem& modem, uint32_t sim_id, uint8_t result, const std::string& text) {
    Session& session = s_sessions[sim_id];
    session.said = name_of(session.open->type) + (result < c_first_failure ? " done" : " failed") +
                   (text.empty() ? "" : " \"" + text + "\"");
    say("the card hears: %s, result %u", session.said.c_str(), result);
    session.open.reset();
    if (result >= c_first_failure) {
        session.left.clear();
    }
    UtaSimTkTerminalResponseCnfParam confirm{};
    confirm.sw1 = session.left.empty() ? c_done : c_more;
    for (const ClientState& client : modem.clients()) {
        modem.send<uta::row::UtaMsSimTkTerminalResponseCnfCb>(client.id, Modem::base_context(client.id), sim_id,
                                                              &confirm);
    }
    modem.later(modem.settings.latency, [&modem, sim_id] { next_command(modem, sim_id); });
}

bool is_the_modems(Type type) {
    return type == SET_UP_CALL || type == SEND_SHORT_MESSAGE || type == TIMER_MANAGEMENT;
}

// What the modem does itself: it tells the phone, and asks where that has a say.
void carry_out(Modem& modem, uint32_t sim_id, const CardCommand& command) {
    if (command.type == REFRESH) {
        const UtaSimTkRefreshConfirmIndParam param{{command.type, s_sessions[sim_id].number}, command.qualifier};
        modem.indicate<uta::row::UtaMsSimTkRefreshConfirmIndCb>(sim_id, &param);
    } else if (command.type == SET_UP_CALL) {
        const UtaSimTkExecSimInitiatedCallInfoIndParam info{};
        modem.indicate<uta::row::UtaMsSimTkExecSimInitiatedCallIndCb>(sim_id, &info);
    } else if (command.type == SEND_SHORT_MESSAGE) {
        const UtaSimTkExecSmsPpIndParam info{};
        modem.indicate<uta::row::UtaMsSimTkExecSmsPpIndCb>(sim_id, &info);
    } else if (command.type == TIMER_MANAGEMENT) {
        modem.later(std::chrono::seconds(command.seconds), [&modem, sim_id, number = s_sessions[sim_id].number] {
            const Session& session = s_sessions[sim_id];
            if (session.open && session.number == number) {
                finish_command(modem, sim_id, 0, "");
            }
        });
    }
}

void next_command(Modem& modem, uint32_t sim_id) {
    Session& session = s_sessions[sim_id];
    if (session.open || session.left.empty() || !card_is_usable(sim_id)) {
        return;
    }
    session.open = session.left.front();
    session.left.pop_front();
    ++session.number;
    ++session.commands;
    send_command(modem, sim_id, *session.open, session.number);
    carry_out(modem, sim_id, *session.open);
}

// --- From the phone --------------------------------------------------------------------------------------------------

int32_t phone_serves_toolkit(Modem& modem, const Caller&, uint32_t sim_id, const UtaSimTkControlParam*, uint32_t) {
    Session* const session = session_of(sim_id);
    if (session != nullptr) {
        session->open.reset();
        session->left = {CardCommand{}};  // the menu
        modem.later(modem.settings.latency, [&modem, sim_id] { next_command(modem, sim_id); });
    }
    return c_success;
}

int32_t terminal_response(Modem& modem, const Caller&, uint32_t sim_id, const UtaSimTkRawDataParam* param) {
    const Session* const session = session_of(sim_id);
    if (session == nullptr || param == nullptr || param->data_len < 0 ||
        static_cast<size_t>(param->data_len) > sizeof(param->data)) {
        return c_refused;
    }
    const auto response = read_response(std::span(param->data).first(static_cast<size_t>(param->data_len)));
    if (!response) {
        return c_refused;
    }
    const uint8_t transaction = param->simtk_transaction_id.transaction_id;
    modem.later(modem.settings.latency, [&modem, sim_id, transaction, response = *response] {
        Session& now = s_sessions[sim_id];
        if (!now.open || is_the_modems(now.open->type) || now.open->type != response.type ||
            now.number != response.number || now.number != transaction) {
            ++now.strays;
            say("the card hears a response that it has not asked for, to %s", name_of(response.type).c_str());
            return;
        }
        ++now.responses;
        finish_command(modem, sim_id, response.result, response.text);
    });
    return c_success;
}

// The files that have changed, once the phone has said yes to the refresh.
int32_t refresh_confirmed(Modem& modem, const Caller&, uint32_t sim_id, const UtaSimTkTransactionId* param) {
    if (param == nullptr || param->cmd_id != REFRESH) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, sim_id, transaction = *param] {
        UtaSimTkRefreshFcnIndParam files{};
        files.simtk_transaction_id = transaction;
        modem.indicate<uta::row::UtaMsSimTkRefreshFcnIndCb>(sim_id, &files);
    });
    return c_success;
}

int32_t refresh_agreed(Modem&, const Caller&, uint32_t sim_id, const UtaSimTkRefreshFcnRspParam* param) {
    Session* const session = session_of(sim_id);
    if (session == nullptr || param == nullptr || param->result != c_agreed ||
        param->simtk_transaction_id.cmd_id != REFRESH) {
        return c_refused;
    }
    ++session->refreshes;
    return c_success;
}

int32_t envelope(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimTkEnvelopeReqParam* param,
                 uint32_t context_id) {
    Session* const session = session_of(sim_id);
    if (session == nullptr || param == nullptr || !card_is_usable(sim_id) || param->data_len < 0 ||
        static_cast<size_t>(param->data_len) > sizeof(param->data)) {
        return c_refused;
    }
    const auto item = selected_item(std::span(param->data).first(static_cast<size_t>(param->data_len)));
    const bool is_known = item && *item >= 1 && *item <= s_application.items.size();
    if (is_known) {
        const auto& commands = s_application.items[*item - 1U].commands;
        session->left.assign(commands.begin(), commands.end());
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        UtaSimTkEnvelopeResIndParam answer{};
        answer.sw1 = s_sessions[sim_id].left.empty() ? c_done : c_more;
        modem.send<uta::row::UtaMsSimTkEnvelopeResIndCb>(caller.client, caller.context_id, sim_id, &answer, context_id);
        modem.later(modem.settings.latency, [&modem, sim_id] { next_command(modem, sim_id); });
    });
    return c_success;
}

int32_t terminal_profile(Modem& modem, const Caller& caller, uint32_t sim_id,
                         const UtaSimTkTerminalProfileReqParam* param, uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        UtaSimTkTerminalProfileRspParam answer{};
        answer.result = sim_id < c_stacks && card_is_usable(sim_id) ? 0 : 1;
        answer.sw1 = c_done;
        modem.send<uta::row::UtaMsSimTkSendTerminalProfileRspCb>(caller.client, caller.context_id, sim_id, &answer,
                                                                 context_id);
    });
    return c_success;
}

bool has_open(uint32_t sim_id, Type type) {
    const Session* const session = session_of(sim_id);
    return session != nullptr && session->open && session->open->type == type;
}

int32_t call_agreed(Modem& modem, const Caller&, uint32_t sim_id, const UtaSimTkExecSimInitiatedCallRspParams* param) {
    constexpr uint8_t c_user_refused = 0x22;
    constexpr uint8_t c_network_unable = 0x21;
    if (param == nullptr || !has_open(sim_id, SET_UP_CALL)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, sim_id, is_agreed = param->result == c_call_agreed] {
        if (!has_open(sim_id, SET_UP_CALL)) {
            return;
        }
        const std::string number = s_sessions[sim_id].open->number;
        uint8_t result = c_user_refused;
        if (is_agreed) {
            result = c_network_unable;
            if (calls::setup_obstacle(sim_id, number, false) == calls::NO_CAUSE) {
                result = 0;
                calls::dial(modem, sim_id, *calls::add_call(sim_id, calls::State::DIALING, number));
            }
        }
        finish_command(modem, sim_id, result, "");
    });
    return c_success;
}

int32_t message_agreed(Modem& modem, const Caller&, uint32_t sim_id, const UtaSimTkExecSmsPpRspParam* param) {
    if (param == nullptr || param->result != c_agreed || !has_open(sim_id, SEND_SHORT_MESSAGE)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, sim_id] {
        if (!has_open(sim_id, SEND_SHORT_MESSAGE)) {
            return;
        }
        const CardCommand& command = *s_sessions[sim_id].open;
        sms::Message message;
        message.kind = sms::Kind::SUBMIT;
        message.number = command.number;
        message.data = sms::user_data_of(command.text, 0).front();
        message_centre::submit(modem, sim_id, message, 0);
        finish_command(modem, sim_id, 0, "");
    });
    return c_success;
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::string load(const std::string& file) {
    std::ostringstream text;
    const std::ifstream in(file);
    if (!in) {
        return "cannot read " + file;
    }
    text << in.rdbuf();
    std::string error;
    auto application = read_application(text.str(), error);
    if (!application) {
        return error.insert(0, file + ":");
    }
    s_application = std::move(*application);
    return "";
}

std::string heard(const std::string& text) {
    const std::string& said = s_sessions[0].said;
    return said == text ? "" : "the card last heard: " + said;
}

std::string counts() {
    const Session& session = s_sessions[0];
    return std::to_string(session.commands) + " commands, " + std::to_string(session.responses) + " responses, " +
           std::to_string(session.strays) + " not asked for, " + std::to_string(session.refreshes) + " refreshes, " +
           std::to_string(session.downloads) + " messages";
}

std::string toolkit_command(Modem&, const std::vector<std::string>& arguments) {
    const std::string what = arguments.size() == 2 ? arguments[0] : "";
    return what == "load"     ? load(arguments[1])
           : what == "is"     ? heard(arguments[1])
           : what == "counts" ? (counts() == arguments[1] ? "" : counts())
                              : "wants load FILE, is TEXT or counts TEXT";
}

std::string describe() {
    const std::string& said = s_sessions[0].said;
    return "the card's toolkit last heard: " + (said.empty() ? "nothing" : said) + "; " + counts();
}

}  // namespace

void toolkit_took_download(Modem& modem, uint32_t sim_id, size_t octets) {
    if (Session* const session = session_of(sim_id)) {
        ++session->downloads;
        say("the card takes a message of %zu octets", octets);
        session->left.insert(session->left.end(), s_application.download.begin(), s_application.download.end());
        modem.later(modem.settings.latency, [&modem, sim_id] { next_command(modem, sim_id); });
    }
}

Service toolkit_service() {
    using namespace uta::row;
    return {.name = "toolkit",
            .functions = {serve<UtaMsSimTkControlReq, phone_serves_toolkit>(),
                          serve<UtaMsSimTkProactiveCommandRsp, terminal_response>(),
                          serve<UtaMsSimTkEnvelopeCommandReq, envelope>(),
                          serve<UtaMsSimTkSendTerminalProfileReq, terminal_profile>(),
                          serve<UtaMsSimTkExecSimInitiatedCallRsp, call_agreed>(),
                          serve<UtaMsSimTkExecSmsPpRsp, message_agreed>(),
                          serve<UtaMsSimTkRefreshConfirmRsp, refresh_confirmed>(),
                          serve<UtaMsSimTkRefreshFcnRsp, refresh_agreed>()},
            .commands = {{"toolkit", "load FILE | is TEXT | counts TEXT",
                          "the application of the cards, which FILE describes; what the first card last heard; its "
                          "commands, the\nresponses to them and so on, as status counts them",
                          toolkit_command}},
            .forget = [] { s_sessions = {}; },
            .describe = describe};
}
