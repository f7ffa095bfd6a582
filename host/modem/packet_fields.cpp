#include "host/modem/packet_fields.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "host/modem/catalogue_print.h"
#include "host/modem/value_names.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

using uta::Field;
using uta::Record;
using uta::Type;
using Fields = std::vector<PrintedField>;

std::string hex_word(uint64_t value) {
    std::array<char, 20> text;
    snprintf(text.data(), text.size(), "0x%08llX", static_cast<unsigned long long>(value));
    return text.data();
}

bool is_signed(Type type) {
    return type == Type::i8 || type == Type::i16 || type == Type::i32 || type == Type::enumeration;
}

std::string number_text(Type type, uint64_t value, std::string_view owner, std::string_view name) {
    if (type == Type::callback || type == Type::context_id) {
        return hex_word(value);
    }
    if (!is_signed(type)) {
        return std::to_string(value);
    }
    const unsigned spare = 64U - 8U * static_cast<unsigned>(uta::wire_width(type));
    const int64_t number = static_cast<int64_t>(value << spare) >> spare;
    const std::string_view known = value_name(owner, name, number);
    return std::to_string(number) + (known.empty() ? "" : ":" + std::string(known));
}

std::string quoted(std::span<const uint8_t> bytes) {
    std::string text = "\"";
    for (const uint8_t byte : bytes) {
        if (byte < 0x20 || byte > 0x7E) {
            text += "\\x" + to_hex({&byte, 1});
        } else {
            text += byte == '"' || byte == '\\' ? "\\" : "";
            text += static_cast<char>(byte);
        }
    }
    return text + "\"";
}

// Zeros at the end are left out, for most strings are longer than what is in them.
std::span<const uint8_t> without_zeros(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    return bytes;
}

// `[count]`, then the elements: bytes in hexadecimal, longer ones as numbers.
std::string octets_text(std::span<const uint8_t> bytes, size_t width) {
    std::string text = "[" + std::to_string(bytes.size() / width) + "]";
    const std::span<const uint8_t> told = without_zeros(bytes);
    if (width == 1) {
        return text + to_hex(told);
    }
    for (size_t at = 0; at < told.size(); at += width) {
        text += (at == 0 ? "" : ",") + std::to_string(uta::load_number(&bytes[at], width));
    }
    return text;
}

const uint8_t* load_pointer(const uint8_t* memory) {
    const uint8_t* pointer = nullptr;
    memcpy(&pointer, memory, sizeof(pointer));
    return pointer;
}

const Record& record_of(const Field& field) {
    return uta::c_records[field.record];
}

// NOLINTBEGIN(misc-no-recursion): records nest as deep as the catalogue says.
void add_record(const Record& record, const uint8_t* memory, const std::string& path, Fields& fields);

void add_row(const Field& field, const uint8_t* at, uint64_t count, const std::string& path, Fields& fields) {
    for (size_t i = 0; i < count; ++i) {
        add_record(record_of(field), at + i * record_of(field).size, path + "[" + std::to_string(i) + "]", fields);
    }
}

void add_case(const Record& record, size_t index, const uint8_t* memory, const std::string& path, Fields& fields) {
    const Field& field = uta::fields_of(record)[index];
    const Field* chosen =
        uta::case_of(uta::fields_of(record), index, uta::load_number(memory + field.aux, field.width));
    if (chosen != nullptr) {
        add_record(record_of(*chosen), memory + field.offset, path + "." + uta::field_name(record, *chosen), fields);
    }
}

std::string numbers_text(const Field& field, const uint8_t* at, std::string_view owner, std::string_view name) {
    std::string text;
    for (size_t i = 0; i < field.count; ++i) {
        text += (i == 0 ? "" : ",") +
                number_text(field.type, uta::load_number(at + i * field.width, field.width), owner, name);
    }
    return text;
}

void add_field(const Record& record, size_t index, const uint8_t* memory, const std::string& path, Fields& fields) {
    const Field& field = uta::fields_of(record)[index];
    const uint8_t* at = memory + field.offset;
    const std::span<const uint8_t> bytes(at, size_t{field.count} * field.width);
    switch (field.type) {
        case Type::record:
            if (field.count == 1) {
                add_record(record_of(field), at, path, fields);
            } else {
                add_row(field, at, field.count, path, fields);
            }
            return;
        case Type::optional:
            if (load_pointer(at) != nullptr) {
                add_record(record_of(field), load_pointer(at), path, fields);
            } else {
                fields.push_back({path, field_type(field), "null"});
            }
            return;
        case Type::elements:
            add_row(field, load_pointer(at), uta::load_number(memory + field.aux, field.width), path, fields);
            return;
        case Type::union_:
            add_case(record, index, memory, path, fields);
            return;
        case Type::counted_octets: {
            const auto count = static_cast<size_t>(uta::load_number(memory + field.aux, field.width));
            const uint8_t* block = load_pointer(at);
            fields.push_back({path, field_type(field), block == nullptr ? "null" : octets_text({block, count}, 1)});
            return;
        }
        case Type::text:
            fields.push_back({path, field_type(field), quoted(without_zeros(bytes))});
            return;
        case Type::octets:
        case Type::octets16:
            fields.push_back({path, field_type(field), octets_text(bytes, field.width)});
            return;
        case Type::case_:
        case Type::memory:
            return;
        default:
            fields.push_back({path, field_type(field),
                              numbers_text(field, at, uta::record_name(record), uta::field_name(record, field))});
            return;
    }
}

void add_record(const Record& record, const uint8_t* memory, const std::string& path, Fields& fields) {
    const auto all = uta::fields_of(record);
    std::vector<Fields> declared(all.size());
    for (size_t i = 0; i < all.size(); ++i) {
        add_field(record, i, memory, path + "." + uta::field_name(record, all[i]), declared[all[i].place]);
    }
    for (const Fields& part : declared) {
        fields.insert(fields.end(), part.begin(), part.end());
    }
}

// NOLINTEND(misc-no-recursion)

}  // namespace

std::vector<PrintedField> print_parameters(const uta::Function& function, const uta::Parameters& parameters,
                                           bool is_return) {
    Fields fields;
    const auto all = uta::parameters_of(function);
    for (size_t i = 0; i < all.size(); ++i) {
        const std::string name = uta::parameter_name(function, i);
        const std::string type = parameter_type(all[i]);
        const uta::Word word = parameters.words[i];
        if (is_return && (!all[i].output || word == 0)) {
            continue;
        }
        if (all[i].type == Type::record && word != 0) {
            add_record(uta::c_records[all[i].aux], reinterpret_cast<const uint8_t*>(word), name, fields);
        } else if (all[i].type == Type::array && word != 0) {
            const std::span bytes(reinterpret_cast<const uint8_t*>(word), parameters.scalars[i]);
            fields.push_back({name, type, quoted(without_zeros(bytes))});
        } else if (all[i].type == Type::record || all[i].type == Type::array) {
            fields.push_back({name, type, "null"});
        } else {
            const uint64_t value = all[i].type == Type::context_id ? word : parameters.scalars[i];
            fields.push_back({name, type, number_text(all[i].type, value, uta::function_name(function), name)});
        }
    }
    return fields;
}
