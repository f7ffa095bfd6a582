// The commands of a card (3GPP TS 51.011, 9.2; ETSI TS 102 221, 11.1).
#include <algorithm>

#include "host/modem/card/files.h"
#include "host/modem/card/words.h"

namespace card {

namespace {

constexpr size_t c_header_size = 5;  // CLA, INS, P1, P2, P3
constexpr size_t c_code_size = 8;
constexpr uint8_t c_filler = 0xFF;

constexpr uint8_t c_class_sim = 0xA0;
constexpr uint8_t c_class_usim = 0x00;
constexpr uint8_t c_class_usim_own = 0x80;
constexpr uint8_t c_channel_bits = 0x03;

struct Command {
    size_t channel;
    uint8_t p1, p2, p3;
    std::span<const uint8_t> data;
};

struct Answer {
    uint16_t words;
    Bytes data;
};

// P3 as the length of an answer.
size_t wanted(const Command& command) {
    return command.p3 == 0 ? 256 : command.p3;
}

// Exactly as much as is wanted, or all that there is when the caller leaves the number open.
Answer give(const Card& card, const Command& command, const Bytes& data) {
    if (command.p3 != 0 && wanted(command) > data.size()) {
        return {static_cast<uint16_t>(c_right_length(card) | (data.size() & 0xFF)), {}};
    }
    const size_t length = std::min(wanted(command), data.size());
    return {c_done, {data.begin(), data.begin() + static_cast<ptrdiff_t>(length)}};
}

Answer let_wait(const Card& card, Channel& channel, Bytes data) {
    channel.response = std::move(data);
    return {static_cast<uint16_t>(c_answer_waits(card) | (channel.response.size() & 0xFF)), {}};
}

// --- Files -----------------------------------------------------------------------------------------------------------

// By path, from the master file or from where the channel is. Nothing has been selected when a step fails.
std::optional<Channel> walk(const Card& card, Channel channel, const Command& command, bool from_master) {
    if (command.data.empty() || command.data.size() % 2 != 0) {
        return std::nullopt;
    }
    if (from_master) {
        channel.directory = 0;
        channel.file.reset();
    }
    for (size_t i = 0; i < command.data.size(); i += 2) {
        const auto next = find_from(card, channel, static_cast<uint16_t>(command.data[i] << 8 | command.data[i + 1]));
        if (!next) {
            return std::nullopt;
        }
        go_to(card, channel, *next);
    }
    return channel;
}

std::optional<size_t> find_application(const Card& card, std::span<const uint8_t> aid) {
    for (size_t i = 1; i < card.files.size(); ++i) {
        const Bytes& own = card.files[i].aid;
        if (!aid.empty() && aid.size() <= own.size() && std::equal(aid.begin(), aid.end(), own.begin())) {
            return i;
        }
    }
    return std::nullopt;
}

Answer select_file(Card& card, const Command& command) {
    constexpr uint8_t c_by_aid = 0x04;
    constexpr uint8_t c_path_from_master = 0x08;
    constexpr uint8_t c_path_from_here = 0x09;
    constexpr uint8_t c_no_answer = 0x0C;
    Channel& channel = card.channels[command.channel];
    if (!card.is_3g && (command.p1 != 0 || command.p2 != 0)) {
        return {c_bad_p1_p2(card), {}};
    }
    std::optional<Channel> there;
    switch (command.p1) {
        case 0:
            if (command.data.size() != 2) {
                return {c_bad_length(card), {}};
            }
            there = walk(card, channel, command, false);
            break;
        case c_by_aid:
            if (const auto application = find_application(card, command.data)) {
                there = channel;
                go_to(card, *there, *application);
            }
            break;
        case c_path_from_master:
        case c_path_from_here:
            there = walk(card, channel, command, command.p1 == c_path_from_master);
            break;
        default:
            return {c_bad_p1_p2(card), {}};
    }
    if (!there) {
        return {c_no_file(card), {}};
    }
    channel = *there;
    if ((command.p2 & c_no_answer) == c_no_answer) {
        return {c_done, {}};
    }
    return let_wait(card, channel, describe(card, channel));
}

Answer get_response(Card& card, const Command& command) {
    Channel& channel = card.channels[command.channel];
    if (channel.response.empty()) {
        return {c_no_file_selected(card), {}};
    }
    Answer answer = give(card, command, channel.response);
    if (answer.words == c_done) {
        channel.response.clear();
    }
    return answer;
}

Answer status(Card& card, const Command& command) {
    constexpr uint8_t c_application_id = 0x01;
    constexpr uint8_t c_no_answer = 0x0C;
    const Channel& channel = card.channels[command.channel];
    if (card.is_3g && command.p2 == c_no_answer) {
        return {c_done, {}};
    }
    if (card.is_3g && command.p2 == c_application_id) {
        return give(card, command, card.files[channel.application].aid);
    }
    return give(card, command, describe_directory(card, channel));
}

// The selected file, or the one that a short identifier selects. Sets the status words when there is none of the kind.
File* current_file(Card& card, const Command& command, uint8_t sfi, bool wants_records, uint16_t& words) {
    Channel& channel = card.channels[command.channel];
    if (card.is_3g && sfi != 0) {
        const auto at = std::find_if(card.files.begin(), card.files.end(), [&](const File& file) {
            return file.parent == channel.directory && file.sfi == sfi;
        });
        if (at == card.files.end()) {
            words = c_no_file(card);
            return nullptr;
        }
        go_to(card, channel, static_cast<size_t>(at - card.files.begin()));
    }
    if (!channel.file) {
        words = c_no_file_selected(card);
        return nullptr;
    }
    File& file = card.files[*channel.file];
    const bool fits =
        wants_records ? file.kind == Kind::LINEAR || file.kind == Kind::CYCLIC : file.kind == Kind::TRANSPARENT;
    words = !fits ? c_wrong_kind(card) : c_done;
    return fits ? &file : nullptr;
}

uint16_t access_words(const Card& card, const File& file, Access access) {
    if (!file.is_valid) {
        return c_invalidated(card);
    }
    return is_allowed(card, access) ? c_done : c_no_access(card);
}

// The place in a transparent file. Bit 8 of P1 tells of a short identifier.
struct Place {
    uint8_t sfi;
    size_t offset;
};

Place place_of(const Card& card, const Command& command) {
    if (card.is_3g && (command.p1 & 0x80) != 0) {
        return {static_cast<uint8_t>(command.p1 & 0x1F), command.p2};
    }
    return {0, static_cast<size_t>(command.p1 << 8 | command.p2)};
}

Answer read_binary(Card& card, const Command& command) {
    const Place place = place_of(card, command);
    uint16_t words = 0;
    const File* file = current_file(card, command, place.sfi, false, words);
    if (file == nullptr || (words = access_words(card, *file, file->read)) != c_done) {
        return {words, {}};
    }
    if (place.offset >= file->content.size()) {
        return {c_out_of_file(card), {}};
    }
    return give(card, command, {file->content.begin() + static_cast<ptrdiff_t>(place.offset), file->content.end()});
}

Answer update_binary(Card& card, const Command& command) {
    const Place place = place_of(card, command);
    uint16_t words = 0;
    File* file = current_file(card, command, place.sfi, false, words);
    if (file == nullptr || (words = access_words(card, *file, file->update)) != c_done) {
        return {words, {}};
    }
    if (place.offset + command.data.size() > file->content.size()) {
        return {place.offset >= file->content.size() ? c_out_of_file(card) : c_bad_length(card), {}};
    }
    std::copy(command.data.begin(), command.data.end(), file->content.begin() + static_cast<ptrdiff_t>(place.offset));
    return {c_done, {}};
}

// The record that P1 and P2 mean, from 1; 0 for one that there is not.
size_t record_of(const Channel& channel, const File& file, const Command& command) {
    constexpr uint8_t c_next = 2;
    constexpr uint8_t c_previous = 3;
    constexpr uint8_t c_absolute = 4;
    const size_t count = file.records();
    const bool wraps = file.kind == Kind::CYCLIC;
    const size_t current = channel.record;
    switch (command.p2 & 7) {
        case c_absolute:
            return command.p1 == 0 ? current : command.p1 <= count ? command.p1 : 0;
        case c_next:
            return current < count ? current + 1 : wraps ? 1 : 0;
        case c_previous:
            return current > 1 ? current - 1 : current == 0 || wraps ? count : 0;
        default:
            return 0;
    }
}

uint8_t sfi_of(const Command& command) {
    return static_cast<uint8_t>(command.p2 >> 3);
}

auto record_at(File& file, size_t record) {
    return file.content.begin() + static_cast<ptrdiff_t>((record - 1) * file.record_size);
}

bool is_mode(uint8_t p2) {
    return (p2 & 7) >= 2 && (p2 & 7) <= 4;
}

Answer read_record(Card& card, const Command& command) {
    uint16_t words = 0;
    File* file = current_file(card, command, sfi_of(command), true, words);
    if (file == nullptr || (words = access_words(card, *file, file->read)) != c_done) {
        return {words, {}};
    }
    if (!is_mode(command.p2)) {
        return {c_bad_p1_p2(card), {}};
    }
    Channel& channel = card.channels[command.channel];
    const size_t record = record_of(channel, *file, command);
    if (record == 0) {
        return {c_no_record(card), {}};
    }
    if (command.p3 != static_cast<uint8_t>(file->record_size)) {
        return {static_cast<uint16_t>(c_right_length(card) | (file->record_size & 0xFF)), {}};
    }
    if ((command.p2 & 7) != 4) {  // an absolute number leaves the current record where it is
        channel.record = record;
    }
    const auto at = record_at(*file, record);
    return {c_done, {at, at + static_cast<ptrdiff_t>(file->record_size)}};
}

// In a cyclic file the oldest record becomes the first, whatever number it had.
Answer update_record(Card& card, const Command& command) {
    uint16_t words = 0;
    File* file = current_file(card, command, sfi_of(command), true, words);
    if (file == nullptr || (words = access_words(card, *file, file->update)) != c_done) {
        return {words, {}};
    }
    const bool is_cyclic = file->kind == Kind::CYCLIC;
    if (!is_mode(command.p2) || (is_cyclic && (command.p2 & 7) != 3)) {
        return {c_bad_p1_p2(card), {}};
    }
    if (command.data.size() != file->record_size) {
        return {c_bad_length(card), {}};
    }
    Channel& channel = card.channels[command.channel];
    const size_t record = is_cyclic ? 1 : record_of(channel, *file, command);
    if (record == 0) {
        return {c_no_record(card), {}};
    }
    if (is_cyclic) {
        std::rotate(file->content.begin(), record_at(*file, file->records()), file->content.end());
    }
    if ((command.p2 & 7) != 4) {
        channel.record = record;
    }
    std::copy(command.data.begin(), command.data.end(), record_at(*file, record));
    return {c_done, {}};
}

// Records that begin with the data. A SIM goes to the first of them (SEEK), a USIM names them all (simple SEARCH).
Answer search(Card& card, const Command& command) {
    uint16_t words = 0;
    File* file = current_file(card, command, card.is_3g ? sfi_of(command) : 0, true, words);
    if (file == nullptr || (words = access_words(card, *file, file->read)) != c_done) {
        return {words, {}};
    }
    if (command.data.empty() || command.data.size() > file->record_size) {
        return {c_bad_length(card), {}};
    }
    Channel& channel = card.channels[command.channel];
    const auto count = file->records();
    const uint8_t mode = command.p2 & (card.is_3g ? 7 : 3);
    const bool backward = (mode & 1) != 0;
    size_t first = backward ? count : 1;
    if (card.is_3g) {
        if (mode < 4) {
            return {c_bad_p1_p2(card), {}};
        }
        first = command.p1 != 0 ? command.p1 : mode < 6 ? channel.record : first;
    } else if (mode >= 2 && channel.record != 0) {
        first = backward ? channel.record - 1 : channel.record + 1;
    }
    Bytes found;
    for (size_t record = first; record >= 1 && record <= count; record = backward ? record - 1 : record + 1) {
        if (std::equal(command.data.begin(), command.data.end(), record_at(*file, record))) {
            found.push_back(static_cast<uint8_t>(record));
        }
    }
    if (found.empty()) {
        return {c_no_match(card), {}};
    }
    channel.record = found.front();
    if (card.is_3g) {
        return let_wait(card, channel, found);
    }
    const bool names_it = (command.p2 & 0xF0) == 0x10;
    return names_it ? let_wait(card, channel, {found.front()}) : Answer{c_done, {}};
}

Answer set_validity(Card& card, const Command& command, bool is_valid) {
    const Channel& channel = card.channels[command.channel];
    if (!channel.file) {
        return {c_no_file_selected(card), {}};
    }
    File& file = card.files[*channel.file];
    if (!is_allowed(card, file.invalidate)) {
        return {c_no_access(card), {}};
    }
    if (file.is_valid == is_valid && !card.is_3g) {
        return {c_invalidated(card), {}};
    }
    file.is_valid = is_valid;
    return {c_done, {}};
}

Answer invalidate(Card& card, const Command& command) {
    return set_validity(card, command, false);
}

Answer rehabilitate(Card& card, const Command& command) {
    return set_validity(card, command, true);
}

// --- Data objects (ETSI TS 102 221, 11.3). Each is a tag of one byte, a length below 0x80, and a value. --------------

constexpr uint8_t c_first_block = 0x80;
constexpr size_t c_most_objects = 0x7FFF;  // bytes of a file

// Where the object with the tag stands, the end when it is not there as a whole.
size_t find_object(const Bytes& objects, uint8_t tag) {
    for (size_t at = 0; at + 1 < objects.size() && at + 2 + objects[at + 1] <= objects.size();
         at += 2U + objects[at + 1]) {
        if (objects[at] == tag) {
            return at;
        }
    }
    return objects.size();
}

File* objects_file(Card& card, const Command& command, uint16_t& words) {
    const Channel& channel = card.channels[command.channel];
    words = !channel.file ? c_no_file_selected(card) : c_wrong_kind(card);
    const bool fits = channel.file && card.files[*channel.file].kind == Kind::OBJECTS;
    return fits ? &card.files[*channel.file] : nullptr;
}

Answer retrieve_data(Card& card, const Command& command) {
    uint16_t words = 0;
    const File* file = objects_file(card, command, words);
    if (file == nullptr || (words = access_words(card, *file, file->read)) != c_done) {
        return {words, {}};
    }
    if (command.data.size() != 1 || (command.p2 & c_first_block) == 0) {
        return {c_bad_data(card), {}};
    }
    const size_t at = find_object(file->content, command.data[0]);
    if (at == file->content.size()) {
        return {c_no_such_code(card), {}};
    }
    const auto object = file->content.begin() + static_cast<ptrdiff_t>(at);
    return let_wait(card, card.channels[command.channel], {object, object + 2 + object[1]});
}

// An object without a value takes away the one that is there.
Answer set_data(Card& card, const Command& command) {
    uint16_t words = 0;
    File* file = objects_file(card, command, words);
    if (file == nullptr || (words = access_words(card, *file, file->update)) != c_done) {
        return {words, {}};
    }
    if (command.data.size() < 2 || command.data.size() != 2U + command.data[1] || (command.p2 & c_first_block) == 0) {
        return {c_bad_data(card), {}};
    }
    const size_t at = find_object(file->content, command.data[0]);
    if (at < file->content.size()) {
        const auto old = file->content.begin() + static_cast<ptrdiff_t>(at);
        file->content.erase(old, old + 2 + old[1]);
    }
    if (file->content.size() + command.data.size() > c_most_objects) {
        return {c_no_memory(card), {}};
    }
    if (command.data[1] != 0) {
        file->content.insert(file->content.end(), command.data.begin(), command.data.end());
    }
    return {c_done, {}};
}

// --- Codes -----------------------------------------------------------------------------------------------------------

// By the key reference; null for one that the card doesn't know.
Secret* secret_of(Card& card, uint8_t reference) {
    switch (reference) {
        case 0x01:
            return &card.pin1;
        case 0x02:
            return card.is_3g ? nullptr : &card.pin2;
        case 0x81:
            return card.is_3g ? &card.pin2 : nullptr;
        case 0x0A:
            return card.is_3g && !card.adm.code.empty() ? &card.adm : nullptr;
        default:
            return nullptr;
    }
}

std::string code_at(const Command& command, size_t place) {
    const auto bytes = command.data.subspan(place * c_code_size, c_code_size);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), c_filler)};
}

// Without data, a USIM tells how many attempts are left.
template <typename Work>
Answer with_secret(Card& card, const Command& command, uint8_t reference, size_t codes, uint8_t Secret::*attempts,
                   Work work) {
    Secret* secret = secret_of(card, reference);
    if (secret == nullptr) {
        return {c_no_such_code(card), {}};
    }
    if (card.is_3g && command.data.empty() && command.p3 == 0) {
        const uint8_t left = secret->*attempts;
        return {left == 0 ? c_blocked(card) : static_cast<uint16_t>(0x63C0 | left), {}};
    }
    if (command.data.size() != codes * c_code_size) {
        return {c_bad_length(card), {}};
    }
    return {work(*secret), {}};
}

Answer verify_code(Card& card, const Command& command) {
    return with_secret(card, command, command.p2, 1, &Secret::attempts,
                       [&](Secret& secret) { return verify(card, secret, code_at(command, 0)); });
}

Answer change_code(Card& card, const Command& command) {
    return with_secret(card, command, command.p2, 2, &Secret::attempts,
                       [&](Secret& secret) { return change(card, secret, code_at(command, 0), code_at(command, 1)); });
}

Answer disable_code(Card& card, const Command& command) {
    return with_secret(card, command, command.p2, 1, &Secret::attempts,
                       [&](Secret& secret) { return enable(card, secret, code_at(command, 0), false); });
}

Answer enable_code(Card& card, const Command& command) {
    return with_secret(card, command, command.p2, 1, &Secret::attempts,
                       [&](Secret& secret) { return enable(card, secret, code_at(command, 0), true); });
}

// On a SIM, the code that unblocks CHV1 has the number 0.
Answer unblock_code(Card& card, const Command& command) {
    const uint8_t reference = card.is_3g || command.p2 != 0 ? command.p2 : uint8_t{1};
    if (!card.is_3g && command.p2 == 1) {
        return {c_no_such_code(card), {}};
    }
    return with_secret(card, command, reference, 2, &Secret::unblock_attempts,
                       [&](Secret& secret) { return unblock(card, secret, code_at(command, 0), code_at(command, 1)); });
}

// --- Channels --------------------------------------------------------------------------------------------------------

Answer manage_channel(Card& card, const Command& command) {
    constexpr uint8_t c_open = 0x00;
    constexpr uint8_t c_close = 0x80;
    if (command.p1 == c_open && command.p2 == 0) {
        const auto channel = open_channel(card);
        return channel ? Answer{c_done, {static_cast<uint8_t>(*channel)}} : Answer{c_all_channels_taken(card), {}};
    }
    if (command.p1 == c_close) {
        return {close_channel(card, command.p2) ? c_done : c_no_channel(card), {}};
    }
    return {c_bad_p1_p2(card), {}};
}

// --- All of them -----------------------------------------------------------------------------------------------------

struct Instruction {
    uint8_t code;
    uint8_t usim_class;
    bool on_sim;
    bool has_data;
    Answer (*run)(Card& card, const Command& command);
};

constexpr Instruction c_instructions[] = {
    {0xA4, c_class_usim, true, true, select_file},        {0xC0, c_class_usim, true, false, get_response},
    {0xF2, c_class_usim_own, true, false, status},        {0xB0, c_class_usim, true, false, read_binary},
    {0xD6, c_class_usim, true, true, update_binary},      {0xB2, c_class_usim, true, false, read_record},
    {0xDC, c_class_usim, true, true, update_record},      {0xA2, c_class_usim, true, true, search},
    {0x04, c_class_usim, true, false, invalidate},        {0x44, c_class_usim, true, false, rehabilitate},
    {0xCB, c_class_usim_own, false, true, retrieve_data}, {0xDB, c_class_usim_own, false, true, set_data},
    {0x20, c_class_usim, true, true, verify_code},        {0x24, c_class_usim, true, true, change_code},
    {0x26, c_class_usim, true, true, disable_code},       {0x28, c_class_usim, true, true, enable_code},
    {0x2C, c_class_usim, true, true, unblock_code},       {0x70, c_class_usim, false, false, manage_channel},
};

Answer run(Card& card, std::span<const uint8_t> bytes) {
    if (bytes.size() < c_header_size) {
        return {c_bad_length(card), {}};
    }
    const uint8_t class_bits = card.is_3g ? static_cast<uint8_t>(bytes[0] & ~c_channel_bits) : bytes[0];
    const bool is_class =
        card.is_3g ? class_bits == c_class_usim || class_bits == c_class_usim_own : class_bits == c_class_sim;
    if (!is_class) {
        return {c_no_class(card), {}};
    }
    const auto at = std::find_if(std::begin(c_instructions), std::end(c_instructions), [&](const Instruction& row) {
        return row.code == bytes[1] && (card.is_3g || row.on_sim);
    });
    if (at == std::end(c_instructions)) {
        return {c_no_instruction(card), {}};
    }
    if (card.is_3g && class_bits != at->usim_class) {
        return {c_no_class(card), {}};
    }
    Command command = {card.is_3g ? size_t{bytes[0]} & c_channel_bits : 0, bytes[2], bytes[3], bytes[4],
                       bytes.subspan(c_header_size)};
    if (!card.channels[command.channel].is_open) {
        return {c_no_channel(card), {}};
    }
    if (at->has_data) {
        // A length of the answer may follow.
        if (command.data.size() != command.p3 && command.data.size() != command.p3 + 1U) {
            return {c_bad_length(card), {}};
        }
        command.data = command.data.first(command.p3);
    }
    if (at->run != get_response) {
        card.channels[command.channel].response.clear();
    }
    return at->run(card, command);
}

Bytes with_words(Answer answer) {
    answer.data.push_back(static_cast<uint8_t>(answer.words >> 8));
    answer.data.push_back(static_cast<uint8_t>(answer.words));
    return std::move(answer.data);
}

Bytes selected(Card& card, size_t number, std::optional<size_t> file) {
    if (!file) {
        return with_words({c_no_file(card), {}});
    }
    Channel& channel = card.channels[number];
    go_to(card, channel, *file);
    return with_words({c_done, describe(card, channel)});
}

}  // namespace

Bytes transmit(Card& card, std::span<const uint8_t> command) {
    return with_words(run(card, command));
}

uint16_t status_words(const Bytes& answer) {
    return static_cast<uint16_t>(answer[answer.size() - 2] << 8 | answer.back());
}

Bytes select(Card& card, size_t channel, uint16_t id) {
    return selected(card, channel, find_from(card, card.channels[channel], id));
}

Bytes select_application(Card& card, size_t channel, std::span<const uint8_t> aid) {
    return selected(card, channel, find_application(card, aid));
}

}  // namespace card
