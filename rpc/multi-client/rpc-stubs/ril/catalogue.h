// The catalogue as constant tables: every function with its parameters, every record with its fields. The stubs and
// unpackers walk it, and so do the simulated modem and the packet printer (names are in catalogue_names.h). Everything
// here is constexpr, made from functions.def and records.def, and has no relocations.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/wire.h"

namespace uta {

constexpr uint16_t c_no_record = 0xFFFF;

// A field of a record. They stand in the order of packing: elements and unions first, the cases of a union behind it,
// then all others, each as declared. On the wire they stand in reverse.
struct Field {
    uint16_t offset;  // in the record's memory; 0 in a case_
    uint16_t count;   // elements of an array or row, else 1
    uint16_t record;  // RecordId of a nested record, a pointed-to record, a case; else c_no_record
    uint16_t aux;     // offset of the count or discriminant field; value of a case_; function id of a callback
    uint16_t place;   // in declaration order
    Type type;
    uint8_t width;  // bytes of the count or discriminant field; of one element otherwise; 0 for records
};

struct Record {
    ExTag tag;  // count 0: no header of its own
    uint16_t tag_number;
    uint16_t size;       // of the structure in memory
    uint16_t size_i386;  // of the structure in an i386 client's memory; 0 where a pending record's is not known
    uint16_t first_field;
    uint16_t n_fields;
    uint16_t min_wire;  // bytes of the shortest packed form
    uint8_t align_i386;
    uint8_t n_counted;  // fields that are counted octets
    bool live;          // spelled out
    bool has_callback;
};

struct Parameter {
    Type type;
    bool output;
    bool sim;            // the sim_id
    uint8_t count_from;  // of an array: the parameter that tells its element count
    uint16_t aux;        // RecordId of a record, array or context id; function id of a callback
};

struct Function {
    uint16_t id;
    uint16_t tag;
    uint16_t first_parameter;
    uint8_t n_parameters;
    uint8_t variation;
    Kind kind;
    bool pending;      // has a record that is not spelled out
    bool has_sim;      // its first parameter is the sim_id
    bool has_context;  // has a context id
    bool has_output;
    bool has_callback;  // in a parameter or in a parameter's record
};

constexpr bool is_outgoing(Kind kind) {
    return kind == Kind::CALL || kind == Kind::REQUEST || kind == Kind::ONE_WAY;
}

constexpr bool is_plain_number(Type type) {
    return type <= Type::enumeration;
}

constexpr bool is_number(Type type) {
    return type <= Type::callback;
}

constexpr bool is_octets(Type type) {
    return type >= Type::octets && type <= Type::array;
}

// Bytes of a number, or of an element of an octet string, in memory here.
constexpr size_t memory_width(Type type) {
    switch (type) {
        case Type::flag:
        case Type::u8:
        case Type::i8:
        case Type::enum8:
        case Type::octets:
        case Type::text:
        case Type::array:
        case Type::memory:
            return 1;
        case Type::u16:
        case Type::i16:
        case Type::octets16:
            return 2;
        case Type::callback:
            return sizeof(void*);
        default:
            return 4;
    }
}

// Value bytes of a number on the wire.
constexpr size_t wire_width(Type type) {
    return type == Type::enum8 || type == Type::callback ? 4 : memory_width(type);
}

// --- Records ---------------------------------------------------------------------------------------------------------

namespace detail {

constexpr Field number(Type type, size_t offset, size_t count = 1, uint16_t aux = 0) {
    return {static_cast<uint16_t>(offset),           static_cast<uint16_t>(count), c_no_record, aux, 0, type,
            static_cast<uint8_t>(memory_width(type))};
}

template <typename T>
constexpr Field nested(Type type, size_t offset, size_t count = 1, size_t aux = 0, size_t width = 0) {
    return {static_cast<uint16_t>(offset),
            static_cast<uint16_t>(count),
            static_cast<uint16_t>(RecordTraits<T>::id),
            static_cast<uint16_t>(aux),
            0,
            type,
            static_cast<uint8_t>(width)};
}

constexpr Field counted(Type type, size_t offset, size_t aux, size_t width) {
    return {static_cast<uint16_t>(offset), 1, c_no_record, static_cast<uint16_t>(aux), 0, type,
            static_cast<uint8_t>(width)};
}

template <typename T>
struct Description;

#define UTA_RECORD(name, tag, size, ...)                 \
    template <>                                          \
    struct Description<name> {                           \
        using Self = name;                               \
        static constexpr Field fields[] = {__VA_ARGS__}; \
    };
#define FLAG(name) number(Type::flag, offsetof(Self, name)),
#define U8(name) number(Type::u8, offsetof(Self, name)),
#define I8(name) number(Type::i8, offsetof(Self, name)),
#define U16(name) number(Type::u16, offsetof(Self, name)),
#define I16(name) number(Type::i16, offsetof(Self, name)),
#define U32(name) number(Type::u32, offsetof(Self, name)),
#define I32(name) number(Type::i32, offsetof(Self, name)),
#define ENUM(name) number(Type::enumeration, offsetof(Self, name)),
#define ENUM8(name) number(Type::enum8, offsetof(Self, name)),
#define OCTETS(name, n) number(Type::octets, offsetof(Self, name), n),
#define OCTETS16(name, n) number(Type::octets16, offsetof(Self, name), n),
#define TEXT(name, n) number(Type::text, offsetof(Self, name), n),
#define U8_ROW(name, n) number(Type::u8, offsetof(Self, name), n),
#define U16_ROW(name, n) number(Type::u16, offsetof(Self, name), n),
#define I32_ROW(name, n) number(Type::i32, offsetof(Self, name), n),
#define REC(T, name) nested<T>(Type::record, offsetof(Self, name)),
#define REC_ROW(T, name, n) nested<T>(Type::record, offsetof(Self, name), n),
#define OPT_REC(T, name) nested<T>(Type::optional, offsetof(Self, name)),
#define COUNTED_OCTETS(name, n) counted(Type::counted_octets, offsetof(Self, name), offsetof(Self, n), sizeof(Self::n)),
#define ELEMENTS(T, name, n) nested<T>(Type::elements, offsetof(Self, name), 1, offsetof(Self, n), sizeof(Self::n)),
#define UNION(name, n, ...) counted(Type::union_, offsetof(Self, name), offsetof(Self, n), sizeof(Self::n)), __VA_ARGS__
#define CASE(value, T, member) nested<T>(Type::case_, 0, 1, value),
#define CALLBACK(function, name) number(Type::callback, offsetof(Self, name), 1, row::function::id),
#define ARRAY(name) number(Type::array, offsetof(Self, name)),
#define MEMORY(name, n) number(Type::memory, offsetof(Self, name), n),
#include "rpc/multi-client/rpc-stubs/ril/records.def"

constexpr size_t c_record_count = static_cast<size_t>(RecordId::count);

constexpr size_t c_field_count = [] {
    size_t count = 0;
#define UTA_RECORD(name, ...) count += std::size(Description<name>::fields);
#include "rpc/multi-client/rpc-stubs/ril/records.def"
    return count;
}();

constexpr bool is_early(Type type) {
    return type == Type::elements || type == Type::union_ || type == Type::case_;
}

struct Layout {
    size_t size;
    size_t align;
    size_t min_wire;
};

constexpr size_t align_up(size_t value, size_t align) {
    return (value + align - 1) / align * align;
}

struct RecordTables {
    std::array<Record, c_record_count> records;
    std::array<Field, c_field_count> fields;
    size_t n_records;
    size_t n_fields;

    // What one field takes in an i386 client's memory, where pointers and alignment end at 4 bytes, and on the wire.
    constexpr Layout layout(std::span<const Field> all, size_t at) const {
        const Field& field = all[at];
        Layout it{field.width, field.width, 2 + wire_width(field.type)};
        if (field.type == Type::record) {
            const Record& record = records[field.record];
            it = {record.size_i386, record.align_i386, record.min_wire};
        } else if (field.type == Type::union_) {
            it = {0, 1, 0};
            for (size_t i = at + 1; i < all.size() && all[i].type == Type::case_; ++i) {
                const Record& member = records[all[i].record];
                it.size = member.size_i386 > it.size ? member.size_i386 : it.size;
                it.align = member.align_i386 > it.align ? member.align_i386 : it.align;
            }
        } else if (field.type == Type::case_) {
            return {0, 1, 0};
        } else if (field.type == Type::memory) {
            it.min_wire = 0;
        } else if (is_octets(field.type) || field.type == Type::optional || field.type == Type::counted_octets ||
                   field.type == Type::elements) {
            // The shortest octet string is 05 00, and so is a null pointer; of elements there may be none.
            const bool pointer = !is_octets(field.type);
            it.size = pointer ? 4 : it.size;
            it.align = pointer ? 4 : it.align;
            it.min_wire = field.type == Type::elements ? 0 : 2;
        } else if (field.type == Type::callback) {
            it.size = 4;
        }
        it.align = it.align > 4 ? 4 : it.align;
        it.size = align_up(it.size, it.align) * field.count;
        it.min_wire *= is_octets(field.type) ? 1 : field.count;
        return it;
    }

    constexpr void add(uint32_t tag, size_t size, std::span<const Field> all) {
        Record& record = records[n_records++];
        record.tag_number = static_cast<uint16_t>(tag);
        record.tag = tag == PLAIN ? ExTag{0, {0, 0, 0}} : ExMakeTag(tag);
        record.size = static_cast<uint16_t>(size);
        record.first_field = static_cast<uint16_t>(n_fields);
        record.n_fields = static_cast<uint16_t>(all.size());
        record.live = true;
        size_t end = 0;
        size_t align = 1;
        size_t min_wire = tag == PLAIN ? 0 : size_t{2} + record.tag.count;
        for (size_t i = 0; i < all.size(); ++i) {
            const Field& field = all[i];
            const Layout it = layout(all, i);
            end = align_up(end, it.align) + it.size;
            align = it.align > align ? it.align : align;
            min_wire += it.min_wire;
            if (field.type == Type::counted_octets) {
                ++record.n_counted;
            }
            record.has_callback |= field.type == Type::callback;
        }
        for (const bool early : {true, false}) {
            for (size_t i = 0; i < all.size(); ++i) {
                if (is_early(all[i].type) == early) {
                    fields[n_fields] = all[i];
                    fields[n_fields++].place = static_cast<uint16_t>(i);
                }
            }
        }
        record.size_i386 = static_cast<uint16_t>(align_up(end, align));
        record.align_i386 = static_cast<uint8_t>(align);
        record.min_wire = static_cast<uint16_t>(min_wire);
    }

    constexpr void add_pending(uint32_t tag, size_t size_i386) {
        Record& record = records[n_records++];
        record.tag_number = static_cast<uint16_t>(tag);
        record.tag = tag == PLAIN ? ExTag{0, {0, 0, 0}} : ExMakeTag(tag);
        record.size_i386 = static_cast<uint16_t>(size_i386);
    }
};

constexpr RecordTables make_records() {
    RecordTables tables{};
#define UTA_RECORD(name, tag, size, ...) tables.add(tag, sizeof(name), Description<name>::fields);
#define UTA_PENDING(name, tag, size) tables.add_pending(tag, size);
#include "rpc/multi-client/rpc-stubs/ril/records.def"
    return tables;
}

inline constexpr RecordTables c_tables = make_records();

}  // namespace detail

inline constexpr const auto& c_records = detail::c_tables.records;

template <typename T>
constexpr const Record& record_of() {
    return c_records[static_cast<size_t>(RecordTraits<T>::id)];
}

constexpr std::span<const Field> fields_of(const Record& record) {
    return std::span(detail::c_tables.fields).subspan(record.first_field, record.n_fields);
}

// The layout that the fields give on i386 is the published one. Holds for either word size of the build.
#define UTA_RECORD(name, tag, size, ...) \
    static_assert((size) == 0 || record_of<name>().size_i386 == (size), "i386 layout of " #name);
#include "rpc/multi-client/rpc-stubs/ril/records.def"

// Of the cases behind the union at `index` the one for this value of its discriminant, or null.
constexpr const Field* case_of(std::span<const Field> fields, size_t index, uint64_t value) {
    for (size_t i = index + 1; i < fields.size() && fields[i].type == Type::case_; ++i) {
        if (fields[i].aux == value) {
            return &fields[i];
        }
    }
    return nullptr;
}

// --- Functions -------------------------------------------------------------------------------------------------------

namespace detail {

constexpr Parameter scalar(Type type, bool output = false) {
    return {type, output, false, 0, 0};
}

template <typename T>
constexpr Parameter pointed(Type type, bool output, uint8_t count_from = 0) {
    return {type, output, false, count_from, static_cast<uint16_t>(RecordTraits<T>::id)};
}

struct FunctionCounts {
    size_t functions;
    size_t parameters;
    uint32_t max_id;

    constexpr void add(uint32_t id, size_t n_parameters) {
        ++functions;
        parameters += n_parameters;
        max_id = id > max_id ? id : max_id;
    }
};

constexpr FunctionCounts c_function_counts = [] {
    FunctionCounts counts{};
#define UTA_FUNCTION(id, tag, name, ...) counts.add(id, row::name::Parameters::size);
#define UTA_RESERVED UTA_FUNCTION
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
    return counts;
}();

struct FunctionTables {
    std::array<Function, c_function_counts.functions> functions;
    std::array<Parameter, c_function_counts.parameters> parameters;
    std::array<uint16_t, c_function_counts.max_id + 1> row_of_id;  // 1 + position in `functions`, 0 for none
    size_t n_functions;
    size_t n_parameters;

    template <typename... P>
    constexpr void add(uint16_t id, uint16_t tag, Kind kind, uint8_t variation, P... all) {
        Function& function = functions[n_functions++];
        function.id = id;
        function.tag = tag;
        function.kind = kind;
        function.variation = variation;
        function.first_parameter = static_cast<uint16_t>(n_parameters);
        function.n_parameters = sizeof...(P);
        row_of_id[id] = static_cast<uint16_t>(n_functions);
        (add_parameter(function, all), ...);
    }

    constexpr void add_parameter(Function& function, const Parameter& parameter) {
        parameters[n_parameters++] = parameter;
        function.has_sim |= parameter.sim;
        function.has_context |= parameter.type == Type::context_id;
        function.has_output |= parameter.output;
        function.has_callback |= parameter.type == Type::callback;
        if (parameter.type == Type::record || parameter.type == Type::array) {
            function.pending |= !c_records[parameter.aux].live;
            function.has_callback |= c_records[parameter.aux].has_callback;
        }
    }
};

constexpr FunctionTables make_functions() {
    FunctionTables tables{};
#define UTA_FUNCTION(id, tag, name, kind, variation, ...) \
    tables.add(id, tag, Kind::kind, variation __VA_OPT__(, ) __VA_ARGS__);
#define UTA_RESERVED UTA_FUNCTION
#define SIM                          \
    Parameter {                      \
        Type::i32, false, true, 0, 0 \
    }
#define CTX pointed<UtaContextId>(Type::context_id, false)
#define I32(name) scalar(Type::i32)
#define ENUM(name) scalar(Type::enumeration)
#define U8(name) scalar(Type::u8)
#define I16(name) scalar(Type::i16)
#define REC(T, name) pointed<T>(Type::record, false)
#define CALLBACK(function, name)                           \
    Parameter {                                            \
        Type::callback, false, false, 0, row::function::id \
    }
#define OUT_I32(name) scalar(Type::i32, true)
#define OUT_ENUM(name) scalar(Type::enumeration, true)
#define OUT_U8(name) scalar(Type::u8, true)
#define OUT_REC(T, name) pointed<T>(Type::record, true)
#define OUT_ARRAY(T, name, n) pointed<T>(Type::array, true, n)
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
    return tables;
}

inline constexpr FunctionTables c_function_tables = make_functions();

}  // namespace detail

inline constexpr const auto& c_functions = detail::c_function_tables.functions;

constexpr std::span<const Parameter> parameters_of(const Function& function) {
    return std::span(detail::c_function_tables.parameters).subspan(function.first_parameter, function.n_parameters);
}

// The function with this id, or null.
constexpr const Function* find_function(uint32_t id) {
    const uint16_t row = id < detail::c_function_tables.row_of_id.size() ? detail::c_function_tables.row_of_id[id] : 0;
    return row == 0 ? nullptr : &c_functions[row - size_t{1}];
}

}  // namespace uta
