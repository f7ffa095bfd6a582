#include "tests/transcript/android.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <span>

#include "host/android/rild/responses.h"
#include "host/console/parcel_text.h"
#include "host/console/protocol.h"
#include "host/modem/capture_format.h"

namespace {

constexpr int c_version = 9;  // of Android's interface
constexpr size_t c_longer = 8;

// What the parcel of a form consists of: i integers, s texts, r bytes, u user-to-user information; in capitals as many
// as there are, behind their number.
std::string parcel_of(Form form) {
    const std::map<Form, const char*> c_parcels = {
        {Form::nothing, ""},           {Form::string, "s"},
        {Form::strings, "S"},          {Form::raw, "r"},
        {Form::dial, "siu"},           {Form::sim_io, "iisiiisss"},
        {Form::sms_write, "iss"},      {Form::call_forward, "iiiisi"},
        {Form::broadcast_config, "B"},
    };
    const auto found = c_parcels.find(form);
    return found == c_parcels.end() ? "I" : found->second;
}

int32_t integer_of(const Word& word) {
    char* end = nullptr;
    const long long value = std::strtoll(word.text.c_str(), &end, 0);
    if (word.text.empty() || *end != '\0') {
        fail("no integer: " + word.text);
    }
    return static_cast<int32_t>(value);
}

std::optional<std::string> text_of(const Word& word) {
    return word.text == "null" && !word.quoted ? std::nullopt : std::optional(word.text);
}

std::string bytes_of(std::span<const Word> words) {
    const std::string hex = digits_of({words.begin(), words.end()});
    const auto bytes = from_hex(hex);
    if (!bytes) {
        fail("no bytes: " + hex);
    }
    return {bytes->begin(), bytes->end()};
}

std::string parcel_from(std::string items, std::span<const Word> words) {
    std::string parcel;
    if (items == "I" || items == "S" || items == "B") {
        put_int32(parcel, static_cast<int32_t>(items == "B" ? words.size() / 5 : words.size()));
        items = std::string(words.size(), items == "S" ? 's' : 'i');
    }
    for (const char item : items) {
        const bool there = !words.empty();
        if (item == 'i') {
            put_int32(parcel, there ? integer_of(words[0]) : 0);
        } else if (item == 's') {
            put_string(parcel, there ? text_of(words[0]) : std::nullopt);
        } else if (item == 'r') {
            put_raw(parcel, bytes_of(words));
        } else {
            put_int32(parcel, there ? 1 : 0);
            parcel += there ? parcel_from("iir", words) : "";
        }
        words = item == 'i' || item == 's' ? words.subspan(there ? 1 : 0) : std::span<const Word>();
    }
    if (!words.empty()) {
        fail("more words than the request has data: " + words[0].text);
    }
    return parcel;
}

void set_block(Arguments& arguments, const void* data, size_t known, size_t length) {
    auto* block = arguments.make<uint8_t>(length);
    memcpy(block, data, std::min(known, length));
    arguments.data = block;
    arguments.length = length;
}

std::string data_text(Form form, std::string_view layout, const void* data, size_t length) {
    if (data == nullptr && length == 0) {
        return "";
    }
    ParcelWriter parcel;
    if (layout.empty() || !put_response(form, data, length, c_version, parcel)) {
        return data == nullptr ? "null" : "<" + to_hex({static_cast<const uint8_t*>(data), length}) + ">";
    }
    const std::vector<uint8_t> message = parcel.take_message();
    ParcelCursor cursor(
        std::string_view(reinterpret_cast<const char*>(message.data()), message.size()).substr(c_length_word));
    return text_of(layout, cursor);
}

}  // namespace

bool is_data_word(const std::string& word) {
    return word == "nodata" || word == "hex" || word == "short" || word == "long";
}

void read_words(int request, const std::vector<Word>& words, Arguments& arguments) {
    std::span<const Word> rest(words);
    const std::string kind = rest.empty() || rest[0].quoted ? "" : rest[0].text;
    if (is_data_word(kind)) {
        rest = rest.subspan(1);
    }
    if (kind == "nodata") {
        arguments.length = rest.empty() ? 0 : static_cast<size_t>(integer_of(rest[0]));
        return;
    }
    if (kind == "hex") {
        const std::string bytes = bytes_of(rest);
        set_block(arguments, bytes.data(), bytes.size(), bytes.size());
        return;
    }
    const Form form = form_of_request(request).argument;
    const std::string items = parcel_of(form);
    if (rest.empty() && (items == "I" || items == "S" || items == "r")) {
        return;
    }
    const std::string parcel = parcel_from(items, rest);
    ParcelReader reader({reinterpret_cast<const uint8_t*>(parcel.data()), parcel.size()});
    if (!read_arguments(form == Form::unknown ? Form::ints : form, reader, arguments)) {
        fail("these are no data for this request");
    }
    const size_t length = arguments.length;
    if (form == Form::string) {
        arguments.length = kind == "short" ? length - 1 : kind == "long" ? length + c_longer : length;
    } else if (kind == "short") {
        set_block(arguments, arguments.data, length, length - 1);
    } else if (kind == "long") {
        set_block(arguments, arguments.data, length, length + c_longer);
    }
}

std::string response_text(int request, const void* data, size_t length) {
    return data_text(form_of_request(request).response, response_layout(request), data, length);
}

std::string unsol_text(int number, const void* data, size_t length) {
    const Form form = form_of_unsol(number);
    if (form == Form::nitz) {  // rild adds the time at which it came
        return data_text(Form::string, "s", data, length);
    }
    return data_text(form, unsol_layout(number), data, length);
}
