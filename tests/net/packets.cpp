#include "tests/net/packets.h"

std::string plmn(uint16_t mcc, uint16_t mnc, uint32_t three_digits) {
    return record("7B", u32(three_digits) + u16(mnc) + u16(mcc));
}

std::string network(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat) {
    return record("7C", u32(rat) + plmn(mcc, mnc, three_digits));
}

std::string registration(const Registration& v, uint32_t sim_id) {
    const std::string lai = record("7D", record("78", u16(0)) + plmn(0, 0, 0));
    return indication(82,
                      record("81 47", u32(0) + u32(0) + record("7F", record("79", u16(0)) + plmn(0, 0, 0)) + u32(0) +
                                          u32(0) + record("7E", u8(0) + lai) + lai + u32(0) + u32(v.roaming) +
                                          u32(v.band) + network(v.mcc, v.mnc, v.three_digits, v.rat) + u32(0) + u32(0) +
                                          u32(0) + u32(v.ps) + u32(v.second_cause) + u32(v.cause) + u32(0) + u32(v.cs)),
                      sim_id);
}

std::string cell(const Cell& v, uint32_t sim_id) {
    return indication(89,
                      record("81 79", u32(v.rat) + u32(v.hsupa) + u32(v.hsdpa) + u32(v.edge) + u32(v.gprs) +
                                          u16(v.lac) + u32(v.cell_id) + u16(v.mnc) + u16(v.mcc)),
                      sim_id);
}

std::string hspa(uint32_t hsdpa, uint32_t hsupa, uint32_t plus, uint32_t sim_id) {
    return indication(90, record("81 7C", u32(plus) + u32(hsupa) + u32(hsdpa)), sim_id);
}

std::string attach_allowed(uint32_t value, uint32_t sim_id) {
    return indication(349, record("01", u32(0) + u32(value)), sim_id);
}

std::string ps_attached(uint16_t mcc, uint16_t mnc, uint16_t lac) {
    const std::string lai = record("7D", record("78", u16(lac)) + plmn(mcc, mnc, 0));
    return indication(81, record("81 42", record("7E", u8(0) + lai)));
}

std::string ps_detached(uint32_t origin) {
    return indication(292, record("81 44", u32(0) + u32(0) + u32(origin)));
}

std::string scrambling_code(uint16_t code) {
    return response(351, record("2F", u16(code)));
}

std::string attach_confirmed(uint16_t mcc, uint16_t mnc, uint32_t three_digits, uint32_t rat, uint32_t sim_id) {
    return response(76, record("81 3F", u32(0) + u32(0) + u32(0) + network(mcc, mnc, three_digits, rat) + u32(0)),
                    sim_id);
}

std::string attach_rejected(uint32_t cause) {
    return response(77, record("81 40", u32(0) + u32(0) + u32(cause)));
}

std::string scan_result(const std::vector<Found>& found, uint32_t count, uint32_t rejected) {
    std::string entries;
    for (size_t i = 30; i-- > 0;) {
        const Found v = i < found.size() ? found[i] : Found{0, 0, 0, 0, 0};
        entries += record("81 4D", network(v.mcc, v.mnc, v.three_digits, v.rat) + u32(v.forbidden));
    }
    return response(79, record("81 4E", u32(0) + u32(rejected) + entries + u32(count)));
}

NetPhone::NetPhone(const std::vector<std::string>& arguments, uint8_t sim) : WirePhone(arguments, sim) {
    modem.set_unseen(c_plmn_names);
    modem.set_return(c_plmn_names, -1);  // only the library's own table has names
    radio(1);
    forget();
}

void NetPhone::radio(int on) {
    answer_mode_requests(static_cast<uint8_t>(on));
    EXPECT_EQ(answer(request(RIL_REQUEST_RADIO_POWER, &on, sizeof(on))).error, RIL_E_SUCCESS);
}

std::string NetPhone::ask(int number, const char* text) {
    const bool strings = number == RIL_REQUEST_VOICE_REGISTRATION_STATE ||
                         number == RIL_REQUEST_DATA_REGISTRATION_STATE ||
                         number == RIL_REQUEST_QUERY_AVAILABLE_NETWORKS;
    android.set_interpreter(strings ? FakeAndroid::as_strings : FakeAndroid::Interpreter());
    return text_of(answer(request(number, const_cast<char*>(text), text == nullptr ? 0 : sizeof(text))));
}
