// A request of Android as its handler sees it, and the context that it needs for an answer of the modem.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

#include "ril/core/src/async_ril/async_ril.h"

struct ril_request {
    uint32_t sim_id;
    int32_t number;  // RIL_REQUEST_
    RIL_Token token;

    void complete(RIL_Errno error) const { ril_request_complete(token, error, nullptr, 0); }
    template <class Response>
    void succeed(const Response& response) const {
        // Android's interface has no const; it only reads.
        ril_request_complete(token, RIL_E_SUCCESS, const_cast<Response*>(&response), sizeof(response));
    }
};

// A context that no request of the modem carries yet: nothing but its holder can end it. A holder that lets it go
// without a word fails the request; one whose call went out says in_flight(), and from then on the answer, the response
// timer or the modem's end releases it. Lives on the stack of a handler, RIL thread.
class request_context {
public:
    // Takes a context for the request. With none free the request has failed, with the log line `none_free` under the
    // name of `function`, and the object is false.
    request_context(const ril_request& request, const char* function,
                    const char* none_free = "%s: ERROR out of free rilreq_state_info array elements\n");
    ~request_context();
    request_context(const request_context&) = delete;
    request_context& operator=(const request_context&) = delete;

    explicit operator bool() const { return m_id >= 0; }
    const ril_request& request() const { return m_request; }
    uint32_t sim_id() const { return m_request.sim_id; }
    uint32_t id() const { return static_cast<uint32_t>(m_id); }
    uint32_t uta_id() const { return uta_context_id(id()); }

    // A zeroed private area of that type (qelril_create_priv_area), or null without memory.
    template <class Area>
    Area* create_area() {
        void* area = nullptr;
        return qelril_create_priv_area(id(), sizeof(Area), &area) == 0 ? static_cast<Area*>(area) : nullptr;
    }
    // A rilreq_priv_data under the request's number with zeroed caller data of `size` bytes: false without memory.
    bool create_multi_mod_priv(size_t size, void** caller = nullptr);

    // The modem has the request, or a module that releases the context by itself.
    void in_flight() { m_held = false; }
    uint32_t hand_over() {
        in_flight();
        return id();
    }

    // Answers the request and releases the context.
    void complete(RIL_Errno error, void* response = nullptr, size_t length = 0);

private:
    const ril_request& m_request;
    int32_t m_id;
    bool m_held;
};
