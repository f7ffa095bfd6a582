#include "host/modem/card/files.h"

#include <algorithm>

namespace card {

namespace {

std::optional<size_t> find_child(const Card& card, size_t directory, uint16_t id) {
    for (size_t i = 1; i < card.files.size(); ++i) {
        if (card.files[i].parent == directory && card.files[i].id == id) {
            return i;
        }
    }
    return std::nullopt;
}

bool is_directory(const Card& card, size_t file) {
    return card.files[file].kind == Kind::DIRECTORY;
}

// The first application of the card, 0 for none.
size_t first_application(const Card& card) {
    for (size_t i = 1; i < card.files.size(); ++i) {
        if (!card.files[i].aid.empty()) {
            return i;
        }
    }
    return 0;
}

void append(Bytes& bytes, uint8_t tag, const Bytes& value) {
    bytes.push_back(tag);
    bytes.push_back(static_cast<uint8_t>(value.size()));
    bytes.insert(bytes.end(), value.begin(), value.end());
}

Bytes word(size_t value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

// --- ETSI TS 102 221, 11.1.1.4 ---------------------------------------------------------------------------------------

constexpr uint8_t c_data_coding = 0x21;

Bytes file_descriptor(const File& file) {
    switch (file.kind) {
        case Kind::DIRECTORY:
            return {0x78, c_data_coding};
        case Kind::TRANSPARENT:
            return {0x41, c_data_coding};
        case Kind::OBJECTS:
            return {0x79, c_data_coding};
        case Kind::LINEAR:
        case Kind::CYCLIC:
            break;
    }
    return {static_cast<uint8_t>(file.kind == Kind::LINEAR ? 0x42 : 0x46), c_data_coding,
            static_cast<uint8_t>(file.record_size >> 8), static_cast<uint8_t>(file.record_size),
            static_cast<uint8_t>(file.records())};
}

// The condition of an access rule in expanded format (9.2.4).
Bytes condition(Access access) {
    const auto code = [](uint8_t key) { return Bytes{0xA4, 6, 0x83, 1, key, 0x95, 1, 0x08}; };
    switch (access) {
        case Access::ALWAYS:
            return {0x90, 0};
        case Access::PIN1:
            return code(0x01);
        case Access::PIN2:
            return code(0x81);
        case Access::ADM:
            return code(0x0A);
        case Access::NEVER:
            break;
    }
    return {0x97, 0};
}

Bytes access_rules(const File& file) {
    Bytes rules;
    const auto add = [&](uint8_t operations, Access access) {
        append(rules, 0x80, {operations});
        const Bytes wanted = condition(access);
        rules.insert(rules.end(), wanted.begin(), wanted.end());
    };
    add(0x01, file.read);
    add(0x02, file.update);
    add(0x18, file.invalidate);
    return rules;
}

// Which of the PINs are asked for, and their key references.
Bytes pin_status(const Card& card) {
    const auto asked = static_cast<uint8_t>((card.pin1.is_enabled ? 0x80 : 0) | (card.pin2.is_enabled ? 0x40 : 0));
    return {0x90, 1, asked, 0x83, 1, 0x01, 0x83, 1, 0x81};
}

Bytes control_parameters(const Card& card, size_t index) {
    const File& file = card.files[index];
    const bool is_elementary = file.kind != Kind::DIRECTORY;
    Bytes content;
    append(content, 0x82, file_descriptor(file));
    append(content, 0x83, word(file.id));
    if (!file.aid.empty()) {
        append(content, 0x84, file.aid);
    }
    if (!is_elementary) {
        append(content, 0xA5, {0x80, 1, 0x71});  // supply voltages and clock stop of a UICC
    }
    append(content, 0x8A, {static_cast<uint8_t>(file.is_valid ? 0x05 : 0x04)});
    append(content, 0xAB, access_rules(file));
    if (is_elementary) {
        append(content, 0x80, word(file.content.size()));
        append(content, 0x88, file.sfi == 0 ? Bytes{} : Bytes{static_cast<uint8_t>(file.sfi << 3)});
    } else {
        append(content, 0xC6, pin_status(card));
    }
    Bytes result;
    append(result, 0x62, content);
    return result;
}

// --- 3GPP TS 51.011, 9.2.1 and 9.3 -----------------------------------------------------------------------------------

uint8_t nibble(Access access) {
    constexpr uint8_t c_nibbles[] = {0, 1, 2, 4, 0xF};
    return c_nibbles[static_cast<size_t>(access)];
}

uint8_t nibbles(Access high, Access low) {
    return static_cast<uint8_t>(nibble(high) << 4 | nibble(low));
}

Bytes elementary_header(const File& file) {
    Bytes header(15);
    header[2] = static_cast<uint8_t>(file.content.size() >> 8);
    header[3] = static_cast<uint8_t>(file.content.size());
    header[4] = static_cast<uint8_t>(file.id >> 8);
    header[5] = static_cast<uint8_t>(file.id);
    header[6] = 4;
    header[8] = nibbles(file.read, file.update);
    header[9] = nibbles(Access::NEVER, Access::ALWAYS);  // INCREASE; the low half is not used
    header[10] = nibbles(file.invalidate, file.invalidate);
    header[11] = file.is_valid ? 1 : 0;
    header[12] = 2;
    header[13] = file.kind == Kind::LINEAR ? 1 : file.kind == Kind::CYCLIC ? 3 : 0;
    header[14] = static_cast<uint8_t>(file.record_size);
    return header;
}

uint8_t code_status(bool is_there, uint8_t attempts) {
    return is_there ? static_cast<uint8_t>(0x80 | attempts) : 0;
}

Bytes directory_header(const Card& card, size_t index) {
    Bytes header(22);
    header[4] = static_cast<uint8_t>(card.files[index].id >> 8);
    header[5] = static_cast<uint8_t>(card.files[index].id);
    header[6] = index == 0 ? 1 : 2;
    header[12] = 9;
    header[13] = static_cast<uint8_t>((card.pin1.is_enabled ? 0 : 0x80) | 0x13);
    for (size_t i = 1; i < card.files.size(); ++i) {
        if (card.files[i].parent == index) {
            ++header[is_directory(card, i) ? 14 : 15];
        }
    }
    header[16] = 4;
    header[18] = code_status(!card.pin1.code.empty(), card.pin1.attempts);
    header[19] = code_status(!card.pin1.unblock_code.empty(), card.pin1.unblock_attempts);
    header[20] = code_status(!card.pin2.code.empty(), card.pin2.attempts);
    header[21] = code_status(!card.pin2.unblock_code.empty(), card.pin2.unblock_attempts);
    return header;
}

}  // namespace

std::optional<size_t> find_from(const Card& card, const Channel& channel, uint16_t id) {
    if (id == c_master_file) {
        return 0;
    }
    if (card.is_3g && id == c_application) {
        return channel.application != 0 ? std::optional(channel.application) : std::nullopt;
    }
    if (const auto child = find_child(card, channel.directory, id)) {
        return child;
    }
    const size_t parent = card.files[channel.directory].parent;
    if (card.files[channel.directory].id == id) {
        return channel.directory;
    }
    if (card.files[parent].id == id) {
        return parent;
    }
    const auto sibling = find_child(card, parent, id);
    return sibling && is_directory(card, *sibling) ? sibling : std::nullopt;
}

void go_to(const Card& card, Channel& channel, size_t file) {
    channel.record = 0;
    if (is_directory(card, file)) {
        channel.directory = file;
        channel.file.reset();
    } else {
        channel.directory = card.files[file].parent;
        channel.file = file;
    }
    if (!card.files[channel.directory].aid.empty()) {
        channel.application = channel.directory;
    }
}

Bytes describe_directory(const Card& card, const Channel& channel) {
    return card.is_3g ? control_parameters(card, channel.directory) : directory_header(card, channel.directory);
}

Bytes describe(const Card& card, const Channel& channel) {
    if (!channel.file) {
        return describe_directory(card, channel);
    }
    return card.is_3g ? control_parameters(card, *channel.file) : elementary_header(card.files[*channel.file]);
}

bool is_allowed(const Card& card, Access access) {
    switch (access) {
        case Access::ALWAYS:
            return true;
        case Access::PIN1:
            return card.pin1.is_known();
        case Access::PIN2:
            return card.pin2.is_known();
        case Access::ADM:
            return card.adm.is_known();
        case Access::NEVER:
            break;
    }
    return false;
}

void reset(Card& card) {
    for (Secret* secret : {&card.pin1, &card.pin2, &card.adm}) {
        secret->is_verified = false;
    }
    card.channels = {};
    card.channels[0].is_open = true;
    card.channels[0].application = card.is_3g ? first_application(card) : 0;
}

std::optional<size_t> open_channel(Card& card) {
    const auto at = std::find_if(card.channels.begin(), card.channels.end(),
                                 [](const Channel& channel) { return !channel.is_open; });
    if (!card.is_3g || at == card.channels.end()) {
        return std::nullopt;
    }
    *at = {};
    at->is_open = true;
    return static_cast<size_t>(at - card.channels.begin());
}

bool close_channel(Card& card, size_t channel) {
    if (channel == 0 || channel >= card.channels.size() || !card.channels[channel].is_open) {
        return false;
    }
    card.channels[channel] = {};
    return true;
}

File* find_file(Card& card, std::span<const uint16_t> path) {
    size_t at = 0;
    for (const uint16_t id : path) {
        const auto next = id == c_master_file                 ? std::optional<size_t>(0)
                          : card.is_3g && id == c_application ? std::optional(first_application(card))
                                                              : find_child(card, at, id);
        if (!next) {
            return nullptr;
        }
        at = *next;
    }
    return &card.files[at];
}

File* find_network_file(Card& card, uint16_t id) {
    return find_file(card, {{c_master_file, card.is_3g ? c_application : uint16_t{0x7F20}, id}});
}

// --- Fixed dialling
// ---------------------------------------------------------------------------------------------------

namespace {

constexpr uint16_t c_ef_service_table = 0x6F38;
constexpr uint16_t c_ef_enabled_services = 0x6F56;
constexpr uint16_t c_telecom = 0x7F10;
constexpr uint16_t c_ef_adn = 0x6F3A;

constexpr uint8_t c_ust_fdn = 0x02;  // service 2 of 3GPP TS 31.102, 4.2.8
constexpr uint8_t c_ust_est = 0x02;  // service 34, in byte 5
constexpr uint8_t c_est_fdn = 0x01;  // 3GPP TS 31.102, 4.2.47
constexpr uint8_t c_sst_fdn = 0x30;  // service 3 of 3GPP TS 51.011, 10.3.7, allocated and activated

bool has_fdn(Card& card) {
    const File* table = find_network_file(card, c_ef_service_table);
    if (table == nullptr || table->content.empty()) {
        return false;
    }
    if (!card.is_3g) {
        return (table->content[0] & c_sst_fdn) == c_sst_fdn;
    }
    return table->content.size() > 4 && (table->content[0] & c_ust_fdn) != 0 && (table->content[4] & c_ust_est) != 0;
}

}  // namespace

Fdn fdn_state(Card& card) {
    if (!has_fdn(card)) {
        return Fdn::NOT_POSSIBLE;
    }
    if (!card.is_3g) {
        const File* adn = find_file(card, {{c_master_file, c_telecom, c_ef_adn}});
        return adn == nullptr ? Fdn::NOT_POSSIBLE : adn->is_valid ? Fdn::OFF : Fdn::ON;
    }
    const File* enabled = find_network_file(card, c_ef_enabled_services);
    if (enabled == nullptr || enabled->content.empty()) {
        return Fdn::NOT_POSSIBLE;
    }
    return (enabled->content[0] & c_est_fdn) != 0 ? Fdn::ON : Fdn::OFF;
}

// A SIM has fixed dialling on while its directory of abbreviated numbers is invalidated (3GPP TS 51.011, 11.5.1).
bool set_fdn(Card& card, bool is_on) {
    if (fdn_state(card) == Fdn::NOT_POSSIBLE || !card.pin2.is_known()) {
        return false;
    }
    if (card.is_3g) {
        uint8_t& enabled = find_network_file(card, c_ef_enabled_services)->content[0];
        enabled = static_cast<uint8_t>(is_on ? enabled | c_est_fdn : enabled & ~c_est_fdn);
    } else {
        find_file(card, {{c_master_file, c_telecom, c_ef_adn}})->is_valid = !is_on;
    }
    return true;
}

}  // namespace card
