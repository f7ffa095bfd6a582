#include "ril/core/src/async_ril/request.h"

#include "ril/utils/trace.h"

request_context::request_context(const ril_request& request, const char* function, const char* none_free)
    : m_request(request), m_id(qelril_get_free_ctxt_id(request.token)), m_held(m_id >= 0) {
    if (m_id < 0) {
        RIL_TRACE(TRACE_ERROR, none_free, function);
        request.complete(RIL_E_GENERIC_FAILURE);
    }
}

request_context::~request_context() {
    if (m_held) {
        qelril_free_and_return_generic_failure(id());
    }
}

bool request_context::create_multi_mod_priv(size_t size, void** caller) {
    void* area = nullptr;
    return qelril_create_multi_mod_priv(id(), m_request.number, size, caller == nullptr ? &area : caller) == 0;
}

void request_context::complete(RIL_Errno error, void* response, size_t length) {
    in_flight();
    qelril_complete_and_return(id(), error, response, length);
}
