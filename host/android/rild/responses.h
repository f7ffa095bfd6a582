// The data of responses, from the records of telephony/ril.h to the parcel.
#pragma once

#include <cstddef>

#include "host/android/rild/forms.h"
#include "host/android/rild/parcel.h"

// Appends `length` bytes at `data` in the form; null data as an empty list or a null string. `version` is that of the
// library's record. False when the data do not have the form: a length that is no whole number of elements or too short
// for the record, null where something has to be. The parcel is not to be sent then.
bool put_response(Form form, const void* data, size_t length, int version, ParcelWriter& parcel);
