#include "host/android/rild/responses.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <span>
#include <type_traits>

namespace {

void put_ints(ParcelWriter& parcel, std::initializer_list<int> values) {
    for (const int value : values) {
        parcel.put_int32(value);
    }
}

// The integers of a record that has nothing else, in order.
template <typename Record>
void put_record(ParcelWriter& parcel, const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) % sizeof(int) == 0);
    int values[sizeof(Record) / sizeof(int)];
    std::memcpy(values, &record, sizeof(record));
    for (const int value : values) {
        parcel.put_int32(value);
    }
}

// A count, then each element, put by a function that says whether the element is in order.
template <typename Element, typename Put>
bool put_list(const void* data, size_t length, ParcelWriter& parcel, Put put) {
    constexpr size_t c_size = sizeof(Element);  // NOLINT(bugprone-sizeof-expression): it may be a pointer
    if (length % c_size != 0 || (data == nullptr && length != 0)) {
        return false;
    }
    const std::span elements(static_cast<const Element*>(data), length / c_size);
    parcel.put_int32(static_cast<int32_t>(elements.size()));
    return std::all_of(elements.begin(), elements.end(),
                       [&](const Element& element) { return !parcel.too_large() && put(element); });
}

template <typename Record, typename Put>
bool put_pointers(const void* data, size_t length, ParcelWriter& parcel, Put put) {
    return put_list<const Record*>(data, length, parcel, [&put](const Record* record) {
        if (record != nullptr) {
            put(*record);
        }
        return record != nullptr;
    });
}

// The one record that the data are, or null. A longer one, of a later version of the interface, begins like this one.
template <typename Record>
const Record* record_at(const void* data, size_t length) {
    return length >= sizeof(Record) ? static_cast<const Record*>(data) : nullptr;
}

bool put_strings(const void* data, size_t length, ParcelWriter& parcel) {
    return put_list<const char*>(data, length, parcel, [&parcel](const char* text) {
        parcel.put_string(text);
        return true;
    });
}

bool put_int_array(const void* data, size_t length, ParcelWriter& parcel) {
    return put_list<int>(data, length, parcel, [&parcel](int value) {
        parcel.put_int32(value);
        return true;
    });
}

bool put_raw(const void* data, size_t length, ParcelWriter& parcel) {
    if (length > c_largest_parcel || (data == nullptr && length != 0)) {
        return false;
    }
    parcel.put_raw(data, length);
    return true;
}

bool put_uus(const RIL_UUS_Info* uus, ParcelWriter& parcel) {
    parcel.put_int32(uus != nullptr ? 1 : 0);
    if (uus == nullptr) {
        return true;
    }
    put_ints(parcel, {uus->uusType, uus->uusDcs});
    return uus->uusLength >= 0 && put_raw(uus->uusData, static_cast<size_t>(uus->uusLength), parcel);
}

bool put_sim_status(const void* data, size_t length, ParcelWriter& parcel) {
    const auto* card = record_at<RIL_CardStatus_v6>(data, length);
    if (card == nullptr || card->num_applications < 0 || card->num_applications > RIL_CARD_MAX_APPS) {
        return false;
    }
    put_ints(parcel, {card->card_state, card->universal_pin_state, card->gsm_umts_subscription_app_index,
                      card->cdma_subscription_app_index, card->ims_subscription_app_index, card->num_applications});
    for (const RIL_AppStatus& app : std::span(card->applications, static_cast<size_t>(card->num_applications))) {
        put_ints(parcel, {app.app_type, app.app_state, app.perso_substate});
        parcel.put_string(app.aid_ptr);
        parcel.put_string(app.app_label_ptr);
        put_ints(parcel, {app.pin1_replaced, app.pin1, app.pin2});
    }
    return true;
}

bool put_calls(const void* data, size_t length, ParcelWriter& parcel) {
    return put_list<const RIL_Call*>(data, length, parcel, [&parcel](const RIL_Call* call) {
        if (call == nullptr) {
            return false;
        }
        put_ints(parcel, {call->state, call->index, call->toa, call->isMpty, call->isMT, call->als, call->isVoice,
                          call->isVoicePrivacy});
        parcel.put_string(call->number);
        parcel.put_int32(call->numberPresentation);
        parcel.put_string(call->name);
        parcel.put_int32(call->namePresentation);
        return put_uus(call->uusInfo, parcel);
    });
}

bool put_data_calls(const void* data, size_t length, int version, ParcelWriter& parcel) {
    parcel.put_int32(version);
    return put_list<RIL_Data_Call_Response_v6>(data, length, parcel, [&parcel](const RIL_Data_Call_Response_v6& call) {
        put_ints(parcel, {call.status, call.suggestedRetryTime, call.cid, call.active});
        for (const char* text : {call.type, call.ifname, call.addresses, call.dnses, call.gateways}) {
            parcel.put_string(text);
        }
        return true;
    });
}

bool put_signal(const void* data, size_t length, ParcelWriter& parcel) {
    const auto* signal = record_at<RIL_SignalStrength_v6>(data, length);
    if (signal != nullptr) {
        put_record(parcel, *signal);
    }
    return signal != nullptr;
}

bool put_sms(const void* data, size_t length, ParcelWriter& parcel) {
    const auto* sms = record_at<RIL_SMS_Response>(data, length);
    if (sms == nullptr) {
        return false;
    }
    parcel.put_int32(sms->messageRef);
    parcel.put_string(sms->ackPDU);
    parcel.put_int32(sms->errorCode);
    return true;
}

bool put_sim_io_response(const void* data, size_t length, ParcelWriter& parcel) {
    const auto* io = record_at<RIL_SIM_IO_Response>(data, length);
    if (io == nullptr) {
        return false;
    }
    put_ints(parcel, {io->sw1, io->sw2});
    parcel.put_string(io->simResponse);
    return true;
}

bool put_call_forwards(const void* data, size_t length, ParcelWriter& parcel) {
    return put_pointers<RIL_CallForwardInfo>(data, length, parcel, [&parcel](const RIL_CallForwardInfo& forward) {
        put_ints(parcel, {forward.status, forward.reason, forward.serviceClass, forward.toa});
        parcel.put_string(forward.number);
        parcel.put_int32(forward.timeSeconds);
    });
}

bool put_broadcast_config(const void* data, size_t length, ParcelWriter& parcel) {
    using Config = RIL_GSM_BroadcastSmsConfigInfo;
    return put_pointers<Config>(data, length, parcel, [&parcel](const Config& config) {
        put_ints(parcel, {config.fromServiceId, config.toServiceId, config.fromCodeScheme, config.toCodeScheme,
                          config.selected});
    });
}

bool put_neighbouring_cells(const void* data, size_t length, ParcelWriter& parcel) {
    return put_pointers<RIL_NeighboringCell>(data, length, parcel, [&parcel](const RIL_NeighboringCell& cell) {
        parcel.put_int32(cell.rssi);
        parcel.put_string(cell.cid);
    });
}

bool put_cell_infos(const void* data, size_t length, ParcelWriter& parcel) {
    return put_list<RIL_CellInfo>(data, length, parcel, [&parcel](const RIL_CellInfo& info) {
        put_ints(parcel, {info.cellInfoType, info.registered, info.timeStampType});
        parcel.put_int64(static_cast<int64_t>(info.timeStamp));
        switch (info.cellInfoType) {
            case RIL_CELL_INFO_TYPE_GSM:
                put_record(parcel, info.CellInfo.gsm);
                return true;
            case RIL_CELL_INFO_TYPE_CDMA:
                put_record(parcel, info.CellInfo.cdma);
                return true;
            case RIL_CELL_INFO_TYPE_LTE:
                put_record(parcel, info.CellInfo.lte);
                return true;
            case RIL_CELL_INFO_TYPE_WCDMA:
                put_record(parcel, info.CellInfo.wcdma);
                return true;
        }
        return false;
    });
}

bool put_notification(const void* data, size_t length, ParcelWriter& parcel) {
    const auto* notification = record_at<RIL_SuppSvcNotification>(data, length);
    if (notification == nullptr) {
        return false;
    }
    put_ints(parcel, {notification->notificationType, notification->code, notification->index, notification->type});
    parcel.put_string(notification->number);
    return true;
}

}  // namespace

bool put_response(Form form, const void* data, size_t length, int version, ParcelWriter& parcel) {
    switch (form) {
        case Form::nothing:
            return true;
        case Form::string:
            parcel.put_string(static_cast<const char*>(data));  // the length is that of a pointer
            return true;
        case Form::strings:
            return put_strings(data, length, parcel);
        case Form::ints:
            return put_int_array(data, length, parcel);
        case Form::raw:
            return put_raw(data, length, parcel);
        case Form::broadcast_config:
            return put_broadcast_config(data, length, parcel);
        case Form::sim_status:
            return put_sim_status(data, length, parcel);
        case Form::calls:
            return put_calls(data, length, parcel);
        case Form::data_calls:
            return put_data_calls(data, length, version, parcel);
        case Form::signal:
            return put_signal(data, length, parcel);
        case Form::sms:
            return put_sms(data, length, parcel);
        case Form::sim_io_response:
            return put_sim_io_response(data, length, parcel);
        case Form::call_forwards:
            return put_call_forwards(data, length, parcel);
        case Form::neighbouring_cells:
            return put_neighbouring_cells(data, length, parcel);
        case Form::cell_infos:
            return put_cell_infos(data, length, parcel);
        case Form::notification:
            return put_notification(data, length, parcel);
        default:
            return false;
    }
}
