// The forms of field that hardly a record has, on the made-up catalogue of the stubs' tests: made from assignments,
// against bytes written by hand, and printed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/modem/packet_print.h"
#include "host/modem/packet_text.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

using testing::HasSubstr;

struct Case {
    const char* function;
    std::vector<std::string> assignments;
    const char* bytes;
    const char* printed;
};

const Case c_cases[] = {
    // Lists, behind the numbers on the wire and with their last element first; one is of records without a header.
    {"FormIndCb",
     {"items[0].first=1", "items[1].second=2", "plain[2].value=9", "last=7"},
     "020400000048 020400000006 20000105 7F0635 7F052C 020400000007 02020003 020102 020109 020100 020100"
     " 7F0208 02020002 02020000 7F0208 02020000 02020001 020400000000",
     " sim_id=0 param.n_items=2 param.items[0].first=1 param.items[0].second=0 param.items[1].first=0 "
     "param.items[1].second=2 param.n_plain=3 param.plain[0].value=0 param.plain[1].value=0 param.plain[2].value=9 "
     "param.last=7\n"},
    // Counted octets, whose total is 0, and null ones. The first parameter is the last on the wire.
    {"FormNvmRead",
     {"first=AABB"},
     "020400000044 020400000002 20000105 7F0231 7F050D 020400000000 02020000 020100"
     " 7F041E 020400000000 0500 5502 020400000000 020400000003 AABB000000 020102",
     " nvm.first_count=2 nvm.first=[2]AABB nvm.second=null nvm.second_count=0 list.n_items=0 list.n_plain=0 "
     "list.last=0\n"},
    // A callback in a record, and a function with a tag of its own.
    {"FormSubscribe",
     {"callback.callback=0x12345678", "value_2=-2"},
     "020400000022 020400000004 20000105 7F040F 0204FFFFFFFE 7F0906 020412345678",
     " callback.callback=0x12345678 value_2=-2\n"},
    {"FormClose",
     {"second=-3"},
     "02040000001E 020400000003 20000105 7F090B 7F0208 0202FFFD 02020000",
     " handle.first=0 handle.second=-3\n"},
};

TEST(Forms, MadeAndPrinted) {
    for (const Case& it : c_cases) {
        std::string error;
        const Bytes packet = make_packet(*uta::find_function(it.function), 0x20000105, it.assignments, error);
        EXPECT_EQ(to_hex(packet), to_hex(from_hex(it.bytes).value_or(Bytes{}))) << error;
        EXPECT_THAT(print_packet({}, read_packet(packet), {}), testing::EndsWith(it.printed));
    }
}

TEST(Forms, AListThatLies) {
    const Bytes packet = from_hex(
                             "020400000029 020400000006 20000105 7F0616 7F050D 020400000007 02020000 0201C8"
                             " 020400000000")
                             .value();
    const std::string text = print_packet({}, read_packet(packet), {});
    EXPECT_THAT(text, HasSubstr("param.n_items=200 param.n_plain=0 param.last=7 !! "));
    EXPECT_THAT(text, HasSubstr("a list of 200 where 0 bytes are left"));
}

TEST(Forms, CountsFollowTheirLists) {
    for (const char* assignment : {"n_items=3", "first_count=1"}) {
        std::string error;
        EXPECT_TRUE(make_packet(*uta::find_function("FormNvmRead"), 0, {assignment}, error).empty());
        EXPECT_THAT(error, HasSubstr("follows from the list"));
    }
    std::string error;
    EXPECT_TRUE(make_packet(*uta::find_function("FormIndCb"), 0, {"items[0]=3"}, error).empty());
    EXPECT_TRUE(make_packet(*uta::find_function("FormIndCb"), 0, {"items.first=3"}, error).empty());
    EXPECT_THAT(error, HasSubstr("wants an element's number"));
}

}  // namespace
