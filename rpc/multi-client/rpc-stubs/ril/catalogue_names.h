// The names in the catalogue, for programs that print it. They come from the same rows as the tables, but stay out of
// the library: nothing that ships needs them.
#pragma once

#include <string_view>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

namespace uta {

const char* function_name(const Function& function);
const char* parameter_name(const Function& function, size_t index);
const char* record_name(const Record& record);
const char* field_name(const Record& record, const Field& field);  // of a case_, its member

const char* kind_name(Kind kind);  // as in functions.def
const char* type_name(Type type);  // "u8", "enum", "octets", "record", ...

// By name, or null. Of a record, also one that is pending.
const Function* find_function(std::string_view name);
const Record* find_record(std::string_view name);

}  // namespace uta
