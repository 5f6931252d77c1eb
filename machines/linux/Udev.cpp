// SPDX-License-Identifier: GPL-2.0-or-later
#include "Udev.h"

#include "SharedLibrary.h"
#include "vantorel/base/Text.h"

#include <cassert>
#include <cerrno>
#include <libudev.h>
#include <string_view>
#include <unistd.h>

namespace vantorel::machines {

namespace {

/// What is used of libudev.
struct Libudev {
    decltype(udev_new)* makeContext = nullptr;
    decltype(udev_unref)* dropContext = nullptr;
    decltype(udev_monitor_new_from_netlink)* makeMonitor = nullptr;
    decltype(udev_monitor_unref)* dropMonitor = nullptr;
    decltype(udev_monitor_filter_add_match_subsystem_devtype)* addFilter = nullptr;
    decltype(udev_monitor_set_receive_buffer_size)* setReceiveBufferSize = nullptr;
    decltype(udev_monitor_enable_receiving)* enableReceiving = nullptr;
    decltype(udev_monitor_get_fd)* descriptor = nullptr;
    decltype(udev_monitor_receive_device)* receive = nullptr;
    decltype(udev_device_new_from_syspath)* makeDevice = nullptr;
    decltype(udev_device_unref)* dropDevice = nullptr;
    decltype(udev_device_get_sysname)* name = nullptr;
    decltype(udev_device_get_action)* action = nullptr;
    decltype(udev_device_get_properties_list_entry)* properties = nullptr;
    decltype(udev_list_entry_get_next)* nextEntry = nullptr;
    decltype(udev_list_entry_get_name)* entryName = nullptr;
    decltype(udev_list_entry_get_value)* entryValue = nullptr;
    bool isUsable = false;

    static const Libudev& shared()
    {
        static const Libudev the;
        return the;
    }

private:
    Libudev()
    {
        const SharedLibrary library("libudev.so.1");
        isUsable =
            library.bind(makeContext, "udev_new") && library.bind(dropContext, "udev_unref") &&
            library.bind(makeMonitor, "udev_monitor_new_from_netlink") &&
            library.bind(dropMonitor, "udev_monitor_unref") &&
            library.bind(addFilter, "udev_monitor_filter_add_match_subsystem_devtype") &&
            library.bind(setReceiveBufferSize, "udev_monitor_set_receive_buffer_size") &&
            library.bind(enableReceiving, "udev_monitor_enable_receiving") &&
            library.bind(descriptor, "udev_monitor_get_fd") && library.bind(receive, "udev_monitor_receive_device") &&
            library.bind(makeDevice, "udev_device_new_from_syspath") && library.bind(dropDevice, "udev_device_unref") &&
            library.bind(name, "udev_device_get_sysname") && library.bind(action, "udev_device_get_action") &&
            library.bind(properties, "udev_device_get_properties_list_entry") &&
            library.bind(nextEntry, "udev_list_entry_get_next") &&
            library.bind(entryName, "udev_list_entry_get_name") &&
            library.bind(entryValue, "udev_list_entry_get_value");
    }
};

struct DeviceRelease {
    void operator()(udev_device* device) const { Libudev::shared().dropDevice(device); }
};
using DeviceRef = std::unique_ptr<udev_device, DeviceRelease>;

/// A hundred drives that come at once, with their partitions, fit many times.
constexpr int receiveBufferBytes = 8 * 1024 * 1024;

} // namespace

void Udev::Release::operator()(udev* context) const
{
    const Libudev& libudev = Libudev::shared();
    assert(libudev.isUsable); // as it made this
    libudev.dropContext(context);
}

void Udev::Release::operator()(udev_monitor* monitor) const
{
    const Libudev& libudev = Libudev::shared();
    assert(libudev.isUsable); // as it made this
    libudev.dropMonitor(monitor);
}

Udev::Source Udev::speaker()
{
    return access("/run/udev/control", F_OK) == 0 ? Source::udev : Source::kernel;
}

Udev::Udev(Source source) : hasDatabase_(access("/run/udev/data", F_OK) == 0)
{
    const Libudev& libudev = Libudev::shared();
    if (!libudev.isUsable)
        return;
    context_.reset(libudev.makeContext());
    if (!context_)
        return;
    monitor_.reset(libudev.makeMonitor(context_.get(), source == Source::udev ? "udev" : "kernel"));
    if (!monitor_)
        return;
    libudev.addFilter(monitor_.get(), "block", nullptr);
    libudev.setReceiveBufferSize(monitor_.get(), receiveBufferBytes); // as much as the kernel allows
    if (libudev.enableReceiving(monitor_.get()) < 0)
        monitor_.reset();
}

Udev::~Udev() = default;

DeviceProperties Udev::properties(const BlockDevice& device) const
{
    DeviceProperties found;
    if (!context_ || !hasDatabase_)
        return found;
    const Libudev& libudev = Libudev::shared();
    const DeviceRef known(libudev.makeDevice(context_.get(), device.path.c_str()));
    if (!known)
        return found;
    for (udev_list_entry* entry = libudev.properties(known.get()); entry; entry = libudev.nextEntry(entry)) {
        const char* const name = libudev.entryName(entry);
        const char* const value = libudev.entryValue(entry);
        if (name && value)
            found.emplace(name, base::toUtf8(value));
    }
    return found;
}

int Udev::descriptor() const
{
    return monitor_ ? Libudev::shared().descriptor(monitor_.get()) : -1;
}

void Udev::receive(DeviceChanges& changes) const
{
    // Bounded: whoever talks without end is heard in turns.
    constexpr int mostEvents = 4096;
    const Libudev& libudev = Libudev::shared();
    for (int i = 0; monitor_ && i < mostEvents; ++i) {
        errno = 0;
        const DeviceRef device(libudev.receive(monitor_.get()));
        if (!device) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                return;
            // ENOBUFS: the socket overflowed. Anything else: an event that cannot be told from another.
            changes.isIncomplete = true;
            if (errno != ENOBUFS)
                return;
            continue;
        }
        const char* const name = libudev.name(device.get());
        const char* const action = libudev.action(device.get());
        if (!name)
            continue;
        changes.changed.emplace(name);
        if (action && std::string_view(action) == "remove")
            changes.removed.emplace(name);
    }
}

} // namespace vantorel::machines
