// Walks all rows of the catalogue against the published figures.

#include <gtest/gtest.h>

#include <set>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

TEST(Catalogue, IdsAreThosePublished) {
    std::set<uint32_t> absent;
    for (const auto& [first, last] : {std::pair{235, 284}, {302, 305}, {359, 361}, {365, 366}, {0, 0}, {382, 1000}}) {
        for (int id = first; id <= last; ++id) {
            absent.insert(static_cast<uint32_t>(id));
        }
    }
    EXPECT_EQ(uta::c_functions.size(), 321U + 1);  // UtaMsCallPsActivateStatusIndCb is not in the list
    for (uint32_t id = 0; id <= 1000; ++id) {
        const uta::Function* function = uta::find_function(id);
        EXPECT_EQ(function == nullptr, absent.contains(id)) << id;
        if (function != nullptr) {
            EXPECT_EQ(function->id, id);
            EXPECT_EQ(uta::find_function(uta::function_name(*function)), function);
        }
    }
}

// The transport looks functions up in this table by id. What goes out does not as long as its record is unknown.
TEST(Catalogue, UnpackerTableHasARowForEachFunctionThatComesIn) {
    const RPCHostUnpackerRow* row = RPCUnpackerTable;
    EXPECT_EQ(row->id, -1);
    std::set<uint32_t> ids;
    size_t rows = 0;
    for (++row; row->id != -1; ++row, ++rows) {
        EXPECT_EQ(row->unpacker == nullptr, row->id == 0);
        if (row->id != 0) {
            EXPECT_TRUE(ids.insert(static_cast<uint32_t>(row->id)).second) << row->id;
        }
    }
    EXPECT_EQ(rows, uta::c_functions.size());
    for (const uta::Function& function : uta::c_functions) {
        alignas(4) uint8_t buffer[c_rpc_packet_max];
        const uta::Word words[uta::c_max_parameters] = {};
        EXPECT_TRUE(!function.pending || uta::pack_packet(function, 0, words, buffer).empty());
        EXPECT_TRUE(!function.pending || uta::pack_return(function, 0, 0, words, buffer).empty());
        EXPECT_NE(ids.contains(function.id), uta::is_outgoing(function.kind)) << function.id;
    }
}

}  // namespace
