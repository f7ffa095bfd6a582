// What rild says on its standard error.
#pragma once

#include <sstream>
#include <string>
#include <utility>

class Log {
public:
    enum Level {
        error,  // always said
        flow,   // about requests and responses: said with -v
    };

    Log(std::string name, bool verbose) : name_(std::move(name)), verbose_(verbose) {}

    // Says `parts`, one behind the other, as a line. Any thread; lines of several threads don't mix.
    template <typename... Parts>
    void say(Level level, const Parts&... parts) const {
        if (level == error || verbose_) {
            std::ostringstream line;
            line << name_ << ": ";
            (line << ... << parts) << '\n';
            write_line(line.str());
        }
    }

private:
    static void write_line(const std::string& line);
    std::string name_;
    bool verbose_;
};
