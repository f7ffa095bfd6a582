// The phone's file tree: a tmpfs for the root, with the host's folders bound into it and the phone's own made in it.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>

#include "host/sandbox/sandbox.h"

namespace {

// Where the tmpfs is mounted before it becomes the root. What it covers meanwhile is there again afterwards.
constexpr const char* c_stage = "/tmp";
// The host's root while the tree is made.
constexpr std::string_view c_host = "/.host";

constexpr std::array<std::string_view, 7> c_not_from_host = {".", "..", "dev", "proc", "sys", "data", "system"};
constexpr std::array<const char*, 6> c_devices = {"null", "zero", "full", "random", "urandom", "tty"};
constexpr std::array<std::array<const char*, 2>, 4> c_device_links = {{
    {"/proc/self/fd", "/dev/fd"},
    {"/proc/self/fd/0", "/dev/stdin"},
    {"/proc/self/fd/1", "/dev/stdout"},
    {"/proc/self/fd/2", "/dev/stderr"},
}};
constexpr std::array<const char*, 8> c_own_folders = {
    "/data", "/data/rpcd", "/system", "/system/etc", "/system/etc/dun-ril", "/dev/socket", "/dev/log", "/dev/shm"};
constexpr const char* c_platform = "/sys/devices/platform";

std::string on_host(std::string_view path) {
    return std::string(c_host).append(path);
}

void check(int result, const std::string& what) {
    if (result != 0) {
        fail(what, errno);
    }
}

void make_folder(const std::string& path) {
    if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) {
        fail(path, errno);
    }
}

void make_file(const std::string& path, std::string_view text = "") {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        fail(path, errno);
    }
    close(fd);
}

void make_folders_above(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        make_folder(path.substr(0, slash));
    }
}

bool mount_tmpfs(const char* path, const char* options) {
    return mount("sandbox", path, "tmpfs", 0, options) == 0;
}

// Shows `source` at `path`, which is made as what `source` is: a folder, a link, or anything else.
void show(const std::string& source, const std::string& path) {
    struct stat info = {};
    check(lstat(source.c_str(), &info), source);
    if (S_ISLNK(info.st_mode)) {
        std::array<char, PATH_MAX> target = {};
        check(readlink(source.c_str(), target.data(), target.size() - 1) < 0 ? -1 : 0, source);
        check(symlink(target.data(), path.c_str()), path);
        return;
    }
    struct stat there = {};
    if (stat(path.c_str(), &there) != 0) {
        if (S_ISDIR(info.st_mode)) {
            make_folder(path);
        } else {
            make_file(path);
        }
    }
    check(mount(source.c_str(), path.c_str(), nullptr, MS_BIND | MS_REC, nullptr), path);
}

// Makes a tmpfs the root and moves the host's to c_host. The first step is the one that a kernel refuses which grants
// namespaces but no rights in them.
void change_root() {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        fail("the kernel grants no mounts", errno, c_exit_forbidden);
    }
    check(mount_tmpfs(c_stage, "mode=755,size=512m") ? 0 : -1, c_stage);
    check(chdir(c_stage), c_stage);
    const std::string host(c_host.substr(1));
    check(mkdir(host.c_str(), 0700), host);
    check(static_cast<int>(syscall(SYS_pivot_root, ".", host.c_str())), "pivot_root");
    check(chdir("/"), "/");
}

void show_host() {
    const std::unique_ptr<DIR, int (*)(DIR*)> root(opendir(std::string(c_host).c_str()), closedir);
    if (root == nullptr) {
        fail("/", errno);
    }
    while (const dirent* entry = readdir(root.get())) {
        const std::string path = std::string("/").append(entry->d_name);
        if (std::find(c_not_from_host.begin(), c_not_from_host.end(), path.substr(1)) == c_not_from_host.end()) {
            show(on_host(path), path);
        }
    }
}

// A file system that shows the new namespaces, or the host's where the kernel grants none.
void mount_kernel(const char* type, const std::string& path) {
    make_folder(path);
    if (mount(type, path.c_str(), type, MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        show(on_host(path), path);
    }
}

// The modem's power switch stands alone among the platform devices: sysfs takes no new folder, and the host's devices
// are none of the phone's.
void make_sys() {
    mount_kernel("sysfs", "/sys");
    if (!mount_tmpfs(c_platform, "mode=755,size=1m")) {
        check(mount_tmpfs("/sys", "mode=755,size=1m") ? 0 : -1, "/sys");
    }
    const std::string state = std::string(c_platform).append("/tqz_boot/state");
    make_folders_above(state);
    make_file(state, "ON");
}

void show_device(const std::string& name) {
    const std::string path = "/dev/" + name;
    if (access(on_host(path).c_str(), F_OK) == 0) {
        show(on_host(path), path);
    }
}

// Pseudo-terminals of the phone's own: a kernel makes them only where the multiplexer stands beside their file system.
void make_terminals() {
    make_folder("/dev/pts");
    if (mount("devpts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620") == 0) {
        check(symlink("pts/ptmx", "/dev/ptmx"), "/dev/ptmx");
    } else {
        show_device("pts");
        show_device("ptmx");
    }
}

void make_dev() {
    make_folder("/dev");
    for (const char* const name : c_devices) {
        show_device(name);
    }
    make_terminals();
    for (const auto& [target, path] : c_device_links) {
        check(symlink(target, path), path);
    }
    make_file("/dev/__properties__");
}

void show_binds(const std::vector<Bind>& binds) {
    for (const Bind& bind : binds) {
        make_folders_above(bind.inside);
        show(on_host(bind.host), bind.inside);
    }
}

}  // namespace

void make_file_tree(const Options& options) {
    std::array<char, PATH_MAX> folder = {};
    const bool has_folder = getcwd(folder.data(), folder.size()) != nullptr;
    const mode_t mask = umask(0);
    change_root();
    show_host();
    mount_kernel("proc", "/proc");
    make_sys();
    make_dev();
    for (const char* path : c_own_folders) {
        make_folder(path);
    }
    show_binds(options.binds);
    const std::string host(c_host);
    check(umount2(host.c_str(), MNT_DETACH), host);
    check(rmdir(host.c_str()), host);
    umask(mask);
    // The caller's folder, unless it is one that the phone has made its own.
    if (!has_folder || chdir(folder.data()) != 0) {
        check(chdir("/"), "/");
    }
}
