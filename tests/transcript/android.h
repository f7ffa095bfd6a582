// Android's data as a transcript writes them: a request's from words, a response's as text.
#pragma once

#include <string>

#include "host/android/rild/arguments.h"
#include "tests/transcript/notation.h"

// Words in the order of the request's form, what is missing at the end 0 or null. In front of them `nodata` (null, with
// a length if one follows), `hex` (a block of these bytes), `short` or `long` (a byte less, eight more).
bool is_data_word(const std::string& word);
void read_words(int request, const std::vector<Word>& words, Arguments& arguments);

// As the console shows them; bytes in <> for what has no form. Empty without data.
std::string response_text(int request, const void* data, size_t length);
std::string unsol_text(int number, const void* data, size_t length);
