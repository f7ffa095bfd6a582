// The channel that a factory line's test station talks to the modem through: a pseudo-terminal at a fixed path.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/modem/loop.h"

constexpr const char* c_factory_path = "/dev/tzpipe-backup";

// Runs in the loop.
class FactoryChannel {
public:
    // `is_awake` says whether questions are answered now. Null, with errno, when the channel cannot be made.
    static std::unique_ptr<FactoryChannel> start(Loop& loop, std::function<bool()> is_awake);
    ~FactoryChannel();
    FactoryChannel(const FactoryChannel&) = delete;
    FactoryChannel& operator=(const FactoryChannel&) = delete;

private:
    FactoryChannel(Loop& loop, int end, int far_end, std::function<bool()> is_awake);
    void take();
    void answer(const std::string& question);

    Loop& loop_;
    int end_;
    int far_end_;  // kept open, so that nobody sees a hang-up when a station comes or goes
    std::function<bool()> is_awake_;
    std::string taken_;  // of a question that is not whole
};
