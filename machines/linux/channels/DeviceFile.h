// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceNode.h"
#include "vantorel/system/IOReturn.h"

#include <string>
#include <utility>

namespace vantorel::channels {

/// The platform's code for a failed system call.
[[nodiscard]] system::IOReturn statusOfError(int errorNumber);

/// An open node, closed with the object.
class DeviceFile {
public:
    DeviceFile() = default;
    explicit DeviceFile(int descriptor) : descriptor_(descriptor) {}
    DeviceFile(DeviceFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    DeviceFile& operator=(DeviceFile&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~DeviceFile();

    /// Makes a request of the device's driver; gives its result, or the negative number of the error.
    [[nodiscard]] int control(unsigned long request, void* argument) const;

private:
    int descriptor_ = -1;
};

struct OpenedFile {
    system::IOReturn status = system::kIOReturnNoDevice;
    DeviceFile file; ///< good when the status is `kIOReturnSuccess`
};

/// Opens a node for reading, without waiting for a medium, and makes sure that it still is the device that was found.
/// Opening a suspended device wakes it: see `isSuspended`.
[[nodiscard]] OpenedFile openNode(const DeviceNode& node);

/// Whether the kernel has put the device of a disk to sleep.
[[nodiscard]] bool isSuspended(const DeviceNode& node);

/// A file of the node's folder in sysfs, such as "device/vendor", without blanks at its ends; empty when there is none.
[[nodiscard]] std::string attribute(const DeviceNode& node, const std::string& name);

/// Whether the node's folder has a file of this name.
[[nodiscard]] bool hasAttribute(const DeviceNode& node, const std::string& name);

} // namespace vantorel::channels
