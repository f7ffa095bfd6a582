// The card's indications and the state that follows from them.
#include <cutils/properties.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/acl.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/core/src/sim/ecc.h"
#include "ril/core/src/sim/pin.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

std::array<SimPbInfo, 2> s_sim_pb_info{};
std::array<sim_ms_data, 2> s_sim_ms_data{};

namespace {

constexpr int32_t c_sim_ind_present = 3;  // UTA_SIM_IND_PRESENT
constexpr uint8_t c_app_class_3g = 255;

// Values of the card indication. The modem has more; they do nothing here.
constexpr int32_t c_reset_by_request = 0;
constexpr int32_t c_reset_removal = 7;
constexpr int32_t c_reset_power_off = 8;
constexpr int32_t c_indicator_gone = 2;
constexpr int32_t c_indicator_there = 3;

std::array<uint32_t, 2> s_sim_state = {c_sim_state_none, c_sim_state_none};
std::array<uint32_t, 2> s_sim_ready_pending{};
std::array<uint32_t, 2> s_sim_card_ready{};
std::array<uint32_t, 2> s_sim_removal{};  // 1 from a removal until the absent indication behind it
std::array<uint32_t, 2> s_sim_off{};      // 1 while the card is switched off by request

constexpr std::array<const char*, 8> c_chv_texts = {
    "SIM_NOT_AVAILABLE",      "SIM_NEEDED",   "SIM_NOT_NEEDED", "SIM_BLOCKED",
    "SIM_UNBLOCKING_BLOCKED", "SIM_VERIFIED", "SIM_REJECTED",   "SIM_IN_CONTRADICTION_WITH_CHV_STATUS",
};

void recovery_key(uint32_t sim_id, const char* suffix, char (&key)[PROPERTY_KEY_MAX]) {
    snprintf(key, sizeof(key), "ril.recovery.%d%s", static_cast<int>(sim_id), suffix);
}

void forget_card(uint32_t sim_id) {
    s_sim_pb_info[sim_id].m_sim_card_type.store(SIM_CARD_TYPE_NO_TYPE, std::memory_order_relaxed);
    s_sim_card_ready[sim_id] = 0;
    s_sim_ms_data[sim_id].uicc_id = {};
    s_sim_pb_info[sim_id].m_chv1_status.store(CHV_NOT_AVAILABLE, std::memory_order_relaxed);
    s_sim_pb_info[sim_id].m_chv2_status = CHV_NOT_AVAILABLE;
    sim_set_fdn_not_possible(sim_id);
}

void sim_hot_swap_detected(uint32_t sim_id) {
    net_clear_modem_registration_state(sim_id);
    s_sim_ms_data[sim_id].imsi = {};
}

void sim_card_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& card = *static_cast<const UtaSimCardInfoParam*>(p_params);
    sim_clear_acl(sim_id);
    if (card.reset_type == c_reset_removal && card.indicator == c_indicator_gone) {
        s_sim_removal[sim_id] = 1;
        forget_card(sim_id);
        sim_hot_swap_detected(sim_id);
        set_sim_state(sim_id, RADIO_STATE_SIM_LOCKED_OR_ABSENT);
    } else if ((card.reset_type == c_reset_by_request || card.reset_type == c_reset_power_off) &&
               card.indicator == c_indicator_gone) {
        s_sim_off[sim_id] = 1;
    } else if (card.reset_type == c_reset_by_request && card.indicator == c_indicator_there) {
        s_sim_off[sim_id] = 0;
        s_sim_removal[sim_id] = 0;
    }
}

void card_is_present(uint32_t sim_id, const UtaSimInfoType& info) {
    SimPbInfo& card = s_sim_pb_info[sim_id];
    const bool is_3g = info.app_class == c_app_class_3g;
    sim_set_recovery_property(sim_id, ".sim.state", "PRESENT");
    card.m_sim_card_type.store(is_3g ? SIM_CARD_TYPE_3G : SIM_CARD_TYPE_2G, std::memory_order_relaxed);
    sim_set_recovery_property(sim_id, ".simtype", is_3g ? "3G" : "2G");
    std::copy_n(info.uicc_id, c_uicc_id_size, s_sim_ms_data[sim_id].uicc_id.begin());
    const int32_t old_chv1 = card.m_chv1_status.exchange(info.chv1_status, std::memory_order_relaxed);
    const bool changed = old_chv1 != info.chv1_status || card.m_chv2_status != info.chv2_status;
    card.m_chv2_status = info.chv2_status;
    const bool open = info.chv1_status == CHV_NOT_NEEDED || info.chv1_status == CHV_VERIFIED;
    set_sim_state(sim_id, open ? RADIO_STATE_SIM_NOT_READY : RADIO_STATE_SIM_LOCKED_OR_ABSENT);
    if (changed) {
        ril_unsol_response_sim_status_changed(sim_id);
    }
}

void card_is_absent(uint32_t sim_id) {
    sim_set_recovery_property(sim_id, ".sim.state", "ABSENT");
    forget_card(sim_id);
    if (s_sim_removal[sim_id] == 1) {
        sim_hot_swap_detected(sim_id);
        s_sim_removal[sim_id] = 0;
    } else {
        set_sim_state(sim_id, s_sim_off[sim_id] == 1 ? c_sim_state_none : uint32_t{RADIO_STATE_SIM_NOT_READY});
    }
}

void sim_info_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& info = *static_cast<const UtaSimInfoType*>(p_params);
    SimPbInfo& card = s_sim_pb_info[sim_id];
    s_sim_ms_data[sim_id].sim_ind = info.sim_ind;
    if (info.sim_ind == c_sim_ind_present) {
        card_is_present(sim_id, info);
    } else {
        card_is_absent(sim_id);
    }
    sim_set_recovery_property(sim_id, ".chv1",
                              sim_chv_value_to_string(card.m_chv1_status.load(std::memory_order_relaxed)));
    sim_set_recovery_property(sim_id, ".chv2", sim_chv_value_to_string(card.m_chv2_status));
    s_sim_ms_data[sim_id].lock_status_received = 0;
    card.m_retries = {info.chv1_retries_left, info.retries_2, info.retries_3, info.retries_4};
}

void sim_init_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& info = *static_cast<const UtaSimInitType*>(p_params);
    if (info.init_result != 0) {
        sim_set_recovery_property(sim_id, "", "SIM_READY");
        s_sim_card_ready[sim_id] = 1;
        if (net_attach_is_allowed(sim_id) == 1) {
            set_sim_state(sim_id, RADIO_STATE_SIM_READY);
        } else {
            s_sim_ready_pending[sim_id] = 1;
        }
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: info->init_result = %d\n", __func__, info.init_result);
        s_sim_card_ready[sim_id] = 0;
    }
    if (info.imsi_len == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Error Imsi Not received\n", __func__);
        return;
    }
    auto& imsi = s_sim_ms_data[sim_id].imsi;
    std::copy_n(info.imsi, std::min<size_t>(info.imsi_len, imsi.size()), imsi.begin());
}

void sim_full_access_ind_cb(uint32_t sim_id, const void* p_params) {
    (void)p_params;
    s_sim_pb_info[sim_id].m_sim_init = 1;
    sim_set_recovery_property(sim_id, ".siminit", "TRUE");
    const int32_t free_id = qelril_get_free_ctxt_id(nullptr);
    if (free_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: getting a free ctxt id failed\n", __func__);
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    void* nothing = nullptr;
    if (qelril_create_multi_mod_priv(ctxt_id, 0, 0, &nothing) != 0) {
        qelril_free_and_return(ctxt_id);
        RIL_TRACE(TRACE_ERROR, "%s: malloc failed\n", __func__);
        return;
    }
    sim_ecc_file_properties(sim_id, ctxt_id);
    if (sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_3G) {
        sim_select_ust_ef(sim_id);
    }
}

int32_t sim_request_read_pin(uint32_t sim_id) {
    const SimPbInfo& card = s_sim_pb_info[sim_id];
    if (card.m_sim_card_type.load(std::memory_order_relaxed) == SIM_CARD_TYPE_NO_TYPE) {
        return SIM_STATUS_SIM_ABSENT;
    }
    switch (card.m_chv1_status.load(std::memory_order_relaxed)) {
        case CHV_NOT_AVAILABLE:
        case CHV_UNBLOCKING_BLOCKED:
        case CHV_REJECTED:
        case CHV_IN_CONTRADICTION:
            return SIM_STATUS_SIM_ABSENT;
        case CHV_NOT_NEEDED:
        case CHV_VERIFIED:
            return SIM_STATUS_SIM_READY;
        case CHV_NEEDED:
            return SIM_STATUS_SIM_PIN;
        case CHV_BLOCKED:
            return SIM_STATUS_SIM_PUK;
        default:
            RIL_TRACE(TRACE_ERROR, "%s: Hit default case for chv_status, returning SIM_NOT_READY\n", __func__);
            return SIM_STATUS_SIM_NOT_READY;
    }
}

}  // namespace

void sim_set_recovery_property(uint32_t sim_id, const char* suffix, const char* value) {
    char key[PROPERTY_KEY_MAX];
    recovery_key(sim_id, suffix, key);
    property_set(key, value == nullptr ? "" : value);
}

bool sim_recovery_is_ready(uint32_t sim_id) {
    char key[PROPERTY_KEY_MAX];
    char value[PROPERTY_VALUE_MAX];
    recovery_key(sim_id, "", key);
    property_get(key, value, "");
    return strncmp(value, "SIM_READY", 9) == 0;
}

void sim_module_init(uint32_t sim_id) {
    s_sim_state[sim_id] = c_sim_state_none;
    s_sim_ready_pending[sim_id] = 0;
    s_sim_ms_data[sim_id] = {};
    SimPbInfo& card = s_sim_pb_info[sim_id];
    card.m_sim_init = 0;
    card.m_sim_card_type.store(SIM_CARD_TYPE_NO_TYPE, std::memory_order_relaxed);
    card.m_chv1_status.store(CHV_NOT_AVAILABLE, std::memory_order_relaxed);
    card.m_chv2_status = CHV_NOT_AVAILABLE;
    card.m_retries = {};
    sim_fdn_init(sim_id);
    sim_ecc_init(sim_id);
    sim_clear_acl(sim_id);
}

uint32_t get_sim_state(uint32_t sim_id) {
    return s_sim_state[sim_id];
}

void set_sim_state(uint32_t sim_id, uint32_t state) {
    if (state != RADIO_STATE_SIM_LOCKED_OR_ABSENT && state == s_sim_state[sim_id]) {
        RIL_TRACE(TRACE_DETAIL, "%s sim state old == new\n", __func__);
        return;
    }
    if (state == RADIO_STATE_SIM_READY) {
        if (get_radio_state(sim_id) == RADIO_STATE_UNAVAILABLE) {
            RIL_TRACE(TRACE_DETAIL, "%s sim ready wait for radio\n", __func__);
            return;
        }
        s_sim_ready_pending[sim_id] = 0;
    }
    s_sim_state[sim_id] = state;
    ril_unsol_response_sim_status_changed(sim_id);
}

uint32_t is_sim_ready_pending(uint32_t sim_id) {
    return s_sim_ready_pending[sim_id];
}

void set_sim_ready_pending(uint32_t sim_id, uint32_t value) {
    s_sim_ready_pending[sim_id] = value;
}

uint32_t sim_check_if_sim_is_ready(uint32_t sim_id) {
    return s_sim_card_ready[sim_id];
}

void sim_set_sim_is_ready(uint32_t sim_id, uint32_t value) {
    s_sim_card_ready[sim_id] = value;
}

void sim_radio_is_on(uint32_t sim_id) {
    if (sim_get_sim_status(sim_id) == SIM_STATUS_SIM_READY && net_attach_is_allowed(sim_id) == 1) {
        set_sim_state(sim_id, RADIO_STATE_SIM_READY);
    }
}

void net_attach_is_allowed_now(uint32_t sim_id) {
    if (is_sim_ready_pending(sim_id) == 1) {
        set_sim_state(sim_id, RADIO_STATE_SIM_READY);
    } else {
        ril_unsol_response_sim_status_changed(sim_id);
    }
}

void ril_unsol_response_sim_status_changed(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED, nullptr, 0);
}

int32_t sim_get_sim_status(uint32_t sim_id) {
    const int32_t status = sim_request_read_pin(sim_id);
    RIL_TRACE(TRACE_DETAIL, "%s: sim %d status %d\n", __func__, static_cast<int>(sim_id), status);
    return status;
}

int32_t sim_get_inserted_sim_type(uint32_t sim_id) {
    return s_sim_pb_info[sim_id].m_sim_card_type.load(std::memory_order_relaxed);
}

void sim_set_inserted_sim_type(uint32_t sim_id, int32_t type) {
    s_sim_pb_info[sim_id].m_sim_card_type.store(type, std::memory_order_relaxed);
}

void sim_set_init(uint32_t sim_id, int32_t value) {
    s_sim_pb_info[sim_id].m_sim_init = value;
}

const char* sim_chv_value_to_string(int32_t value) {
    const auto index = static_cast<uint32_t>(value);
    return index < c_chv_texts.size() ? c_chv_texts[index] : nullptr;
}

int32_t sim_string_to_chv_value(const char* text) {
    for (size_t value = 0; text != nullptr && value < c_chv_texts.size(); ++value) {
        if (strcmp(text, c_chv_texts[value]) == 0) {
            return static_cast<int32_t>(value);
        }
    }
    return CHV_NOT_AVAILABLE;
}

const std::array<uint8_t, c_uicc_id_size>& sim_read_uicc_id(uint32_t sim_id) {
    return s_sim_ms_data[sim_id].uicc_id;
}

void UtaMsSimCardIndCb(uint32_t sim_id, const UtaSimCardInfoParam* param) {
    qelril_post_utamsindcb(sim_id, param, sim_card_ind_cb);
}

void UtaMsSimInfoIndCb(uint32_t sim_id, const UtaSimInfoType* param) {
    qelril_post_utamsindcb(sim_id, param, sim_info_ind_cb);
}

void UtaMsSimInitIndCb(uint32_t sim_id, const UtaSimInitType* param) {
    qelril_post_utamsindcb(sim_id, param, sim_init_ind_cb);
}

void UtaMsSimFullAccessIndCb(uint32_t sim_id) {
    qelril_post_utamsindcb(sim_id, nullptr, sim_full_access_ind_cb);
}
