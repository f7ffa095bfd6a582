// A request for the preferred network type that came while the radio was away.
#include <pthread.h>

#include <array>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/os_util.h"

namespace {

struct net_pref_info {
    RIL_Token token;
    int32_t value;        // network type
    net_pref_info* next;  // among those that will not be carried out
};

// Written on rild's event thread, on the RIL thread and on the modem event thread, with s_lock held.
std::array<net_pref_info*, 2> pref_network_info{};
net_pref_info* s_given_up = nullptr;  // dropped or replaced, and not answered yet
pthread_mutex_t s_lock = PTHREAD_MUTEX_INITIALIZER;

// With s_lock held; null is none.
void give_up(net_pref_info* record) {
    if (record != nullptr) {
        record->next = std::exchange(s_given_up, record);
    }
}

// A new record, or null with the request answered.
net_pref_info* new_record(const net_pref_info& values) {
    auto* record = static_cast<net_pref_info*>(MEM_ALLOC(sizeof(net_pref_info)));
    if (record == nullptr) {
        ril_request_complete(values.token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return nullptr;
    }
    *record = values;
    return record;
}

}  // namespace

bool net_pref_is_saved(uint32_t sim_id) {
    const MutexHold hold(s_lock);
    return pref_network_info[sim_id] != nullptr;
}

void saveNetPrefInfo(uint32_t sim_id, int32_t request, void* data, size_t length, RIL_Token token) {
    (void)request;
    if (data == nullptr || length < sizeof(int)) {
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    net_pref_info* record = new_record({token, *static_cast<const int*>(data), nullptr});
    if (record != nullptr) {
        const MutexHold hold(s_lock);
        give_up(std::exchange(pref_network_info[sim_id], record));
    }
}

void net_pref_drop(RIL_Token token) {
    net_pref_info* record = new_record({token, 0, nullptr});
    const MutexHold hold(s_lock);
    give_up(record);
}

void net_pref_start() {
    net_pref_info* record = nullptr;
    {
        const MutexHold hold(s_lock);
        for (net_pref_info*& kept : pref_network_info) {
            give_up(std::exchange(kept, nullptr));
        }
        record = std::exchange(s_given_up, nullptr);
    }
    while (record != nullptr) {
        ril_request_complete(record->token, RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
        MEM_FREE(std::exchange(record, record->next));
    }
}

// Without the property the record stays, as phones know it, until the next start answers it.
void postRadioPoweron(uint32_t sim_id) {
    if (!is_property_set("persist.conformance.noprefrat")) {
        return;
    }
    net_pref_info* record = nullptr;
    {
        const MutexHold hold(s_lock);
        record = std::exchange(pref_network_info[sim_id], nullptr);
    }
    if (record != nullptr) {
        on_request_handler(sim_id, RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, &record->value, sizeof(record->value),
                           record->token);
        MEM_FREE(record);
    }
}
