// Lines for people, each with the seconds since the start.
#pragma once

#include <chrono>
#include <string>

class Screen {
public:
    // With a prompt, lines that come while the user types appear above it.
    explicit Screen(bool colours) : colours_(colours) {}

    void say(const std::string& text);
    void headline(const std::string& text);
    void held(const std::string& text);
    void failed(const std::string& text);
    void plain(const std::string& text);  // without the time
    void show_prompt();
    void prompt_is_done() { prompt_ = false; }

private:
    void line(const std::string& text, const char* colour = "");
    std::string stamp() const;

    bool colours_;
    bool prompt_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
