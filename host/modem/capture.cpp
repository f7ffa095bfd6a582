#include "host/modem/capture.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

const std::string& heading() {
    static const std::string s_heading = std::string(c_capture_heading) + " 1: time client socket direction bytes\n";
    return s_heading;
}

int64_t now_ns() {
    using std::chrono::duration_cast;
    return duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

Capture::~Capture() = default;

bool Capture::start(Loop& loop, const std::string& file, const std::string& tap, std::string& error) {
    // The tap comes first: a modem that isn't alone leaves the other's file as it is.
    if (!tap.empty()) {
        tap_ = LineServer::start(loop, tap,
                                 {.arrived =
                                      [this](int caller) {
                                          lost_[caller] = 0;
                                          tap_->send(caller, heading());
                                      },
                                  .line = {},
                                  .gone = [this](int caller) { lost_.erase(caller); }});
        if (tap_ == nullptr) {
            error = tap + ": " + strerror(errno);
            return false;
        }
    }
    if (!file.empty()) {
        file_.reset(fopen(file.c_str(), "we"));
        if (file_ == nullptr) {
            error = file + ": " + strerror(errno);
            return false;
        }
        // Whole lines reach the file at once, so that it is good to read while the modem runs, and after it died.
        setvbuf(file_.get(), nullptr, _IOLBF, 1U << 16);
        fputs(heading().c_str(), file_.get());
    }
    return true;
}

void Capture::add(int client, Channel channel, bool to_modem, std::span<const uint8_t> bytes) {
    if (file_ == nullptr && lost_.empty()) {
        return;
    }
    const std::string line = format_captured({now_ns(), client, channel, to_modem, {bytes.begin(), bytes.end()}});
    if (file_ != nullptr) {
        fputs(line.c_str(), file_.get());
    }
    tell_tap(line);
}

// A caller that falls behind is told how many lines it has missed.
void Capture::tell_tap(const std::string& line) {
    for (auto& [caller, lost] : lost_) {
        if (lost != 0 && !tap_->send(caller, "# " + std::to_string(lost) + " lines lost\n")) {
            ++lost;
            continue;
        }
        lost = tap_->send(caller, line) ? 0 : 1;
    }
}
