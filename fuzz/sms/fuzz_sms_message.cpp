// What a phone may give to the simulated network, and the network to people: read, described and written again.
#include "fuzz/input.h"
#include "host/sms/message.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const bool is_text = (input.choice() & 1) != 0;
    const std::vector<uint8_t> octets = input.rest();
    if (is_text) {
        for (const sms::UserData& part : sms::user_data_of(std::string(octets.begin(), octets.end()), 1)) {
            FUZZ_CHECK(part.octets.size() <= 140);
            sms::text_of(part);
        }
    } else if (const auto message = sms::read(octets)) {
        sms::describe(*message);
        FUZZ_CHECK(sms::read(sms::write(*message)).has_value());
    }
    return 0;
}
