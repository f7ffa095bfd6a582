// The console as scripts use it: at rild with the tests' library, and at sockets that this test serves byte by byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "tests/host/connection.h"
#include "tests/host/rild/rild_process.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Result {
    int status = -1;
    std::string text;
};

// A console that carries out a script while the test goes on.
class Script {
public:
    explicit Script(const std::string& lines, const std::string& options = "") {
        std::ofstream("/tmp/console_test_script") << lines;
        pipe_ = popen((std::string(CONSOLE) + " " + options + " /tmp/console_test_script 2>&1").c_str(), "re");
    }
    Result result() {
        Result result;
        char bytes[4096];
        while (const size_t got = fread(bytes, 1, sizeof(bytes), pipe_)) {
            result.text.append(bytes, got);
        }
        const int status = pclose(pipe_);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

private:
    FILE* pipe_;
};

// One end of a socket that the console connects to.
class Served {
public:
    explicit Served(const std::string& path) : listener_(Connection::listening(path)) {}
    void accept() { caller_.push_back(listener_.accepted()); }
    std::string read(size_t size) { return caller_.back().text(size); }
    void send(const std::string& bytes) { caller_.back().write(bytes); }
    void hang_up() { caller_.pop_back(); }

private:
    Connection listener_;
    std::vector<Connection> caller_;
};

TEST(Console, ShowsWhatComesFromRild) {
    RildProcess rild;
    Script script("wait connected\nimei\nsim\ncalls\nwait completion\nhelp\n");
    const Result result = script.result();
    EXPECT_EQ(0, result.status) << result.text;
    for (const char* line : {
             "* RIL_CONNECTED 9\n",
             "* RADIO_STATE_CHANGED off\n",
             "> GET_IMEI\n",
             "< GET_IMEI SUCCESS canned (",
             "SUCCESS card=present pin=disabled gsm=0 cdma=-1 ims=-1 apps={type=USIM state=ready perso=0 "
             "aid=\"canned\" "
             "label=null pin1-replaced=0 pin1=disabled pin2=not-verified} {type=ISIM state=unknown ",
             "{state=incoming index=1 toa=145 conference=0 incoming=1 line=0 voice=1 privacy=0 number=\"canned\" "
             "shown=2 "
             "name=null name-shown=3 uus={type=2 dcs=3 data=<01020304FF>}} {state=active ",
             "   ok wait completion\n",
             "2 steps held, 0 failed\n",
         }) {
        EXPECT_THAT(result.text, HasSubstr(line));
    }
}

TEST(Console, ReadsEveryFormWithoutAComplaint) {
    RildProcess rild;
    std::string lines = "wait connected\n";
    for (const char* form :
         {"void 1 9 18 19 20 38 57 75 89 109 13", "ints_1 12 35", "strings_a 2 11 25 27 41 60", "string_a 24 69 107",
          "bytes_01ff 59", "dial_123 10", "items_i:2_i:0_i:1_i:129_s:12_i:5 33 34", "items_i:1_s:pdu_s:null 63",
          "items_i:176_i:28421_s:3F00_i:0_i:0_i:9_s:null_s:null_s:null 28", "items_i:1_i:1_i:2_i:3_i:4_i:1 90"}) {
        std::istringstream words(form);
        std::string arguments;
        words >> arguments;
        std::replace(arguments.begin(), arguments.end(), '_', ' ');
        for (std::string number; words >> number;) {
            lines.append("raw ").append(number).append(" ").append(arguments);
            lines.append("\nexpect ").append(number).append(" ok\n");
        }
    }
    const Result result = Script(lines).result();
    EXPECT_EQ(0, result.status) << result.text;
    EXPECT_THAT(result.text, AllOf(Not(HasSubstr("!!")), HasSubstr("30 steps held, 0 failed")));
}

TEST(Console, HoldsScriptsToTheirExpectations) {
    const struct {
        const char* lines;
        int status;
        const char* text;
    } c_rows[] = {
        {"radio on\nexpect RADIO_POWER SUCCESS 10", 0, "> RADIO_POWER on\n"},
        {"radio on\nexpect RADIO_POWER GENERIC_FAILURE", 1, "it was SUCCESS"},
        {"radio on\nexpect 23 any", 0, "1 steps held"},
        {"radio on\nimei\nexpect completion ok\nexpect completion ok 1 canned\nfails expect completion ok 0", 0, ""},
        {"imei\nexpect GET_IMEI ok 5 004*|c?nned", 0, "1 steps held"},
        {"imei\nexpect GET_IMEI ok 5 other", 1, "it was canned"},
        {"expect GET_IMEI ok 0.1", 1, "it wasn't completed"},
        {"expect unsol RADIO_STATE_CHANGED 5 on|off\nexpect unsol 1034", 0, "2 steps held"},
        {"expect unsol RADIO_STATE_CHANGED 0.1 on", 1, "it didn't come"},
        {"expect unsol RIL_CONNECTED\nfails expect unsol RIL_CONNECTED 0.1", 0, "2 steps held"},
        {"wait connected\nsay A headline\nfails expect unsol RIL_CONNECTED 0.1", 0, "\n== A headline\n"},
        {"wait connected\nfails expect no unsol RIL_CONNECTED 0.1\nforget\nexpect no unsol RIL_CONNECTED 0.1", 0, ""},
        {"wait RIL_CONNECTED", 0, "1 steps held"},
        {"fails imei", 1, "it didn't"},
        {"nonsense", 1, "no such command"},
        {"dial", 1, "don't suit"},
        {"raw 10", 1, "a request and a form"},
        {"imei \"", 1, "a quote has no end"},
        {"modem crash", 1, "no modem listens"},
        {"sim2 imei", 1, "not connected"},
        {"# a comment\n\n  quit\nnonsense", 0, "0 steps held"},
        {"shell echo from the shell; exit 3", 1, "from the shell\n"},
        {"shell test -d /data", 0, "1 steps held"},
    };
    RildProcess rild;
    for (const auto& row : c_rows) {
        const Result result = Script(row.lines).result();
        EXPECT_EQ(row.status, result.status) << row.lines << "\n" << result.text;
        EXPECT_THAT(result.text, HasSubstr(row.text)) << row.lines;
    }
    EXPECT_EQ(2, Script("", "-x").result().status);
    const Result both = Script("nonsense\nnonsense\n", "-k").result();
    EXPECT_EQ(1, both.status);
    EXPECT_THAT(both.text, HasSubstr("2 failed"));
}

TEST(Console, SendsTheBytesOfItsRequests) {
    const struct {
        const char* line;
        std::string bytes;
    } c_rows[] = {
        {"radio off", request(23, 1, "1 0")},
        {"dial +49 1", request(10, 2, "'+49' 1 0")},
        {"pin 1234", request(2, 3, "1 '1234'")},
        {"raw SEND_SMS strings null 00", request(25, 4, "2 n '00'")},
        {"raw 59 bytes 0102ff", request(59, 5, "x0102ff")},
        {"raw 28 items i:-1 s:null r:null r: s:", request(28, 6, "-1 n n x ''")},
        {"ussd \"\xC3\xBC \xF0\x9F\x98\x80\"",
         framed(parcel("29 7") + bytes_of("04000000 fc00 2000 3dd8 00de 0000 0000"))},
    };
    Served rild(c_first_socket);
    std::string lines;
    for (const auto& row : c_rows) {
        lines += std::string(row.line) + "\n";
    }
    Script script(lines + "expect completion LOST\n", "-k");
    rild.accept();
    for (const auto& row : c_rows) {
        EXPECT_EQ(row.bytes, rild.read(row.bytes.size())) << row.line;
    }
    rild.hang_up();
    EXPECT_EQ(0, script.result().status);
}

TEST(Console, SaysWhatIsWrongWithAnswers) {
    const auto answer = [](int serial, const std::string& words) {
        return framed(parcel("0 " + std::to_string(serial) + " " + words));
    };
    Served rild(c_first_socket);
    Script script("imei\nimei\nexpect GET_IMEI ok\nexpect GET_IMEI ok\nexpect unsol NEW_SMS\nwait CALL_RING\n");
    rild.accept();
    rild.read(24);
    rild.send(answer(2, "0 'ab'") + answer(1, "0 5 6") + answer(1, "0 'ab'") + answer(3, "0"));
    rild.send(framed(parcel("1 1003 'x' 7")) + framed(parcel("2 3")));
    rild.send(bytes_of("00001ffd"));  // more than 8,192 bytes
    rild.hang_up();
    rild.accept();
    rild.send(framed(parcel("1 1018")));
    const Result result = script.result();
    EXPECT_EQ(1, result.status);  // for the answers to nothing
    for (const char* text :
         {"< GET_IMEI SUCCESS ab (", "< GET_IMEI SUCCESS  !! too short",
          "!! an answer to nothing that is open, serial 1\n", "serial 3\n", "* NEW_SMS x !! 4 bytes more\n",
          "!! a message of kind 2\n", "a message of 8189 bytes: hung up"}) {
        EXPECT_THAT(result.text, HasSubstr(text));
    }
}

TEST(Console, CountsTrafficAndFindsWhatIsMissing) {
    {
        Process rild({RILD, "-l", FAKE_RIL}, false);
        Process second({RILD, "-l", FAKE_RIL, "--", "--client", "2"}, false);
        const Result result =
            Script(
                "wait connected\ntraffic on 1\nsim2 wait connected\nsim2 traffic on 1 BASEBAND_VERSION OPERATOR\nsleep "
                "0.3\n"
                "expect traffic-balanced\nsim2 expect traffic-balanced\ntraffic off\nexpect traffic-balanced\n")
                .result();
        EXPECT_EQ(0, result.status) << result.text;
        EXPECT_THAT(result.text, AllOf(HasSubstr("sim2 traffic: "), HasSubstr(" SUCCESS)"), HasSubstr(", 0 lost, 0 ")));
    }
    for (const char* what : {"missing", "twice", "lost"}) {
        Served rild(c_first_socket);
        Script script("wait connected\ntraffic on 60000 OPERATOR\nwait CALL_RING\nexpect traffic-balanced 0.2\n");
        rild.accept();
        rild.send(framed(parcel("1 1034 1 9")));
        EXPECT_EQ(request(22, 1), rild.read(12));
        const std::string answer = framed(parcel("0 1 0"));
        if (what == std::string("lost")) {
            rild.hang_up();
            rild.accept();
        } else if (what == std::string("twice")) {
            rild.send(answer + answer);
        }
        rild.send(framed(parcel("1 1018")));
        EXPECT_EQ(1, script.result().status) << what;
    }
}

TEST(Console, SpeaksToTheModemsControlSocket) {
    Served control("/dev/socket/modem_control");
    Script script("modem crash\nmodem refuse \"a b\" 1\nfails modem nonsense\nmodem status\n");
    control.accept();
    EXPECT_EQ("modem crash\n", control.read(12));
    control.send("ok\n");
    EXPECT_EQ("refuse \"a b\" 1\n", control.read(15));
    control.send("ok\n");
    EXPECT_EQ("nonsense\n", control.read(9));
    control.send("error no such command\n");
    EXPECT_EQ("status\n", control.read(7));
    control.send("up\nok");
    control.send("\n");
    const Result result = script.result();
    EXPECT_EQ(0, result.status) << result.text;
    EXPECT_THAT(result.text, HasSubstr("modem: up\n"));
}

TEST(Console, FindsRildAgain) {
    Script script("wait connected\nradio on\nexpect RADIO_POWER LOST\nwait connected\nimei\nexpect GET_IMEI ok\n");
    {
        RildProcess rild({"-b"});
        EXPECT_EQ("timer init", rild.line());
        rild.set_mode("hold");
        rild.tell("go");
        EXPECT_EQ("request 23 ints 1", rild.line());
    }
    RildProcess rild;
    EXPECT_EQ("request 38 null 0", rild.line());
    const Result result = script.result();
    EXPECT_EQ(0, result.status) << result.text;
}

}  // namespace
