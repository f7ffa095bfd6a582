// Address fields, as far as the decoders of whole messages need more of them than sms_unpack_address_data gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Octets of a field that is taken for a number, or for what its type says; at most the size of `field`.
size_t sms_number_field_size(std::span<const uint8_t> field);
size_t sms_address_field_size(std::span<const uint8_t> field);

// The text of a field that is taken for a number.
void sms_number_field_to_text(std::span<const uint8_t> field, std::span<char> text);
