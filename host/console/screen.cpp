#include "host/console/screen.h"

#include <cstdio>

namespace {

constexpr const char* c_bold = "\033[1m";
constexpr const char* c_green = "\033[32m";
constexpr const char* c_red = "\033[1;31m";
constexpr const char* c_normal = "\033[0m";
constexpr const char* c_erase_line = "\r\033[K";
constexpr const char* c_prompt = "> ";

}  // namespace

std::string Screen::stamp() const {
    const std::chrono::duration<double> since = std::chrono::steady_clock::now() - start_;
    char text[32];
    std::snprintf(text, sizeof(text), "[%8.3f] ", since.count());
    return text;
}

void Screen::line(const std::string& text, const char* colour) {
    const bool is_coloured = colours_ && *colour != '\0';
    std::printf("%s%s%s%s\n", prompt_ ? c_erase_line : "", is_coloured ? colour : "", text.c_str(),
                is_coloured ? c_normal : "");
    if (prompt_) {
        std::fputs(c_prompt, stdout);
    }
    std::fflush(stdout);
}

void Screen::say(const std::string& text) {
    line(stamp() + text);
}

void Screen::headline(const std::string& text) {
    line("");
    line("== " + text, c_bold);
}

void Screen::held(const std::string& text) {
    line(stamp() + "   ok " + text, c_green);
}

void Screen::failed(const std::string& text) {
    line(stamp() + "FAIL " + text, c_red);
}

void Screen::plain(const std::string& text) {
    line(text);
}

void Screen::show_prompt() {
    prompt_ = true;
    std::fputs(c_prompt, stdout);
    std::fflush(stdout);
}
