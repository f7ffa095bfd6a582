// A request for the preferred network type that came while the radio was away.
#include <pthread.h>

#include <array>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

struct net_pref_info {
    RIL_Token token;  // null once answered
    int32_t value;    // network type
};

// Written on rild's event thread, on the RIL thread and on the modem event thread.
std::array<net_pref_info*, 2> pref_network_info{};
pthread_mutex_t s_lock = PTHREAD_MUTEX_INITIALIZER;

net_pref_info* exchange_record(uint32_t sim_id, net_pref_info* record) {
    pthread_mutex_lock(&s_lock);
    net_pref_info* old = std::exchange(pref_network_info[sim_id], record);
    pthread_mutex_unlock(&s_lock);
    return old;
}

// A request that will not be carried out any more is answered all the same.
void answer_and_free(net_pref_info* record, RIL_Errno error) {
    if (record == nullptr) {
        return;
    }
    ril_request_complete(record->token, error, nullptr, 0);
    MEM_FREE(record);
}

}  // namespace

bool net_pref_is_saved(uint32_t sim_id) {
    pthread_mutex_lock(&s_lock);
    const bool saved = pref_network_info[sim_id] != nullptr;
    pthread_mutex_unlock(&s_lock);
    return saved;
}

void saveNetPrefInfo(uint32_t sim_id, int32_t request, void* data, size_t length, RIL_Token token) {
    (void)request;
    auto* record = data == nullptr || length < sizeof(int)
                       ? nullptr
                       : static_cast<net_pref_info*>(MEM_ALLOC(sizeof(net_pref_info)));
    if (record == nullptr) {
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    *record = {token, *static_cast<const int*>(data)};
    answer_and_free(exchange_record(sim_id, record), RIL_E_GENERIC_FAILURE);
}

void net_pref_start() {
    for (uint32_t sim_id = 0; sim_id < pref_network_info.size(); ++sim_id) {
        answer_and_free(exchange_record(sim_id, nullptr), RIL_E_RADIO_NOT_AVAILABLE);
    }
}

// Without the property the record stays, as phones know it; its token is answered, since nothing else ever would.
void postRadioPoweron(uint32_t sim_id) {
    if (!is_property_set("persist.conformance.noprefrat")) {
        pthread_mutex_lock(&s_lock);
        net_pref_info* record = pref_network_info[sim_id];
        RIL_Token token = record == nullptr ? nullptr : std::exchange(record->token, nullptr);
        pthread_mutex_unlock(&s_lock);
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    net_pref_info* record = exchange_record(sim_id, nullptr);
    if (record != nullptr) {
        on_request_handler(sim_id, RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, &record->value, sizeof(record->value),
                           record->token);
        MEM_FREE(record);
    }
}
