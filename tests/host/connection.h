// A UNIX socket that speaks in bytes. Reads end after a while with what has come by then; a test that runs into that
// has failed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Connection {
public:
    explicit Connection(const std::string& path);  // fails the test when nobody listens there
    static bool possible(const std::string& path);
    static Connection listening(const std::string& path);
    Connection accepted() const;  // the next caller
    ~Connection();
    Connection(Connection&& other) noexcept;
    Connection& operator=(Connection&& other) noexcept;

    void write(const std::vector<uint8_t>& bytes) const;
    void write(const std::string& text) const;
    std::vector<uint8_t> read(size_t most) const;      // what one read gives
    std::vector<uint8_t> read_all(size_t size) const;  // exactly so many, fewer when the peer hangs up
    std::string text(size_t size) const;               // the same
    std::string line() const;
    bool closed() const;  // waits for the end of the connection
    void close();

private:
    struct Descriptor {
        int fd;
    };
    explicit Connection(Descriptor descriptor);

    int fd_;
};
