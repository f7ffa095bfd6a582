// The last steps of a shutdown: who takes them, and the modem's power state file.
#include <cutils/properties.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/harness/sleeps.h"
#include "tests/lifecycle/lifecycle.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* c_state_file = "/sys/devices/platform/tqz_boot/state";

std::string power_state() {
    std::ostringstream text;
    text << std::ifstream(c_state_file).rdbuf();
    return text.str();
}

void radio_on(Phone& phone) {
    phone.bring_up();
    phone.answer_mode_requests_as_asked();
    EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_SUCCESS);
    phone.modem.take_received();
    phone.android.reset();
    harness_take_slept();
}

// Whatever was asked, the modem goes off, and Android has its answer at once.
TEST(Shutdown, OfThePlatform) {
    for (const char* requested : {"0", "1", "0userrequested"}) {
        for (const int value : {0, 1}) {
            for (const int32_t result : {0, 5}) {
                SCOPED_TRACE(requested + std::to_string(value) + std::to_string(result));
                in_own_process([&] {
                    Phone phone;
                    radio_on(phone);
                    phone.leave_mode_requests_open();
                    phone.modem.set_return(c_set_mode, result);
                    property_set("sys.shutdown.requested", requested);
                    property_set("gsm.simmanager.set_off_sim1", "true");
                    RIL_Token token = phone.request(RIL_REQUEST_RADIO_POWER, value);
                    EXPECT_EQ(phone.android.completed(token), 1);
                    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
                    const std::vector<Bytes> packets = phone.modem.take_received();
                    EXPECT_THAT(masked(packets), ElementsAre(c_stack_off, c_sim_on, c_mode_off));
                    EXPECT_EQ(harness_take_slept(), 1000000U);
                    EXPECT_EQ(power_state(), "OFF");
                    EXPECT_EQ(radio_log().find("setting sim0 phone to cfun = 0 failed") != std::string::npos,
                              result != 0);
                    // The answer belongs to no request.
                    phone.modem.send(with_context(mode_answer(227, 0), packets.back()));
                    if (result == 0) {
                        phone.wait_radio_state(RADIO_STATE_OFF);
                        EXPECT_THAT(phone.android.unsolicited_numbers(), ElementsAre(1000));
                    }
                    EXPECT_EQ(phone.android.completions().size(), 1U);
                });
            }
        }
    }
}

// Any other value of the property shuts down where the stack alone goes off, and Android waits for the modem.
TEST(Shutdown, OfTheStackAlone) {
    for (const bool sim_off : {false, true}) {
        in_own_process([&] {
            Phone phone;
            radio_on(phone);
            property_set("sys.shutdown.requested", "x");
            property_set("gsm.simmanager.set_off_sim1", sim_off ? "true" : "false");
            EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 0)).error, RIL_E_SUCCESS);
            EXPECT_THAT(masked(phone.modem.take_received()),
                        ElementsAre(c_stack_off, sim_off ? c_sim_off : c_sim_on, c_mode_off));
            EXPECT_EQ(power_state(), sim_off ? "ON" : "OFF");
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_OFF);
        });
    }
}

// With the other SIM's radio not off, flight mode switches the stack off and no more.
TEST(Shutdown, FlightModeLeavesTheModemOn) {
    in_own_process([] {
        property_set("persist.gsm.flightmode.shutdown", "1");
        Phone phone;
        radio_on(phone);
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 0)).error, RIL_E_SUCCESS);
        EXPECT_THAT(masked(phone.modem.take_received()), ElementsAre(c_stack_off, c_sim_on, c_mode_off));
        EXPECT_EQ(power_state(), "ON");
        EXPECT_EQ(harness_take_slept(), 0U);
    });
}

// A pipe in the file's place: what is written queues behind what is there to be read.
void make_pipe(const std::string& text) {
    unlink(c_state_file);
    ASSERT_EQ(mkfifo(c_state_file, 0644), 0);
    const int fd = open(c_state_file, O_RDWR);  // stays open
    ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void make_link(const char* target) {
    unlink(c_state_file);
    ASSERT_EQ(symlink(target, c_state_file), 0);
}

TEST(Shutdown, PowerStateFile) {
    const std::string dots(31, '.');
    const struct {
        std::function<void()> make;
        std::vector<std::string> log;
    } cases[] = {
        {[] {}, {}},
        {[] { unlink(c_state_file); }, {}},
        {[] { std::filesystem::remove_all("/sys/devices/platform/tqz_boot"); },
         {"Can not open state file", "Error writing ON/OFF command"}},
        {[] {
             unlink(c_state_file);
             mkdir(c_state_file, 0755);
         },
         {"Can not open state file", "Error writing ON/OFF command"}},
        {[] { make_link("/dev/full"); }, {"Error writing state", "Error writing ON/OFF command"}},
        {[] { make_link("/dev/null"); }, {"Error reading ON/OFF command"}},
        {[&] { make_pipe(dots); }, {"Error reading ON/OFF command"}},
        {[&] { make_pipe(dots + "OFF"); }, {"Error reading ON/OFF command"}},
        {[&] { make_pipe("ON" + dots); }, {"Transition failed"}},
        {[&] { make_pipe("ON OFF" + dots); }, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        in_own_process([&] {
            Phone phone;
            radio_on(phone);
            property_set("sys.shutdown.requested", "1");
            c.make();
            EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 0)).error, RIL_E_SUCCESS);
            std::istringstream lines(radio_log());
            size_t n = 0;
            for (std::string line; std::getline(lines, line); ++n) {
                EXPECT_THAT(line, HasSubstr(n < c.log.size() ? c.log[n] : "no line"));
            }
            EXPECT_EQ(n, c.log.size());
            struct stat info = {};
            if (c.log.empty() && stat(c_state_file, &info) == 0 && S_ISREG(info.st_mode)) {
                EXPECT_EQ(power_state(), "OFF");
                EXPECT_EQ(info.st_mode & 0777, 0644U);
            }
        });
    }
}

// A modem that goes down while the platform does stays down.
TEST(Shutdown, NoStartFollows) {
    in_own_process([] {
        Phone phone;
        radio_on(phone);
        property_set("sys.shutdown.requested", "1");
        phone.event(c_event_down);
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 5; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_THAT(phone.android.unsolicited_numbers(), ElementsAre(1000, 1010, 1001, 1002, 1019));
        EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_UNAVAILABLE);
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_RADIO_NOT_AVAILABLE);
        EXPECT_TRUE(phone.modem.take_received().empty());
    });
}

}  // namespace
