// The modem crashes and comes back a thousand times under traffic from both sides, and the RPC daemon with it now and
// then.
#include <gtest/gtest.h>
#include <malloc.h>

#include <map>
#include <random>

#include "tests/lifecycle/lifecycle.h"

// Of the sanitizers' allocators; null without one.
extern "C" __attribute__((weak)) size_t __sanitizer_get_current_allocated_bytes();  // NOLINT

namespace {

constexpr int c_rounds = 10;
constexpr int c_cycles = 100;  // of each round

struct Footprint {
    size_t threads, files, memory;

    static Footprint now() {
        return {entries_of("/proc/self/task"), entries_of("/proc/self/fd"),
                __sanitizer_get_current_allocated_bytes != nullptr ? __sanitizer_get_current_allocated_bytes()
                                                                   : mallinfo2().uordblks};
    }
};

// rild's event thread.
void send_requests(Phone& phone, const std::atomic<bool>& ending, std::vector<RIL_Token>& tokens) {
    constexpr int c_numbers[] = {
        RIL_REQUEST_RADIO_POWER,
        RIL_REQUEST_GET_SIM_STATUS,
        RIL_REQUEST_GET_IMEI,
        RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE,
        RIL_REQUEST_GET_CURRENT_CALLS,
        RIL_REQUEST_RADIO_POWER,
        RIL_REQUEST_DEVICE_IDENTITY,
        RIL_REQUEST_SETUP_DATA_CALL,
        RIL_REQUEST_GET_IMEISV,
        RIL_REQUEST_RADIO_POWER,
        RIL_REQUEST_DIAL,
        RIL_REQUEST_SET_INITIAL_ATTACH_APN,
        RIL_REQUEST_SCREEN_STATE,
        RIL_REQUEST_SIM_IO,
        RIL_REQUEST_SIM_IO,
        RIL_REQUEST_SIM_IO,
    };
    RIL_SIM_IO_v6 io{};
    io.command = 0xB0;
    for (size_t n = 0; !ending; ++n) {
        const int number = c_numbers[n % std::size(c_numbers)];
        const bool has_value = number == RIL_REQUEST_RADIO_POWER || number == RIL_REQUEST_SCREEN_STATE ||
                               number == RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE;
        if (number == RIL_REQUEST_SIM_IO) {
            tokens.push_back(phone.request(number, &io, sizeof(io)));
        } else {
            tokens.push_back(has_value ? phone.request(number, n / std::size(c_numbers) % 3 == 0 ? 0 : 1)
                                       : phone.request(number, nullptr, 0));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

// Indications for the RIL thread, and answers to any context, of which some are in flight and most are not.
void send_from_modem(Phone& phone, const std::atomic<bool>& ending) {
    constexpr const char* c_indications[] = {
        c_card_removed,
        "NetRegistrationInfoIndCb second_cause=255 network.plmn.mcc=262 network.plmn.mnc=1 network.rat=1",
        "SimInfoIndCb sim_ind=3 uicc_id=31323334353637383930 app_class=255 chv1_status=5 chv2_status=1"};
    std::minstd_rand random(1);
    while (!ending) {
        for (const char* const indication : c_indications) {
            phone.modem.send(from_modem(indication));
        }
        const std::string answer = random() % 2 == 0 ? "CpsSetModeRsp mode=" : "CpsSetSimModeRsp mode=";
        phone.modem.send(from_modem(answer + std::to_string(random() % 3), random() & 0xFF));
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

TEST(Restart, AThousandCrashesUnderTraffic) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        // The request ends with the mode's last byte, the head of an integer, and the SIM.
        phone.modem.set_answer(228, [](const Bytes& request) {
            return from_modem("CpsSetModeRsp mode=" + std::to_string(request[request.size() - 7]));
        });
        phone.modem.set_answer(230, [](const Bytes& request) {
            return from_modem("CpsSetSimModeRsp mode=" + std::to_string(request[request.size() - 7]));
        });
        phone.modem.set_return(
            198, 0, output_of("SysReadImei", {"imei.imei=4A09512430325781", "imei.imeisv=4309512430325771F8"}));
        // Of five commands to the card one has no answer: it and those behind it end with the modem.
        int commands = 0;
        phone.modem.set_answer(146, [&commands, answer = from_modem("SimApduCmdRspCb")](const Bytes&) {
            return ++commands % 5 == 0 ? Bytes() : answer;
        });
        // Each end and each start sends these four in a row.
        constexpr int c_change[] = {1010, 1001, 1002, 1019};
        std::atomic<int> changes{0};
        std::atomic<int> card_changes{0};
        phone.android.set_observer(
            {{}, [&](int number, const void*, size_t) {
                 card_changes += number == RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED ? 1 : 0;
                 thread_local size_t s_next = 0;
                 s_next = number == c_change[s_next] ? s_next + 1 : number == c_change[0] ? 1 : 0;
                 if (s_next == std::size(c_change)) {
                     s_next = 0;
                     ++changes;
                 }
             }});
        const auto crash = [&] {
            const int before = changes;
            phone.event(c_event_down);
            phone.event(c_event_up);
            ASSERT_TRUE(soon([&] { return changes == before + 2; }));
        };
        size_t tokens_in_all = 0;
        std::map<RIL_Errno, size_t> errors;
        Footprint early{};
        for (int round = 0; round < c_rounds; ++round) {
            std::atomic<bool> ending{false};
            std::vector<RIL_Token> tokens;
            std::thread event_thread([&] { send_requests(phone, ending, tokens); });
            std::thread modem_thread([&] { send_from_modem(phone, ending); });
            for (int cycle = 0; cycle < c_cycles; ++cycle) {
                crash();
                std::this_thread::sleep_for(std::chrono::milliseconds(cycle % 4));  // commands to the card get through
                if (cycle % 25 == 10) {
                    const int before = changes;
                    phone.modem.stop();
                    ASSERT_TRUE(soon([&] { return changes == before + 1; }));
                    phone.modem.start();
                    ASSERT_TRUE(soon([&] { return changes == before + 2; }));
                }
            }
            ending = true;
            event_thread.join();
            modem_thread.join();
            crash();
            // Behind this one, no made-up answer is left that could take the place of the next start's.
            const int before = card_changes;
            phone.modem.send(from_modem(c_card_removed));
            ASSERT_TRUE(soon([&] { return card_changes > before; }));
            crash();
            phone.wait_radio_state(RADIO_STATE_OFF);
            phone.android.advance(60'000);  // timers that outlived their modems

            std::map<RIL_Token, int> completions;
            for (const FakeAndroid::Completion& completion : phone.android.completions()) {
                ++completions[completion.token];
                ++errors[completion.error];
            }
            EXPECT_EQ(completions.size(), tokens.size());
            for (RIL_Token token : tokens) {
                ASSERT_EQ(completions[token], 1);
            }
            tokens_in_all += tokens.size();
            std::exchange(completions, {});
            std::exchange(tokens, {});
            phone.android.reset();
            phone.modem.take_received();
            const Footprint now = Footprint::now();
            if (round == 1) {
                early = now;
            } else if (round > 1) {
                EXPECT_TRUE(soon([&] { return entries_of("/proc/self/task") <= early.threads; }));
                EXPECT_EQ(now.files, early.files);
                // 40 bytes left by each of eight hundred restarts are more than the allocator's own swing.
                EXPECT_LT(now.memory, early.memory + 32 * 1024) << "round " << round;
            }
        }
        EXPECT_GT(commands, 0);
        // Most is answered without the modem; enough must have gone the long way.
        EXPECT_GT(errors[RIL_E_SUCCESS], tokens_in_all / 20);
        EXPECT_GT(errors[RIL_E_RADIO_NOT_AVAILABLE], tokens_in_all / 20);
    });
}

}  // namespace
