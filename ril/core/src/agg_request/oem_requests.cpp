#include <array>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/oem_hooks/oem_hooks.h"
#include "ril/utils/ril_instance.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

void ril_request_oem_hook_raw(const ril_request& request) {
    request.complete(RIL_E_REQUEST_NOT_SUPPORTED);
}

void ril_request_oem_hook_strings(request_context& context, ril_texts<1> texts) {
    if (texts[0] == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: No data or not enough data\n", __func__);
        return;
    }
    oem_hooks_strings_decode(context, {texts.all});
}

void ril_request_baseband_version(const ril_request& request) {
    constexpr int32_t c_short_version = 0;
    constexpr int32_t c_version = 4;
    if (ril_instance == 0) {
        oem_read_factory_data();
    }
    std::array<char, 101> text{};
    constexpr auto c_length = static_cast<int32_t>(text.size() - 1);
    if (RemUtaSysGetInfo(c_short_version, text.data(), c_length) == 0) {
        RIL_TRACE(TRACE_EVENT, "%s: %s\n", __func__, text.data());
    }
    text.fill('\0');
    if (RemUtaSysGetInfo(c_version, text.data(), c_length) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaSysGetInfo returned ERROR\n", __func__);
        request.complete(RIL_E_GENERIC_FAILURE);
        return;
    }
    ril_request_complete(request.token, RIL_E_SUCCESS, text.data(), sizeof(char*));
}
