#include <cstdlib>
#include <cstring>

#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/wire_cursor.h"

namespace uta {

using wire::left;
using wire::put_number;
using wire::take_number;

static constexpr uint8_t c_present = 0;  // presence byte: the record follows
static constexpr uint8_t c_absent = 2;   // presence byte: there is none

static constexpr const char* c_pending = "its record is not known";
static constexpr const char* c_no_memory = "there is no memory";

static const Record& record_of(const Parameter& parameter) {
    return c_records[parameter.aux];
}

Parameters::~Parameters() {
    ReleaseMemTable(mem_table);
    free(records);
}

// --- Packing ---------------------------------------------------------------------------------------------------------

static void pack_number(size_t width, uint64_t value, ExWriteCursor& cursor) {
    switch (width) {
        case 1:
            put_number(static_cast<uint8_t>(value), cursor);
            break;
        case 2:
            put_number(static_cast<uint16_t>(value), cursor);
            break;
        default:
            put_number(static_cast<uint32_t>(value), cursor);
            break;
    }
}

static void pack_pointed(const Parameter& parameter, bool presence, const void* memory, size_t array_count,
                         ExWriteCursor& cursor) {
    if (memory != nullptr) {
        pack_record(record_of(parameter), memory, cursor, array_count);
    } else if (!presence) {
        EXPackNULLStruct(cursor);
    }
    if (presence) {
        put_number(memory != nullptr ? c_present : c_absent, cursor);
    }
}

// `presence` puts a presence byte in front of a record given by pointer.
static void pack_parameter(const Function& function, size_t index, bool presence, const Word* words,
                           ExWriteCursor& cursor) {
    const Parameter& parameter = parameters_of(function)[index];
    const Word word = words[index];
    switch (parameter.type) {
        case Type::context_id: {
            const UtaContextId context{static_cast<uint32_t>(word)};
            pack_record(record_of(parameter), &context, cursor);
            break;
        }
        case Type::record:
            pack_pointed(parameter, presence, reinterpret_cast<const void*>(word), 1, cursor);
            break;
        case Type::array:
            pack_pointed(parameter, false, reinterpret_cast<const void*>(word),
                         static_cast<uint32_t>(words[parameter.count_from]), cursor);
            break;
        default: {
            // An output scalar goes out with the value it has. Nothing says what a null pointer is here: it is a 0.
            const size_t width = wire_width(parameter.type);
            const auto* output = reinterpret_cast<const void*>(word);
            if (!parameter.output) {
                pack_number(width, word, cursor);
            } else {
                pack_number(width, output == nullptr ? 0 : load_number(output, width), cursor);
            }
            break;
        }
    }
}

static ExWriteCursor end_of(std::span<uint8_t> buffer) {
    return {buffer.data(), buffer.data() + buffer.size() - 1, false};
}

// The two headers that every packet begins with; `buffer` is what `cursor` has been writing into.
static std::span<uint8_t> finish(uint32_t index, uint32_t context_id, ExWriteCursor& cursor,
                                 std::span<uint8_t> buffer) {
    ExWriteContextId(cursor, context_id);
    const uint8_t* end = buffer.data() + buffer.size();
    ExWriteBufferHeader(cursor, index, static_cast<size_t>(end - (cursor.next + 1)));
    if (cursor.failed) {
        return {};
    }
    return buffer.last(static_cast<size_t>(end - (cursor.next + 1)));
}

std::span<uint8_t> pack_packet(const Function& function, uint32_t context_id, const Word* words,
                               std::span<uint8_t> buffer) {
    if (function.pending || buffer.empty()) {
        return {};
    }
    ExWriteCursor cursor = end_of(buffer);
    const uint8_t* end = cursor.next;
    for (size_t i = 0; i < function.n_parameters; ++i) {
        pack_parameter(function, i, (function.variation & PRESENCE) != 0, words, cursor);
    }
    if ((function.variation & NO_HEADER) == 0) {
        EXWriteBERHeader(ExMakeTag(function.tag), cursor, static_cast<size_t>(end - cursor.next));
    }
    return finish(function.id, context_id, cursor, buffer);
}

std::span<uint8_t> pack_return(const Function& function, uint32_t context_id, int32_t result, const Word* words,
                               std::span<uint8_t> buffer) {
    if (function.pending || buffer.empty()) {
        return {};
    }
    ExWriteCursor cursor = end_of(buffer);
    const std::span<const Parameter> parameters = parameters_of(function);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].output) {
            pack_parameter(function, i, false, words, cursor);
        }
    }
    EXPackINT32(&result, cursor);
    return finish(function.id + c_rpc_return_base, context_id, cursor, buffer);
}

// --- Unpacking -------------------------------------------------------------------------------------------------------

namespace {

// One unpacking of parameters, last first.
struct Unpacking {
    const Function& function;
    ExReadCursor& cursor;
    Parameters& to;
    const Word* counts;    // words that tell the element counts of arrays
    MemTable* blocks;      // owns what the present parameter points to
    uint8_t* next_record;  // free memory in to.records
};

// Blocks of records are laid out behind each other.
constexpr size_t aligned_size(const Record& record) {
    return (record.size + alignof(max_align_t) - 1) / alignof(max_align_t) * alignof(max_align_t);
}

}  // namespace

// One allocation for the records of all parameters, or of the output parameters only.
static void allocate_records(const Function& function, bool outputs_only, Parameters& to, ExReadCursor& cursor) {
    size_t size = 0;
    for (const Parameter& parameter : parameters_of(function)) {
        if (parameter.type == Type::record && (parameter.output || !outputs_only)) {
            size += aligned_size(record_of(parameter));
        }
    }
    if (size != 0) {
        to.records = calloc(1, size);
    }
    if (size != 0 && to.records == nullptr) {
        ExFail(cursor, c_no_memory);
    }
}

static ExReadCursor start_of(std::span<const uint8_t> body, uint32_t& context_id) {
    ExReadCursor cursor{body.data(), body.data() + body.size(), false};
    ExReadContextId(cursor, context_id);
    return cursor;
}

static bool judge(const ExReadCursor& cursor, std::span<const uint8_t> body, Refusal* refusal) {
    if (cursor.failed && refusal != nullptr) {
        *refusal = {cursor.why, static_cast<size_t>(cursor.next - body.data())};
    }
    return !cursor.failed;
}

static void unpack_number(Unpacking& it, size_t index) {
    const Parameter& parameter = parameters_of(it.function)[index];
    uint32_t value = 0;
    uint16_t half = 0;
    uint8_t byte = 0;
    switch (wire_width(parameter.type)) {
        case 1:
            take_number(byte, it.cursor);
            value = byte;
            break;
        case 2:
            take_number(half, it.cursor);
            value = half;
            break;
        default:
            take_number(value, it.cursor);
            break;
    }
    it.to.scalars[index] = value;
    it.to.words[index] = parameter.output ? reinterpret_cast<Word>(&it.to.scalars[index]) : value;
}

static void unpack_pointed(Unpacking& it, size_t index, bool presence) {
    const Parameter& parameter = parameters_of(it.function)[index];
    const Record& record = record_of(parameter);
    uint8_t present = c_present;
    if (presence) {
        take_number(present, it.cursor);
    }
    if (present == c_absent) {
        return;
    }
    if (!presence && left(it.cursor) >= 2 && it.cursor.next[0] == 0x05 && it.cursor.next[1] == 0x00) {
        EXUnpackNULLStruct(it.cursor);
        return;
    }
    void* memory = it.next_record;
    size_t count = 1;
    if (parameter.type == Type::array) {
        // More than the packet holds is neither needed nor believed.
        count = static_cast<uint32_t>(it.counts[parameter.count_from]);
        count = count > left(it.cursor) ? left(it.cursor) : count;
        it.to.scalars[index] = static_cast<uint32_t>(count);
        memory = PgenAllocNew(count == 0 ? 1 : count, *it.blocks);
        if (memory == nullptr) {
            ExFail(it.cursor, c_no_memory);
            return;
        }
    } else {
        it.next_record += aligned_size(record);
    }
    if (unpack_record(record, memory, it.cursor, *it.blocks, count)) {
        it.to.words[index] = reinterpret_cast<Word>(memory);
    }
}

static void unpack_parameter(Unpacking& it, size_t index, bool presence) {
    const Parameter& parameter = parameters_of(it.function)[index];
    if (parameter.type == Type::context_id) {
        UtaContextId context{};
        if (unpack_record(record_of(parameter), &context, it.cursor, *it.blocks)) {
            it.to.words[index] = context.context_id;
        }
    } else if (parameter.type == Type::record || parameter.type == Type::array) {
        unpack_pointed(it, index, presence && parameter.type == Type::record);
    } else {
        unpack_number(it, index);
    }
}

bool unpack_packet(const Function& function, std::span<const uint8_t> body, uint32_t& context_id,
                   Parameters& parameters, Refusal* refusal) {
    ExReadCursor cursor = start_of(body, context_id);
    if (function.pending) {
        ExFail(cursor, c_pending);
    }
    if ((function.variation & NO_HEADER) == 0) {
        ExBerHeader unread;
        EXReadBERHeader(cursor, unread);
    }
    allocate_records(function, false, parameters, cursor);
    Unpacking it{function,
                 cursor,
                 parameters,
                 parameters.words,
                 &parameters.mem_table,
                 static_cast<uint8_t*>(parameters.records)};
    const bool presence = (function.variation & PRESENCE) != 0;
    const bool may_be_null = (function.variation & (PRESENCE | MAY_BE_NULL)) != 0 || is_outgoing(function.kind);
    const std::span<const Parameter> all = parameters_of(function);
    for (size_t i = all.size(); i-- > 0 && !cursor.failed;) {
        unpack_parameter(it, i, presence);
        if (!may_be_null && all[i].type == Type::record && parameters.words[i] == 0) {
            ExFail(cursor, "it has no record");
        }
    }
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i].type == Type::array && parameters.words[i] != 0) {
            parameters.words[all[i].count_from] = parameters.scalars[i];  // nobody reads behind what was unpacked
        }
    }
    return judge(cursor, body, refusal);
}

// Whether an output record of a function with presence bytes has one in front. Nothing says if the return packet
// carries them: a record with a header begins with 7F or, when null, with 05, so both forms can be taken.
static bool has_presence_byte(const Function& function, const Parameter& parameter, const ExReadCursor& cursor) {
    return (function.variation & PRESENCE) != 0 && parameter.type == Type::record &&
           record_of(parameter).tag.count != 0 && left(cursor) >= 2 && cursor.next[0] == 0x02 && cursor.next[1] == 0x01;
}

static void copy_out(const Parameter& parameter, Word from, Word to, size_t array_count) {
    auto* target = reinterpret_cast<void*>(to);
    const auto* source = reinterpret_cast<const void*>(from);
    if (target == nullptr || source == nullptr) {
        return;
    }
    switch (parameter.type) {
        case Type::record:
            memcpy(target, source, record_of(parameter).size);
            break;
        case Type::array:
            memcpy(target, source, array_count);
            break;
        default:
            memcpy(target, source, wire_width(parameter.type));
            break;
    }
}

// What nobody keeps, arrays, which are copied, and records that nobody asked for, belongs to `discarded`; without that
// all is kept.
static void unpack_outputs(const Function& function, ExReadCursor& cursor, const Word* words, MemTable* discarded,
                           int32_t& result, Parameters& parameters) {
    EXUnpackINT32(&result, cursor);
    if (function.pending) {
        ExFail(cursor, c_pending);
    }
    allocate_records(function, true, parameters, cursor);
    Unpacking it{function, cursor, parameters, words, nullptr, static_cast<uint8_t*>(parameters.records)};
    const std::span<const Parameter> all = parameters_of(function);
    for (size_t i = all.size(); i-- > 0 && left(cursor) != 0;) {
        if (all[i].output) {
            const bool kept = discarded == nullptr || (words[i] != 0 && all[i].type == Type::record);
            it.blocks = kept ? &parameters.mem_table : discarded;
            unpack_parameter(it, i, has_presence_byte(function, all[i], cursor));
        }
    }
}

bool unpack_return(const Function& function, std::span<const uint8_t> body, const Word* words, int32_t& result,
                   Refusal* refusal) {
    uint32_t context_id = 0;
    ExReadCursor cursor = start_of(body, context_id);
    Parameters parameters;
    MemTable discarded{};
    unpack_outputs(function, cursor, words, &discarded, result, parameters);
    const std::span<const Parameter> all = parameters_of(function);
    for (size_t i = 0; i < all.size() && !cursor.failed; ++i) {
        if (all[i].output) {
            copy_out(all[i], parameters.words[i], words[i], parameters.scalars[i]);
        }
    }
    ReleaseMemTable(discarded);
    if (!cursor.failed) {
        HandOverMemTable(parameters.mem_table);
    }
    return judge(cursor, body, refusal);
}

bool unpack_return(const Function& function, std::span<const uint8_t> body, uint32_t& context_id, int32_t& result,
                   Parameters& parameters, Refusal* refusal) {
    // An array is as long as the packet has it.
    static constexpr Word c_any[c_max_parameters] = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX};
    ExReadCursor cursor = start_of(body, context_id);
    unpack_outputs(function, cursor, c_any, nullptr, result, parameters);
    return judge(cursor, body, refusal);
}

}  // namespace uta
