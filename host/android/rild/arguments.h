// The arguments of a request, from the parcel to the records of telephony/ril.h.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "host/android/rild/forms.h"
#include "host/android/rild/parcel.h"

// What onRequest is given, and the owner of all of it. Each piece is a block of its own and exactly as large as what it
// holds, so that a memory checker sees a library that reads past its end.
class Arguments {
public:
    void* data = nullptr;
    size_t length = 0;

    // `count` zeroed elements; the address of an empty array is no null pointer.
    template <typename T>
    T* make(size_t count = 1) {
        constexpr size_t c_size = sizeof(T);  // NOLINT(bugprone-sizeof-expression): T may be a pointer
        blocks_.push_back(std::make_unique<std::byte[]>(count * c_size));
        return reinterpret_cast<T*>(blocks_.back().get());
    }
    char* make_text(std::string_view text);

private:
    std::vector<std::unique_ptr<std::byte[]>> blocks_;
};

// Reads the arguments behind number and serial. False when the parcel doesn't hold them; bytes behind them are left.
bool read_arguments(Form form, ParcelReader& parcel, Arguments& arguments);
