#include "host/android/rild/request.h"

#include <algorithm>

namespace {

// Number and serial, all that is needed to refuse a message.
constexpr size_t c_head = 2 * sizeof(int32_t);

// How much of a parcel is kept.
size_t kept(uint32_t length) {
    return length > c_largest_parcel ? c_head : length;
}

}  // namespace

void MessageCutter::feed(std::span<const uint8_t> bytes) {
    const size_t skipped = std::min<size_t>(skip_, bytes.size());
    skip_ -= static_cast<uint32_t>(skipped);
    bytes = bytes.subspan(skipped);
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

// The length word is the one big-endian number of the protocol.
uint32_t MessageCutter::next_length() const {
    uint32_t length = 0;
    for (size_t i = 0; i < c_length_word; ++i) {
        length = length << 8U | bytes_[i];
    }
    return length;
}

bool MessageCutter::has_next() const {
    return bytes_.size() >= c_length_word && bytes_.size() - c_length_word >= kept(next_length());
}

bool MessageCutter::next(Message& message) {
    if (!has_next()) {
        return false;
    }
    const uint32_t length = next_length();
    const auto start = bytes_.begin() + c_length_word;
    message.parcel.assign(start, start + static_cast<ptrdiff_t>(kept(length)));
    message.too_large = length > c_largest_parcel;
    const size_t here = std::min<size_t>(length, bytes_.size() - c_length_word);
    skip_ = length - static_cast<uint32_t>(here);
    bytes_.erase(bytes_.begin(), start + static_cast<ptrdiff_t>(here));
    return true;
}

void MessageCutter::reset() {
    bytes_.clear();
    skip_ = 0;
}

Reading read_request(const MessageCutter::Message& message, Request& request) {
    ParcelReader parcel(message.parcel);
    if (!parcel.read_int32(request.number) || !parcel.read_int32(request.serial)) {
        return Reading::no_serial;
    }
    const Form form = form_of_request(request.number).argument;
    if (form == Form::unknown) {
        return Reading::unknown;
    }
    const bool good = !message.too_large && read_arguments(form, parcel, request.arguments);
    return good ? Reading::good : Reading::malformed;
}
