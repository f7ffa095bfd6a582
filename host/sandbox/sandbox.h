// What the parts of the sandbox share.
#pragma once

#include <string>
#include <vector>

// Exit statuses of the sandbox's own; every other one is the command's, 128 + n when signal n ended it.
constexpr int c_exit_forbidden = 120;  // the kernel grants no namespaces to this user
constexpr int c_exit_failed = 125;     // wrong usage, or a step of the set-up failed
constexpr int c_exit_cannot_run = 126;
constexpr int c_exit_not_found = 127;

// A file or folder of the host that is to be seen at a path of the sandbox too.
struct Bind {
    std::string host;  // absolute, no symbolic links
    std::string inside;
};

struct Options {
    std::vector<Bind> binds;
    int veths = 2;
    char** command = nullptr;  // ends in null
};

// Prints `what`, and errno's text when there is an error, and ends the process with `status`.
[[noreturn]] void fail(const std::string& what, int error, int status = c_exit_failed);

// Give the calling process, alone in new mount, PID and network namespaces, the phone's file tree and interfaces. They
// end the process when a step fails.
void make_file_tree(const Options& options);
void make_network(int veths);
