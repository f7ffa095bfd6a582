#include "host/modem/packet_text.h"

#include <array>
#include <charconv>
#include <cstring>
#include <deque>
#include <optional>
#include <span>
#include <string_view>

#include "host/modem/gsm_text.h"
#include "host/modem/value_names.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"

namespace {

using uta::Field;
using uta::Record;
using uta::Type;

constexpr size_t c_largest_index = 1023;

struct Step {
    std::string name;
    std::optional<size_t> index;
};
using Path = std::vector<Step>;

struct Failure {
    std::string reason;
};

[[noreturn]] void fail(const std::string& reason) {
    throw Failure{reason};
}

std::string text_of(const Path& path) {
    std::string text;
    for (const Step& step : path) {
        text += (text.empty() ? "" : ".") + step.name;
        text += step.index ? "[" + std::to_string(*step.index) + "]" : "";
    }
    return text;
}

// `a.b[2].c`
Path parse_path(std::string_view text) {
    Path path;
    while (!text.empty()) {
        const size_t end = std::min(text.find('.'), text.size());
        std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        Step step;
        const size_t bracket = word.find('[');
        if (bracket != std::string_view::npos) {
            size_t index = 0;
            const std::string_view number = word.substr(bracket + 1);
            const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), index);
            if (error != std::errc() || stop != number.data() + number.size() - 1 || *stop != ']' ||
                index > c_largest_index) {
                fail("bad index in " + std::string(word));
            }
            step.index = index;
            word = word.substr(0, bracket);
        }
        step.name = word;
        path.push_back(std::move(step));
    }
    return path;
}

uint64_t parse_number(std::string_view text, size_t width, std::string_view owner, std::string_view field) {
    if (const auto named = value_of_name(owner, field, text)) {
        return static_cast<uint64_t>(*named);
    }
    const bool negative = text.starts_with('-');
    std::string_view digits = text.substr(negative ? 1 : 0);
    const int base = digits.starts_with("0x") ? 16 : 10;
    digits.remove_prefix(base == 16 ? 2 : 0);
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    const uint64_t most = width >= sizeof(value) ? UINT64_MAX : (uint64_t{1} << (8 * width)) - 1;
    const uint64_t limit = negative ? most / 2 + 1 : most;
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || value > limit) {
        fail("bad number " + std::string(text) + " for " + std::string(field));
    }
    return negative ? ~value + 1 : value;
}

std::vector<std::string_view> split_list(std::string_view text) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const size_t end = std::min(text.find(','), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

Bytes parse_octets(std::string_view text, size_t most, std::string_view field) {
    constexpr std::string_view c_gsm = "gsm:";
    const std::optional<Bytes> bytes =
        text.starts_with(c_gsm) ? code_text(std::string(text.substr(c_gsm.size())), most).octets : from_hex(text);
    if (!bytes || bytes->size() > most) {
        fail("bad or too many octets for " + std::string(field));
    }
    return *bytes;
}

size_t find_field(const Record& record, std::string_view name) {
    const auto fields = uta::fields_of(record);
    for (size_t i = 0; i < record.n_fields; ++i) {
        if (name == uta::field_name(record, fields[i]) && fields[i].type != Type::case_) {
            return i;
        }
    }
    return record.n_fields;
}

// The case of the union at `at` whose member is `name`.
const Field* find_case(const Record& record, size_t at, std::string_view name) {
    const auto fields = uta::fields_of(record);
    for (size_t i = at + 1; i < fields.size() && fields[i].type == Type::case_; ++i) {
        if (name == uta::field_name(record, fields[i])) {
            return &fields[i];
        }
    }
    return nullptr;
}

bool leads_on(Type type) {
    return type == Type::record || type == Type::optional || type == Type::elements || type == Type::union_;
}

// NOLINTBEGIN(misc-no-recursion): records nest as deep as the catalogue says, whatever the path.
// --- Which field is meant --------------------------------------------------------------------------------------------

// Whether `path`, from `at` on, leads to a field below `record`.
bool reaches(const Record& record, const Path& path, size_t at) {
    const size_t index = find_field(record, path[at].name);
    if (index == record.n_fields) {
        return false;
    }
    const Field& field = uta::fields_of(record)[index];
    if (at + 1 == path.size()) {
        return field.type != Type::union_ && field.type != Type::memory &&
               (field.type != Type::record || field.count > 1);
    }
    if (field.type == Type::union_) {
        const Field* chosen = find_case(record, index, path[at + 1].name);
        return chosen != nullptr && (at + 2 == path.size() || reaches(uta::c_records[chosen->record], path, at + 2));
    }
    return leads_on(field.type) && reaches(uta::c_records[field.record], path, at + 1);
}

Path joined(Path start, const Path& end) {
    start.insert(start.end(), end.begin(), end.end());
    return start;
}

void collect(const Record& record, const Path& prefix, const Path& path, std::vector<Path>& found);

void collect_below(const Record& record, size_t index, const Path& prefix, const Path& path, std::vector<Path>& found) {
    const auto fields = uta::fields_of(record);
    Path deeper = prefix;
    deeper.push_back({uta::field_name(record, fields[index]), std::nullopt});
    if (fields[index].type == Type::union_) {
        for (size_t i = index + 1; i < fields.size() && fields[i].type == Type::case_; ++i) {
            const Record& member = uta::c_records[fields[i].record];
            if (path[0].name == uta::field_name(record, fields[i]) && (path.size() == 1 || reaches(member, path, 1))) {
                found.push_back(joined(deeper, path));
            }
            collect(member, joined(deeper, {{uta::field_name(record, fields[i]), std::nullopt}}), path, found);
        }
    } else if (fields[index].type == Type::record || fields[index].type == Type::optional) {
        collect(uta::c_records[fields[index].record], deeper, path, found);
    }
}

// All places below `record` from which `path` leads to a field. Not in lists, whose elements have to be named.
void collect(const Record& record, const Path& prefix, const Path& path, std::vector<Path>& found) {
    if (reaches(record, path, 0)) {
        found.push_back(joined(prefix, path));
    }
    for (size_t i = 0; i < record.n_fields; ++i) {
        collect_below(record, i, prefix, path, found);
    }
}

bool is_pointed(Type type) {
    return type == Type::record || type == Type::array;
}

// The whole path that `path` is the end of. A parameter that is a record can only become null.
Path complete(const uta::Function& function, const Path& path, bool to_null) {
    std::vector<Path> found;
    const auto parameters = uta::parameters_of(function);
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string name = uta::parameter_name(function, i);
        const bool pointed = is_pointed(parameters[i].type);
        if (path[0].name == name &&
            (path.size() == 1 ? !pointed || to_null : pointed && reaches(uta::c_records[parameters[i].aux], path, 1))) {
            return path;
        }
        if (pointed) {
            collect(uta::c_records[parameters[i].aux], {{name, std::nullopt}}, path, found);
        }
    }
    if (found.empty()) {
        fail("no field " + text_of(path) + " in " + uta::function_name(function));
    }
    if (found.size() > 1) {
        std::string reason = text_of(path) + " is one of";
        for (const Path& one : found) {
            reason += " " + text_of(one);
        }
        fail(reason);
    }
    return found[0];
}

// --- Assigning -------------------------------------------------------------------------------------------------------

constexpr size_t c_packet_max = 32768;

class Assembly {
public:
    explicit Assembly(const uta::Function& function) : function_(function) {
        const auto parameters = uta::parameters_of(function);
        for (size_t i = 0; i < parameters.size(); ++i) {
            if (parameters[i].type == Type::array) {
                words_[i] = reinterpret_cast<uta::Word>(allocate(c_packet_max));  // whatever number is told
            } else if (is_pointed(parameters[i].type)) {
                words_[i] = reinterpret_cast<uta::Word>(allocate(uta::c_records[parameters[i].aux].size));
            } else if (parameters[i].output) {
                words_[i] = reinterpret_cast<uta::Word>(allocate(sizeof(uint64_t)));
            }
        }
    }

    const uta::Word* words() const { return words_.data(); }
    void set_context(uint32_t context_id);
    void assign(const Path& path, std::string_view value);

private:
    uint8_t* allocate(size_t size) {
        blocks_.emplace_back(size / sizeof(uint64_t) + 1);
        return reinterpret_cast<uint8_t*>(blocks_.back().data());
    }
    void assign_in(const Record& record, uint8_t* memory, const Path& path, size_t at, std::string_view value);
    void enter(const Record& record, size_t index, uint8_t* memory, const Path& path, size_t at,
               std::string_view value);
    static void assign_numbers(const Record& record, size_t index, uint8_t* memory, const Step& step,
                               std::string_view value);
    void assign_octets(const Record& record, size_t index, uint8_t* memory, std::string_view value);
    uint8_t* element(const Field& field, uint8_t* memory, size_t index);

    const uta::Function& function_;
    std::array<uta::Word, uta::c_max_parameters> words_ = {};
    std::deque<std::vector<uint64_t>> blocks_;  // aligned for every record, and zero
};

uint8_t* load_pointer(const uint8_t* memory) {
    uint8_t* pointer = nullptr;
    memcpy(&pointer, memory, sizeof(pointer));
    return pointer;
}

void store_pointer(uint8_t* memory, uint8_t* pointer) {
    memcpy(memory, &pointer, sizeof(pointer));
}

void Assembly::set_context(uint32_t context_id) {
    const auto parameters = uta::parameters_of(function_);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].type == Type::context_id) {
            words_[i] = context_id;
        }
    }
}

void Assembly::assign(const Path& path, std::string_view value) {
    const auto parameters = uta::parameters_of(function_);
    size_t at = 0;
    while (path[0].name != uta::parameter_name(function_, at)) {
        ++at;
    }
    const uta::Parameter& parameter = parameters[at];
    if (!is_pointed(parameter.type)) {
        if (path[0].index) {
            fail(path[0].name + " has no elements");
        }
        const uint64_t number =
            parse_number(value, uta::wire_width(parameter.type), uta::function_name(function_), path[0].name);
        if (parameter.output) {
            uta::store_number(reinterpret_cast<void*>(words_[at]), uta::wire_width(parameter.type), number);
        } else {
            words_[at] = static_cast<uta::Word>(number);
        }
        return;
    }
    if (path.size() == 1) {
        words_[at] = 0;
        return;
    }
    if (words_[at] == 0) {
        fail(path[0].name + " is null");
    }
    assign_in(uta::c_records[parameter.aux], reinterpret_cast<uint8_t*>(words_[at]), path, 1, value);
}

void Assembly::assign_in(const Record& record, uint8_t* memory, const Path& path, size_t at, std::string_view value) {
    const size_t index = find_field(record, path[at].name);
    const Field& field = uta::fields_of(record)[index];
    if (leads_on(field.type)) {
        enter(record, index, memory, path, at, value);
        return;
    }
    if (uta::is_number(field.type)) {
        assign_numbers(record, index, memory, path[at], value);
        return;
    }
    if (path[at].index) {
        fail(path[at].name + " has no elements");
    }
    assign_octets(record, index, memory, value);
}

// Goes on below a field that is a record, or leads to one.
void Assembly::enter(const Record& record, size_t index, uint8_t* memory, const Path& path, size_t at,
                     std::string_view value) {
    const Field& field = uta::fields_of(record)[index];
    uint8_t* place = memory + field.offset;
    const Field* target = &field;
    size_t next = at + 1;
    const size_t count = field.type == Type::elements ? c_largest_index + 1 : field.count;
    const bool row = count > 1;
    if (row != path[at].index.has_value() || path[at].index.value_or(0) >= count) {
        fail(path[at].name + (row ? " wants an element's number" : " has no elements"));
    }
    if (field.type == Type::union_) {
        target = find_case(record, index, path[next].name);
        uta::store_number(memory + field.aux, field.width, target->aux);
        ++next;
    } else if (field.type == Type::elements) {
        place = element(field, memory, *path[at].index);
    } else if (field.type == Type::optional) {
        if (load_pointer(place) == nullptr) {
            store_pointer(place, allocate(uta::c_records[field.record].size));
        }
        if (next == path.size() && value == "null") {
            store_pointer(place, nullptr);
            return;
        }
        place = load_pointer(place);
    } else if (row) {
        place += *path[at].index * uta::c_records[field.record].size;
    }
    if (next < path.size()) {
        assign_in(uta::c_records[target->record], place, path, next, value);
    } else if (value != "present") {
        fail(path[at].name + " is a record: assign to its fields, or say present");
    }
}

// NOLINTEND(misc-no-recursion)

void Assembly::assign_numbers(const Record& record, size_t index, uint8_t* memory, const Step& step,
                              std::string_view value) {
    const Field& field = uta::fields_of(record)[index];
    for (const Field& list : uta::fields_of(record)) {
        if ((list.type == Type::elements || list.type == Type::counted_octets) && list.aux == field.offset) {
            fail(step.name + " follows from the list that it counts");
        }
    }
    const auto parts = split_list(value);
    const size_t first = step.index.value_or(0);
    if (parts.empty() || first + parts.size() > field.count) {
        fail(step.name + " has room for " + std::to_string(field.count));
    }
    for (size_t i = 0; i < parts.size(); ++i) {
        uta::store_number(memory + field.offset + (first + i) * field.width, field.width,
                          parse_number(parts[i], field.width, uta::record_name(record), step.name));
    }
}

void Assembly::assign_octets(const Record& record, size_t index, uint8_t* memory, std::string_view value) {
    const Field& field = uta::fields_of(record)[index];
    const char* name = uta::field_name(record, field);
    uint8_t* place = memory + field.offset;
    switch (field.type) {
        case Type::text:
            if (value.size() > field.count) {
                fail(std::string(name) + " has room for " + std::to_string(field.count) + " characters");
            }
            memset(place, 0, field.count);
            memcpy(place, value.data(), value.size());
            return;
        case Type::octets16:
            assign_numbers(record, index, memory, {name, std::nullopt}, value);
            return;
        case Type::counted_octets: {
            const Bytes bytes = parse_octets(value, UINT16_MAX, name);
            uint8_t* block = bytes.empty() ? nullptr : allocate(bytes.size());
            std::copy(bytes.begin(), bytes.end(), block);
            store_pointer(place, block);
            uta::store_number(memory + field.aux, field.width, bytes.size());
            return;
        }
        default: {
            const size_t room = field.type == Type::array ? c_packet_max : field.count;
            const Bytes bytes = parse_octets(value, room, name);
            memset(place, 0, room);
            std::copy(bytes.begin(), bytes.end(), place);
            return;
        }
    }
}

// The list grows to hold the element.
uint8_t* Assembly::element(const Field& field, uint8_t* memory, size_t index) {
    const size_t size = uta::c_records[field.record].size;
    const auto count = static_cast<size_t>(uta::load_number(memory + field.aux, field.width));
    const uint8_t* old = load_pointer(memory + field.offset);
    if (index < count && old != nullptr) {
        return load_pointer(memory + field.offset) + index * size;
    }
    uint8_t* block = allocate((index + 1) * size);
    if (old != nullptr) {
        memcpy(block, old, count * size);
    }
    store_pointer(memory + field.offset, block);
    uta::store_number(memory + field.aux, field.width, index + 1);
    return block + index * size;
}

// The packet that `pack` makes of the assigned parameters.
template <typename Pack>
Bytes assemble(const uta::Function& function, uint32_t context_id, const std::vector<std::string>& assignments,
               std::string& error, Pack pack) {
    if (function.pending) {
        error = std::string("the records of ") + uta::function_name(function) + " are not spelled out";
        return {};
    }
    try {
        Assembly assembly(function);
        assembly.set_context(context_id);
        for (const std::string& assignment : assignments) {
            const size_t equals = assignment.find('=');
            if (equals == std::string::npos || equals == 0) {
                fail("not an assignment: " + assignment);
            }
            const std::string_view value = std::string_view(assignment).substr(equals + 1);
            assembly.assign(complete(function, parse_path(assignment.substr(0, equals)), value == "null"), value);
        }
        alignas(8) std::array<uint8_t, c_packet_max> buffer;
        const std::span<uint8_t> packet = pack(assembly.words(), std::span<uint8_t>(buffer));
        if (packet.empty()) {
            fail("it does not fit into a packet");
        }
        return {packet.begin(), packet.end()};
    } catch (const Failure& failure) {
        error = failure.reason;
        return {};
    }
}

}  // namespace

Bytes make_packet(const uta::Function& function, uint32_t context_id, const std::vector<std::string>& assignments,
                  std::string& error) {
    return assemble(function, context_id, assignments, error, [&](const uta::Word* words, std::span<uint8_t> buffer) {
        return uta::pack_packet(function, context_id, words, buffer);
    });
}

Bytes make_return(const uta::Function& function, uint32_t context_id, int32_t result,
                  const std::vector<std::string>& assignments, std::string& error) {
    return assemble(function, context_id, assignments, error, [&](const uta::Word* words, std::span<uint8_t> buffer) {
        return uta::pack_return(function, context_id, result, words, buffer);
    });
}
