// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/MessageSink.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace vantorel::system {

namespace {

struct Sink {
    std::mutex mutex;
    MessageSink take;
};

Sink& sink()
{
    static auto& the = *new Sink; // outlives every thread that may still print while the process ends
    return the;
}

} // namespace

void setMessageSink(MessageSink take)
{
    const std::scoped_lock lock(sink().mutex);
    sink().take = std::move(take);
}

void printMessage(std::string_view line)
{
    const std::scoped_lock lock(sink().mutex);
    if (sink().take) {
        sink().take(line);
        return;
    }
    const std::string text = std::string(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace vantorel::system
