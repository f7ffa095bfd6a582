// Commands of clients to the card, on the basic channel and on logical ones, and the modem's helpers for making and
// reading them.
#include <algorithm>
#include <array>

#include "host/modem/card.h"
#include "host/modem/modem.h"

namespace {

using card::Bytes;

// Of a response to a command.
constexpr int32_t c_result_wrong_channel = 1;
constexpr int32_t c_result_no_card = 4;

constexpr size_t c_words_size = 2;
constexpr size_t c_header_size = 5;
constexpr uint8_t c_class_sim = 0xA0;
constexpr uint8_t c_channel_bits = 0x03;

// A command of a client, which has to outlive its packet.
struct Wanted {
    size_t channel;
    std::vector<uint16_t> path;
    Bytes apdu;
};

// The parts of an answer have room for so much; what is longer loses its end, but not its status words.
template <size_t n>
int16_t fill_part(uint8_t (&data)[n], Bytes answer) {
    if (answer.size() > n) {
        answer.erase(answer.begin() + static_cast<ptrdiff_t>(n - c_words_size), answer.end() - c_words_size);
    }
    std::copy(answer.begin(), answer.end(), data);
    return static_cast<int16_t>(answer.size());
}

// False when a file of the path is not there. The path leads from the master file to a directory or a file in one.
bool select_path(uint32_t sim_id, const Wanted& wanted, UtaSimFileData& file) {
    card::Card& card = card_of(sim_id);
    for (size_t i = 0; i < wanted.path.size(); ++i) {
        const uint16_t id = wanted.path[i];
        if (i == 0 && id != card::c_master_file) {
            card::select(card, wanted.channel, card::c_master_file);
        }
        const Bytes answer = card::select(card, wanted.channel, id);
        const bool is_found = card::status_words(answer) == card::c_done;
        const bool is_directory =
            is_found ? !card.channels[wanted.channel].file.has_value() : i + 1 < wanted.path.size();
        if (is_directory) {
            file.df_id = static_cast<int16_t>(id);
            file.df_len = fill_part(file.df.data, answer);
        } else {
            file.ef_id = static_cast<int16_t>(id);
            file.ef_len = fill_part(file.ef.data, answer);
        }
        if (!is_found) {
            return false;
        }
    }
    return true;
}

// The modem fetches an answer that waits, as a terminal does (ETSI TS 102 221, 7.3.1.1.4).
Bytes exchange(uint32_t sim_id, const Wanted& wanted) {
    constexpr uint8_t c_answer_waits = 0x61;
    card::Card& card = card_of(sim_id);
    Bytes apdu = wanted.apdu;
    apdu.resize(std::max(apdu.size(), c_header_size));
    if (apdu[0] != c_class_sim) {
        apdu[0] = static_cast<uint8_t>((apdu[0] & ~c_channel_bits) | wanted.channel);
    }
    Bytes answer = card::transmit(card, apdu);
    if (answer.size() == c_words_size && answer[0] == c_answer_waits) {
        answer = card::transmit(
            card, std::array<uint8_t, c_header_size>{static_cast<uint8_t>(wanted.channel), 0xC0, 0, 0, answer[1]});
    }
    return answer;
}

int32_t send_command(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimApduCmdReqParam* param,
                     uint32_t context_id) {
    if (param == nullptr || !card_has_power(sim_id)) {
        return c_refused;
    }
    Wanted wanted{param->channel_id, {}, {}};
    const auto path_end = std::find(std::begin(param->path.path), std::end(param->path.path), 0);
    wanted.path.assign(std::begin(param->path.path), path_end);
    if (param->apdu != nullptr && param->apdu->length > 0) {
        const auto length = std::min(static_cast<size_t>(param->apdu->length), sizeof(param->apdu->data));
        wanted.apdu.assign(param->apdu->data, param->apdu->data + length);
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, wanted, context_id] {
        UtaSimApduCmdRspParam response{};
        UtaSimApduData apdu{};
        const auto& channels = card_of(sim_id).channels;
        if (!card_has_power(sim_id)) {
            response.result = c_result_no_card;
        } else if (wanted.channel >= channels.size() || !channels[wanted.channel].is_open) {
            response.result = c_result_wrong_channel;
        } else if (select_path(sim_id, wanted, response.file) && !wanted.apdu.empty()) {
            apdu.length = fill_part(apdu.data, exchange(sim_id, wanted));
            response.file.apdu = &apdu;
        }
        modem.send<uta::row::UtaMsSimApduCmdRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
    });
    return c_success;
}

// --- Channels for an application -------------------------------------------------------------------------------------

constexpr int32_t c_open = 0;
constexpr int32_t c_close = 9;
constexpr uint8_t c_no_channel = 255;

constexpr uint16_t c_all_channels_taken = 0x6A81;
constexpr uint16_t c_channel_not_open = 0x6881;

// The channel, or none, with the status words of the step that was the last.
uint8_t open_application(uint32_t sim_id, const Bytes& aid, uint16_t& words) {
    card::Card& card = card_of(sim_id);
    const auto channel = card::open_channel(card);
    if (!channel) {
        words = c_all_channels_taken;
        return c_no_channel;
    }
    words = card::status_words(card::select_application(card, *channel, aid));
    if (words != card::c_done) {
        card::close_channel(card, *channel);
        return c_no_channel;
    }
    return static_cast<uint8_t>(*channel);
}

int32_t use_application(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimApplicationReqParam* param,
                        uint32_t context_id) {
    if (param == nullptr || !card_has_power(sim_id) || (param->action != c_open && param->action != c_close)) {
        return c_refused;
    }
    const size_t length = std::min(size_t{param->app_id.length}, sizeof(param->app_id.id));
    const Bytes aid(param->app_id.id, param->app_id.id + length);
    const int32_t action = param->action;
    const uint8_t channel = param->channel_id;
    modem.later(modem.settings.latency, [&modem, caller, sim_id, aid, action, channel, context_id] {
        UtaSimApplicationRspParam response{};
        uint16_t words = card::c_done;
        response.kind = action;
        response.channel_id = channel;
        if (action == c_open) {
            response.channel_id = open_application(sim_id, aid, words);
        } else if (!card::close_channel(card_of(sim_id), channel)) {
            words = c_channel_not_open;
        }
        response.sw1 = static_cast<uint8_t>(words >> 8);
        response.sw2 = static_cast<uint8_t>(words);
        modem.send<uta::row::UtaMsSimApplicationRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
    });
    return c_success;
}

// --- Recovery --------------------------------------------------------------------------------------------------------

constexpr int32_t c_recovered = 2;

int32_t recover(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimRecoveryParams*, uint32_t context_id) {
    if (!card_has_power(sim_id)) {
        return c_refused;
    }
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        card::reset(card_of(sim_id));
        const UtaSimRecoveryResParams response{c_recovered};
        modem.send<uta::row::UtaMsSimRecoveryRspCb>(caller.client, caller.context_id, sim_id, &response, context_id);
        start_card(modem, sim_id);
        modem.card_changed(sim_id);
    });
    return c_success;
}

// --- Helpers, answered at once ---------------------------------------------------------------------------------------

void fill_header(uint32_t sim_id, uint8_t instruction, uint16_t offset, uint8_t length, UtaSimApduData& apdu) {
    apdu = {};
    apdu.length = c_header_size;
    apdu.data[0] = card_of(sim_id).is_3g ? 0 : c_class_sim;
    apdu.data[1] = instruction;
    apdu.data[2] = static_cast<uint8_t>(offset >> 8);
    apdu.data[3] = static_cast<uint8_t>(offset);
    apdu.data[4] = length;
}

int32_t make_read(Modem&, const Caller&, uint32_t sim_id, const UtaSimReadBinaryReq* read, UtaSimApduData* apdu) {
    if (read == nullptr) {
        return c_refused;
    }
    fill_header(sim_id, 0xB0, read->offset, read->length, *apdu);
    return c_success;
}

int32_t make_update(Modem&, const Caller&, uint32_t sim_id, const UtaSimUpdateBinaryReq* update, UtaSimApduData* apdu) {
    if (update == nullptr || (update->data == nullptr && update->length != 0)) {
        return c_refused;
    }
    fill_header(sim_id, 0xD6, update->offset, update->length, *apdu);
    std::copy_n(update->data, update->length, apdu->data + c_header_size);
    apdu->length += update->length;
    return c_success;
}

bool is_good(uint8_t sw1, uint8_t sw2) {
    return (sw1 == 0x90 && sw2 == 0) || sw1 == 0x91;
}

// The status words of the first part that went wrong, or of the last one. False when a part has none.
bool read_part(int32_t id, const uint8_t* data, int32_t length, int32_t most, UtaSimApduResult& result) {
    if (length == 0) {
        return true;
    }
    if (length < static_cast<int32_t>(c_words_size) || length > most) {
        return false;
    }
    result.file_id = static_cast<int16_t>(id);
    result.sw1 = data[length - 2];
    result.sw2 = data[length - 1];
    return is_good(result.sw1, result.sw2);
}

int32_t analyse(Modem&, const Caller&, uint32_t, const UtaSimFileData* file, UtaSimApduResult* result) {
    if (file == nullptr) {
        return c_refused;
    }
    *result = {};
    if (!read_part(file->df_id, file->df.data, file->df_len, sizeof(file->df.data), *result) ||
        !read_part(file->ef_id, file->ef.data, file->ef_len, sizeof(file->ef.data), *result)) {
        return result->sw1 == 0 ? c_refused : c_success;
    }
    if (file->apdu != nullptr) {
        read_part(result->file_id, file->apdu->data, file->apdu->length, sizeof(file->apdu->data), *result);
    }
    return result->sw1 == 0 ? c_refused : c_success;
}

int32_t analyse_read(Modem& modem, const Caller& caller, uint32_t sim_id, const UtaSimFileData* file,
                     UtaSimReadResult* result) {
    static std::array<uint8_t, UINT8_MAX> s_data;
    *result = {};
    const int32_t analysed = analyse(modem, caller, sim_id, file, &result->status);
    if (analysed != c_success || file->apdu == nullptr || !is_good(result->status.sw1, result->status.sw2)) {
        return analysed;
    }
    const size_t length = std::min(static_cast<size_t>(file->apdu->length) - c_words_size, s_data.size());
    std::copy_n(file->apdu->data, length, s_data.begin());
    result->length = static_cast<uint8_t>(length);
    result->data = s_data.data();
    return c_success;
}

}  // namespace

Service card_commands_service() {
    using namespace uta::row;
    return {
        .name = "card commands",
        .functions = {serve<UtaMsSimApduCmdReq, send_command>(), serve<UtaMsSimApplicationReq, use_application>(),
                      serve<UtaMsSimRecoveryReq, recover>(), serve<UtaMsSimCreateReadBinaryApdu, make_read>(),
                      serve<UtaMsSimCreateUpdateBinaryApdu, make_update>(),
                      serve<UtaMsSimAnalyseSimApduResult, analyse>(), serve<UtaMsSimAnalyseReadResult, analyse_read>()},
        .commands = {}};
}
