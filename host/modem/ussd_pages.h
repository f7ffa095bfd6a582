// The operator's USSD service: what it says to the user's strings (3GPP TS 22.090).
#pragma once

#include <string>

enum class UssdTurn {
    ASKS,        // and waits for the user's answer
    ENDS,        // a text, and no more
    ENDS_EMPTY,  // done, with nothing to say
    BREAKS_OFF,  // the network ends the exchange
    IS_SILENT,   // no answer ever
    UNKNOWN,     // no such service
};

struct UssdPage {
    const char* name;
    UssdTurn turn;
    const char* text;
};

// What answers a string that begins an exchange, and the user's answer to a page that asks: the page itself when the
// answer is none of its choices.
const UssdPage& first_page(const std::string& string);
const UssdPage& next_page(const UssdPage& page, const std::string& answer);
