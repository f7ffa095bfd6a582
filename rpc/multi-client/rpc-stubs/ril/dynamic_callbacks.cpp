#include "rpc/multi-client/rpc-stubs/ril/dynamic_callbacks.h"

#include <pthread.h>

#include <cstdio>
#include <cstring>

struct DynCbEntry {
    uint8_t in_use;
    uint8_t count;
    DynCallback callbacks[c_dyn_cb_callbacks];
    char name[80];
};

static constexpr uint32_t c_dyn_cb_lists = 2;

static DynCbEntry HostDynCbPtrList[c_dyn_cb_lists][c_dyn_cb_entries];
static pthread_mutex_t s_dyn_cb_mutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

class DynCbLock {
public:
    DynCbLock() { pthread_mutex_lock(&s_dyn_cb_mutex); }
    ~DynCbLock() { pthread_mutex_unlock(&s_dyn_cb_mutex); }
    DynCbLock(const DynCbLock&) = delete;
    DynCbLock& operator=(const DynCbLock&) = delete;
};

}  // namespace

// A stored name is cut to what fits, and so is found only as far as that.
static bool has_name(const DynCbEntry& entry, const char* name) {
    return entry.in_use != 0 && strncmp(entry.name, name, sizeof(entry.name) - 1) == 0;
}

int32_t SetDynCBPtr(uint32_t sim_id, const char* name, DynCallback callback) {
    if (name == nullptr || callback == nullptr || sim_id >= c_dyn_cb_lists) {
        return 0;
    }
    const DynCbLock lock;
    for (int32_t i = 0; i < c_dyn_cb_entries; ++i) {
        DynCbEntry& entry = HostDynCbPtrList[sim_id][i];
        if (entry.in_use == 0) {
            snprintf(entry.name, sizeof(entry.name), "%s", name);
            entry.in_use = 1;
            entry.count = 1;
            entry.callbacks[0] = callback;
            return i;
        }
        if (!has_name(entry, name)) {
            continue;
        }
        // Only the first callback is looked at: a later one that comes again is appended again.
        if (entry.callbacks[0] == callback) {
            return i;
        }
        if (entry.count == c_dyn_cb_callbacks) {
            return c_dyn_cb_entries;
        }
        entry.callbacks[entry.count++] = callback;
        return i;
    }
    return c_dyn_cb_entries;
}

int32_t GetDynCBPtrInfo(uint32_t sim_id, const char* name, int32_t* entry) {
    if (name == nullptr || sim_id >= c_dyn_cb_lists) {
        return -1;
    }
    const DynCbLock lock;
    for (int32_t i = 0; i < c_dyn_cb_entries; ++i) {
        if (has_name(HostDynCbPtrList[sim_id][i], name)) {
            *entry = i;
            return HostDynCbPtrList[sim_id][i].count;
        }
    }
    return -1;
}

DynCallback GetDynCBPtr(uint32_t sim_id, int32_t entry, int32_t callback) {
    if (sim_id >= c_dyn_cb_lists || entry < 0 || entry >= c_dyn_cb_entries || callback < 0 ||
        callback >= c_dyn_cb_callbacks) {
        return nullptr;
    }
    const DynCbLock lock;
    const DynCbEntry& found = HostDynCbPtrList[sim_id][entry];
    return callback < found.count ? found.callbacks[callback] : nullptr;
}
