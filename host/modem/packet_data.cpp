// Packet data: the access points of the network, and the contexts that the phone has with them (3GPP TS 24.008, 6.1.3).
#include "host/modem/packet_data.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <utility>

#include "host/modem/commands.h"
#include "host/modem/modem.h"
#include "host/modem/net.h"

namespace {

constexpr int32_t c_network_cid = 1;  // of the context that the network activates
constexpr int32_t c_first_cid = 31;
constexpr int32_t c_last_cid = 41;
constexpr int32_t c_every_cid = 0;

enum IpType : int32_t { IPV4 = 1, IPV6 = 2, BOTH = 3 };

// Results of the service, by the SM cause that they stand for (3GPP TS 24.008, 10.5.6.6).
enum Result : int32_t {
    OPERATOR_BARRED = -159,
    ONLY_IPV4 = -160,
    ONLY_IPV6 = -161,
    REGULAR_DEACTIVATION = -134,
    MISSING_APN = -129,
    NO_RESOURCES = -128,
    AUTHENTICATION_FAILED = -110,
    NO_SUCH_CONTEXT = -1,
};

struct AccessPoint {
    std::string name;
    int32_t ip_type;
    std::string username;  // empty: everybody may come
    std::string password;
    int32_t refusal;  // 0: none
};

const std::vector<AccessPoint> c_first_access_points = {
    {"internet", BOTH, "", "", 0},
    {"mms", IPV4, "", "", 0},
    {"ipv6", IPV6, "", "", 0},
    {"secure", IPV4, "user", "secret", 0},
    {"barred", BOTH, "", "", OPERATOR_BARRED},
};
std::vector<AccessPoint> s_access_points = c_first_access_points;

enum class State { OBTAINED, DEFINED, ACTIVE };

struct Context {
    State state = State::OBTAINED;
    std::string apn;
    int32_t ip_type = 0;
    std::string username;
    std::string password;
    bool wants_dns = false;
};

std::array<std::map<int32_t, Context>, c_stacks> s_contexts;
std::array<bool, c_stacks> s_rests;
std::map<int32_t, std::string> s_channels;  // handle and device
int32_t s_last_handle = 0;

Context* find_context(uint32_t sim_id, int32_t cid) {
    const auto at = s_contexts[sim_id].find(cid);
    return at != s_contexts[sim_id].end() ? &at->second : nullptr;
}

const AccessPoint* find_access_point(const std::string& name) {
    const auto at = std::find_if(s_access_points.begin(), s_access_points.end(),
                                 [&](const AccessPoint& it) { return it.name == name; });
    return at != s_access_points.end() ? &*at : nullptr;
}

// --- The network's answer --------------------------------------------------------------------------------------------

// 0, with the types of address that the context gets, or the refusal.
int32_t activate(Context& context) {
    const AccessPoint* const point = find_access_point(context.apn);
    if (point == nullptr) {
        return MISSING_APN;
    }
    if (point->refusal != 0) {
        return point->refusal;
    }
    if (!point->username.empty() && (context.username != point->username || context.password != point->password)) {
        return AUTHENTICATION_FAILED;
    }
    if ((context.ip_type & point->ip_type) == 0) {
        return point->ip_type == IPV4 ? ONLY_IPV4 : ONLY_IPV6;
    }
    context.ip_type &= point->ip_type;
    context.state = State::ACTIVE;
    return c_success;
}

// 10.20.30.40 and on for the first stack, 10.20.31.40 for the second; the same with 2001:db8::/64 (RFC 3849).
void write_address(uint32_t sim_id, int32_t cid, int32_t ip_type, uint8_t (&out)[20]) {
    const auto host = static_cast<uint8_t>(40 + (cid == c_network_cid ? 0 : cid - c_first_cid + 1));
    size_t at = 0;
    if ((ip_type & IPV4) != 0) {
        const uint8_t address[] = {10, 20, static_cast<uint8_t>(30 + sim_id), host};
        memcpy(out, address, sizeof(address));
        at = sizeof(address);
    }
    if ((ip_type & IPV6) != 0) {
        const uint8_t address[] = {0x20, 0x01, 0x0D, 0xB8, 0,    0, 0, static_cast<uint8_t>(sim_id),
                                   0xAA, 0xBB, 0xCC, 0xFF, 0xFE, 0, 0, host};
        memcpy(out + at, address, sizeof(address));
    }
}

// The network's server.
constexpr uint8_t c_dns4[] = {10, 20, 0, 1};
constexpr uint8_t c_dns6[] = {0x20, 0x01, 0x0D, 0xB8, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

void write_dns(UtaCallPsIpAddress& out, int32_t ip_type) {
    out.ip_type = ip_type;
    if (ip_type == IPV4) {
        memcpy(out.ip_addr, c_dns4, sizeof(c_dns4));
    } else {
        memcpy(out.ip_addr, c_dns6, sizeof(c_dns6));
    }
}

// --- Requests. Each takes effect when its response goes out. ---------------------------------------------------------

UtaCallPsPdpContextId id_of(const UtaCallPsDefinePrimaryReqParams& param) {
    return param.context.id;
}

template <typename Param>
UtaCallPsPdpContextId id_of(const Param& param) {
    return param.id;
}

// What is asked of a context: `work` gives the result, and fills what the response has besides.
template <typename Row, auto work>
struct About;

template <typename Row, typename Param, typename Response,
          int32_t (*work)(uint32_t sim_id, const Param& wanted, Context& context, Response& response)>
struct About<Row, work> {
    static int32_t ask(Modem& modem, const Caller& caller, uint32_t sim_id, const Param* param, uint32_t context_id) {
        if (param == nullptr) {
            return c_refused;
        }
        modem.later(modem.settings.latency, [&modem, caller, sim_id, wanted = *param, context_id] {
            Response response{};
            response.id = id_of(wanted);
            Context* const context = find_context(sim_id, response.id.cid);
            response.result = context != nullptr ? work(sim_id, wanted, *context, response) : int32_t{NO_SUCH_CONTEXT};
            modem.send<Row>(caller.client, caller.context_id, sim_id, &response, context_id);
        });
        return c_success;
    }
};

int32_t obtain(Modem&, const Caller&, uint32_t sim_id, UtaCallPsPdpContextId* id) {
    for (int32_t cid = c_first_cid; cid <= c_last_cid; ++cid) {
        if (s_contexts[sim_id].try_emplace(cid).second) {
            id->cid = cid;
            return c_success;
        }
    }
    return c_refused;
}

int32_t release(Modem&, const Caller&, uint32_t sim_id, const UtaCallPsPdpContextId* id) {
    return id != nullptr && s_contexts[sim_id].erase(id->cid) == 1 ? c_success : c_refused;
}

int32_t define(uint32_t, const UtaCallPsDefinePrimaryReqParams& wanted, Context& context,
               UtaCallPsDefinePrimaryRspCbParams&) {
    context.apn = wanted.context.apn;
    context.ip_type = wanted.context.address.ip_type;
    context.state = State::DEFINED;
    return c_success;
}

int32_t undefine(uint32_t, const UtaCallPsUndefinePrimaryReqParams&, Context& context,
                 UtaCallPsUndefinePrimaryRspCbParams&) {
    if (context.state == State::ACTIVE) {
        return c_refused;
    }
    context = {};
    return c_success;
}

int32_t authenticate(uint32_t, const UtaCallPsSetAuthenticationReqParams& wanted, Context& context,
                     UtaCallPsSetAuthenticationRspCbParams&) {
    context.username = wanted.username;
    context.password = wanted.password;
    return c_success;
}

int32_t ask_for_dns(uint32_t, const UtaCallPsSetReqDnsReqParams&, Context& context, UtaCallPsSetReqDnsRspCbParams&) {
    context.wants_dns = true;
    return c_success;
}

int32_t start_context(uint32_t sim_id, const UtaCallPsActivateReqParams&, Context& context,
                      UtaCallPsActivateRspCbParams&) {
    return context.state == State::DEFINED && stack_is_registered(sim_id) ? activate(context) : c_refused;
}

int32_t get_address(uint32_t sim_id, const UtaCallPsGetNegIpAddrReqParams&, Context& context,
                    UtaCallPsGetNegIpAddrRspCbParams& response) {
    response.address.ip_type = context.ip_type;
    write_address(sim_id, response.id.cid, context.ip_type, response.address.ip_addr);
    return context.state == State::ACTIVE ? c_success : c_refused;
}

int32_t get_dns(uint32_t, const UtaCallPsGetNegotiatedDnsReqParams&, Context& context,
                UtaCallPsGetNegotiatedDnsRspCbParams& response) {
    if (context.wants_dns) {
        write_dns(response.primary_dns, (context.ip_type & IPV4) != 0 ? IPV4 : IPV6);
        response.num_secondary_dns = context.ip_type == BOTH ? 1 : 0;
        if (context.ip_type == BOTH) {
            write_dns(response.secondary_dns[0], IPV6);
        }
    }
    return context.state == State::ACTIVE ? c_success : c_refused;
}

int32_t connect(uint32_t sim_id, const UtaCallPsConnectReqParams&, Context& context,
                UtaCallPsConnectRspCbParams& response) {
    UtaCallPsNegotiatedAddress& address = response.connection.address;
    address.address_type = context.ip_type;
    if (context.ip_type == IPV4) {
        write_address(sim_id, response.id.cid, IPV4, address.address);
    } else {
        // Where both are, the IPv4 address stands behind an interface identifier.
        uint8_t both[20] = {};
        write_address(sim_id, response.id.cid, IPV4, both);
        memcpy(address.address + 8, both, 4);
    }
    return context.state == State::ACTIVE ? c_success : c_refused;
}

void end_context(Modem& modem, uint32_t sim_id, int32_t cid, int32_t origin, int32_t cause) {
    s_contexts[sim_id][cid].state = State::DEFINED;
    const UtaCallPsDeactivateIndCbParams param{{cid}, origin, cause};
    modem.indicate<uta::row::UtaMsCallPsDeactivateIndCb>(sim_id, &param);
}

int32_t deactivate(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaCallPsDeactivateReqParams* param,
                   uint32_t context_id) {
    if (param == nullptr) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, cid = param->id.cid, context_id] {
        constexpr int32_t c_by_phone = 1;
        UtaCallPsDeactivateRspCbParams response{};
        response.id.cid = cid;
        response.result = cid == c_every_cid || find_context(sim_id, cid) != nullptr ? c_success : NO_SUCH_CONTEXT;
        modem.send<uta::row::UtaMsCallPsDeactivateRspCb>(caller.client, caller.context_id, sim_id, &response,
                                                         context_id);
        for (auto& [number, context] : s_contexts[sim_id]) {
            if (context.state != State::ACTIVE || (cid != number && cid != c_every_cid)) {
                continue;
            }
            context.state = State::DEFINED;
            if (cid == number) {
                end_context(modem, sim_id, number, c_by_phone, REGULAR_DEACTIVATION);
            }
        }
    });
    return c_success;
}

int32_t get_primary(uint32_t, const UtaCallPsGetPrimaryReqParams&, Context& context,
                    UtaCallPsGetPrimaryRspCbParams& response) {
    response.context.id = response.id;
    context.apn.copy(response.context.apn, sizeof(response.context.apn) - 1);
    response.context.address.ip_type = context.ip_type;
    return c_success;
}

// --- Channels --------------------------------------------------------------------------------------------------------

int32_t open_channel(Modem&, const Caller&, const UtaRPCPsDeviceName* name) {
    if (name == nullptr) {
        return c_refused;
    }
    s_channels[++s_last_handle] = name->name;
    return s_last_handle;
}

int32_t set_up_channel(Modem&, const Caller&, uint32_t sim_id, const UtaIoHdl* handle,
                       const UtaCallPsConnectRspCbParams* connection) {
    const bool good = handle != nullptr && s_channels.contains(handle->handle) && connection != nullptr &&
                      find_context(sim_id, connection->id.cid) != nullptr;
    return good ? c_success : c_refused;
}

int32_t close_channel(Modem&, const Caller&, const UtaIoHdl* handle) {
    return handle != nullptr && s_channels.erase(handle->handle) == 1 ? c_success : c_refused;
}

void stack_switched(Modem&, uint32_t sim_id, bool stack_on, bool) {
    if (!stack_on) {
        s_contexts[sim_id].clear();
    }
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

std::string end_by_network(Modem& modem, uint32_t sim_id, const std::vector<std::string>& arguments) {
    const int32_t cid = arguments.size() > 1 ? parse_integer(arguments[1]).value_or(-1) : -1;
    const auto cause =
        arguments.size() > 2 ? parse_integer(arguments[2]) : std::optional<int32_t>(REGULAR_DEACTIVATION);
    const Context* const context = find_context(sim_id, cid);
    if (context == nullptr || context->state != State::ACTIVE || !cause) {
        return "no such context is active";
    }
    end_context(modem, sim_id, cid, 0, *cause);
    return "";
}

std::string activate_by_network(Modem& modem, uint32_t sim_id, const std::vector<std::string>& arguments) {
    const std::string apn = arguments.size() > 1 ? arguments[1] : "internet";
    Context context;
    context.apn = apn;
    context.ip_type = BOTH;
    context.wants_dns = true;
    if (activate(context) != c_success) {
        return "no such access point: " + apn;
    }
    s_contexts[sim_id][c_network_cid] = context;
    const UtaCallPsActivateStatusIndCbParams param{{c_network_cid}};
    modem.indicate<uta::row::UtaMsCallPsActivateStatusIndCb>(sim_id, &param);
    return "";
}

std::string refuse_access(const std::vector<std::string>& arguments) {
    const auto cause = arguments.size() == 3 ? parse_integer(arguments[2]) : std::nullopt;
    const auto at = std::find_if(s_access_points.begin(), s_access_points.end(), [&](const AccessPoint& it) {
        return arguments.size() == 3 && it.name == arguments[1];
    });
    if (!cause || at == s_access_points.end()) {
        return "wants an access point and a result, 0 to let everybody in";
    }
    at->refusal = *cause;
    return "";
}

std::string data_command(Modem& modem, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    const uint32_t sim_id = 0;
    if (what == "end") {
        return end_by_network(modem, sim_id, arguments);
    }
    if (what == "network") {
        return activate_by_network(modem, sim_id, arguments);
    }
    if (what == "refuse") {
        return refuse_access(arguments);
    }
    if (what == "rests" || what == "goes-on") {
        packet_service_rests(modem, sim_id, what == "rests");
        return "";
    }
    return "wants end, network, refuse, rests or goes-on";
}

std::string describe() {
    std::string text = std::to_string(s_channels.size()) + " channels";
    for (size_t i = 0; i < s_contexts.size(); ++i) {
        for (const auto& [cid, context] : s_contexts[i]) {
            text += ", stack " + std::to_string(i) + " context " + std::to_string(cid) +
                    (context.state == State::ACTIVE ? " active" : " inactive") +
                    (context.apn.empty() ? "" : " at " + context.apn);
        }
    }
    return text;
}

}  // namespace

void packet_service_rests(Modem& modem, uint32_t sim_id, bool rests) {
    if (std::exchange(s_rests[sim_id], rests) == rests) {
        return;
    }
    if (rests) {
        const UtaCallPsSuspendIndCbParams param{};
        modem.indicate<uta::row::UtaMsCallPsSuspendIndCb>(sim_id, &param);
    } else {
        modem.indicate<uta::row::UtaMsCallPsResumeIndCb>(sim_id);
    }
}

bool packet_data_is_active(uint32_t sim_id) {
    return std::any_of(s_contexts[sim_id].begin(), s_contexts[sim_id].end(),
                       [](const auto& entry) { return entry.second.state == State::ACTIVE; });
}

Service packet_data_service() {
    using namespace uta::row;
    return {
        .name = "data",
        .functions =
            {serve<UtaMsCallPsObtainPdpContextId, obtain>(), serve<UtaMsCallPsReleasePdpContextId, release>(),
             serve<UtaMsCallPsDefinePrimaryReq, About<UtaMsCallPsDefinePrimaryRspCb, define>::ask>(),
             serve<UtaMsCallPsUndefinePrimaryReq, About<UtaMsCallPsUndefinePrimaryRspCb, undefine>::ask>(),
             serve<UtaMsCallPsSetAuthenticationReq, About<UtaMsCallPsSetAuthenticationRspCb, authenticate>::ask>(),
             serve<UtaMsCallPsSetReqDnsReq, About<UtaMsCallPsSetReqDnsRspCb, ask_for_dns>::ask>(),
             serve<UtaMsCallPsActivateReq, About<UtaMsCallPsActivateRspCb, start_context>::ask>(),
             serve<UtaMsCallPsGetNegIpAddrReq, About<UtaMsCallPsGetNegIpAddrRspCb, get_address>::ask>(),
             serve<UtaMsCallPsGetNegotiatedDnsReq, About<UtaMsCallPsGetNegotiatedDnsRspCb, get_dns>::ask>(),
             serve<UtaMsCallPsConnectReq, About<UtaMsCallPsConnectRspCb, connect>::ask>(),
             serve<UtaMsCallPsDeactivateReq, deactivate>(),
             serve<UtaMsCallPsGetPrimaryReq, About<UtaMsCallPsGetPrimaryRspCb, get_primary>::ask>(),
             serve<UtaRPCPsConnectToDatachannelReq, open_channel>(), serve<UtaRPCPSConnectSetupReq, set_up_channel>(),
             serve<UtaRPCPSConnectReleaseReq, close_channel>()},
        .commands = {{"data", "end CID [CAUSE] | network [APN] | refuse APN RESULT | rests | goes-on",
                      "the network ends a context (31 and on) or activates its own; refuses an access point with a\n"
                      "result (-128 to -159, 0: no longer); packet service rests, or goes on",
                      data_command}},
        .forget =
            [] {
                s_contexts = {};
                s_rests = {};
                s_channels.clear();
                s_access_points = c_first_access_points;
            },
        .describe = describe,
        .stack_switched = stack_switched};
}
