// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Udev.h"

#include <chrono>
#include <functional>
#include <thread>

namespace vantorel::machines {

/// How events are waited for.
struct EventTimes {
    std::chrono::milliseconds quiet{30};            ///< a burst is over when so long nothing has come
    std::chrono::milliseconds longestBurst{250};    ///< and is taken up at the latest then
    std::chrono::milliseconds arrayPolling{10'000}; ///< how often arrays are looked at: they tell no failed member
};

/// What is to be done, on the thread of the events, one at a time.
struct EventHandlers {
    std::function<void(const DeviceChanges& changes)> devices;
    std::function<void()> mounts;
    std::function<void()> arrays;
    std::function<bool()> hasArrays; ///< whether arrays are to be polled at all
};

/// A thread that waits for events of devices and mounts, from its making to its end. It sleeps in between; without
/// arrays nothing wakes it but an event.
class LinuxEvents {
public:
    /// `udev` is the thread's own until it ends.
    LinuxEvents(const Udev& udev, EventHandlers handlers, EventTimes times);
    ~LinuxEvents();
    LinuxEvents(const LinuxEvents&) = delete;
    LinuxEvents& operator=(const LinuxEvents&) = delete;

private:
    void run();
    [[nodiscard]] DeviceChanges collect() const;

    const Udev& udev_;
    const EventHandlers handlers_;
    const EventTimes times_;
    int end_ = -1;    ///< an eventfd: readable when the thread is to end
    int mounts_ = -1; ///< the mount table, readable out of band when it has changed
    std::thread thread_;
};

} // namespace vantorel::machines
