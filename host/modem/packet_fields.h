// Decoded parameters as printed fields.
#pragma once

#include <vector>

#include "host/modem/packet_print.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"

// Of a call, response or indication: all of them. Of a return: the output parameters that it carries.
std::vector<PrintedField> print_parameters(const uta::Function& function, const uta::Parameters& parameters,
                                           bool is_return);
