#include "ril/core/src/async_ril/async_ril.h"

// No handler is here yet.
void on_request_handler(uint32_t sim_id, int32_t request, void* p_data, size_t data_len, RIL_Token token) {
    (void)sim_id;
    (void)request;
    (void)p_data;
    (void)data_len;
    ril_request_complete(token, RIL_E_REQUEST_NOT_SUPPORTED, nullptr, 0);
}
