#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "ril/config/ril_config.h"
#include "ril/utils/trace.h"

namespace {

std::string scratch_file() {
    return testing::TempDir() + "config_test_" + std::to_string(getpid());
}

// Every setting as text: the control settings in their order, the two strings, the trace masks.
std::string settings() {
    const ril_cfg_modem_values values = ril_config_get_modem_values();
    std::ostringstream text;
    text << values.xfdor_mode << ' ' << int{values.xfdor_delay_timer} << ' ' << int{values.xfdor_scri_timer} << ' '
         << ril_config_get_max_gprs_pdp_context() << ' ' << values.rx_diversity_2g_darp;
    for (const uint32_t index : {CFG_MODEM_DEV_NAME_1, CFG_MODEM_DEV_NAME_2}) {
        const char* string = ril_config_get_cfg_string(index);
        text << ' ' << (string == nullptr ? "-" : string);
    }
    for (const uint32_t mask : s_cfg_trace_settings) {
        text << ' ' << mask;
    }
    EXPECT_EQ(ril_config_fast_dormancy_screen_controlled(), values.xfdor_mode == 2 ? 1U : 0U);
    EXPECT_EQ(ril_config_fast_dormancy_oem_controlled(), values.xfdor_mode == 1 ? 1U : 0U);
    EXPECT_EQ(ril_config_get_cfg_string(2), nullptr);
    return text.str();
}

// What the settings are in a process that starts with these arguments.
std::string started_with(std::vector<std::string> arguments, int32_t result, const char* conformance = "") {
    int fds[2];
    EXPECT_EQ(pipe(fds), 0);
    const pid_t child = fork();
    if (child == 0) {
        arguments.insert(arguments.begin(), "rild");
        std::vector<char*> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        property_set("persist.conformance", conformance);
        EXPECT_EQ(ril_config_init(static_cast<int>(arguments.size()), argv.data()), result);
        const std::string text = settings();
        _exit(write(fds[1], text.data(), text.size()) > 0 && !testing::Test::HasFailure() ? 0 : 1);
    }
    close(fds[1]);
    char text[1024] = {};
    EXPECT_GT(read(fds[0], text, sizeof(text) - 1), 0);
    close(fds[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return text;
}

std::string loaded(const std::string& file, const char* conformance = "") {
    std::ofstream(scratch_file()) << file;
    std::string text = started_with({"-c", scratch_file()}, 0, conformance);
    unlink(scratch_file().c_str());
    return text;
}

TEST(Config, Lines) {
    const std::string defaults = "2 2 30 1 1 - - 1 1 1";
    const std::string delay_5 = "2 5 30 1 1 - - 1 1 1";
    const std::string c = "[control]\n";
    const std::string s = "[string]\n";
    const std::string blanks(250, ' ');
    const struct {
        std::string file, settings;
    } cases[] = {
        {"", defaults},
        // ranges
        {c + "xfdor_mode = 3\nxfdor_delay_timer = 0\nxfdor_scri_timer = 500\ngprs_max_pdp_context = 5\n",
         "3 1 120 2 1 - - 1 1 1"},
        {c + "xfdor_mode = 7\nxfdor_delay_timer = 61\nxfdor_scri_timer = 0\ngprs_max_pdp_context = 0\n",
         "2 60 1 0 1 - - 1 1 1"},
        {c + "xfdor_mode=1\nxfdor_delay_timer=-1\nxfdor_scri_timer=-9\ngprs_max_pdp_context=-3\nRxDiversity2GDARP=-1\n",
         "1 1 1 -3 -1 - - 1 1 1"},
        // numbers
        {c + "xfdor_delay_timer = 0x1F\nxfdor_scri_timer=0x0a\n", "2 31 10 1 1 - - 1 1 1"},
        {c + "xfdor_delay_timer = 010\n", "2 10 30 1 1 - - 1 1 1"},
        {c + "xfdor_delay_timer = 10x\n", defaults},
        {c + "xfdor_delay_timer = 0x10g\n", defaults},
        {c + "xfdor_delay_timer = +5\n", delay_5},
        {c + "xfdor_delay_timer = 99999999999999999999\n", "2 60 30 1 1 - - 1 1 1"},
        {c + "xfdor_delay_timer = -4294967291\n", "2 1 30 1 1 - - 1 1 1"},
        // what is in a line
        {c + "xfdor_delay _timer\t=  5\t\n", delay_5},
        {c + "xfdor_delay_timer = 5 # 6\n", delay_5},
        {c + "# xfdor_delay_timer = 5\n", defaults},
        {c + "=\n[\n]\n[]\n#\n\n \n", defaults},
        {c + "xfdor_delay_timer == 5\n", delay_5},
        {c + "xfdor_[delay]_timer = [5]\n", delay_5},
        {c + "XFDOR_delay_timer = 5\nxfdor_delay_timer_ = 5\nxfdor_delay_time = 5\n", defaults},
        {c + std::string("xfdor_delay_timer\0 = 5\n", 23), delay_5},
        // sections
        {"xfdor_delay_timer = 5\n", defaults},
        {"[control] junk\nxfdor_delay_timer = 5\n", delay_5},
        {"[con trol\t]\nxfdor_delay_timer = 5\n", delay_5},
        {"[[con[trol]]\nxfdor_delay_timer = 5\n", delay_5},
        {"[control\nxfdor_delay_timer = 5\n", defaults},
        {c + "[nosuch]\nxfdor_delay_timer = 5\n", defaults},
        {c + "[]\nxfdor_delay_timer = 5\n", delay_5},
        // strings
        {s + "modem_dev_name_1 = /dev/a b\nmodem_dev_name_2 = = /dev/c = d\n", "2 2 30 1 1 /dev/ab /dev/cd 1 1 1"},
        {s + "modem_dev_name_2 = first\nmodem_dev_name_2 = second\nmodem_dev_name_2 =\n", "2 2 30 1 1 - second 1 1 1"},
        // trace
        {"[trace]\nril_log_level = 127\nqelril_log_level = 0x10\nnvm_log_level = 0\n", "2 2 30 1 1 - - 127 16 0"},
        {"[trace]\nril_log_level = all\nqelril = 3\n", defaults},
        // where lines end
        {c + "xfdor_delay_timer = 5", defaults},
        {c + blanks.substr(0, 236) + "xfdor_delay_timer=56\n", "2 56 30 1 1 - - 1 1 1"},  // 256 and a newline
        {c + blanks.substr(0, 236) + "xfdor_delay_timer=56", "2 56 30 1 1 - - 1 1 1"},    // 256 and the end
        {c + blanks.substr(0, 237) + "xfdor_delay_timer=56\n", delay_5},                  // cut behind the 5
        {c + blanks.substr(0, 237) + "xfdor_delay_timer=5xfdor_scri_timer=7\n", "2 5 7 1 1 - - 1 1 1"},
        {c + "#" + blanks + "12345xfdor_delay_timer=5\n", delay_5},  // a comment ends there too
        {s + "modem_dev_name_1=" + std::string(239, 'n') + "\n", "2 2 30 1 1 " + std::string(239, 'n') + " - 1 1 1"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(loaded(test.file), test.settings) << "row " << &test - cases << "\n" << test.file;
    }
}

TEST(Config, ConformanceForcesTheModeOfLinesOnly) {
    const std::string file = "[control]\nxfdor_mode = 3\nxfdor_delay_timer = 5\n";
    EXPECT_EQ(loaded(file, "true"), "0 5 30 1 1 - - 1 1 1");
    EXPECT_EQ(loaded(file, "truely"), "3 5 30 1 1 - - 1 1 1");
    EXPECT_EQ(loaded("[control]\n", "true"), "2 2 30 1 1 - - 1 1 1");
}

TEST(Config, LastPathWins) {
    const std::string defaults = "2 2 30 1 1 - - 1 1 1";
    const std::string good = scratch_file() + "_good";
    const std::string other = scratch_file() + "_other";
    std::ofstream(good) << "[control]\nxfdor_delay_timer = 5\n";
    std::ofstream(other) << "[control]\nxfdor_delay_timer = 6\n";
    EXPECT_EQ(started_with({"-c", other, "--client", "1", "-c", good}, 0), "2 5 30 1 1 - - 1 1 1");
    EXPECT_EQ(started_with({"-c", good, "-c"}, 0), "2 5 30 1 1 - - 1 1 1");
    EXPECT_EQ(started_with({"-c", good, "-c", "/nowhere/at/all"}, -1), defaults);
    EXPECT_EQ(started_with({"-c", testing::TempDir()}, 0), defaults);  // a folder holds no lines
    unlink(good.c_str());
    unlink(other.c_str());
}

}  // namespace
