// System properties: short texts that all processes of the phone share, by key.
#pragma once

#include <stddef.h>

// Sizes with the terminator.
#define PROPERTY_KEY_MAX 32
#define PROPERTY_VALUE_MAX 92

extern "C" {
#pragma GCC visibility push(default)

// Copies the value of `key` to `value`, which has room for PROPERTY_VALUE_MAX bytes, and returns its length. A key that
// is unset, set to the empty text, null or too long gives `default_value`, cut to what fits; a null default is the
// empty text. Any thread; takes no lock and never sees a mix of two values.
int property_get(const char* key, char* value, const char* default_value);

// Sets `key`, for good. 0, or -1 for a null, empty or too long key, a value too long, or no room for one more key. A
// null value is the empty text. Any thread; the value is seen whole or not at all, also when the caller dies in here.
int property_set(const char* key, const char* value);

#pragma GCC visibility pop
}
