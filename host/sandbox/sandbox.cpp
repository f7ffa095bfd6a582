// Starts a command where the phone's own paths and network interfaces exist, without a trace on the host.
//
// Two processes stand between the caller and the command. The outer one waits, passes signals on and hands back the
// exit status. The inner one is the first process of the new namespaces: it makes the file tree and the network, starts
// the command and collects orphans. When it ends, the kernel ends whatever the command left running and drops the
// namespaces with all that is in them. It ends when the command does, or when the outer process dies, however that
// dies.
#include "host/sandbox/sandbox.h"

#include <fcntl.h>
#include <getopt.h>
#include <limits.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* c_usage =
    "usage: sandbox [options] [--] command [argument...]\n"
    "\n"
    "Runs the command on a phone of its own: private /data, /data/rpcd, /system/etc/dun-ril, /dev with /dev/socket,\n"
    "/dev/log and the system properties, /sys/devices/platform/tqz_boot/state, and a network of lo, veth0 and veth1,\n"
    "with a server behind them at 10.20.0.1 and 2001:db8:ff::1. The rest of the host's files are there as they are. "
    "Processes that the\n"
    "command leaves behind end with it. Needs root or user namespaces; inside, the user is root.\n"
    "\n"
    "  --bind HOST=INSIDE  show the host's file or folder HOST at the path INSIDE too; may be repeated.\n"
    "                      Where INSIDE lies in a folder of the host's, the host gets the empty place for it\n"
    "  --veth N            make N interfaces, veth0 and on, instead of 2\n"
    "  --help              print this\n"
    "\n"
    "Exit status: the command's, or 128 + n when signal n ended it; 120 when the kernel grants no namespaces, 125 "
    "when\n"
    "the sandbox cannot be made, 126 when the command cannot be run, 127 when it isn't found.\n";

constexpr int c_most_veths = 64;
constexpr int c_namespaces = CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWIPC;

void add_bind(Options& options, const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size() || text[equals + 1] != '/') {
        fail("--bind wants HOST=INSIDE, INSIDE absolute: " + text, 0);
    }
    char host[PATH_MAX];
    if (realpath(text.substr(0, equals).c_str(), host) == nullptr) {
        fail(text.substr(0, equals), errno);
    }
    options.binds.push_back({host, text.substr(equals + 1)});
}

Options read_options(int argc, char** argv) {
    constexpr option c_options[] = {{"bind", required_argument, nullptr, 'b'},
                                    {"veth", required_argument, nullptr, 'v'},
                                    {"help", no_argument, nullptr, 'h'},
                                    {nullptr, 0, nullptr, 0}};
    Options options;
    for (int letter = 0; (letter = getopt_long(argc, argv, "+h", c_options, nullptr)) != -1;) {
        if (letter == 'h') {
            std::fputs(c_usage, stdout);
            exit(0);
        } else if (letter == 'b') {
            add_bind(options, optarg);
        } else if (letter == 'v') {
            const char* end = optarg + strlen(optarg);
            const auto [stop, error] = std::from_chars(optarg, end, options.veths);
            if (error != std::errc() || stop != end || options.veths < 0 || options.veths > c_most_veths) {
                fail("--veth wants a number from 0 to " + std::to_string(c_most_veths), 0);
            }
        } else {
            exit(c_exit_failed);
        }
    }
    if (optind == argc) {
        std::fputs(c_usage, stderr);
        exit(c_exit_failed);
    }
    options.command = argv + optind;
    return options;
}

// The signals that a caller ends the sandbox with, and SIGCHLD.
sigset_t awaited_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        sigaddset(&set, signal);
    }
    return set;
}

// Waits for `child` and gives its exit status, passing signals on to it. A signal that the kernel sent, as for ^C, has
// reached the child already. Reaps every other child on the way.
int wait_for(pid_t child) {
    const sigset_t awaited = awaited_signals();
    for (;;) {
        siginfo_t info = {};
        const int signal = sigwaitinfo(&awaited, &info);
        if (signal > 0 && signal != SIGCHLD && info.si_code <= 0) {
            kill(child, signal);
        }
        int status = 0;
        for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
            if (ended == child) {
                return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
            }
        }
    }
}

void write_file(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        fail(path, errno, c_exit_forbidden);
    }
    close(fd);
}

// Makes the caller root in the user namespace that it has just come into.
void become_root(uid_t uid, gid_t gid) {
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1");
    write_file("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

[[noreturn]] void run_command(const Options& options, const sigset_t& mask) {
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    execvp(options.command[0], options.command);
    const int error = errno;
    fail(options.command[0], error, error == ENOENT ? c_exit_not_found : c_exit_cannot_run);
}

// The inner process.
[[noreturn]] void run_phone(const Options& options, const sigset_t& mask) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    make_file_tree(options);
    make_network(options.veths);
    const pid_t command = fork();
    if (command < 0) {
        fail("fork", errno);
    }
    if (command == 0) {
        run_command(options, mask);
    }
    _exit(wait_for(command));
}

// A fork whose child is in new namespaces. Not by unshare, which makes user namespaces only for a process of one
// thread: a sanitizer may have started another.
pid_t fork_into(int namespaces) {
    return static_cast<pid_t>(
        syscall(SYS_clone, static_cast<unsigned long>(namespaces | SIGCHLD), nullptr, nullptr, nullptr, nullptr));
}

}  // namespace

void fail(const std::string& what, int error, int status) {
    std::string line = "sandbox: " + what;
    line += error != 0 ? std::string(": ") + strerror(error) + "\n" : "\n";
    [[maybe_unused]] const ssize_t result = write(STDERR_FILENO, line.data(), line.size());
    _exit(status);
}

int main(int argc, char** argv) {
    const Options options = read_options(argc, argv);
    const uid_t uid = geteuid();
    const gid_t gid = getegid();

    const sigset_t awaited = awaited_signals();
    sigset_t mask;
    sigprocmask(SIG_BLOCK, &awaited, &mask);
    signal(SIGCHLD, SIG_DFL);

    pid_t phone = fork_into(c_namespaces);
    if (phone < 0) {
        phone = fork_into(c_namespaces | CLONE_NEWUSER);
        if (phone == 0) {
            become_root(uid, gid);
        }
    }
    if (phone < 0) {
        fail("the kernel grants no namespaces (needs root, or user namespaces for this user)", errno, c_exit_forbidden);
    }
    if (phone == 0) {
        run_phone(options, mask);
    }
    return wait_for(phone);
}
