#include "host/modem/ussd_pages.h"

#include <cstring>

namespace {

constexpr UssdPage c_pages[] = {
    {"*100#", UssdTurn::ASKS, "My account\n1 Balance\n2 Top up\n3 Offers"},
    {"balance", UssdTurn::ENDS, "Your balance is 12.50 EUR"},
    {"voucher", UssdTurn::ASKS, "Enter the code of your voucher"},
    {"topped up", UssdTurn::ENDS, "Thank you, your balance is 27.50 EUR"},
    {"offers", UssdTurn::ASKS, "Offers\n1 Weekend\n2 Roaming\n0 Back"},
    {"booked", UssdTurn::ENDS, "Booked"},
    {"*101#", UssdTurn::ASKS, "Мой счёт\n1 Баланс\n2 Тариф"},
    {"баланс", UssdTurn::ENDS, "Баланс: 12,50 €"},
    {"тариф", UssdTurn::ENDS, "Тариф «Отпуск»"},
    {"*102#", UssdTurn::BREAKS_OFF, ""},
    {"*103#", UssdTurn::IS_SILENT, ""},
    {"*104#", UssdTurn::ENDS_EMPTY, ""},
};

constexpr const char* c_anything = nullptr;

constexpr struct {
    const char* page;
    const char* answer;
    const char* next;
} c_choices[] = {
    {"*100#", "1", "balance"}, {"*100#", "2", "voucher"}, {"*100#", "3", "offers"},
    {"offers", "1", "booked"}, {"offers", "2", "booked"}, {"offers", "0", "*100#"},
    {"*101#", "1", "баланс"},  {"*101#", "2", "тариф"},   {"voucher", c_anything, "topped up"},
};

constexpr UssdPage c_unknown = {"", UssdTurn::UNKNOWN, ""};

const UssdPage& page_of(const char* name) {
    for (const UssdPage& page : c_pages) {
        if (strcmp(page.name, name) == 0) {
            return page;
        }
    }
    return c_unknown;
}

}  // namespace

const UssdPage& first_page(const std::string& string) {
    return string.starts_with('*') ? page_of(string.c_str()) : c_unknown;
}

const UssdPage& next_page(const UssdPage& page, const std::string& answer) {
    for (const auto& choice : c_choices) {
        if (strcmp(choice.page, page.name) == 0 && (choice.answer == c_anything || answer == choice.answer)) {
            return page_of(choice.next);
        }
    }
    return page;
}
