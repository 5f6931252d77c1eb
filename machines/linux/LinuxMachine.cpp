// SPDX-License-Identifier: GPL-2.0-or-later
#include "LinuxMachine.h"

#include "Statistics.h"
#include "Superblocks.h"
#include "vantorel/machines/linux/ThisComputer.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utility>

namespace vantorel::machines {

namespace {

/// Whether `path` is the folder or lies in it.
bool liesIn(std::string_view path, std::string_view folder)
{
    return path.starts_with(folder) &&
           (path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/');
}

/// The mount that a path lies on: by the kernel's word, or by the longest name where it gives none.
const Mount* mountOf(const std::string& path, const std::vector<Mount>& mounts)
{
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), AT_NO_AUTOMOUNT, STATX_MNT_ID, &status) != 0)
        return nullptr;
    if ((status.stx_mask & STATX_MNT_ID) != 0) {
        for (const Mount& mount : mounts) {
            if (mount.id >= 0 && static_cast<std::uint64_t>(mount.id) == status.stx_mnt_id)
                return &mount;
        }
    }
    const Mount* nearest = nullptr;
    for (const Mount& mount : mounts) {
        if (!mount.isHidden && liesIn(path, mount.target) && (!nearest || mount.target.size() > nearest->target.size()))
            nearest = &mount;
    }
    return nearest;
}

channels::DeviceNode deviceNode(const BlockDevice& disk, const std::optional<Hardware>& hardware)
{
    channels::DeviceNode node{.path = "/dev/" + disk.name, .sysfs = disk.path, .diskSequence = disk.sequence};
    if (hardware && hardware->usb) {
        node.usbVendor = hardware->usb->vendorId;
        node.usbProduct = hardware->usb->productId;
        node.usbVersion = hardware->usb->version;
    }
    return node;
}

} // namespace

LinuxMachine::LinuxMachine(LinuxOptions options)
    : options_(std::move(options)), mounts_(options_.mountTable), channels_(options_.channels)
{}

LinuxMachine::~LinuxMachine() = default;

void LinuxMachine::start(system::MachineEvents& events)
{
    events_ = &events;
    udev_ = std::make_unique<Udev>(options_.events); // before the first look, so that nothing falls between
    sources_ = {.sysfs = options_.sysfs,
                .etc = options_.etc,
                .udev = [this](const BlockDevice& device) { return udev_->properties(device); },
                .identity = [this](const BlockDevice& disk, Hardware& hardware) { completeIdentity(disk, hardware); }};
    if (options_.readsSuperblocks)
        sources_.superblocks = readSuperblocks;
    look(nullptr, {});
    watch_ = std::make_unique<LinuxEvents>(
        *udev_,
        EventHandlers{.devices = [this](const DeviceChanges& changes) { look(&scan_, changes); },
                      .mounts = [this] { lookAtMounts(); },
                      .arrays = [this] { look(&scan_, {}); },
                      .hasArrays = [this] { return hasArrays_.load(); }},
        options_.times);
}

void LinuxMachine::look(const SystemScan* before, const DeviceChanges& changes)
{
    scan_ = scanSystem(sources_, changes.isIncomplete ? nullptr : before, changes.changed);
    attachments_.assign(scan_, changes.removed);
    hasArrays_ = std::ranges::any_of(scan_.devices, [](const BlockDevice& device) { return device.raid.has_value(); });

    const auto mounts = mounts_.mounts();
    const MountedDevices mounted(scan_);
    const VolumesByName volumes = volumesOf(scan_, mounted, mounts ? *mounts : std::vector<Mount>());
    ledger_.tell(registryEntries(scan_, [this](const BlockDevice& disk) { return commandsOf(disk); }), volumes,
                 *events_, [&](const AnsweredEntries& answered) { publish(mounted, answered); });
}

void LinuxMachine::publish(const MountedDevices& mounted, const AnsweredEntries& answered)
{
    auto next = std::make_shared<Known>(Known{mounted, {}, {}});
    std::unordered_map<std::string_view, const BlockDevice*> devices;
    for (const BlockDevice& device : scan_.devices)
        devices.emplace(device.kernelName, &device);
    for (const auto& [id, entry] : answered) {
        const BlockDevice& device = *devices.at(entry->disk);
        if (entry->counts)
            next->counters.emplace(id, device.path);
        else
            next->nodes.emplace(id, deviceNode(device, device.hardware));
    }
    const std::scoped_lock lock(knownMutex_);
    known_ = std::move(next);
}

void LinuxMachine::lookAtMounts()
{
    const auto mounts = mounts_.mounts();
    const auto now = known();
    if (mounts && now)
        ledger_.tellVolumes(volumesOf(scan_, now->mounted, *mounts), *events_);
}

std::shared_ptr<const LinuxMachine::Known> LinuxMachine::known() const
{
    const std::scoped_lock lock(knownMutex_);
    return known_;
}

std::optional<channels::DeviceNode> LinuxMachine::nodeOf(std::uint64_t entry) const
{
    const auto now = known();
    if (!now)
        return std::nullopt;
    const auto found = now->nodes.find(entry);
    return found == now->nodes.end() ? std::nullopt : std::optional(found->second);
}

Commands LinuxMachine::commandsOf(const BlockDevice& disk)
{
    const Hardware& hardware = *disk.hardware;
    if (hardware.road == Road::nvme)
        return hardware.nvme ? Commands::nvme : Commands::none;
    if (hardware.road != Road::usb)
        return hardware.isAta && hardware.hasSmart != false ? Commands::ata : Commands::none;
    // What a bridge passes on is not in sysfs.
    switch (channels_.commands(deviceNode(disk, hardware))) {
    case channels::DriveCommands::ata:
        return Commands::ata;
    case channels::DriveCommands::nvme:
        return Commands::nvme;
    case channels::DriveCommands::none:
        break;
    }
    return Commands::none;
}

/// Only where neither the kernel nor udev has kept what the drive said of itself: what they have of a USB disk is the
/// bridge's word.
void LinuxMachine::completeIdentity(const BlockDevice& disk, Hardware& hardware)
{
    if (!hardware.isCut && hardware.road != Road::usb)
        return;
    const auto identity = channels_.readIdentity(deviceNode(disk, hardware));
    if (!identity || identity->model.empty())
        return;
    hardware.vendor.clear();
    hardware.product = identity->model;
    hardware.serial = identity->serial;
    hardware.revision = identity->firmware;
    hardware.isCut = false;
}

system::OpenedChannel<system::AtaChannel> LinuxMachine::openAta(std::uint64_t entry)
{
    const auto node = nodeOf(entry);
    if (!node)
        return {system::kIOReturnNoDevice, nullptr};
    return channels_.openAta(*node);
}

system::OpenedChannel<system::NvmeChannel> LinuxMachine::openNvme(std::uint64_t entry)
{
    const auto node = nodeOf(entry);
    if (!node)
        return {system::kIOReturnNoDevice, nullptr};
    return channels_.openNvme(*node);
}

std::optional<system::DriveObstacle> LinuxMachine::whyNotOpened(std::uint64_t entry)
{
    const auto node = nodeOf(entry);
    return node ? channels_.whyNotOpened(*node) : std::nullopt;
}

std::optional<std::vector<std::string>> LinuxMachine::mountPoints()
{
    const auto mounts = mounts_.mounts();
    const auto now = known();
    if (!mounts || !now)
        return std::nullopt;
    std::vector<std::string> paths;
    for (const Mount& mount : *mounts) {
        if (mount.isWhole && !mount.isHidden && now->mounted.nameOf(mount))
            paths.push_back(mount.target);
    }
    return paths;
}

std::optional<system::FileSystemFacts> LinuxMachine::fileSystem(const std::string& path)
{
    struct statvfs status {};
    const auto mounts = mounts_.mounts();
    const auto now = known();
    if (!mounts || !now || statvfs(path.c_str(), &status) != 0)
        return std::nullopt;
    const Mount* const mount = mountOf(path, *mounts);
    if (!mount)
        return std::nullopt;
    const std::string* const device = now->mounted.nameOf(*mount);
    return system::FileSystemFacts{.bsdName = device ? *device : std::string(),
                                   .mountPoint = mount->target,
                                   .size = std::uint64_t{status.f_blocks} * status.f_frsize,
                                   .free = std::uint64_t{status.f_bavail} * status.f_frsize,
                                   .writable = (status.f_flag & ST_RDONLY) == 0};
}

std::string LinuxMachine::temporaryDirectory()
{
    const char* const chosen = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    std::string path = chosen && *chosen == '/' ? chosen : "/tmp";
    return path.ends_with('/') ? path : path + "/";
}

std::optional<PropertyTable> LinuxMachine::currentProperties(std::uint64_t entry)
{
    const auto now = known();
    const auto found = now ? now->counters.find(entry) : decltype(now->counters.find(entry)){};
    if (!now || found == now->counters.end())
        return std::nullopt;
    auto statistics = readStatistics(Folder(found->second));
    return statistics ? std::optional(PropertyTable{{"Statistics", *std::move(statistics)}}) : std::nullopt;
}

std::unique_ptr<system::Machine> thisComputer(channels::ChannelOptions options)
{
    return std::make_unique<LinuxMachine>(LinuxOptions{.channels = std::move(options)});
}

} // namespace vantorel::machines
