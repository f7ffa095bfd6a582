// Drives the built sandbox program.
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/host/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// A program under way, with the other end of its standard streams.
class Job {
public:
    // `before` runs in the child.
    explicit Job(const std::vector<std::string>& words, const std::function<void()>& before = {}) {
        int pair[2];
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                dup2(pair[0], stream);
            }
            if (before) {
                before();
            }
            execv(arguments[0], arguments.data());
            _exit(99);
        }
        close(pair[0]);
        fd_ = pair[1];
    }
    ~Job() {
        close(fd_);
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    std::string line() { return text_before('\n'); }
    // Everything up to the moment when no process holds the output any more.
    std::string rest() { return text_before({}); }
    void answer(const std::string& text) const {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(fd_, text.data(), text.size()));
    }
    void send(int signal) const { kill(pid_, signal); }
    int status() {
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    std::string text_before(std::optional<char> end) const {
        std::string text;
        for (char c = 0; read(fd_, &c, 1) == 1 && c != end;) {
            text += c;
        }
        return text;
    }
    pid_t pid_ = -1;
    int fd_ = -1;
};

std::vector<std::string> in_sandbox(const std::string& script) {
    return {SANDBOX, "--", "/bin/sh", "-c", script};
}

std::string file_text(const fs::path& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::set<std::string> host_interfaces() {
    std::set<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/sys/class/net", ignored)) {
        names.insert(entry.path().filename());
    }
    return names;
}

// Says what is missing, line by line.
constexpr const char* c_check_phone = R"sh(
for d in /data /data/rpcd /dev/socket /dev/log /dev/shm /system/etc/dun-ril; do
    test -d $d && echo text > $d/made_by_test && test "$(cat $d/made_by_test)" = text || echo missing $d
done
s=/sys/devices/platform/tqz_boot/state
test "$(cat $s)" = ON && printf OFF > $s && test "$(cat $s)" = OFF || echo missing $s
for d in null zero urandom tty; do test -c /dev/$d || echo missing /dev/$d; done
echo x > /dev/null && test "$(head -c 64 /dev/urandom | wc -c)" = 64 || echo devices do not work
test "$(id -u)" = 0 || echo not root
test "$(ls /proc | grep -c '^[0-9]')" -lt 9 || echo sees other processes
n=/sys/class/net
test "$(echo $(ls $n))" = "lo veth0 veth1" || echo interfaces: $(ls $n)
test "$(cat $n/lo/flags)" = 0x9 || echo lo is down
echo end
)sh";

TEST(Sandbox, HasThePhonesPathsAndInterfacesAndLeavesTheHostAlone) {
    const auto interfaces = host_interfaces();
    const std::string mounts = file_text("/proc/self/mountinfo");
    Job run(in_sandbox(c_check_phone));
    EXPECT_EQ("end\n", run.rest());
    EXPECT_EQ(0, run.status());
    EXPECT_EQ(interfaces, host_interfaces());
    EXPECT_EQ(mounts, file_text("/proc/self/mountinfo"));
    for (const char* path : {"/data/made_by_test", "/dev/made_by_test", "/dev/shm/made_by_test", "/.host"}) {
        EXPECT_FALSE(fs::exists(path)) << path;
    }
}

TEST(Sandbox, HandsBackTheCommandsExitStatus) {
    const struct {
        std::vector<std::string> words;
        int status;
    } c_rows[] = {
        {{SANDBOX, "/bin/true"}, 0},
        {in_sandbox("exit 7"), 7},
        {in_sandbox("kill -TERM $$"), 128 + SIGTERM},
        {in_sandbox("kill -KILL $$"), 128 + SIGKILL},
        {{SANDBOX, "--help"}, 0},
        {{SANDBOX}, 125},
        {{SANDBOX, "--nothing", "/bin/true"}, 125},
        {{SANDBOX, "--veth", "65", "/bin/true"}, 125},
        {{SANDBOX, "--bind", "/no/such/file=/data/x", "/bin/true"}, 125},
        {{SANDBOX, "/etc/passwd"}, 126},
        {{SANDBOX, "/no/such/file"}, 127},
    };
    for (const auto& row : c_rows) {
        Job run(row.words);
        const std::string text = run.rest();
        EXPECT_EQ(row.status, run.status()) << testing::PrintToString(row.words) << text;
        if (row.status >= 125 && row.status < 128) {
            EXPECT_THAT(text, HasSubstr("sandbox"));
        }
    }
}

// Refuses every clone that asks for a mount namespace, as a host does that forbids them.
void forbid_namespaces() {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_NEWNS, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {sizeof(program) / sizeof(*program), program};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
        _exit(98);
    }
}

TEST(Sandbox, SaysSoWhereNamespacesAreForbidden) {
    Job run({SANDBOX, "/bin/true"}, forbid_namespaces);
    EXPECT_THAT(run.rest(), HasSubstr("the kernel grants no namespaces"));
    EXPECT_EQ(120, run.status());
}

TEST(Sandbox, SharesPropertiesInsideAndKeepsThemFromTheOneBesideIt) {
    const std::string set = std::string(PROP) + " set test.key ";
    const std::string get = std::string(PROP) + " get test.key unset; ";
    const std::string mac = "cat /sys/class/net/veth0/address; ";
    const std::string script = get + set + "$0 && " + get + mac + "ls /data; touch /data/$0; read answer; " + get;
    Job first({SANDBOX, "/bin/sh", "-c", script, "first"});
    EXPECT_EQ("unset", first.line());
    EXPECT_EQ("first", first.line());
    const std::string first_mac = first.line();
    Job second({SANDBOX, "/bin/sh", "-c", script, "second"});  // while the first one waits
    EXPECT_EQ("unset", second.line());
    EXPECT_EQ("second", second.line());
    EXPECT_NE(first_mac, second.line());
    first.answer("\n");
    second.answer("\n");
    EXPECT_EQ("rpcd\nfirst\n", first.rest());
    EXPECT_EQ("rpcd\nsecond\n", second.rest());
    EXPECT_EQ(0, first.status());
    EXPECT_EQ(0, second.status());
}

TEST(Sandbox, PassesSignalsOnAndEndsWhatIsLeftRunning) {
    Job trapped(in_sandbox("trap 'exit 9' TERM; echo ready; sleep 1000 & wait"));
    EXPECT_EQ("ready", trapped.line());
    trapped.send(SIGTERM);
    EXPECT_EQ("", trapped.rest());  // ends only once the sleep is gone
    EXPECT_EQ(9, trapped.status());

    Job killed(in_sandbox("trap '' TERM HUP INT; echo ready; sleep 1000"));
    EXPECT_EQ("ready", killed.line());
    killed.send(SIGKILL);
    EXPECT_EQ("", killed.rest());
    EXPECT_EQ(-SIGKILL, killed.status());
}

TEST(Sandbox, ShowsWhatIsBoundAndMakesTheInterfacesAskedFor) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "text") << "from the host\n";
    Job run({SANDBOX, "--bind", folder.path().string() + "=/dev/log", "--bind",
             (folder.path() / "text").string() + "=/system/etc/dun-ril/repository.txt", "--veth", "1", "--", "/bin/sh",
             "-c",
             "cat /system/etc/dun-ril/repository.txt; ls /sys/class/net | grep veth; echo line > /dev/log/radio"});
    EXPECT_EQ("from the host\nveth0\n", run.rest());
    EXPECT_EQ(0, run.status());
    EXPECT_EQ("line\n", file_text(folder.path() / "radio"));
}

void become_nobody() {
    constexpr id_t c_nobody = 65534;
    if (setgroups(0, nullptr) != 0 || setresgid(c_nobody, c_nobody, c_nobody) != 0 ||
        setresuid(c_nobody, c_nobody, c_nobody) != 0 || chdir("/") != 0) {
        _exit(98);
    }
}

TEST(Sandbox, WorksForAUserWithoutRights) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "all the other tests have shown it: they ran without rights";
    }
    Job probe({"/bin/true"}, [] {
        become_nobody();
        // Not by unshare: a sanitizer's second thread would be in its way.
        const auto child = static_cast<pid_t>(syscall(SYS_clone, CLONE_NEWUSER | CLONE_NEWNS | SIGCHLD, 0, 0, 0, 0));
        if (child == 0) {
            _exit(0);
        }
        if (child < 0) {
            _exit(1);
        }
    });
    if (probe.status() != 0) {
        GTEST_SKIP() << "this machine gives users no namespaces";
    }
    const TemporaryFolder folder;  // the build tree may be root's alone
    fs::copy_file(SANDBOX, folder.path() / "sandbox");
    Job run({folder.path() / "sandbox", "/bin/sh", "-c", c_check_phone}, become_nobody);
    EXPECT_EQ("end\n", run.rest());
    EXPECT_EQ(0, run.status());
}

}  // namespace
