// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

#include <memory>
#include <set>
#include <string>

struct udev;
struct udev_monitor;

namespace vantorel::machines {

/// What changed on the system since the last look.
struct DeviceChanges {
    std::set<std::string, std::less<>> changed; ///< kernel names of block devices that came, changed or went
    std::set<std::string, std::less<>> removed; ///< those among them that went, though they may be back
    bool isIncomplete = false;                  ///< events were lost: anything may have changed

    [[nodiscard]] bool isEmpty() const { return changed.empty() && !isIncomplete; }
};

/// udev's database and its events, through libudev. Used by one thread at a time.
class Udev {
public:
    /// Whose word is listened to: that of udevd, which knows what is on a device, or the kernel's.
    enum class Source { udev, kernel };

    /// udevd where it runs, else the kernel.
    [[nodiscard]] static Source speaker();

    explicit Udev(Source source);
    ~Udev();
    Udev(const Udev&) = delete;
    Udev& operator=(const Udev&) = delete;

    /// What udev's database holds of the device; nothing without a database.
    [[nodiscard]] DeviceProperties properties(const BlockDevice& device) const;

    /// Readable when there are events; -1 when there will be none. Events are kept from the making of the object on.
    [[nodiscard]] int descriptor() const;
    /// Adds the events that have come, without waiting.
    void receive(DeviceChanges& changes) const;

private:
    struct Release {
        void operator()(udev* context) const;
        void operator()(udev_monitor* monitor) const;
    };

    std::unique_ptr<udev, Release> context_;
    std::unique_ptr<udev_monitor, Release> monitor_;
    bool hasDatabase_ = false;
};

} // namespace vantorel::machines
