// What rild says on its standard error.
#pragma once

#include <cstdarg>
#include <string>
#include <utility>

class Log {
public:
    Log(std::string name, bool verbose) : name_(std::move(name)), verbose_(verbose) {}

    // A line that is always said. Any thread; lines of several threads don't mix.
    void error(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    // A line about the flow of requests and responses, said with -v.
    void flow(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    void say(const char* format, va_list args) const __attribute__((format(printf, 2, 0)));
    std::string name_;
    bool verbose_;
};
