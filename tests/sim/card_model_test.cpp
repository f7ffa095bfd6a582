// The card's state against a small model of it, over random orders of events.
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/acl.h"
#include "ril/core/src/sim/sim.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

uint32_t s_attach_allowed = 1;
uint32_t s_locked = 0;
int s_hot_swaps = 0;
int32_t s_modem_result = -99;  // no modem: no file is read
uint32_t s_context = 0;        // of the last command

}  // namespace

// The rooms around the card.
uint32_t net_attach_is_allowed(uint32_t) {
    return s_attach_allowed;
}
void net_clear_modem_registration_state(uint32_t) {
    ++s_hot_swaps;
}
int32_t uta::call(uint16_t, const Word* words) {
    s_context = static_cast<uint32_t>(words[2]);
    return s_modem_result;
}

namespace {

// What Android can see, by the rules for the card and nothing else.
struct Model {
    int state = 99;
    bool pending = false, ready = false, removal = false, off = false;
    int type = 0, chv1 = 0, chv2 = 0, ind = 0;
    bool recovery_ready = false;
    int told = 0;
    int swaps = 0;

    void set_state(int to) {
        if (to != 3 && to == state) {
            return;
        }
        if (to == 4) {
            if (get_radio_state(0) == RADIO_STATE_UNAVAILABLE) {
                return;
            }
            pending = false;
        }
        state = to;
        ++told;
    }
    void forget() {
        type = chv1 = chv2 = 0;
        ready = false;
    }
    void card(int reset, int indicator) {
        if (reset == 7 && indicator == 2) {
            removal = true;
            forget();
            ++swaps;
            set_state(3);
        }
        if ((reset == 0 || reset == 8) && indicator == 2) {
            off = true;
        }
        if (reset == 0 && indicator == 3) {
            off = removal = false;
        }
    }
    void info(int indication, int app_class, int c1, int c2) {
        ind = indication;
        if (indication == 3) {
            type = app_class == 255 ? 2 : 1;
            const bool changed = c1 != chv1 || c2 != chv2;
            chv1 = c1;
            chv2 = c2;
            set_state(c1 == 2 || c1 == 5 ? 2 : 3);
            told += changed ? 1 : 0;
            return;
        }
        forget();
        if (removal) {
            removal = false;
            ++swaps;
        } else {
            set_state(off ? 99 : 2);
        }
    }
    void init(bool good) {
        ready = good;
        if (!good) {
            return;
        }
        recovery_ready = true;
        if (s_attach_allowed == 1) {
            set_state(4);
        } else {
            pending = true;
        }
    }
    int status() const {
        static constexpr int c_status[] = {0, 3, 2, 4, 0, 2, 0, 0, 1};
        return type == 0 ? 0 : c_status[chv1];
    }
    void expect(const RIL_CardStatus_v6& card) const {
        const int now = status();
        const bool present = now >= 2;
        ASSERT_EQ(card.card_state, present ? 1 : now == 0 && ind == 5 ? 2 : 0);
        ASSERT_EQ(card.num_applications, present ? 1 : 0);
        ASSERT_EQ(card.gsm_umts_subscription_app_index, present ? 0 : -1);
        ASSERT_EQ(card.cdma_subscription_app_index, -1);
        ASSERT_EQ(card.ims_subscription_app_index, -1);
        ASSERT_EQ(card.universal_pin_state, 0);
        if (!present) {
            return;
        }
        const RIL_AppStatus& app = card.applications[0];
        static constexpr int c_pin2[] = {0, 1, 3, 4, 5, 1, 0, 0, 0};
        ASSERT_EQ(app.app_type, type == 2 ? 2 : 1);
        ASSERT_EQ(app.pin2, c_pin2[chv2]);
        const bool through = now == 2 || (now == 3 && ready && !recovery_ready);
        const int app_state = now == 4                         ? 3
                              : !through                       ? 2
                              : s_locked == 1                  ? 4
                              : now == 3                       ? 5
                              : ready && s_attach_allowed == 1 ? 5
                                                               : 1;
        ASSERT_EQ(app.app_state, app_state);
        ASSERT_EQ(app.pin1, now == 2 ? 3 : now == 3 ? 1 : 4);
        if (now != 4) {
            ASSERT_EQ(app.perso_substate, app_state == 4 ? 3 : 0);
        }
    }
};

class CardModel : public testing::Test {
protected:
    void SetUp() override {
        stood_in.handler = [](int32_t, void*, size_t, RIL_Token token) {
            sim_get_card_status(0, static_cast<uint32_t>(qelril_get_free_ctxt_id(token)));
        };
        start_engine(FakeAndroid::env());
    }
    void TearDown() override { stop_engine(); }

    static int told() {
        int count = 0;
        for (const int number : FakeAndroid::instance().unsolicited_numbers()) {
            count += number == RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED ? 1 : 0;
        }
        return count;
    }
    static RIL_CardStatus_v6 ask() {
        FakeAndroid::instance().reset();
        qelril_post_request(0, RIL_REQUEST_GET_SIM_STATUS, nullptr, 0, FakeAndroid::token(1));
        const auto answer = FakeAndroid::instance().wait_completion(FakeAndroid::token(1));
        RIL_CardStatus_v6 card{};
        EXPECT_EQ(answer.error, RIL_E_SUCCESS);
        EXPECT_EQ(answer.data.size(), sizeof(card));
        memcpy(&card, answer.data.data(), std::min(answer.data.size(), sizeof(card)));
        return card;
    }
};

void lock(uint32_t required) {
    UtaSimLockStates locks{};
    locks.sim_lock_required = static_cast<int32_t>(required);
    UtaMsSimLockStatusIndCb(0, &locks);
}

void random_event(std::mt19937& random, Model& model) {
    const auto pick = [&](std::initializer_list<int> of) { return of.begin()[random() % of.size()]; };
    switch (random() % 6) {
        case 0: {
            UtaSimCardInfoParam card{};
            card.reset_type = pick({0, 1, 7, 8});
            card.indicator = pick({1, 2, 3});
            model.card(card.reset_type, card.indicator);
            UtaMsSimCardIndCb(0, &card);
            break;
        }
        case 1:
        case 2: {
            UtaSimInfoType info{};
            info.sim_ind = pick({0, 3, 3, 3, 5});
            info.app_class = static_cast<uint8_t>(pick({0, 254, 255}));
            info.chv1_status = static_cast<int32_t>(random() % 9);
            info.chv2_status = static_cast<int32_t>(random() % 9);
            model.info(info.sim_ind, info.app_class, info.chv1_status, info.chv2_status);
            UtaMsSimInfoIndCb(0, &info);
            break;
        }
        case 3: {
            UtaSimInitType init{};
            init.init_result = pick({0, 1, 7});
            init.imsi_len = static_cast<uint8_t>(random());  // a lie now and then
            model.init(init.init_result != 0);
            UtaMsSimInitIndCb(0, &init);
            break;
        }
        case 4:
            s_attach_allowed = random() % 2;
            s_locked = random() % 4 == 0 ? 1 : 0;
            model.told += static_cast<int>(s_locked);
            lock(s_locked);
            UtaMsSimFullAccessIndCb(0);
            break;
        default:
            set_radio_state(0, static_cast<RIL_RadioState>(pick({0, 1, 10, 10})));
            break;
    }
}

TEST_F(CardModel, RandomOrdersOfEvents) {
    const uint32_t seed = std::random_device{}();
    printf("seed %u\n", seed);
    std::mt19937 random(seed);
    for (int run = 0; run < 3000; ++run) {
        Model model;
        if (run > 0) {  // not touched by a start of the module
            model.ready = sim_check_if_sim_is_ready(0) != 0;
            UtaSimCardInfoParam clear{};
            clear.indicator = 3;
            UtaMsSimCardIndCb(0, &clear);
        }
        property_set("ril.recovery.0", "");
        sim_module_init(0);
        s_hot_swaps = 0;
        const size_t steps = 1 + random() % 20;
        for (size_t step = 0; step < steps; ++step) {
            FakeAndroid::instance().reset();
            model.told = 0;
            random_event(random, model);
            ASSERT_EQ(told(), model.told) << "run " << run << " step " << step;
            ASSERT_EQ(get_sim_state(0), static_cast<uint32_t>(model.state)) << "run " << run << " step " << step;
            ASSERT_EQ(is_sim_ready_pending(0) != 0, model.pending);
            ASSERT_EQ(sim_check_if_sim_is_ready(0) != 0, model.ready);
            ASSERT_EQ(sim_get_sim_status(0), model.status());
            ASSERT_EQ(s_hot_swaps, model.swaps);
            model.expect(ask());
            ASSERT_FALSE(HasFatalFailure()) << "run " << run << " step " << step;
        }
    }
    // Full access took and gave back a context each time.
    for (int i = 0; i < 254; ++i) {
        ASSERT_GE(qelril_get_free_ctxt_id(nullptr), 2);
    }
}

TEST_F(CardModel, AFullTableOfContextsFailsTheRequest) {
    for (int i = 0; i < 254; ++i) {
        qelril_get_free_ctxt_id(nullptr);
    }
    UtaMsSimFullAccessIndCb(0);  // reads no file, and breaks nothing
}

// The card's answer to the last command: a file's header, or its content.
void answer(const std::string& header, const std::string& content) {
    UtaSimApduData apdu{};
    UtaSimApduCmdRspParam param{};
    const std::string ending("\x90\0", 2);
    const auto give = [&](const std::string& text, auto& data) {
        const std::string whole = text + ending;
        std::copy(whole.begin(), whole.end(), data);
        return static_cast<int16_t>(whole.size());
    };
    if (!header.empty()) {
        param.file.ef_len = give(header, param.file.ef.data);
    } else {
        apdu.length = give(content, apdu.data);
        param.file.apdu = &apdu;
    }
    UtaMsSimApduCmdRspCb(0, &param, s_context);
}

// Reads the tables and then this EF_ACL.
void read_acl(const std::string& acl) {
    const std::string header("\x62\x04\x80\x02\x00\x20", 6);
    UtaSimCardInfoParam card{};
    UtaMsSimCardIndCb(0, &card);
    UtaMsSimFullAccessIndCb(0);  // the access points are what is asked for last
    answer(header, "");
    answer("", std::string("\x01\x02\x03\x04\x06", 5));
    answer(header, "");
    answer("", "\x04");
    answer(header, "");
    answer("", acl);
}

TEST_F(CardModel, AccessPointsOfTheCard) {
    sim_module_init(0);
    sim_set_inserted_sim_type(0, SIM_CARD_TYPE_3G);
    EXPECT_NE(sim_check_apn_listed_in_acl(0, "anything"), 0U);
    s_modem_result = 0;
    const struct {
        std::string acl;
        std::vector<const char*> allowed, refused;
    } c_cards[] = {
        {"\x01\xDD\x0D\x08internet\x03"
         "com\xFF\xFF",
         {"internet.com", "INTERNET.COM", "internetcom", "i.n.ternet.com."},
         {"internet", "internet.co", "internet.com.x", "", nullptr}},
        // Another tag and an empty one count as entries; what is behind their number does not.
        {std::string("\x03\xDE\x02\x01x\xDD\x00\xDD\x02\x01z\xDD\x02\x01y", 16), {"Z"}, {"y", "internet.com"}},
        // A label that runs past its entry, an entry that runs past the file; what stands between them is good.
        {"\x03\xDD\x03\x05"
         "ab\xDD\x02\x01q\xDD\x7F\x01w",
         {"q"},
         {"ab", "w"}},
        {std::string("\x00\xDD\x02\x01z", 5), {}, {"z"}},
    };
    for (const auto& card : c_cards) {
        read_acl(card.acl);
        for (const char* name : card.allowed) {
            EXPECT_NE(sim_check_apn_listed_in_acl(0, name), 0U) << name;
        }
        for (const char* name : card.refused) {
            EXPECT_EQ(sim_check_apn_listed_in_acl(0, name), 0U) << (name == nullptr ? "null" : name);
        }
    }
    UtaSimCardInfoParam gone{};
    UtaMsSimCardIndCb(0, &gone);
    EXPECT_NE(sim_check_apn_listed_in_acl(0, "z"), 0U);
    s_modem_result = -99;
}

}  // namespace
