#include "ril/core/src/sms/sms_state.h"

#include <cutils/properties.h>

#include <cstdio>
#include <cstring>

#include "ril/utils/trace.h"

std::array<sms_mngr_state, 2> sms_mngr;

namespace {

constexpr uint32_t c_unknown_service = 99;

// The modem's number of a mode, or `otherwise`.
uint32_t service_of_mode(uint32_t mode, uint32_t otherwise) {
    constexpr std::array<uint32_t, 4> c_services = {1, 0, 3, 2};
    return mode < c_services.size() ? c_services[mode] : otherwise;
}

// Whatever way the context was released: nobody waits any more.
void forget_incoming(uint32_t ctxt_id) {
    for (sms_mngr_state& state : sms_mngr) {
        if (state.incoming_ind_ctxt_id == static_cast<int32_t>(ctxt_id)) {
            state.incoming_ind_ctxt_id = -1;
        }
    }
}

}  // namespace

void sms_mngr_init(uint32_t sim_id) {
    // At a start of the modem the contexts are gone, and what the link says means nothing.
    const int32_t waiting = sms_mngr[sim_id].incoming_ind_ctxt_id;
    if (waiting > 0 && rilreq_state_info[static_cast<uint32_t>(waiting)].p_released == forget_incoming) {
        qelril_free_and_return(static_cast<uint32_t>(waiting));
    }
    sms_mngr[sim_id] = {};
    sms_mngr[sim_id].incoming_ind_ctxt_id = -1;
}

sms_book_keeping* sms_book_keeping_init(request_context& context) {
    void* area = nullptr;
    if (!context.create_multi_mod_priv(sizeof(sms_book_keeping), &area)) {
        return nullptr;
    }
    auto* const record = static_cast<sms_book_keeping*>(area);
    record->slot = 1;
    return record;
}

sms_book_keeping* sms_record_of(uint32_t ctxt_id) {
    const rilreq_state& entry = rilreq_state_info[ctxt_id];
    if (entry.priv_form != PRIV_MULTI_MODULE || entry.p_priv_data == nullptr) {
        return nullptr;
    }
    return static_cast<sms_book_keeping*>(static_cast<rilreq_priv_data*>(entry.p_priv_data)->caller_priv);
}

// --- The way of messages ---------------------------------------------------------------------------------------------

void sms_set_net_gsm_service(uint32_t sim_id, uint32_t mode) {
    sms_mngr[sim_id].net_gsm_service = service_of_mode(mode, c_unknown_service);
}

uint32_t sms_get_net_gsm_service(uint32_t sim_id) {
    char value[PROPERTY_VALUE_MAX];
    property_get("persist.conformance", value, "");
    if (strcmp(value, "true") != 0) {
        return sms_mngr[sim_id].net_gsm_service;
    }
    property_get("sms.sender.use.ps_cs", value, "1");
    return service_of_mode(static_cast<uint32_t>(value[0] - '0'), 0);
}

// --- The service centre's address ------------------------------------------------------------------------------------

const char* sms_get_service_center_address(uint32_t sim_id) {
    return sms_mngr[sim_id].sca.data();
}

void sms_set_service_center_address(uint32_t sim_id, const char* text) {
    std::array<char, c_sms_address_max + 1>& sca = sms_mngr[sim_id].sca;
    snprintf(sca.data(), sca.size(), "%s", text);
}

bool sms_is_sca_available(uint32_t sim_id) {
    return sms_mngr[sim_id].sca[0] != '\0';
}

// --- The message that waits for Android ------------------------------------------------------------------------------

int32_t sms_get_incoming_ind_ctxt_id(uint32_t sim_id) {
    return sms_mngr[sim_id].incoming_ind_ctxt_id;
}

void sms_set_incoming_ind_ctxt_id(uint32_t sim_id, uint32_t ctxt_id) {
    sms_mngr[sim_id].incoming_ind_ctxt_id = static_cast<int32_t>(ctxt_id);
    rilreq_state_info[ctxt_id].p_released = forget_incoming;
}
