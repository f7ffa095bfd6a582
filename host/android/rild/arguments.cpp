#include "host/android/rild/arguments.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

namespace {

// More elements than a parcel has words are a lie. To know before memory is taken for them saves it.
constexpr int32_t c_most_elements = c_largest_parcel / sizeof(int32_t);

bool read_ints(ParcelReader& parcel, std::initializer_list<int*> values) {
    return std::all_of(values.begin(), values.end(), [&parcel](int* value) { return parcel.read_int32(*value); });
}

bool read_text(ParcelReader& parcel, Arguments& arguments, char*& text) {
    std::optional<std::string> read;
    if (!parcel.read_string(read)) {
        return false;
    }
    text = read ? arguments.make_text(*read) : nullptr;
    return true;
}

bool read_texts(ParcelReader& parcel, Arguments& arguments, std::initializer_list<char**> texts) {
    return std::all_of(texts.begin(), texts.end(), [&](char** text) { return read_text(parcel, arguments, *text); });
}

template <typename T>
T* make_data(Arguments& arguments, size_t count = 1) {
    T* data = arguments.make<T>(count);
    arguments.data = data;
    arguments.length = std::span(data, count).size_bytes();
    return data;
}

bool read_string(ParcelReader& parcel, Arguments& arguments) {
    char* text = nullptr;
    if (!read_text(parcel, arguments, text)) {
        return false;
    }
    arguments.data = text;
    arguments.length = sizeof(text);  // Android's length of the pointer, not of the text
    return true;
}

bool read_strings(ParcelReader& parcel, Arguments& arguments) {
    int32_t count = 0;
    if (!parcel.read_int32(count) || count < -1 || count > c_most_elements) {
        return false;
    }
    if (count == -1) {
        return true;
    }
    const std::span<char*> texts(make_data<char*>(arguments, static_cast<size_t>(count)), static_cast<size_t>(count));
    return std::all_of(texts.begin(), texts.end(), [&](char*& text) { return read_text(parcel, arguments, text); });
}

// Every request with integers has at least one, and libraries read it without a look at the length: an empty array is
// refused here.
bool read_int_array(ParcelReader& parcel, Arguments& arguments) {
    int32_t count = 0;
    if (!parcel.read_int32(count) || count < 1 || count > c_most_elements) {
        return false;
    }
    const std::span<int> values(make_data<int>(arguments, static_cast<size_t>(count)), static_cast<size_t>(count));
    return std::all_of(values.begin(), values.end(), [&](int& value) { return parcel.read_int32(value); });
}

bool read_raw(ParcelReader& parcel, Arguments& arguments) {
    std::optional<std::span<const uint8_t>> bytes;
    if (!parcel.read_raw(bytes)) {
        return false;
    }
    if (bytes) {
        std::copy(bytes->begin(), bytes->end(), make_data<uint8_t>(arguments, bytes->size()));
    }
    return true;
}

// Only 1 says that the information is there.
bool read_uus(ParcelReader& parcel, Arguments& arguments, RIL_UUS_Info*& uus) {
    int32_t present = 0;
    if (!parcel.read_int32(present)) {
        return false;
    }
    if (present != 1) {
        return true;
    }
    int type = 0;
    int dcs = 0;
    std::optional<std::span<const uint8_t>> bytes;
    if (!read_ints(parcel, {&type, &dcs}) || !parcel.read_raw(bytes)) {
        return false;
    }
    uus = arguments.make<RIL_UUS_Info>();
    uus->uusType = static_cast<RIL_UUS_Type>(type);
    uus->uusDcs = static_cast<RIL_UUS_DCS>(dcs);
    if (bytes) {
        uus->uusLength = static_cast<int>(bytes->size());
        uus->uusData = arguments.make<char>(bytes->size());
        std::copy(bytes->begin(), bytes->end(), uus->uusData);
    }
    return true;
}

bool read_dial(ParcelReader& parcel, Arguments& arguments) {
    auto* dial = make_data<RIL_Dial>(arguments);
    return read_text(parcel, arguments, dial->address) && parcel.read_int32(dial->clir) &&
           read_uus(parcel, arguments, dial->uusInfo);
}

bool read_sim_io(ParcelReader& parcel, Arguments& arguments) {
    auto* io = make_data<RIL_SIM_IO_v6>(arguments);
    return read_ints(parcel, {&io->command, &io->fileid}) && read_text(parcel, arguments, io->path) &&
           read_ints(parcel, {&io->p1, &io->p2, &io->p3}) &&
           read_texts(parcel, arguments, {&io->data, &io->pin2, &io->aidPtr});
}

bool read_sms_write(ParcelReader& parcel, Arguments& arguments) {
    auto* sms = make_data<RIL_SMS_WriteArgs>(arguments);
    return parcel.read_int32(sms->status) && read_texts(parcel, arguments, {&sms->pdu, &sms->smsc});
}

bool read_call_forward(ParcelReader& parcel, Arguments& arguments) {
    auto* forward = make_data<RIL_CallForwardInfo>(arguments);
    if (!read_ints(parcel, {&forward->status, &forward->reason, &forward->serviceClass, &forward->toa}) ||
        !read_text(parcel, arguments, forward->number) || !parcel.read_int32(forward->timeSeconds)) {
        return false;
    }
    if (forward->number != nullptr && *forward->number == '\0') {
        forward->number = nullptr;
    }
    return true;
}

bool read_broadcast_config(ParcelReader& parcel, Arguments& arguments) {
    using Config = RIL_GSM_BroadcastSmsConfigInfo;
    int32_t count = 0;
    if (!parcel.read_int32(count) || count < 0 || count > c_most_elements) {
        return false;
    }
    auto** configs = make_data<Config*>(arguments, static_cast<size_t>(count));
    for (Config*& config : std::span(configs, static_cast<size_t>(count))) {
        config = arguments.make<Config>();
        int selected = 0;
        if (!read_ints(parcel, {&config->fromServiceId, &config->toServiceId, &config->fromCodeScheme,
                                &config->toCodeScheme, &selected})) {
            return false;
        }
        config->selected = static_cast<unsigned char>(selected);
    }
    return true;
}

}  // namespace

char* Arguments::make_text(std::string_view text) {
    char* copy = make<char>(text.size() + 1);
    std::memcpy(copy, text.data(), text.size());
    return copy;
}

bool read_arguments(Form form, ParcelReader& parcel, Arguments& arguments) {
    switch (form) {
        case Form::nothing:
            return true;
        case Form::string:
            return read_string(parcel, arguments);
        case Form::strings:
            return read_strings(parcel, arguments);
        case Form::ints:
            return read_int_array(parcel, arguments);
        case Form::raw:
            return read_raw(parcel, arguments);
        case Form::dial:
            return read_dial(parcel, arguments);
        case Form::sim_io:
            return read_sim_io(parcel, arguments);
        case Form::sms_write:
            return read_sms_write(parcel, arguments);
        case Form::call_forward:
            return read_call_forward(parcel, arguments);
        case Form::broadcast_config:
            return read_broadcast_config(parcel, arguments);
        default:
            return false;
    }
}
