// SPDX-License-Identifier: GPL-2.0-or-later
#include "Udev.h"

#include "vantorel/base/Text.h"

#include <cerrno>
#include <libudev.h>
#include <string_view>
#include <unistd.h>

namespace vantorel::machines {

namespace {

struct DeviceRelease {
    void operator()(udev_device* device) const { udev_device_unref(device); }
};
using DeviceRef = std::unique_ptr<udev_device, DeviceRelease>;

/// A hundred drives that come at once, with their partitions, fit many times.
constexpr int receiveBufferBytes = 8 * 1024 * 1024;

} // namespace

void Udev::Release::operator()(udev* context) const
{
    udev_unref(context);
}

void Udev::Release::operator()(udev_monitor* monitor) const
{
    udev_monitor_unref(monitor);
}

Udev::Source Udev::speaker()
{
    return access("/run/udev/control", F_OK) == 0 ? Source::udev : Source::kernel;
}

Udev::Udev(Source source) : context_(udev_new()), hasDatabase_(access("/run/udev/data", F_OK) == 0)
{
    if (!context_)
        return;
    monitor_.reset(udev_monitor_new_from_netlink(context_.get(), source == Source::udev ? "udev" : "kernel"));
    if (!monitor_)
        return;
    udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "block", nullptr);
    udev_monitor_set_receive_buffer_size(monitor_.get(), receiveBufferBytes); // as much as the kernel allows
    if (udev_monitor_enable_receiving(monitor_.get()) < 0)
        monitor_.reset();
}

Udev::~Udev() = default;

DeviceProperties Udev::properties(const BlockDevice& device) const
{
    DeviceProperties found;
    if (!context_ || !hasDatabase_)
        return found;
    const DeviceRef known(udev_device_new_from_syspath(context_.get(), device.path.c_str()));
    if (!known)
        return found;
    for (udev_list_entry* entry = udev_device_get_properties_list_entry(known.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const char* const name = udev_list_entry_get_name(entry);
        const char* const value = udev_list_entry_get_value(entry);
        if (name && value)
            found.emplace(name, base::toUtf8(value));
    }
    return found;
}

int Udev::descriptor() const
{
    return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1;
}

void Udev::receive(DeviceChanges& changes) const
{
    // Bounded: whoever talks without end is heard in turns.
    constexpr int mostEvents = 4096;
    for (int i = 0; monitor_ && i < mostEvents; ++i) {
        errno = 0;
        const DeviceRef device(udev_monitor_receive_device(monitor_.get()));
        if (!device) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                return;
            // ENOBUFS: the socket overflowed. Anything else: an event that cannot be told from another.
            changes.isIncomplete = true;
            if (errno != ENOBUFS)
                return;
            continue;
        }
        const char* const name = udev_device_get_sysname(device.get());
        const char* const action = udev_device_get_action(device.get());
        if (!name)
            continue;
        changes.changed.emplace(name);
        if (action && std::string_view(action) == "remove")
            changes.removed.emplace(name);
    }
}

} // namespace vantorel::machines
