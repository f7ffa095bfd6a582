// Which numbers are emergency numbers (3GPP TS 22.101, 10.1), from the network, the card and the phone itself.
#include <algorithm>
#include <cstring>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/ecc_list.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

std::array<ecc_list, 2> callmngr_network_ecc_list;

constexpr ecc_entry c_sim_not_ready_list[] = {
    {127, "122"},
    {2, "120"},
    {1, "110"},
    {3, "119"},
};

// Whole numbers are compared. An entry without digits is no number, so that an empty number is none either.
bool search(std::span<const ecc_entry> entries, const char* number, uint8_t& category) {
    const size_t length = strlen(number);
    for (const ecc_entry& entry : entries) {
        const size_t entry_length = strnlen(entry.number, sizeof(entry.number));
        if (entry_length != 0 && entry_length == length && memcmp(entry.number, number, length) == 0) {
            category = entry.category;
            return true;
        }
    }
    return false;
}

std::span<const ecc_entry> network_list(uint32_t sim_id) {
    const ecc_list& list = callmngr_network_ecc_list[sim_id & 1U];
    if (list.count > list.entries.size()) {
        return {};
    }
    return std::span(list.entries).first(list.count);
}

std::span<const ecc_entry> sim_list(uint32_t sim_id) {
    const ecc_list* list = sim_get_ecc_list(sim_id);
    if (list == nullptr) {
        return {};
    }
    return std::span(list->entries).first(std::min<size_t>(sim_get_ecc_records(sim_id), list->entries.size()));
}

void callmngr_cs_emergency_number_list_ind(uint32_t sim_id, const void* p_params) {
    if (p_params == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s Network ECC list empty for sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return;
    }
    const auto& record = *static_cast<const UtaCallCsEmergencyNumberListIndCbParams*>(p_params);
    ecc_list& list = callmngr_network_ecc_list[sim_id & 1U];
    list.count = record.count;
    for (size_t i = 0; i < list.entries.size(); ++i) {
        list.entries[i].category = record.entries[i].category;
        static_assert(sizeof(list.entries[i].number) == sizeof(record.entries[i].number));
        memcpy(list.entries[i].number, record.entries[i].number, sizeof(list.entries[i].number));
    }
}

}  // namespace

void UtaMsCallCsEmergencyNumberListIndCb(uint32_t sim_id, const UtaCallCsEmergencyNumberListIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_emergency_number_list_ind);
}

void callmngr_clear_network_ecc_list(uint32_t sim_id) {
    callmngr_network_ecc_list[sim_id & 1U] = {};
}

uint32_t callmngr_is_ecc(uint32_t sim_id, const char* number, uint8_t& category) {
    if (search(network_list(sim_id), number, category)) {
        RIL_TRACE(TRACE_DETAIL, "%s: Number found in Network ECC list. It's an emergency number\n", __func__);
        return 1;
    }
    if (search(sim_list(sim_id), number, category)) {
        RIL_TRACE(TRACE_DETAIL, "%s: Number found in SIM ECC list. It's an emergency number\n", __func__);
        return 1;
    }
    if (search(callmngr_ecc_hardcoded_list, number, category)) {
        RIL_TRACE(TRACE_DETAIL, "%s: Number found in the hardcoded list. It's an emergency number\n", __func__);
        return 1;
    }
    if (get_sim_state(sim_id) == RADIO_STATE_SIM_READY) {
        return 0;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: Sim not ready\n", __func__);
    if (search(c_sim_not_ready_list, number, category)) {
        RIL_TRACE(TRACE_DETAIL, "%s: Number found in NV ECC list. It's an emergency number\n", __func__);
        return 1;
    }
    return 0;
}
