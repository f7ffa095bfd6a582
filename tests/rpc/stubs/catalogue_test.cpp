// Walks all rows of the catalogue against the published figures.

#include <gtest/gtest.h>

#include <set>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
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

TEST(Catalogue, RecordTagsAreThosePublished) {
    int plain = 0;
    int tagged = 0;
    for (const uta::Record& record : uta::c_records) {
        (record.tag.count == 0 ? plain : tagged) += 1;
        EXPECT_EQ(uta::find_record(uta::record_name(record)), &record);
    }
    EXPECT_EQ(plain, 15 + 1);
    EXPECT_GE(tagged, 184);
    for (const auto& [name, tag] : {std::pair{"UtaIoHdl", 1},
                                    {"UtaModeStartupDetails", 1},
                                    {"UtaDateTime", 7},
                                    {"UtaSensorAlarmId", 13},
                                    {"UtaNetDvpInfoIndParams", 36},
                                    {"UtaSimFileData", 289},
                                    {"UtaCpsSetModeParams", 619}}) {
        EXPECT_EQ(uta::find_record(name)->tag_number, tag) << name;
    }
}

// The transport looks functions up in this table by id.
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
        EXPECT_NE(ids.contains(function.id), uta::is_outgoing(function.kind)) << function.id;
    }
}

}  // namespace
