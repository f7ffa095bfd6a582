// Packing and unpacking of whole records, parameter lists and packets, driven by the catalogue. Both directions of both
// roles: the client packs calls and unpacks returns, responses and indications; a simulated modem does the reverse.
//
// Memory has the layout of the structures in records.h. Nothing is read outside the packet, and nothing of a record
// outside the record: whatever needs more bytes than there are fails the cursor, and with it the whole packet. Bytes
// that nobody reads are no failure: a tag, the header of a function, what a record or a packet has behind its last
// field. How deep records
// nest is decided by the catalogue and not by the packet, so the depth of the walk is bounded too.
//
// Any thread; only the arguments are touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

namespace uta {

// One record, its header included. `array_count` is the number of elements of an ARRAY record's bytes.
size_t pack_record(const Record& record, const void* memory, ExWriteCursor& cursor, size_t array_count = 1);

// Into zeroed memory of `record.size` bytes; for an ARRAY record, of `array_count` bytes. Blocks of pointer fields
// belong to `mem_table`. False with the cursor failed: the memory is half written then and no use to anybody.
bool unpack_record(const Record& record, void* memory, ExReadCursor& cursor, MemTable& mem_table,
                   size_t array_count = 1);

// The bytes of a number in a record or a parameter, zero-extended, and the reverse.
uint64_t load_number(const void* memory, size_t width);
void store_number(void* memory, size_t width, uint64_t value);

// Decoded parameters and the memory they point into. An output scalar's word points to its entry in `scalars`.
struct Parameters {
    Word words[c_max_parameters];
    uint32_t scalars[c_max_parameters];  // of an array: the bytes of its block
    void* records;                       // one block with the records of all parameters
    MemTable mem_table;

    Parameters() : words{}, scalars{}, records(nullptr), mem_table{} {}
    ~Parameters();
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;
};

// --- Whole packets ---------------------------------------------------------------------------------------------------
//
// The packers write into the end of `buffer`, whose end is to be aligned to 4 bytes, and return the packet, or an empty
// span when it does not fit. `words` has one entry for each parameter of the function, in declaration order.
// `body` begins behind the 12 bytes of the packet header, at the context id.

// A call, a request, a response or an indication.
std::span<uint8_t> pack_packet(const Function& function, uint32_t context_id, const Word* words,
                               std::span<uint8_t> buffer);

// Why a packet was refused.
struct Refusal {
    const char* why = nullptr;
    size_t at = 0;  // byte of the body
};

// The same, unpacked. False for a packet that lies about a length or belongs to a pending row. A record for which the
// packet has 05 00 or a presence byte of 2 is null in `parameters`; the former is refused where a response's or
// indication's row does not say that it may be, since its entry point reads the record without a test.
bool unpack_packet(const Function& function, std::span<const uint8_t> body, uint32_t& context_id,
                   Parameters& parameters, Refusal* refusal = nullptr);

// The return of a call: its result and its output parameters.
std::span<uint8_t> pack_return(const Function& function, uint32_t context_id, int32_t result, const Word* words,
                               std::span<uint8_t> buffer);

// Into the memory that the output parameters in `words` point to; null pointers are passed over. A parameter that the
// packet does not carry, or carries as null, leaves its memory as it was. Blocks that an output record points to are
// the caller's, who frees each with RPC_MemFree. False when the packet has no result or lies about a length: no output
// memory has been touched then.
bool unpack_return(const Function& function, std::span<const uint8_t> body, const Word* words, int32_t& result,
                   Refusal* refusal = nullptr);

// The same, of a return whose caller is not known: the output parameters stay in `parameters`.
bool unpack_return(const Function& function, std::span<const uint8_t> body, uint32_t& context_id, int32_t& result,
                   Parameters& parameters, Refusal* refusal = nullptr);

}  // namespace uta
