// The catalogue as text.
#pragma once

#include <string>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

// Every function, then every record, in the notation that the heading lines describe.
std::string print_catalogue();

// The words of the notation.
std::string kind_word(uta::Kind kind);
std::string parameter_type(const uta::Parameter& parameter);  // without its size
std::string field_type(const uta::Field& field);
