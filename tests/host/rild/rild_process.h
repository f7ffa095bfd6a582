// For tests: rild with the fake library, and clients of its socket. All reads end after ten seconds with a failure.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

constexpr const char* c_first_socket = "/dev/socket/rild";
constexpr const char* c_second_socket = "/dev/socket/rild2";

// A program with a socket pair to it, whose number in the program is appended to the words.
class Process {
public:
    explicit Process(std::vector<std::string> words, bool with_pair = true);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void tell(const std::string& line);
    // The next line of the other side.
    std::string line();
    // Ends the program with SIGTERM and gives its exit status; -1 for any other end.
    int stop();
    // Waits for its end.
    int wait();

private:
    pid_t pid_ = -1;
    int fd_ = -1;
    std::string text_;
};

// rild with the fake library, which said its first line. `library_arguments` stand behind "-f FD".
class RildProcess : public Process {
public:
    explicit RildProcess(const std::vector<std::string>& library_arguments = {});
    // Fails the test when rild doesn't end in order: a sanitizer may have found something.
    ~RildProcess();

    // How the library answers from now on. All lines of it have to be read.
    void set_mode(const std::string& mode);
};

class RilClient {
public:
    // Connects once rild listens there.
    explicit RilClient(const std::string& path = c_first_socket);
    ~RilClient();
    RilClient(const RilClient&) = delete;
    RilClient& operator=(const RilClient&) = delete;

    void send(const std::string& bytes);
    // The next message without its length word; "end" when rild has hung up.
    std::string message();
    // Whether anything is there to be read now.
    bool has_data() const;
    void hang_up();

private:
    int fd_ = -1;
};

// Bytes of what a line of words says: 12 an int32, L12 an int64, 'text' a string of ASCII letters with its count, n the
// count -1, x01ff a byte array with its count, all of them as a parcel has them. Blanks are for the eye.
std::string parcel(const std::string& words);
// A message with the parcel: the length in front.
std::string framed(const std::string& parcel_bytes);
// A request with its serial.
std::string request(int number, int serial, const std::string& words = "");
// Bytes of hexadecimal digits.
std::string bytes_of(const std::string& hex);
