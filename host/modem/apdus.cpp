// The APDUs that the modem builds for its clients and the answers that it reads for them (3GPP TS 51.011, 9.2).
#include <algorithm>

#include "host/modem/card.h"
#include "host/modem/modem.h"

namespace {

void start(uint32_t sim_id, UtaSimApduData& apdu, uint8_t instruction, uint16_t offset, uint8_t length) {
    apdu = {};
    const uint8_t class_byte = card_of(sim_id).is_3g ? 0x00 : 0xA0;
    const uint8_t header[] = {class_byte, instruction, static_cast<uint8_t>(offset >> 8), static_cast<uint8_t>(offset),
                              length};
    std::copy(std::begin(header), std::end(header), apdu.data);
    apdu.length = sizeof(header);
}

int32_t create_read(Modem&, const Caller&, uint32_t sim_id, const UtaSimReadBinaryReq* read, UtaSimApduData* apdu) {
    if (read == nullptr) {
        return c_refused;
    }
    start(sim_id, *apdu, 0xB0, read->offset, read->length);
    return c_success;
}

int32_t create_update(Modem&, const Caller&, uint32_t sim_id, const UtaSimUpdateBinaryReq* update,
                      UtaSimApduData* apdu) {
    if (update == nullptr) {
        return c_refused;
    }
    start(sim_id, *apdu, 0xD6, update->offset, update->length);
    std::copy_n(update->data, update->length, apdu->data + apdu->length);
    apdu->length += update->length;
    return c_success;
}

// The content of an answer, and its status words or, where nothing was read, those of the selection.
std::span<const uint8_t> analyse(const UtaSimFileData& file, UtaSimApduResult& status) {
    std::span<const uint8_t> part;
    if (file.apdu != nullptr) {
        part = std::span(file.apdu->data).first(static_cast<size_t>(std::clamp(file.apdu->length, 0, 261)));
    } else {
        part = std::span(file.ef.data).first(static_cast<size_t>(std::clamp<int>(file.ef_len, 0, 255)));
    }
    if (part.size() < 2) {
        status = {};
        return {};
    }
    status = {file.ef_id, part[part.size() - 2], part[part.size() - 1]};
    return part.first(part.size() - 2);
}

int32_t analyse_read(Modem&, const Caller&, uint32_t, const UtaSimFileData* file, UtaSimReadResult* read) {
    static std::array<uint8_t, 261> s_content;  // until the return is packed
    if (file == nullptr) {
        return c_refused;
    }
    const auto content = analyse(*file, read->status);
    std::copy(content.begin(), content.end(), s_content.begin());
    read->length = static_cast<uint8_t>(content.size());
    read->data = s_content.data();
    return c_success;
}

int32_t analyse_result(Modem&, const Caller&, uint32_t, const UtaSimFileData* file, UtaSimApduResult* status) {
    if (file == nullptr) {
        return c_refused;
    }
    analyse(*file, *status);
    return c_success;
}

}  // namespace

Service apdus_service() {
    using namespace uta::row;
    return {.name = "apdus",
            .functions = {serve<UtaMsSimCreateReadBinaryApdu, create_read>(),
                          serve<UtaMsSimCreateUpdateBinaryApdu, create_update>(),
                          serve<UtaMsSimAnalyseReadResult, analyse_read>(),
                          serve<UtaMsSimAnalyseSimApduResult, analyse_result>()},
            .commands = {}};
}
