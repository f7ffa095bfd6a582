// Supplementary services and USSD: what the strings of the phone do in the network, and what the network says to them
// (3GPP TS 24.080, 24.090).
#include <algorithm>
#include <iterator>

#include "host/modem/commands.h"
#include "host/modem/gsm_text.h"
#include "host/modem/mmi.h"
#include "host/modem/modem.h"
#include "host/modem/net.h"
#include "host/modem/subscriber.h"
#include "host/modem/ussd_pages.h"

namespace {

using ServiceName = subscriber::Service;

// The modem's operation and service codes.
constexpr int32_t c_op_ussd = 8;
constexpr int32_t c_sc_ussd = 21;
constexpr int32_t c_system_failure = 34;      // 3GPP TS 24.080, 4.5
constexpr int32_t c_no_network = 38;          // 3GPP TS 24.008, 10.5.4.11
constexpr int32_t c_unexpected_response = 2;  // a problem of 3GPP TS 24.080, 3.6.7

enum UssdType : int32_t { MO_DATA = 0, MO_REQUEST = 1, NO_NOTIFY = 2, NO_REQUEST = 3 };

struct Request {
    Modem* modem;
    Caller caller;
    uint32_t sim_id;
    uint32_t context_id;

    template <typename Row, typename Response>
    void respond(const Response& response) const {
        modem->send<Row>(caller.client, caller.context_id, sim_id, &response, context_id);
    }
};

// The exchange of USSD of a stack.
struct Exchange {
    const UssdPage* page = nullptr;  // waits for the user's answer
    bool network_asked = false;      // so does a question that the network began with
    std::string answered;            // what the user said last
    std::optional<Request> open;     // the network owes it an answer
};

std::array<Exchange, c_stacks> s_exchanges;

int32_t op_code_of(MmiProcedure procedure) {
    switch (procedure) {
        case MmiProcedure::ACTIVATION:
            return 0;
        case MmiProcedure::DEACTIVATION:
            return 1;
        case MmiProcedure::REGISTRATION:
            return 2;
        case MmiProcedure::ERASURE:
            return 3;
        case MmiProcedure::INTERROGATION:
            break;
    }
    return 4;
}

int32_t service_code_of(ServiceName service) {
    switch (service) {
        case ServiceName::FORWARDING:
            return 2;
        case ServiceName::BARRING:
            return 9;
        case ServiceName::WAITING:
            return 14;
        case ServiceName::CLIP:
            return 16;
        case ServiceName::CLIR:
            return 17;
        case ServiceName::COLP:
            return 18;
        case ServiceName::PASSWORD:
            break;
    }
    return 20;
}

// --- The answers -----------------------------------------------------------------------------------------------------

template <typename Param>
void fill_list(Param& param, const subscriber::Answer& answer) {
    param.count = static_cast<uint8_t>(std::min(answer.entries.size(), std::size(param.entries)));
    for (size_t i = 0; i < param.count; ++i) {
        param.entries[i].basic_service_group = answer.entries[i].group;
        param.entries[i].status = answer.entries[i].status;
    }
}

void send_forwarding(const Request& request, int32_t op_code, const subscriber::Answer& answer) {
    UtaSsCallForwardingIndParamStruct param{};
    param.op_code = op_code;
    fill_list(param, answer);
    for (size_t i = 0; i < param.count; ++i) {
        answer.entries[i].number.copy(param.entries[i].number, sizeof(param.entries[i].number) - 1);
        param.entries[i].time = answer.entries[i].seconds;
    }
    request.respond<uta::row::UtaMsSsCallForwardingIndCb>(param);
}

void send_identity(const Request& request, ServiceName service) {
    constexpr int32_t c_provisioned_and_active = 5;
    UtaSsIdentificationStatusIndParamStruct param{};
    param.service_code = service_code_of(service);
    param.status = c_provisioned_and_active;
    request.respond<uta::row::UtaMsSsIdentificationStatusIndCb>(param);
}

// A subscriber shows his number or not, call by call, unless he may not withhold it.
void send_clir(const Request& request) {
    constexpr int32_t c_provisioned_and_active = 5;
    constexpr int32_t c_temporary_allowed = 2;
    UtaSsClirIndParamStruct param{};
    if (subscriber::may_withhold(request.sim_id)) {
        param.status = c_provisioned_and_active;
        param.cli_restriction = c_temporary_allowed;
    }
    request.respond<uta::row::UtaMsSsClirIndCb>(param);
}

void send_answer(const Request& request, const MmiString& mmi, const subscriber::Answer& answer) {
    const int32_t op_code = op_code_of(mmi.procedure);
    if (answer.error != subscriber::NO_ERROR) {
        UtaSsNetworkErrorIndParamStruct param{};
        param.op_code = op_code;
        param.service_code = service_code_of(answer.service);
        param.error = answer.error;
        request.respond<uta::row::UtaMsSsNetworkErrorIndCb>(param);
        return;
    }
    switch (answer.service) {
        case ServiceName::FORWARDING:
            send_forwarding(request, op_code, answer);
            break;
        case ServiceName::BARRING: {
            UtaSsCallBarringIndParamStruct param{};
            param.op_code = op_code;
            fill_list(param, answer);
            request.respond<uta::row::UtaMsSsCallBarringIndCb>(param);
            break;
        }
        case ServiceName::WAITING: {
            UtaSsCallWaitingIndParamStruct param{};
            param.op_code = op_code;
            fill_list(param, answer);
            request.respond<uta::row::UtaMsSsCallWaitingIndCb>(param);
            break;
        }
        case ServiceName::CLIR:
            send_clir(request);
            break;
        case ServiceName::CLIP:
        case ServiceName::COLP:
            send_identity(request, answer.service);
            break;
        case ServiceName::PASSWORD:
            request.respond<uta::row::UtaMsSsChangePwIndCb>(UtaSsChangePwIndParamStruct{});
            break;
    }
}

// --- USSD ------------------------------------------------------------------------------------------------------------

UtaSsUssdParamStruct make_ussd(UssdType type, const std::string& text) {
    UtaSsUssdParamStruct param{};
    const CodedText coded = code_text(text, sizeof(param.data));
    param.ussd_type = type;
    param.dcs = coded.dcs;
    param.length = static_cast<uint16_t>(coded.octets.size());
    std::copy(coded.octets.begin(), coded.octets.end(), param.data);
    return param;
}

void break_off(const Request& request, int32_t cause) {
    UtaSsNetworkGsmCauseIndParamStruct param{};
    param.op_code = c_op_ussd;
    param.service_code = c_sc_ussd;
    param.cause = cause;
    request.respond<uta::row::UtaMsSsNetworkGsmCauseIndCb>(param);
}

void send_page(const Request& request, const UssdPage& page) {
    Exchange& exchange = s_exchanges[request.sim_id];
    exchange.page = nullptr;
    switch (page.turn) {
        case UssdTurn::ASKS:
            exchange.page = &page;
            request.respond<uta::row::UtaMsSsUssdRspCb>(make_ussd(NO_REQUEST, page.text));
            break;
        case UssdTurn::ENDS:
            request.respond<uta::row::UtaMsSsUssdRspCb>(make_ussd(MO_REQUEST, page.text));
            break;
        case UssdTurn::ENDS_EMPTY:
            request.respond<uta::row::UtaMsSsUssdRspCb>(make_ussd(MO_DATA, ""));
            break;
        case UssdTurn::BREAKS_OFF: {
            constexpr int32_t c_normal_clearing = 16;
            break_off(request, c_normal_clearing);
            break;
        }
        case UssdTurn::IS_SILENT:
            exchange.open = request;
            break;
        case UssdTurn::UNKNOWN: {
            UtaSsNetworkErrorIndParamStruct param{};
            param.op_code = c_op_ussd;
            param.service_code = c_sc_ussd;
            param.error = c_system_failure;
            request.respond<uta::row::UtaMsSsNetworkErrorIndCb>(param);
            break;
        }
    }
}

// --- Requests --------------------------------------------------------------------------------------------------------

void begin(const Request& request, const std::string& text) {
    if (!stack_is_registered(request.sim_id)) {
        break_off(request, c_no_network);
        return;
    }
    const auto mmi = parse_mmi(text);
    if (const auto answer = mmi ? subscriber::serve(request.sim_id, *mmi) : std::nullopt) {
        send_answer(request, *mmi, *answer);
        return;
    }
    s_exchanges[request.sim_id].network_asked = false;
    send_page(request, first_page(text));
}

void go_on(const Request& request, const std::string& text) {
    Exchange& exchange = s_exchanges[request.sim_id];
    exchange.answered = text;
    if (exchange.network_asked) {
        exchange.network_asked = false;
        request.respond<uta::row::UtaMsSsUssdRspCb>(make_ussd(MO_DATA, ""));
        return;
    }
    static const UssdPage s_none{"", UssdTurn::UNKNOWN, ""};
    send_page(request, exchange.page != nullptr ? next_page(*exchange.page, text) : s_none);
}

template <typename Param>
std::optional<std::string> text_of(const Param* param) {
    if (param == nullptr || param->length > sizeof(param->data)) {
        return std::nullopt;
    }
    return decode_text({param->data, param->length}, param->dcs);
}

using Work = void (*)(const Request& request, const std::string& text);

int32_t start(Modem& modem, const Request& request, const std::optional<std::string>& text, Work work) {
    if (!text) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [request, text = *text, work] { work(request, text); });
    return c_success;
}

int32_t send_ussd(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSsSendUssdParamStruct* param,
                  uint32_t context_id) {
    return start(modem, {&modem, caller, sim_id, context_id}, text_of(param), begin);
}

// A notification that the phone has seen is acknowledged with an empty answer; nothing follows.
int32_t respond_ussd(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSsRespondUssdParamStruct* param,
                     uint32_t context_id) {
    if (param != nullptr && param->ussd_type == NO_NOTIFY) {
        return c_success;
    }
    return start(modem, {&modem, caller, sim_id, context_id}, text_of(param), go_on);
}

// The user ends the exchange; what the network still owed is rejected.
int32_t abort_ussd(Modem& modem, const Caller& caller, uint32_t sim_id, uint32_t context_id) {
    modem.later(modem.settings.latency, [request = Request{&modem, caller, sim_id, context_id}] {
        Exchange& exchange = s_exchanges[request.sim_id];
        if (exchange.open) {
            UtaSsNetworkRejectIndParamStruct param{};
            param.op_code = c_op_ussd;
            param.service_code = c_sc_ussd;
            param.problem = c_unexpected_response;
            exchange.open->respond<uta::row::UtaMsSsNetworkRejectIndCb>(param);
        }
        exchange = {};
        request.modem->send<uta::row::UtaMsSsEndIndCb>(request.caller.client, request.caller.context_id, request.sim_id,
                                                       request.context_id);
    });
    return c_success;
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::string ussd_command(Modem& modem, const std::vector<std::string>& arguments) {
    constexpr const char* c_usage = "wants notify, ask or answered, and a text";
    constexpr size_t c_stack_at = 2;
    const auto stack = arguments.size() > c_stack_at ? parse_integer(arguments[c_stack_at]) : std::optional(0);
    if (arguments.size() < c_stack_at || arguments.size() > c_stack_at + 1 || !stack || *stack < 0 ||
        *stack >= static_cast<int32_t>(c_stacks)) {
        return c_usage;
    }
    const auto sim_id = static_cast<uint32_t>(*stack);
    Exchange& exchange = s_exchanges[sim_id];
    const std::string& what = arguments[0];
    if (what == "answered") {
        return exchange.answered == arguments[1] ? "" : "the user answered: " + exchange.answered;
    }
    if (what != "notify" && what != "ask") {
        return c_usage;
    }
    if (!stack_is_registered(sim_id)) {
        return "the stack is not registered";
    }
    exchange.page = nullptr;
    exchange.network_asked = what == "ask";
    const UtaSsUssdParamStruct param = make_ussd(exchange.network_asked ? NO_REQUEST : NO_NOTIFY, arguments[1]);
    modem.indicate<uta::row::UtaMsSsUssdIndCb>(sim_id, &param);
    return "";
}

std::string describe() {
    std::string text = subscriber::describe();
    for (size_t i = 0; i < s_exchanges.size(); ++i) {
        if (s_exchanges[i].page != nullptr || s_exchanges[i].network_asked) {
            text += ", stack " + std::to_string(i) + " has to answer USSD";
        }
    }
    return text;
}

}  // namespace

Service ss_service() {
    using namespace uta::row;
    return {.name = "services",
            .functions = {serve<UtaMsSsSendUssdReq, send_ussd>(), serve<UtaMsSsRespondUssd, respond_ussd>(),
                          serve<UtaMsSsAbort, abort_ussd>()},
            .commands = {{"ussd", "notify|ask|answered TEXT [0|1]",
                          "the network begins an exchange: with a notification, or a question. answered: fails unless\n"
                          "that is what the user said last. The user's own begin with *100# (a menu), *101# (one in\n"
                          "UCS2), *102# (the network breaks off), *103# (no answer), *104# (an empty one)",
                          ussd_command}},
            .forget = [] { s_exchanges = {}; },
            .describe = describe};
}
