#include "ril/core/src/cb/cb.h"

#include <algorithm>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_ranges_written = 99;

// --- The filter ------------------------------------------------------------------------------------------------------

// The schemes of the record that comes last are the filter's, and so is whether it lets through or keeps out.
void take_schemes(const RIL_GSM_BroadcastSmsConfigInfo& record, UtaCbsFilterParam& filter) {
    const auto first = static_cast<uint32_t>(record.fromCodeScheme);
    const auto count = static_cast<uint8_t>(static_cast<uint32_t>(record.toCodeScheme) + 1 - first);
    filter.dcs_cnt = static_cast<uint8_t>(std::min<size_t>(count, std::size(filter.dcs)));
    for (uint32_t i = 0; i < std::size(filter.dcs); ++i) {
        filter.dcs[i] = i < filter.dcs_cnt ? static_cast<uint8_t>(first + i) : 0;
    }
    filter.filter_mode = record.selected == 0 ? 1 : 0;
}

void ril_on_unsolicited_new_cbs_message(uint32_t sim_id, std::span<const uint8_t> page) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS, page.data(), page.size());
}

// --- What is received ------------------------------------------------------------------------------------------------

// 3GPP TS 23.041, 9.4.1.2: a page has a header of 6 octets and 82 octets of text. The modem gives it 83.
constexpr size_t c_header_octets = 6;
constexpr size_t c_page_octets = 82;
constexpr size_t c_page_stride = c_page_octets + 1;
constexpr uint8_t c_pages_max = 15;

// The octets of the last page, by the size of all of them.
size_t last_page_octets(size_t size, size_t page) {
    const size_t before = c_page_stride * page + 1;
    return size < before ? 0 : std::min(size - before, c_page_octets);
}

void cbs_new_message_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& message = *static_cast<const UtaCbsData*>(p_params);
    const uint8_t pages = std::min(message.pages, c_pages_max);
    for (uint8_t page = 0; page < pages; ++page) {
        std::array<uint8_t, c_header_octets + c_page_octets> octets = {
            static_cast<uint8_t>(message.serial_number >> 8),
            static_cast<uint8_t>(message.serial_number),
            static_cast<uint8_t>(message.message_id >> 8),
            static_cast<uint8_t>(message.message_id),
            message.dcs,
            static_cast<uint8_t>((page + 1) << 4 | pages),
        };
        const size_t size = page + 1 < pages ? c_page_octets : last_page_octets(message.size, page);
        std::copy_n(message.page_data + c_page_stride * page, size, octets.begin() + c_header_octets);
        ril_on_unsolicited_new_cbs_message(sim_id, std::span(octets).first(c_header_octets + size));
    }
}

// --- Start and stop --------------------------------------------------------------------------------------------------

void complete(const void* p_params, uint32_t ctxt_id) {
    constexpr int32_t c_done = 1;
    const int32_t result = *static_cast<const int32_t*>(p_params);
    qelril_complete_and_return(ctxt_id, result == c_done ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

void cbs_start_rsp_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    complete(p_params, ctxt_id);
}

void cbs_stop_rsp_cb(uint32_t, const void* p_params, uint32_t ctxt_id) {
    complete(p_params, ctxt_id);
}

}  // namespace

int32_t cbs_select_message_type(uint32_t sim_id, std::span<const RIL_GSM_BroadcastSmsConfigInfo* const> records) {
    UtaCbsFilterParam filter{};
    for (size_t i = 0; i < std::min(records.size(), c_ranges_written); ++i) {
        if (records[i] == nullptr) {
            RIL_TRACE(TRACE_ERROR, "%s The configuration received is NULL", __func__);
            continue;
        }
        filter.mid_range[i] = {static_cast<uint16_t>(records[i]->fromServiceId),
                               static_cast<uint16_t>(records[i]->toServiceId)};
        ++filter.mid_range_cnt;
        take_schemes(*records[i], filter);
    }
    return RemUtaMsCbsSetFilter(sim_id, &filter);
}

int32_t cbs_get_config(uint32_t sim_id, cbs_config& out) {
    UtaCbsFilterParam filter{};
    const int32_t result = RemUtaMsCbsGetFilter(sim_id, &filter);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsCbsGetFilter ret = %d\n", __func__, result);
        return result;
    }
    out.count = std::min<size_t>(filter.mid_range_cnt, c_cbs_ranges_max);
    if (out.count == 0) {
        RIL_TRACE(TRACE_EVENT, "%s: mid_range_cnt is 0\n", __func__);
        out.records[out.count++] = {-1, -1, -1, -1, 0};
    } else {
        // Without any scheme the first one's place is 0.
        const size_t last_scheme = std::clamp<size_t>(filter.dcs_cnt, 1, std::size(filter.dcs)) - 1;
        for (size_t i = 0; i < out.count; ++i) {
            const UtaCbsMidRange& range = filter.mid_range[out.count - 1 - i];
            const auto selected = static_cast<uint8_t>(filter.filter_mode == 0 ? 1 : 0);
            out.records[i] = {range.from, range.to, filter.dcs[0], filter.dcs[last_scheme], selected};
        }
    }
    for (size_t i = 0; i < out.count; ++i) {
        out.pointers[i] = &out.records[i];
    }
    return 0;
}

uint32_t cbs_sms_broadcast_activation(uint32_t sim_id, int32_t action, uint32_t context_id) {
    switch (action) {
        case 0:
            return RemUtaMsCbsStartReq(sim_id, context_id) == 0 ? 1 : 0;
        case 1:
            return RemUtaMsCbsStopReq(sim_id, context_id) == 0 ? 1 : 0;
        default:
            return 0;  // Android sends no other, and nobody would answer
    }
}

void UtaMsCbsStartRspCb(uint32_t sim_id, int32_t value_2, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, &value_2, context_id, cbs_start_rsp_cb);
}

void UtaMsCbsStopRspCb(uint32_t sim_id, int32_t value_2, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, &value_2, context_id, cbs_stop_rsp_cb);
}

void UtaMsCbsNewMessageIndCb(uint32_t sim_id, const UtaCbsData* param) {
    qelril_post_utamsindcb(sim_id, param, cbs_new_message_ind_cb);
}
