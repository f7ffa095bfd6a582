// Records with the bytes that they are on the wire, written by hand. Every number of a record has the value of its
// place on the wire, counted from 1, and every array begins with two bytes of that value: a field that is packed out of
// turn shows.
#pragma once

#include <string>

#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"
#include "tests/rpc/stubs/hex.h"

struct RecordBytes {
    const uta::Record* record;
    Bytes memory;
    Bytes wire;  // as the last bytes of a buffer that ends at a multiple of 4
};

const std::vector<RecordBytes>& record_bytes();
