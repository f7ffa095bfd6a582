// The ends of a report's text, and the two requests that no row of Android's leads to.
#include <gtest/gtest.h>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/em/report_text.h"
#include "ril/core/src/system_manager/modules.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

std::string s_seen;
int32_t s_result = 0;

TEST(ReportText, EndsAtItsLimits) {
    char block[c_report_size];
    report_text text = {0, "", block, 0, 0};
    EXPECT_FALSE(text.add("%512d", 0));
    for (int i = 0; i < 16; ++i) {
        EXPECT_TRUE(text.add("%511d", i));
    }
    EXPECT_FALSE(text.add("%511d", 0));
    EXPECT_FALSE(text.add("%15d", 0));
    EXPECT_TRUE(text.add("%14d", 0));
    EXPECT_FALSE(text.add("0"));
    EXPECT_EQ(text.length, 8190U);
}

TEST(EngineeringMode, IsSetAndTold) {
    static const RIL_Env c_env = {[](RIL_Token, RIL_Errno error, void* data, size_t) {
                                      s_seen += std::to_string(error);
                                      s_seen +=
                                          data == nullptr ? " " : ":" + std::to_string(*static_cast<int*>(data)) + " ";
                                  },
                                  nullptr, nullptr};
    s_rilenv = &c_env;
    em_module_init(1);
    const ril_request request = {1, 0, reinterpret_cast<RIL_Token>(1)};
    for (const int32_t mode : {1, 2, -1, 0}) {
        s_result = mode == -1 ? -1 : 0;
        ril_request_set_eng_mode(request, std::max(mode, 0));
        ril_request_query_eng_mode(request);
    }
    EXPECT_EQ(s_seen, "on 0 0:1 2 0:1 off 2 0:1 off 0 0:0 ");
}

}  // namespace

int32_t uta::call(uint16_t id, const uta::Word* words) {
    if (id == uta::row::UtaMsEmEnableExtReporting::id) {
        s_seen += reinterpret_cast<const UtaEmEnableExtReportingParam*>(words[1])->enable == 1 ? "on " : "off ";
    }
    return s_result;
}

int32_t callmngr_get_call_info_by_call_state(uint32_t, uint32_t, callmngr_call&) {
    return -1;
}

int32_t sim_get_inserted_sim_type(uint32_t) {
    return 0;
}
