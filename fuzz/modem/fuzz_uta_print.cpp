// The packet printer on any bytes: as packets, and as a line of a capture. It has to end, to stay in its memory and to
// give whole lines.
#include <cstdlib>
#include <string>

#include "host/modem/packet_print.h"

namespace {

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

// Every packet as one line and as lines of fields.
void print_all(const Captured& captured) {
    for (const PrintedPacket& packet : read_captured(captured)) {
        check(packet.rest.size() <= 2 * captured.bytes.size());
        // A number of a list takes three bytes of the packet; a list's count may promise more, and mustn't be believed.
        check(packet.fields.size() <= captured.bytes.size() + 1);
        const std::string line = print_packet(captured, packet, {});
        check(line.find('\n') == line.size() - 1);
        const std::string lines = print_packet(captured, packet, {.one_field_a_line = true, .with_time = false});
        check(lines.ends_with('\n'));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes bytes(data, data + size);
    print_all({0, 1, Channel::RECV, false, bytes});
    print_all({1, 0, Channel::EVENT, false, bytes});
    const std::string text(bytes.begin(), bytes.end());
    if (const auto captured = parse_captured(text)) {
        print_all(*captured);
        check(parse_captured(format_captured(*captured).substr(0, format_captured(*captured).size() - 1)).has_value());
    }
    return 0;
}
