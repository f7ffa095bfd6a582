#include "ril/core/src/reset/pin_cache.h"

#include <cutils/properties.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "ril/core/src/async_ril/request.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"

namespace {

constexpr int32_t c_bad_arguments = -2;
constexpr int32_t c_nothing_stored = -4;

struct cache_key {
    char text[PROPERTY_KEY_MAX];

    cache_key(const char* name, uint32_t sim) { snprintf(text, sizeof(text), "%s%c", name, sim == 0 ? '0' : '1'); }
};

cache_key pin_key(uint32_t sim) {
    return {"ril.cachedpin", sim};
}
cache_key uicc_key(uint32_t sim) {
    return {"ril.cacheduicc", sim};
}
cache_key use_key(uint32_t sim) {
    return {"ril.usecachedpin", sim};
}

bool is_empty(const char* text) {
    return text == nullptr || text[0] == '\0';
}

std::array<char, 9> s_sim_pin{};

void enter_cached_pin(uint32_t sim_id, const void*) {
    const ril_request silent = {sim_id, c_sim_silent_pin_entry, nullptr};
    const int32_t free_id = qelril_get_free_ctxt_id(silent.token);
    if (free_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s no free ctx id\n", "silent_pin_entry");
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    // The identity as a text: as far as its octets go, none of which may be 0.
    char uicc[c_uicc_id_size + 1] = {};
    const auto& octets = sim_read_uicc_id(sim_id);
    std::copy(octets.begin(), octets.end(), uicc);
    char pin[PROPERTY_VALUE_MAX] = {};
    bool enter = get_cached_pin(sim_id, uicc, pin) == 0;
    if (void* nothing = nullptr; enter && qelril_create_multi_mod_priv(ctxt_id, silent.number, 0, &nothing) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: mem alloc failed\n", "silent_pin_entry");
        enter = false;
    }
    if (!enter || sim_handle_pin_activities(sim_id, SIM_ENTER_PIN, pin, nullptr, ctxt_id) != 0) {
        qelril_free_and_return(ctxt_id);
    }
}

}  // namespace

int32_t set_use_cached_pin(uint32_t sim, int32_t value) {
    if (property_set(use_key(sim).text, value == 1 ? "1" : "") != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Failed to set cache pin property\n", __func__);
        return -1;
    }
    return 0;
}

int32_t get_use_cached_pin(uint32_t sim) {
    char value[PROPERTY_VALUE_MAX];
    if (property_get(use_key(sim).text, value, "") == 0) {
        RIL_TRACE(TRACE_ERROR, "%s Failed to get cache PIN value \n", __func__);
        return -1;
    }
    return strcmp(value, "1") == 0 ? 0 : -1;
}

int32_t cached_clear(uint32_t sim) {
    if (property_set(uicc_key(sim).text, "") != 0) {
        RIL_TRACE(TRACE_ERROR, "%s cannot clear uicc cache\n", __func__);
        return -1;
    }
    if (property_set(pin_key(sim).text, "") != 0) {
        RIL_TRACE(TRACE_ERROR, "%s cannot clear pin cache\n", __func__);
        return -1;
    }
    return 0;
}

int32_t encrypt(uint32_t sim, const char* pin) {
    const cache_key key = pin_key(sim);
    if (pin == nullptr || property_set(key.text, pin) != 0) {
        property_set(key.text, "");
        RIL_TRACE(TRACE_ERROR, "%s - Cannot store property %s \n", __func__, key.text);
        return -1;
    }
    return 0;
}

int32_t decrypt(uint32_t sim, char* pin) {
    if (pin == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s - invalid params\n", __func__);
        return -1;
    }
    if (property_get(pin_key(sim).text, pin, "") == 0) {
        RIL_TRACE(TRACE_ERROR, "%s - cannot retrive PIN\n", __func__);
        return c_nothing_stored;
    }
    return 0;
}

int32_t pin_cache_store(uint32_t sim, const char* uicc, const char* pin) {
    const cache_key key = uicc_key(sim);
    if (is_empty(uicc) || property_set(key.text, uicc) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s - cannot store uicc\n", __func__);
        return -1;
    }
    if (is_empty(pin)) {
        property_set(key.text, "");
        RIL_TRACE(TRACE_ERROR, "%s - cannot store pin\n", __func__);
        return -1;
    }
    return encrypt(sim, pin);
}

int32_t get_cached_pin(uint32_t sim, const char* uicc, char* pin) {
    if (pin == nullptr || is_empty(uicc)) {
        RIL_TRACE(TRACE_ERROR, "%s invalid parameters\n", __func__);
        return c_bad_arguments;
    }
    char stored[PROPERTY_VALUE_MAX];
    if (property_get(uicc_key(sim).text, stored, "") == 0) {
        RIL_TRACE(TRACE_ERROR, "%s failed to retrive uicc cached prop\n", __func__);
        return c_nothing_stored;
    }
    if (strcmp(stored, uicc) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s bad uicc value\n", __func__);
        return c_bad_arguments;
    }
    if (decrypt(sim, pin) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Pin empty\n", __func__);
        return c_nothing_stored;
    }
    return 0;
}

void silent_pin_entry(uint32_t sim) {
    qelril_post_utamsindcb(sim, nullptr, enter_cached_pin);
}

void store_sim_pin(const char* pin) {
    s_sim_pin = {};
    if (pin != nullptr) {
        memcpy(s_sim_pin.data(), pin, strnlen(pin, s_sim_pin.size() - 1));
    }
}

char* get_sim_pin() {
    return s_sim_pin.data();
}

void reset_pin_to_default() {
    s_sim_pin = {};
}
