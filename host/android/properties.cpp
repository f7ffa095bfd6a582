// The properties stand in one file that every process maps, /dev/__properties__, a table with open addressing. A key is
// never removed. Each entry holds its value twice: `version` says which copy is the current one, and a writer fills the
// other and then moves `version` on. So a reader takes no lock: it copies the current value and looks again. If
// `version` hasn't moved, no writer has come near that copy; if it has, some writer has got its work done, and the
// reader goes again. A writer that dies half-way leaves a copy that nobody reads.
//
// Writers take turns by flock on a description that each call opens for itself: it keeps out threads and forked
// children as well as other processes, and the kernel drops it with the process. Zeros are an empty table, so there is
// no step of setting the file up that a death could leave half done.
//
// Without the file the properties are the process's own. The environment variable ANDROID_PROPERTIES names another
// file, which is made when it isn't there.
#include <cutils/properties.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace {

constexpr const char* c_property_file = "/dev/__properties__";
constexpr size_t c_entries = 512;

using Text = std::array<char, PROPERTY_VALUE_MAX>;
constexpr size_t c_text_words = sizeof(Text) / sizeof(uint32_t);
using Words = std::array<uint32_t, c_text_words>;
static_assert(sizeof(Words) == sizeof(Text));

struct Entry {
    std::atomic<uint32_t> version;  // 0 free; the current value is values[version % 2]; written by the writer in turn
    char key[PROPERTY_KEY_MAX];     // fixed once `version` is not 0
    std::array<std::array<std::atomic<uint32_t>, c_text_words>, 2> values;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free);

struct Table {
    std::array<Entry, c_entries> entries;
};

struct Store {
    const char* path;  // null when the table is the process's own
    Table* table;      // null when there was no memory for it
};

pthread_mutex_t s_own_table_lock = PTHREAD_MUTEX_INITIALIZER;

Table* map_file(const char* path, int create) {
    const int fd = open(path, O_RDWR | O_CLOEXEC | create, 0666);
    if (fd < 0) {
        return nullptr;
    }
    struct stat info = {};
    void* memory = MAP_FAILED;
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
        (static_cast<size_t>(info.st_size) >= sizeof(Table) || ftruncate(fd, sizeof(Table)) == 0)) {
        memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    }
    close(fd);
    return memory == MAP_FAILED ? nullptr : static_cast<Table*>(memory);
}

Store open_store() {
    const char* named = getenv("ANDROID_PROPERTIES");
    const char* path = named != nullptr ? named : c_property_file;
    Table* table = map_file(path, named != nullptr ? O_CREAT : 0);
    if (table != nullptr) {
        return {path, table};
    }
    void* memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return {nullptr, memory == MAP_FAILED ? nullptr : static_cast<Table*>(memory)};
}

const Store& store() {
    static const Store s_store = open_store();
    return s_store;
}

// A writer's turn, while it lives.
class Turn {
public:
    explicit Turn(const char* path) : path_(path) {
        if (path_ == nullptr) {
            pthread_mutex_lock(&s_own_table_lock);
            return;
        }
        fd_ = open(path_, O_RDWR | O_CLOEXEC);
        int result = -1;
        while (fd_ >= 0 && (result = flock(fd_, LOCK_EX)) != 0 && errno == EINTR) {
        }
        taken_ = result == 0;
    }
    ~Turn() {
        if (path_ == nullptr) {
            pthread_mutex_unlock(&s_own_table_lock);
            return;
        }
        if (fd_ >= 0) {
            flock(fd_, LOCK_UN);  // a child forked meanwhile holds the same description
            close(fd_);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    bool taken() const { return taken_; }

private:
    const char* path_;
    int fd_ = -1;
    bool taken_ = true;
};

// FNV-1a.
uint32_t hash(const char* key) {
    uint32_t value = 2166136261U;
    for (; *key != 0; ++key) {
        value = (value ^ static_cast<unsigned char>(*key)) * 16777619U;
    }
    return value;
}

// The entry of `key`, else the free one where it would go, else null.
Entry* find(Table& table, const char* key) {
    const uint32_t start = hash(key);
    for (size_t i = 0; i < c_entries; ++i) {
        Entry& entry = table.entries[(start + i) % c_entries];
        if (entry.version.load(std::memory_order_acquire) == 0 || strcmp(entry.key, key) == 0) {
            return &entry;
        }
    }
    return nullptr;
}

// Each word is stored with release and loaded with acquire, so that a reader who has met one word of a later writer
// also meets the version that this writer came after.
void write_value(Entry& entry, uint32_t version, const Text& text) {
    Words words;
    memcpy(words.data(), text.data(), sizeof(words));
    for (size_t i = 0; i < c_text_words; ++i) {
        entry.values[version % 2][i].store(words[i], std::memory_order_release);
    }
    entry.version.store(version, std::memory_order_release);
}

void read_value(const Entry& entry, Text& text) {
    Words words;
    uint32_t version = 0;
    uint32_t again = 0;
    do {
        version = entry.version.load(std::memory_order_acquire);
        for (size_t i = 0; i < c_text_words; ++i) {
            words[i] = entry.values[version % 2][i].load(std::memory_order_acquire);
        }
        again = entry.version.load(std::memory_order_relaxed);
    } while (again != version);
    memcpy(text.data(), words.data(), sizeof(words));
}

bool is_key(const char* key) {
    return key != nullptr && key[0] != 0 && strnlen(key, PROPERTY_KEY_MAX) < PROPERTY_KEY_MAX;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    Text text = {};
    if (is_key(key) && store().table != nullptr) {
        const Entry* entry = find(*store().table, key);
        if (entry != nullptr && entry->version.load(std::memory_order_acquire) != 0) {
            read_value(*entry, text);
        }
    }
    if (text[0] == 0 && default_value != nullptr) {
        memcpy(text.data(), default_value, strnlen(default_value, text.size() - 1));
    }
    const size_t length = strnlen(text.data(), text.size() - 1);
    memcpy(value, text.data(), length);
    value[length] = 0;
    return static_cast<int>(length);
}

int property_set(const char* key, const char* value) {
    const size_t length = value != nullptr ? strnlen(value, PROPERTY_VALUE_MAX) : 0;
    if (!is_key(key) || length == PROPERTY_VALUE_MAX || store().table == nullptr) {
        return -1;
    }
    Text text = {};
    if (length != 0) {
        memcpy(text.data(), value, length);
    }
    const Turn turn(store().path);
    if (!turn.taken()) {
        return -1;
    }
    Entry* entry = find(*store().table, key);
    if (entry == nullptr) {
        return -1;
    }
    const uint32_t version = entry->version.load(std::memory_order_relaxed);
    if (version == 0) {
        memset(entry->key, 0, sizeof(entry->key));
        memcpy(entry->key, key, strlen(key));
    }
    // Behind the largest version comes 2, which keeps the copies in turn and is not 0.
    write_value(*entry, version + 1 != 0 ? version + 1 : 2, text);
    return 0;
}
