// The strings with which a user works his supplementary services: the grammar of 3GPP TS 22.030, 6.5.2.
#pragma once

#include <optional>
#include <string>
#include <vector>

enum class MmiProcedure { ACTIVATION, DEACTIVATION, INTERROGATION, REGISTRATION, ERASURE };

// *SC*SIA*SIB*SIC# and its kind. `items` are SIA and those behind it, an empty one where nothing stands.
struct MmiString {
    MmiProcedure procedure;
    std::string code;
    std::vector<std::string> items;

    std::string item(size_t index) const { return index < items.size() ? items[index] : ""; }
};

// Nothing for a string of another form: that is USSD.
std::optional<MmiString> parse_mmi(const std::string& text);
