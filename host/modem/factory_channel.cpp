#include "host/modem/factory_channel.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace {

constexpr size_t c_question_max = 1000;

struct Question {
    std::string_view text;
    std::string_view answer;
};
constexpr std::array<Question, 2> c_questions = {{
    {"at@sec:Status_info()", "access_level = 4\r\nOK\r\n"},
    {"at@nvm:cal_prodparm.calib.result?", "1\r\nOK\r\n"},
}};
constexpr std::string_view c_unknown = "ERROR\r\n";

// The station's end, which hands on bytes as they are. -1 with errno.
int open_far_end(int end) {
    std::array<char, 64> name{};
    if (grantpt(end) != 0 || unlockpt(end) != 0 || ptsname_r(end, name.data(), name.size()) != 0) {
        return -1;
    }
    const int far_end = open(name.data(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (far_end < 0) {
        return -1;
    }
    termios settings{};
    tcgetattr(far_end, &settings);
    cfmakeraw(&settings);
    tcsetattr(far_end, TCSANOW, &settings);
    unlink(c_factory_path);  // of one that ended without a word
    if (symlink(name.data(), c_factory_path) != 0) {
        close(far_end);
        return -1;
    }
    return far_end;
}

}  // namespace

std::unique_ptr<FactoryChannel> FactoryChannel::start(Loop& loop, std::function<bool()> is_awake) {
    const int end = posix_openpt(O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    const int far_end = end < 0 ? -1 : open_far_end(end);
    if (far_end < 0) {
        if (end >= 0) {
            close(end);
        }
        return nullptr;
    }
    return std::unique_ptr<FactoryChannel>(new FactoryChannel(loop, end, far_end, std::move(is_awake)));
}

FactoryChannel::FactoryChannel(Loop& loop, int end, int far_end, std::function<bool()> is_awake)
    : loop_(loop), end_(end), far_end_(far_end), is_awake_(std::move(is_awake)) {
    loop_.watch(end_, POLLIN, [this](short) { take(); });
}

FactoryChannel::~FactoryChannel() {
    loop_.forget(end_);
    unlink(c_factory_path);
    close(far_end_);
    close(end_);
}

void FactoryChannel::take() {
    std::array<char, 512> bytes;
    for (ssize_t count = 0; (count = read(end_, bytes.data(), bytes.size())) > 0;) {
        taken_.append(bytes.data(), static_cast<size_t>(count));
    }
    for (size_t stop = 0; (stop = taken_.find("\r\n")) != std::string::npos; taken_.erase(0, stop + 2)) {
        answer(taken_.substr(0, stop));
    }
    if (taken_.size() > c_question_max) {
        taken_.clear();
    }
}

void FactoryChannel::answer(const std::string& question) {
    if (!is_awake_()) {
        return;
    }
    std::string_view text = c_unknown;
    for (const Question& row : c_questions) {
        if (row.text == question) {
            text = row.answer;
        }
    }
    // A station that reads nothing misses what doesn't fit.
    [[maybe_unused]] const ssize_t result = write(end_, text.data(), text.size());
}
