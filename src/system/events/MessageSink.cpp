// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/MessageSink.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace vantorel::system {

namespace {

struct Sink {
    std::recursive_mutex mutex; // the sink itself may cause a line, or put another in its own place
    std::shared_ptr<const MessageSink> take;
    bool isTaking = false;
};

Sink& sink()
{
    static auto& the = *new Sink; // outlives every thread that may still print while the process ends
    return the;
}

/// Sets a mark for as long as it lives.
class Mark {
public:
    explicit Mark(bool& mark) : mark_(mark) { mark_ = true; }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;
    ~Mark() { mark_ = false; }

private:
    bool& mark_;
};

} // namespace

void setMessageSink(MessageSink take)
{
    const std::scoped_lock lock(sink().mutex);
    sink().take = take ? std::make_shared<const MessageSink>(std::move(take)) : nullptr;
}

void printMessage(std::string_view line)
{
    const std::scoped_lock lock(sink().mutex);
    const auto take = sink().take;
    if (take && !sink().isTaking) {
        const Mark taking(sink().isTaking);
        (*take)(line);
        return;
    }
    const std::string text = std::string(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace vantorel::system
