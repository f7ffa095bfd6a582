// Walks all rows of the catalogue against the published figures.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

using uta::Kind;
using uta::Type;

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

// Rows, parameters, ids and record parameters of each kind, and the tags, counted in the published list. In the calls
// the name of a data device is a record of 100 bytes in place of a u8, and the indications have one that is not listed.
TEST(Catalogue, KindsAndParametersAddUp) {
    struct Sum {
        uint32_t rows;
        uint32_t parameters;
        uint32_t ids;
        uint32_t records;
        uint32_t record_sizes;

        bool operator==(const Sum&) const = default;
    };
    const std::map<Kind, Sum> c_published = {
        {Kind::CALL, {96, 194, 19292, 75 + 1, 4783 + 100}},
        {Kind::REQUEST, {74, 208, 10745, 43, 2803}},
        {Kind::ONE_WAY, {9, 16, 3300, 6, 882}},
        {Kind::RESPONSE, {63, 184, 9415, 57, 6567}},
        {Kind::INDICATION, {53 + 1, 104 + 2, 8185 + 293, 50 + 1, 6076 + 4}},
        {Kind::IGNORED_RESPONSE, {13, 47, 2145, 10, 296}},
        {Kind::IGNORED_INDICATION, {5, 10, 1087, 3, 28}},
        {Kind::DYNAMIC_RESPONSE, {4, 13, 1055, 0, 0}},
        {Kind::DYNAMIC_INDICATION, {4, 12, 1254, 3, 24}},
    };
    std::map<Kind, Sum> sums;
    std::map<Type, int> types;
    uint32_t tags = 0;  // other than the function's id
    uint32_t tags_by_id = 0;
    for (const uta::Function& function : uta::c_functions) {
        tags += function.tag != function.id ? 1 : 0;
        tags_by_id += function.tag != function.id ? function.tag * function.id : 0;
        Sum& sum = sums[function.kind];
        ++sum.rows;
        sum.parameters += function.n_parameters;
        sum.ids += function.id;
        EXPECT_LE(function.n_parameters, uta::c_max_parameters);
        for (const uta::Parameter& parameter : uta::parameters_of(function)) {
            ++types[parameter.type];
            if (parameter.type == Type::record || parameter.type == Type::array) {
                ++sum.records;
                sum.record_sizes += uta::c_records[parameter.aux].size_i386;
                EXPECT_NE(uta::c_records[parameter.aux].size_i386, 0) << uta::function_name(function);
            }
        }
    }
    for (const auto& [kind, published] : c_published) {
        EXPECT_EQ(sums[kind], published) << uta::kind_name(kind);
    }
    EXPECT_EQ(tags, 43U);
    EXPECT_EQ(tags_by_id, 194654U);
    EXPECT_EQ(types[Type::context_id], 154);
    EXPECT_EQ(types[Type::i32] + types[Type::callback], 295 + 1);
    EXPECT_EQ(types[Type::enumeration], 68);
    EXPECT_EQ(types[Type::u8], 19 - 1);
    EXPECT_EQ(types[Type::i16], 5);
}

TEST(Catalogue, VariationsHaveTheirMembers) {
    int without_context = 0;
    int no_header = 0;
    int presence = 0;
    int enum_result = 0;
    int outputs = 0;
    int callbacks = 0;
    for (const uta::Function& function : uta::c_functions) {
        without_context += uta::is_outgoing(function.kind) && !function.has_context ? 1 : 0;
        no_header += (function.variation & uta::NO_HEADER) != 0 ? 1 : 0;
        presence += (function.variation & uta::PRESENCE) != 0 ? 1 : 0;
        enum_result += (function.variation & uta::ENUM_RESULT) != 0 ? 1 : 0;
        outputs += function.has_output ? 1 : 0;
        callbacks += function.has_callback ? 1 : 0;
        EXPECT_TRUE(uta::is_outgoing(function.kind) || !function.has_output) << uta::function_name(function);
    }
    EXPECT_EQ(without_context, 104);
    EXPECT_EQ(no_header, 9 + 8 + 7);  // calls, one-way functions, responses and indications
    EXPECT_EQ(presence, 9 + 7);
    EXPECT_EQ(enum_result, 13 + 6);
    EXPECT_EQ(outputs, 23 + 3);  // the published ones, CsiUtaMsTpcGetState, UtaSensorTbatOpen and UtaMsCpsNvmRead
    EXPECT_GE(callbacks, 4);     // and those in records, once they are spelled out
    EXPECT_EQ(uta::find_function("UtaSensorSrvClose")->variation, uta::PLAIN);
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
