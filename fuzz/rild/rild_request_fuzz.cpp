// What a client may send, down to a library that reads all of the records it gets. The first byte says how the rest
// comes: even, as the parcel of one message; odd, as a stream in pieces of half that many bytes.
#include <telephony/ril.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>

#include "host/android/rild/forms.h"
#include "host/android/rild/request.h"

namespace {

volatile size_t s_sink;  // so that no reading is left out

void touch(const void* data, size_t size) {
    const auto* bytes = static_cast<const volatile uint8_t*>(data);
    for (size_t i = 0; i < size; ++i) {
        s_sink = s_sink + bytes[i];
    }
}

void touch_texts(std::initializer_list<const char*> texts) {
    for (const char* text : texts) {
        s_sink = s_sink + (text != nullptr ? std::strlen(text) : 0);
    }
}

template <typename T>
const T& record(const Arguments& arguments) {
    if (arguments.length != sizeof(T)) {
        __builtin_trap();
    }
    touch(arguments.data, arguments.length);
    return *static_cast<const T*>(arguments.data);
}

void touch_dial(const RIL_Dial& dial) {
    touch_texts({dial.address});
    if (dial.uusInfo != nullptr) {
        touch(dial.uusInfo, sizeof(*dial.uusInfo));
        touch(dial.uusInfo->uusData, static_cast<size_t>(dial.uusInfo->uusLength));
    }
}

void on_request(const Request& request) {
    const Arguments& arguments = request.arguments;
    const std::span pointers(static_cast<char**>(arguments.data), arguments.length / sizeof(char*));
    switch (form_of_request(request.number).argument) {
        case Form::string:
            touch_texts({static_cast<const char*>(arguments.data)});
            break;
        case Form::strings:
            std::for_each(pointers.begin(), pointers.end(), [](const char* text) { touch_texts({text}); });
            break;
        case Form::broadcast_config:
            std::for_each(pointers.begin(), pointers.end(),
                          [](const char* range) { touch(range, sizeof(RIL_GSM_BroadcastSmsConfigInfo)); });
            break;
        case Form::dial:
            touch_dial(record<RIL_Dial>(arguments));
            break;
        case Form::sim_io: {
            const auto& io = record<RIL_SIM_IO_v6>(arguments);
            touch_texts({io.path, io.data, io.pin2, io.aidPtr});
            break;
        }
        case Form::sms_write:
            touch_texts({record<RIL_SMS_WriteArgs>(arguments).pdu, record<RIL_SMS_WriteArgs>(arguments).smsc});
            break;
        case Form::call_forward:
            touch_texts({record<RIL_CallForwardInfo>(arguments).number});
            break;
        default:
            touch(arguments.data, arguments.length);
    }
}

void dispatch(const MessageCutter::Message& message) {
    Request request;
    if (read_request(message, request) == Reading::good) {
        on_request(request);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::span bytes(data + 1, size - 1);
    if (data[0] % 2 == 0) {
        dispatch({{bytes.begin(), bytes.end()}, false});
        return 0;
    }
    MessageCutter cutter;
    const size_t piece = data[0] / 2 + size_t{1};
    for (size_t at = 0; at < bytes.size(); at += piece) {
        cutter.feed(bytes.subspan(at, std::min(piece, bytes.size() - at)));
        for (MessageCutter::Message message; cutter.next(message);) {
            dispatch(message);
        }
    }
    return 0;
}
