#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace uta {

static constexpr const char* c_function_names[] = {
#define UTA_FUNCTION(id, tag, name, ...) #name,
#define UTA_RESERVED UTA_FUNCTION
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
};

static constexpr const char* c_parameter_names[] = {
#define UTA_FUNCTION(id, tag, name, kind, variation, ...) __VA_ARGS__ __VA_OPT__(, )
#define UTA_RESERVED UTA_FUNCTION
#define SIM "sim_id"
#define CTX "context_id"
#define I32(name) #name
#define ENUM(name) #name
#define U8(name) #name
#define I16(name) #name
#define REC(record, name) #name
#define CALLBACK(function, name) #name
#define OUT_I32(name) #name
#define OUT_ENUM(name) #name
#define OUT_U8(name) #name
#define OUT_REC(record, name) #name
#define OUT_ARRAY(record, name, n) #name
#include "rpc/multi-client/rpc-stubs/ril/functions.def"
};

static constexpr const char* c_record_names[] = {
#define UTA_RECORD(name, ...) #name,
#define UTA_PENDING(name, ...) #name,
#include "rpc/multi-client/rpc-stubs/ril/records.def"
};

static constexpr const char* c_field_names[] = {
#define UTA_RECORD(name, tag, size, ...) __VA_ARGS__
#define FLAG(name) #name,
#define U8(name) #name,
#define I8(name) #name,
#define U16(name) #name,
#define I16(name) #name,
#define U32(name) #name,
#define I32(name) #name,
#define ENUM(name) #name,
#define ENUM8(name) #name,
#define OCTETS(name, n) #name,
#define OCTETS16(name, n) #name,
#define TEXT(name, n) #name,
#define U8_ROW(name, n) #name,
#define U16_ROW(name, n) #name,
#define I32_ROW(name, n) #name,
#define REC(record, name) #name,
#define REC_ROW(record, name, n) #name,
#define OPT_REC(record, name) #name,
#define COUNTED_OCTETS(name, count) #name,
#define ELEMENTS(record, name, count) #name,
#define UNION(name, discriminant, ...) #name, __VA_ARGS__
#define CASE(value, record, member) #member,
#define CALLBACK(function, name) #name,
#define ARRAY(name) #name,
#define MEMORY(name, n) #name,
#include "rpc/multi-client/rpc-stubs/ril/records.def"
};

static_assert(std::size(c_function_names) == detail::c_function_counts.functions);
static_assert(std::size(c_parameter_names) == detail::c_function_counts.parameters);
static_assert(std::size(c_record_names) == detail::c_record_count);
static_assert(std::size(c_field_names) == detail::c_field_count);

const char* function_name(const Function& function) {
    return c_function_names[&function - c_functions.data()];
}

const char* parameter_name(const Function& function, size_t index) {
    return c_parameter_names[function.first_parameter + index];
}

const char* record_name(const Record& record) {
    return c_record_names[&record - c_records.data()];
}

const char* field_name(const Record& record, const Field& field) {
    return c_field_names[record.first_field + field.place];
}

const char* kind_name(Kind kind) {
    static constexpr const char* c_names[] = {"CALL",
                                              "REQUEST",
                                              "ONE_WAY",
                                              "RESPONSE",
                                              "INDICATION",
                                              "IGNORED_RESPONSE",
                                              "IGNORED_INDICATION",
                                              "DYNAMIC_RESPONSE",
                                              "DYNAMIC_INDICATION"};
    return c_names[static_cast<size_t>(kind)];
}

const char* type_name(Type type) {
    static constexpr const char* c_names[] = {"u8",       "i8",       "u16",   "i16",      "u32",      "i32",
                                              "enum",     "flag",     "enum8", "callback", "ctx",      "octets",
                                              "text",     "octets16", "array", "record",   "optional", "counted",
                                              "elements", "union",    "case",  "memory"};
    static_assert(std::size(c_names) == static_cast<size_t>(Type::memory) + 1);
    return c_names[static_cast<size_t>(type)];
}

const Function* find_function(std::string_view name) {
    for (size_t i = 0; i < c_functions.size(); ++i) {
        if (c_function_names[i] == name) {
            return &c_functions[i];
        }
    }
    return nullptr;
}

const Record* find_record(std::string_view name) {
    for (size_t i = 0; i < c_records.size(); ++i) {
        if (c_record_names[i] == name) {
            return &c_records[i];
        }
    }
    return nullptr;
}

}  // namespace uta
