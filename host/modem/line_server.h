// A UNIX socket on which texts travel as lines, to any number of callers.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "host/modem/loop.h"

struct LineListener {
    std::function<void(int caller)> arrived;
    std::function<void(int caller, const std::string& line)> line;  // without its newline
    std::function<void(int caller)> gone;
};

// Runs in the loop. No function waits for a caller: what one doesn't read is kept for it, up to c_line_backlog bytes.
constexpr size_t c_line_backlog = 4U << 20;
constexpr size_t c_line_longest = 64U << 10;  // a longer line ends the connection

class LineServer {
public:
    // Null, with errno, when nothing can listen at `path`.
    static std::unique_ptr<LineServer> start(Loop& loop, const std::string& path, LineListener listener);
    ~LineServer();
    LineServer(const LineServer&) = delete;
    LineServer& operator=(const LineServer&) = delete;

    // Sends `text`, which ends in a newline. False when it was dropped, because the caller is gone or too far behind.
    bool send(int caller, const std::string& text);
    bool empty() const { return callers_.empty(); }

private:
    struct Caller {
        int fd = -1;
        std::string in;
        std::string out;
    };

    LineServer(Loop& loop, std::string path, int listening, LineListener listener);
    void accept_all();
    void serve(int id, short events);
    bool read_some(Caller& caller);
    bool flush(Caller& caller);
    void take_lines(int id);
    void hang_up(int id);

    Loop& loop_;
    std::string path_;
    int listening_;
    LineListener listener_;
    std::map<int, Caller> callers_;
    int last_caller_ = 0;
};
