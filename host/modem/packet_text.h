// Makes a packet from a function's name and assignments such as `param.call.call_id=1`.
//
// The path of a field begins with its parameter and goes on with the field's names, an element of a row or list in
// brackets. As much of its start may be left out as is not needed to tell the fields apart: `call_id=1` will do. What
// nothing is assigned to is 0, an empty string, a null pointer, no element. Assigning to a field behind a pointer, in a
// list or in a member of a union makes it exist, and sets the count or the discriminant.
//
//     number, enumeration   decimal or 0x...; an enumeration also by the name of its value
//     row of numbers        1,2,3 from its first element on
//     text                  its characters
//     octets                hexadecimal; 16-bit and 32-bit elements as 1,0x2,3; or gsm: and a text, which is packed as
//                           USSD is
//     pointer to a record   null, or present with all its fields 0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/modem/capture_format.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

// The packet, or nothing with the reason in `error`. A context id parameter gets `context_id` unless it is assigned.
Bytes make_packet(const uta::Function& function, uint32_t context_id, const std::vector<std::string>& assignments,
                  std::string& error);

// The same for the return of a call: its result, and assignments to its output parameters.
Bytes make_return(const uta::Function& function, uint32_t context_id, int32_t result,
                  const std::vector<std::string>& assignments, std::string& error);
