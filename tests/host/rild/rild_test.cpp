// rild with a library that does as it is told, driven over its socket with parcels written by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/host/rild/rild_process.h"

namespace {

using testing::HasSubstr;

const std::string c_card = "1 3 0 -1 -1 2  2 5 0 'canned' n 0 3 1  5 0 0 n n 0 0 0";
const std::string c_calls = "2  4 1 145 0 1 0 1 0 'canned' 2 n 3 1 2 3 x01020304ff  0 2 129 1 0 1 1 0 n 0 '' 0 0";
const std::string c_signal = "20 99 -1 -2 -3 -4 -5 -6 100 10 2147483647 15";
const std::string c_data_calls = "9 1  0 -1 5 2 'canned' '' n 'canned' ''";
const std::string c_cells =
    "4  1 1 3 L21474836486 10 11 12 13 14 15  2 0 3 L21474836487 16 17 18 19 20 21 22 23 24 25"
    "  3 0 3 L21474836488 26 27 28 29 30 31 32 33 34 35 36  4 0 3 L21474836489 37 38 39 40 41 42 43";
const std::string c_forward = "1 2 3 145 'canned' 20";
const std::string c_sim_io = "144 0 'canned'";

// Requests of one form: their arguments, what the library says it got, the response's data.
struct Row {
    const char* numbers;
    std::string arguments;
    std::string got;
    std::string response;
};

const std::vector<Row> c_requests = {
    {"13 14 15 16 17 30 40 46 50 72 103", "", "null 0", ""},
    {"12 23 32 36 37 52 53 61 62 64 65 71 73 76 80 91 102 110", "2 1 -5", "ints 1 -5", ""},
    {"18 31 45 54 55 56 66 74 81 108", "", "null 0", "2 7 -2"},
    {"20 21 22 48 98", "", "null 0", "3 'canned' n ''"},
    {"38 39 51 67 100", "", "null 0", "'canned'"},
    {"24 29 47 49 68 70 101", "'abc'", "'abc'", ""},
    {"2 3 4 5 6 7 8 42 43", "3 'ab' n ''", "strings 'ab' n ''", "2 7 -2"},
    {"41 44 106", "1 'a'", "strings 'a'", ""},
    {"35", "1 9", "ints 9", "2 7 -2"},
    {"69 105", "'abcd'", "'abcd'", "'canned'"},
    {"11", "1 'aid'", "strings 'aid'", "'canned'"},
    {"60", "2 'a' 'b'", "strings 'a' 'b'", "3 'canned' n ''"},
    {"59", "x0102fe", "x0102fe", "x01020304ff"},
    {"1", "", "null 0", c_card},
    {"9", "", "null 0", c_calls},
    {"10", "'123' 1 0", "'123' 1", ""},
    {"10", "'123' 1 2", "'123' 1", ""},
    {"10", "'1' 2 1 4 5 xbeef", "'1' 2 uus 4 5 2 xbeef", ""},
    {"10", "n 0 1 4 5 n", "n 0 uus 4 5 0 n", ""},
    {"19", "", "null 0", c_signal},
    {"25 26", "2 n 'pdu'", "strings n 'pdu'", "42 'canned' -1"},
    {"27", "4 'a' 'b' 'c' 'd'", "strings 'a' 'b' 'c' 'd'", c_data_calls},
    {"28", "176 28589 '3F00' 1 2 10 'data' n 'aid'", "176 28589 '3F00' 1 2 10 'data' n 'aid'", c_sim_io},
    {"28", "176 28589 n 1 2 10 n 'pin2' n", "176 28589 n 1 2 10 n 'pin2' n", c_sim_io},
    {"33", "2 0 1 129 '12' 5", "2 0 1 129 '12' 5", "2 " + c_forward + " " + c_forward},
    {"34", "3 1 1 129 '' 5", "3 1 1 129 n 5", ""},
    {"34", "3 1 1 129 n 5", "3 1 1 129 n 5", ""},
    {"57", "", "null 0", c_data_calls},
    {"63", "1 'pdu' n", "1 'pdu' n", "2 7 -2"},
    {"75", "", "null 0", "1 31 'canned'"},
    {"89", "", "null 0", "1 1 2 3 4 1"},
    {"90", "2 1 2 3 4 1 5 6 7 8 0", "configs 1 2 3 4 1 5 6 7 8 0", ""},
    {"90", "0", "configs", ""},
    {"107", "'abc'", "'abc'", c_sim_io},
    {"109", "", "null 0", c_cells},
    // What an array or a string may be besides.
    {"2", "n", "null 0", "2 7 -2"},
    {"2", "0", "strings", "2 7 -2"},
    {"59", "n", "null 0", "x01020304ff"},
    {"59", "x", "x", "x01020304ff"},
    {"29", "n", "n", ""},
    {"29", "''", "''", ""},
};

std::vector<int> numbers_of(const std::string& text) {
    std::vector<int> numbers;
    std::istringstream in(text);
    for (int number = 0; in >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

std::string response(int serial, int error, const std::string& words = "") {
    return parcel("0 " + std::to_string(serial) + " " + std::to_string(error) + " " + words);
}

std::string unsol(int number, const std::string& words = "") {
    return parcel("1 " + std::to_string(number) + " " + words);
}

// A client that has read its greeting.
class GreetedClient : public RilClient {
public:
    explicit GreetedClient(const std::string& path = c_first_socket) : RilClient(path) {
        EXPECT_EQ(unsol(1034, "1 9"), message());
        EXPECT_EQ(unsol(1000, "0"), message());
    }
};

// Shows that rild serves the client and that nothing else was on the way to it.
void expect_served(RildProcess& rild, RilClient& client) {
    rild.set_mode("canned");
    client.send(request(38, 4711));
    EXPECT_EQ(response(4711, 0, "'canned'"), client.message());
    EXPECT_EQ("request 38 null 0", rild.line());
}

TEST(Notation, IsWhatTheBytesAre) {
    EXPECT_EQ(bytes_of("0c000000 ffffffff 0600000005000000"), parcel("12 n L21474836486"));
    EXPECT_EQ(bytes_of("02000000 6100 6200 0000 0000  03000000 6100 6200 6300 0000"), parcel("'ab' 'abc'"));
    EXPECT_EQ(bytes_of("00000000 00000000  03000000 01ff02 00  04000000 01020304"), parcel("'' x01ff02 x01020304"));
    EXPECT_EQ(bytes_of("00000010 17000000 0d000000 01000000 05000000"), request(23, 13, "1 5"));
}

TEST(Rild, CarriesEveryRequestAndResponse) {
    RildProcess rild;
    GreetedClient client;
    int serial = 100;
    for (const Row& row : c_requests) {
        for (const int number : numbers_of(row.numbers)) {
            client.send(request(number, ++serial, row.arguments));
            EXPECT_EQ("request " + std::to_string(number) + " " + row.got, rild.line());
            EXPECT_EQ(response(serial, 0, row.response), client.message()) << number;
        }
    }
}

TEST(Rild, SendsDataWithAnErrorAndNoneForNull) {
    RildProcess rild;
    GreetedClient client;
    for (const auto& [mode, error, with_data] : {std::tuple("error", 3, true), std::tuple("null", 0, false)}) {
        rild.set_mode(mode);
        for (const Row& row : c_requests) {
            const int number = numbers_of(row.numbers)[0];
            client.send(request(number, 1, row.arguments));
            rild.line();
            EXPECT_EQ(response(1, error, with_data ? row.response : ""), client.message()) << number;
        }
    }
}

TEST(Rild, CarriesEveryUnsolicitedResponse) {
    const std::vector<Row> c_rows = {
        {"1001 1002 1012 1016 1018 1019", "", "", ""},
        {"1003 1004 1013 1014", "", "n", "'canned'"},
        {"1006", "", "0", "3 'canned' n ''"},
        {"1005 1023 1029 1034", "", "0", "2 7 -2"},
        {"1021 1028", "", "n", "x01020304ff"},
        {"1009", "", "nothing", c_signal},
        {"1010", "", "9 0", c_data_calls},
        {"1011", "", "nothing", "1 2 3 145 'canned'"},
        {"1036", "", "0", c_cells},
        {"1000", "", "0", "0"},
        {"1007 1015 1017 1020 1022 1024 1025 1026 1027 1030 1031 1032 1033 1035 1037 999 0", "", "nothing", "nothing"},
    };
    RildProcess rild;
    GreetedClient client;
    for (const Row& row : c_rows) {
        for (const int number : numbers_of(row.numbers)) {
            for (const auto& [how, words] : {std::pair(" null", row.got), std::pair("", row.response)}) {
                rild.tell("unsol " + std::to_string(number) + how);
                if (words == "nothing") {
                    rild.tell("unsol 1018");  // what comes instead
                    EXPECT_EQ(unsol(1018), client.message()) << number << how;
                } else {
                    EXPECT_EQ(unsol(number, words), client.message()) << number << how;
                }
            }
        }
    }
    for (const int state : {1, 10}) {
        rild.tell("state " + std::to_string(state));
        EXPECT_EQ(unsol(1000, std::to_string(state)), client.message());
    }
}

TEST(Rild, TurnsTextsFromUtf16ToUtf8AndBack) {
    RildProcess rild;
    GreetedClient client;
    const struct {
        const char* units;  // after the count
        const char* text;
    } c_rows[] = {
        {"02000000 fc00 ac20 0000 0000", "\xC3\xBC\xE2\x82\xAC"},
        {"02000000 3dd8 00de 0000 0000", "\xF0\x9F\x98\x80"},  // a pair of surrogates
        {"01000000 fdff 0000", "\xEF\xBF\xBD"},
    };
    for (const auto& row : c_rows) {
        client.send(framed(parcel("29 1") + bytes_of(row.units)));
        EXPECT_EQ("request 29 '" + std::string(row.text) + "'", rild.line());
        EXPECT_EQ(response(1, 0), client.message());
        rild.tell("unsol 1003 " + std::string(row.text));
        EXPECT_EQ(unsol(1003) + bytes_of(row.units), client.message());
    }
    // What isn't text on one side is the replacement character on the other.
    for (const char* units : {"02000000 3dd8 6100 0000 0000", "02000000 00de 6100 0000 0000"}) {
        client.send(framed(parcel("29 1") + bytes_of(units)));
        EXPECT_EQ(
            "request 29 '\xEF\xBF\xBD"
            "a'",
            rild.line());
        EXPECT_EQ(response(1, 0), client.message());
    }
    for (const char* text : {"\xFF"
                             "a",
                             "\xC3"
                             "a",
                             "\xC0"
                             "a"}) {
        rild.tell("unsol 1003 " + std::string(text));
        EXPECT_EQ(unsol(1003) + bytes_of("02000000 fdff 6100 0000 0000"), client.message());
    }
}

TEST(Rild, AnswersBadMessagesAndServesOn) {
    RildProcess rild;
    GreetedClient client;
    for (const int number : {0, 58, 77, 79, 88, 97, 99, 104, 111, 114, 1000, -1}) {
        client.send(request(number, 7, "1 1"));
        EXPECT_EQ(response(7, 6), client.message()) << number;
    }
    for (const Row& row : c_requests) {  // every one cut short at every word
        const std::string whole = parcel(row.arguments);
        for (size_t size = 0; size < whole.size(); size += 4) {
            const int number = numbers_of(row.numbers)[0];
            client.send(framed(parcel(std::to_string(number) + " 8") + whole.substr(0, size)));
            EXPECT_EQ(response(8, 2), client.message()) << number << " with " << size << " bytes";
        }
    }
    const std::vector<std::pair<int, std::string>> c_lies = {
        {23, "0"},
        {23, "-1"},
        {23, "2147483647 1"},
        {23, "1073741825 1"},  // that times 4 is 4
        {2, "-2"},
        {2, "2147483647 'a'"},
        {29, "-2"},
        {29, "2147483647 1 2"},
        {29, "1073741823 1"},
        {29, "4 1 1"},
        {59, "-2"},
        {59, "2147483647 1"},
        {59, "-2147483648 1"},
        {59, "5 1"},
        {90, "-1"},
        {90, "2147483647 1 1 1 1 1"},
        {10, "'1' 0 1 0 0 -2"},
        {10, "'1' 0 1 0 0 9 1"},
    };
    for (const auto& [number, words] : c_lies) {
        client.send(request(number, 9, words));
        EXPECT_EQ(response(9, 2), client.message()) << number << ": " << words;
    }
    client.send(framed(""));  // no serial: nothing to answer
    client.send(framed(parcel("38")));
    client.send(framed(parcel("38") + "abc"));
    expect_served(rild, client);
    client.send(request(23, 10, "1 5 6 7 'behind'"));
    EXPECT_EQ("request 23 ints 5", rild.line());
    EXPECT_EQ(response(10, 0), client.message());
}

TEST(Rild, KeepsToTheLimitOfAMessage) {
    RildProcess rild;
    GreetedClient client;
    constexpr size_t c_limit = 8192 - 4;
    const std::string head = parcel("38 1");
    client.send(framed(head + std::string(c_limit - head.size(), 'x')));
    EXPECT_EQ(response(1, 0, "'canned'"), client.message());
    EXPECT_EQ("request 38 null 0", rild.line());
    for (const size_t size : {c_limit + 1, c_limit + 4, size_t{100'000}}) {
        client.send(framed(head + std::string(size - head.size(), 'x')));
        EXPECT_EQ(response(1, 2), client.message());
        expect_served(rild, client);
    }
    // 12 bytes of head, the count and 4,086 units are the most.
    rild.set_mode("text 4085");
    client.send(request(38, 2));
    EXPECT_EQ(response(2, 0, "'" + std::string(4085, 'a') + "'"), client.message());
    rild.line();
    rild.set_mode("text 4086");
    client.send(request(38, 3));
    EXPECT_EQ(response(3, 2), client.message());
    rild.line();
    rild.tell("unsol 1003 " + std::string(4087, 'a'));
    EXPECT_EQ(unsol(1003, "'" + std::string(4087, 'a') + "'"), client.message());
    rild.tell("unsol 1003 " + std::string(4088, 'a'));
    expect_served(rild, client);
    // A length that nothing can have: answered, and the rest of the stream belongs to it.
    client.send(bytes_of("ffffffff") + head);
    EXPECT_EQ(response(1, 2), client.message());
    client.send(request(38, 5));
    rild.tell("unsol 1018");
    EXPECT_EQ(unsol(1018), client.message());
    client.hang_up();
    GreetedClient next;
    expect_served(rild, next);
}

TEST(Rild, DropsDataThatAreNotInTheirForm) {
    RildProcess rild;
    GreetedClient client;
    for (const int number : {1, 2, 9, 19, 20, 25, 27, 28, 33, 75, 89, 109}) {
        const auto row = std::find_if(c_requests.begin(), c_requests.end(),
                                      [number](const Row& r) { return numbers_of(r.numbers)[0] == number; });
        rild.set_mode("short");
        client.send(request(number, 6, row->arguments));
        EXPECT_EQ(response(6, 2), client.message()) << number;
        rild.line();
    }
    for (const int number : {1005, 1006, 1009, 1010, 1011, 1036}) {
        rild.tell("unsol " + std::to_string(number) + " short");
    }
    rild.tell("unsol 1018");
    EXPECT_EQ(unsol(1018), client.message());
    rild.set_mode("twice");
    client.send(request(38, 7));
    EXPECT_EQ(response(7, 0, "'canned'"), client.message());
    rild.line();
    expect_served(rild, client);
}

TEST(Rild, PutsMessagesTogetherAndTakesThemApart) {
    RildProcess rild;
    GreetedClient client;
    for (const char byte : request(23, 1, "1 5")) {
        client.send({byte});
    }
    EXPECT_EQ(response(1, 0), client.message());
    std::string many;
    for (int serial = 0; serial < 300; ++serial) {
        many += request(23, serial, "1 5");
    }
    client.send(many);
    rild.line();
    for (int serial = 0; serial < 300; ++serial) {
        rild.line();
        ASSERT_EQ(response(serial, 0), client.message());
    }
    client.send(many.substr(0, 30));  // a whole one and a half
    EXPECT_EQ(response(0, 0), client.message());
    client.hang_up();
    GreetedClient next;
    rild.tell("unsol 1018");
    EXPECT_EQ(unsol(1018), next.message());
}

TEST(Rild, ServesOneClientAtATimeAndKeepsAnswersFromTheNext) {
    RildProcess rild;
    GreetedClient first;
    RilClient second;
    RilClient third;
    rild.set_mode("hold");
    first.send(request(38, 1) + request(39, 2));
    rild.line();
    rild.line();
    EXPECT_FALSE(second.has_data());
    third.hang_up();  // still in the queue
    first.hang_up();
    EXPECT_EQ(unsol(1034, "1 9"), second.message());
    EXPECT_EQ(unsol(1000, "0"), second.message());
    second.send(request(38, 3));
    rild.line();
    rild.tell("release");
    EXPECT_EQ(response(3, 0, "'canned'"), second.message());
    expect_served(rild, second);
    second.hang_up();
    GreetedClient fourth;
    expect_served(rild, fourth);
}

TEST(Rild, GreetsWithTheTimeThatFoundNoClient) {
    RildProcess rild;
    const auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
    };
    const auto expect_nitz = [](const std::string& message, const std::string& text, int64_t from, int64_t to) {
        const std::string head = unsol(1008, "'" + text + "'");
        ASSERT_EQ(head.size() + 8, message.size());
        EXPECT_EQ(head, message.substr(0, head.size()));
        uint64_t time = 0;
        for (size_t i = 0; i < 8; ++i) {
            time |= uint64_t{static_cast<uint8_t>(message[head.size() + i])} << 8 * i;
        }
        EXPECT_LE(from, static_cast<int64_t>(time));
        EXPECT_GE(to, static_cast<int64_t>(time));
    };
    const int64_t start = now();
    rild.tell("unsol 1008 older");
    rild.tell("unsol 1008 12/11/24,10:00:00+04,0");
    rild.tell("unsol 1018");  // of no use to the next client
    rild.tell("ping");
    EXPECT_EQ("pong", rild.line());
    const int64_t kept = now();
    {
        GreetedClient client;
        expect_nitz(client.message(), "12/11/24,10:00:00+04,0", start, kept);
        rild.tell("unsol 1008 newer");
        const std::string newer = client.message();
        expect_nitz(newer, "newer", kept, now());
        rild.tell("unsol 1008 null");
        EXPECT_EQ(unsol(1008, "n"), client.message().substr(0, 12));
        expect_served(rild, client);
    }
    GreetedClient next;
    expect_served(rild, next);
}

TEST(Rild, GreetsOnceTheLibraryIsThere) {
    RildProcess rild({"-b"});
    EXPECT_EQ("timer init", rild.line());  // callbacks run while RIL_Init waits
    RilClient client;
    client.send(request(38, 1));
    rild.tell("unsol 1018");
    rild.tell("unsol 1008 early");
    rild.tell("state 10");
    rild.tell("ping");
    EXPECT_EQ("pong", rild.line());
    EXPECT_FALSE(client.has_data());
    rild.tell("go");
    EXPECT_EQ(unsol(1034, "1 9"), client.message());
    EXPECT_EQ(unsol(1000, "10"), client.message());
    EXPECT_EQ(unsol(1008, "'early'"), client.message().substr(0, 24));
    EXPECT_EQ(response(1, 0, "'canned'"), client.message());
}

TEST(Rild, EndsInOrderWhileTheLibraryStarts) {
    RildProcess rild({"-b"});
    EXPECT_EQ("timer init", rild.line());
}

TEST(Rild, RunsCallbacksInDueOrderOnTheThreadOfRequests) {
    RildProcess rild;
    GreetedClient client;
    rild.tell("timers");
    EXPECT_EQ("timers ok", rild.line());
    client.send(request(38, 1));
    client.message();
    rild.line();
    rild.tell("threads");
    EXPECT_EQ("threads 1", rild.line());
    // While a request is in the library, callbacks wait, and so do requests.
    rild.set_mode("park");
    client.send(request(13, 2) + request(14, 3));
    EXPECT_EQ("request 13 null 0", rild.line());
    rild.tell("timer a");
    rild.tell("timer b");
    rild.tell("ping");
    EXPECT_EQ("pong", rild.line());
    rild.tell("unpark");
    EXPECT_EQ("returns", rild.line());
    EXPECT_EQ("timer a", rild.line());
    EXPECT_EQ("timer b", rild.line());
    EXPECT_EQ("request 14 null 0", rild.line());
    EXPECT_EQ(response(2, 0), client.message());
    EXPECT_EQ(response(3, 0), client.message());
    rild.tell("threads");
    EXPECT_EQ("returns", rild.line());
    EXPECT_EQ("threads 1", rild.line());
}

TEST(Rild, TakesCompletionsFromManyThreads) {
    RildProcess rild;
    GreetedClient client;
    rild.set_mode("thread");
    constexpr int c_count = 200;
    std::vector<int> answers(c_count);
    for (int serial = 0; serial < c_count; ++serial) {
        client.send(request(38, serial));
        rild.line();
    }
    for (int i = 0; i < c_count; ++i) {
        const std::string message = client.message();
        const auto serial = static_cast<size_t>(static_cast<uint8_t>(message[4]));
        ASSERT_EQ(response(static_cast<int>(serial), 0, "'canned'"), message);
        ++answers[serial];
    }
    EXPECT_EQ(std::vector<int>(c_count, 1), answers);
}

TEST(Rild, LetsTheLibraryGoOnWhenAClientReadsNothing) {
    RildProcess rild;
    GreetedClient client;
    rild.tell("burst 100");  // more than the kernel holds, less than rild's bound
    rild.tell("ping");
    EXPECT_EQ("pong", rild.line());
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(4012U, client.message().size());
    }
    expect_served(rild, client);
    rild.tell("burst 1000");
    rild.tell("ping");
    EXPECT_EQ("pong", rild.line());
    GreetedClient next;  // the slow one still has its end open
    expect_served(rild, next);
    int messages = 0;
    while (client.message() != "end") {
        ++messages;
    }
    EXPECT_GT(1000, messages);
}

TEST(Rild, ChoosesItsSocketAsTheLibraryChoosesItsSim) {
    const struct {
        std::vector<std::string> arguments;
        const char* socket;
    } c_rows[] = {
        {{}, c_first_socket},
        {{"--client"}, c_first_socket},
        {{"--client", "1"}, c_first_socket},
        {{"--client", "2"}, c_second_socket},
        {{"--", "2nd"}, c_second_socket},
        {{"-c", "2"}, c_first_socket},
        {{"--a", "2", "--b", "3"}, c_second_socket},
        {{"--a", "2", "--b", "1"}, c_first_socket},
        {{"--a", "--2", "2"}, c_first_socket},
    };
    for (const auto& row : c_rows) {
        unlink(c_first_socket);
        unlink(c_second_socket);
        std::vector<std::string> words = {RILD, "-l", FAKE_RIL, "--"};
        words.insert(words.end(), row.arguments.begin(), row.arguments.end());
        Process rild(words);
        std::string expected = "init";
        for (const std::string& argument : row.arguments) {
            expected += " " + argument;
        }
        EXPECT_THAT(rild.line(), HasSubstr(expected + " -f "));
        EXPECT_EQ(row.socket == c_first_socket, access(c_first_socket, F_OK) == 0) << expected;
        EXPECT_EQ(row.socket == c_second_socket, access(c_second_socket, F_OK) == 0) << expected;
        GreetedClient client(row.socket);
        EXPECT_EQ(0, rild.stop());
    }
}

TEST(Rild, RunsTwiceButNotTwiceAtOneSocket) {
    RildProcess first;
    RildProcess second({"--client", "2"});
    GreetedClient first_client;
    first.tell("state 10");
    EXPECT_EQ(unsol(1000, "10"), first_client.message());
    GreetedClient second_client("/dev/socket/rild1");
    expect_served(second, second_client);
    EXPECT_EQ(1, Process({RILD, "-l", FAKE_RIL}, false).wait());
    expect_served(first, first_client);
}

TEST(Rild, RefusesWhatItCannotLoad) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {RILD}, {RILD, "-l"}, {RILD, "-x"}, {RILD, "-l", "/no/such.so"}, {RILD, "-l", "libc.so.6"}}) {
        EXPECT_EQ(1, Process(words, false).wait()) << testing::PrintToString(words);
    }
}

}  // namespace
