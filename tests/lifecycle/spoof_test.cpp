// The answers without a modem that no modem can bring about yet: each state of the card, and a radio that is off. The
// test stands in for the modules around.
#include <gtest/gtest.h>
#include <modemlink/modem_link.h>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "tests/harness/failing_alloc.h"
#include "tests/harness/fake_android.h"

namespace {

int32_t s_sim_status = 0;

void spoof(int number, int value, uintptr_t token) {
    handleRequestNoModem(1, number, &value, sizeof(value), FakeAndroid::token(token));
}

TEST(Spoof, StatusOfEachCard) {
    s_rilenv = FakeAndroid::env();
    const struct {
        int32_t status;
        int card_state, applications;
    } cases[] = {{0, 0, 0}, {1, 1, 1}, {2, 1, 1}, {3, 2, 0}, {4, 2, 0}, {-1, 2, 0}, {99, 2, 0}};
    for (const auto& c : cases) {
        FakeAndroid::instance().reset();
        s_sim_status = c.status;
        spoof(RIL_REQUEST_GET_SIM_STATUS, 0, 1);
        // Words: card state, universal PIN state, three subscription indexes, number of applications, their fields.
        std::vector<int> words(sizeof(RIL_CardStatus_v6) / sizeof(int));
        words[0] = c.card_state;
        words[2] = c.applications - 1;
        words[3] = -1;
        words[4] = -1;
        words[5] = c.applications;
        words[6] = c.applications;  // app_type 1 of the first
        const FakeAndroid::Completion completion = FakeAndroid::instance().wait_completion(FakeAndroid::token(1));
        EXPECT_EQ(completion.error, RIL_E_SUCCESS);
        EXPECT_EQ(completion.data, std::string(reinterpret_cast<const char*>(words.data()), sizeof(RIL_CardStatus_v6)))
            << c.status;
    }
}

TEST(Spoof, PreferredNetworkTypeWithTheRadioOff) {
    s_rilenv = FakeAndroid::env();
    FakeAndroid& android = FakeAndroid::instance();
    android.reset();
    set_radio_state(1, RADIO_STATE_OFF);
    spoof(RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, 1, 1);
    spoof(RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, 2, 2);
    EXPECT_EQ(android.wait_completion(FakeAndroid::token(1)).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(android.completed(FakeAndroid::token(2)), 0);
    {
        const FailingAlloc failing(0);
        spoof(RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, 3, 3);
    }
    EXPECT_EQ(android.wait_completion(FakeAndroid::token(3)).error, RIL_E_GENERIC_FAILURE);
    net_pref_start();
    EXPECT_EQ(android.wait_completion(FakeAndroid::token(2)).error, RIL_E_RADIO_NOT_AVAILABLE);
    net_pref_start();
    EXPECT_EQ(android.completions().size(), 3U);
}

}  // namespace

int32_t sim_get_sim_status(uint32_t sim_id) {
    EXPECT_EQ(sim_id, 1U);
    return s_sim_status;
}

// What these tests do not reach.
const RIL_Env* s_rilenv = nullptr;
sys_sem_t s_ril_wait_init_sem = nullptr;
void ril_request_complete(RIL_Token token, RIL_Errno error, void* response, size_t length) {
    s_rilenv->OnRequestComplete(token, error, response, length);
}
void RIL_UnsolicitedResponse(uint32_t, int, const void*, size_t) {}
int32_t qelril_get_free_ctxt_id(RIL_Token) {
    return -1;
}
void qelril_free_and_return(uint32_t) {}
int32_t qelril_post_utamsindcb(uint32_t, const void*, rilreq_indcb) {
    return -1;
}
int32_t qelril_init() {
    return -1;
}
int32_t qelril_destroy() {
    return -1;
}
uint32_t RPCMakeContextId() {
    return 0;
}
int32_t reqMEH(uint32_t) {
    return -1;
}
bool is_platform_shutdown() {
    return false;
}
bool is_property_set(const char*) {
    return false;
}
int32_t modem_exit() {
    return 0;
}
int32_t stack_power_off(uint32_t, uint32_t) {
    return -1;
}
void second_stack_power_off() {}
void ril_request_set_preferred_network_type(uint32_t, void*, size_t, RIL_Token) {}
