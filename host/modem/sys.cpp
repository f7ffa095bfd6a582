// What the modem says of itself, and its own ways to go off.
#include <array>
#include <string>

#include "host/modem/modem.h"

namespace {

constexpr size_t c_imei_digits = 15;
constexpr size_t c_imeisv_digits = 16;

// In front of the digits, the type of the identity (3GPP TS 24.008, 10.5.1.4): with the odd number of an IMEI's digits
// marked in it.
constexpr uint8_t c_type_imei = 0xA;
constexpr uint8_t c_type_imeisv = 0x3;
constexpr uint8_t c_filler = 0xF;

// Of equipment of a test network (3GPP TS 23.003, 6.2). They outlive a loss of power.
struct Identity {
    std::string imei;
    std::string imeisv;
};
std::array<Identity, c_stacks> s_identities = {
    {{"001010000000016", "0010100000000101"}, {"001010000000024", "0010100000000201"}}};

// Nibbles, the low one of a byte first.
void put_digits(uint8_t type, const std::string& digits, std::span<uint8_t> bytes) {
    std::vector<uint8_t> nibbles = {type};
    for (const char digit : digits) {
        nibbles.push_back(static_cast<uint8_t>(digit - '0'));
    }
    nibbles.resize(2 * bytes.size(), c_filler);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(nibbles[2 * i] | nibbles[2 * i + 1] << 4);
    }
}

int32_t read_imei(Modem&, const Caller&, uint32_t sim_id, UtaSysImei* imei) {
    put_digits(c_type_imei, s_identities[sim_id].imei, imei->imei);
    put_digits(c_type_imeisv, s_identities[sim_id].imeisv, imei->imeisv);
    return c_success;
}

std::string describe() {
    return "imei " + s_identities[0].imei + " and " + s_identities[1].imei;
}

bool is_number_of(const std::string& text, size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789") == std::string::npos;
}

std::string imei_command(Modem&, const std::vector<std::string>& arguments) {
    if (arguments.size() != 2 || (arguments[0] != "0" && arguments[0] != "1")) {
        return "wants the stack's number and an IMEI or IMEISV";
    }
    Identity& identity = s_identities[arguments[0] == "1" ? 1 : 0];
    if (is_number_of(arguments[1], c_imei_digits)) {
        identity.imei = arguments[1];
    } else if (is_number_of(arguments[1], c_imeisv_digits)) {
        identity.imeisv = arguments[1];
    } else {
        return "wants the 15 digits of an IMEI or the 16 of an IMEISV";
    }
    return "";
}

constexpr int32_t c_info_short_version = 0;
constexpr int32_t c_info_version = 4;

int32_t version(Modem& modem, const Caller&) {
    return modem.settings.version;
}

// The text, cut to what the caller has room for, with a terminator.
int32_t get_info(Modem&, const Caller&, int32_t info, char* text, int32_t length) {
    std::string answer = info == c_info_short_version ? "SIM.1" : info == c_info_version ? "SIMULATED_MODEM_1.0" : "";
    if (text == nullptr || length <= 0 || answer.empty()) {
        return c_refused;
    }
    answer.resize(static_cast<size_t>(length) - 1);
    answer += '\0';
    answer.copy(text, answer.size());
    return c_success;
}

int32_t shut_down(Modem& modem, const Caller&, uint32_t) {
    modem.later(modem.settings.latency, [&modem] { modem.shut_down(); });
    return c_success;
}

int32_t reset(Modem& modem, const Caller&, uint32_t, int32_t) {
    modem.later(modem.settings.latency, [&modem] { modem.reset(); });
    return c_success;
}

int32_t prepare_shutdown(Modem& modem, const Caller& caller, int32_t, uint32_t context_id, uint32_t) {
    modem.later(modem.settings.latency, [&modem, caller, context_id] {
        modem.send<uta::row::UtaBootPrepareShutdownRspCb>(caller.client, caller.context_id, context_id, c_success);
    });
    return c_success;
}

int32_t boot_shutdown(Modem& modem, const Caller& caller, int32_t) {
    return shut_down(modem, caller, 0);
}

}  // namespace

Service sys_service() {
    using namespace uta::row;
    return {.name = "sys",
            .functions = {serve<RpcGetRemoteVerInfo, version>(), serve<UtaSysGetInfo, get_info>(),
                          serve<UtaMsSysReadImei, read_imei>(), serve<UtaMsSysShutdown, shut_down>(),
                          serve<UtaMsSysReset, reset>(), serve<UtaBootPrepareShutdownReq, prepare_shutdown>(),
                          serve<UtaBootShutdownReq, boot_shutdown>()},
            .commands = {{"imei", "0|1 DIGITS", "the IMEI, 15 digits, or IMEISV, 16, of a stack", imei_command}},
            .forget = nullptr,
            .describe = describe};
}
