// SPDX-License-Identifier: GPL-2.0-or-later
#include "BlockScan.h"

#include "HardwareScan.h"
#include "NameUuid.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vantorel::machines {

namespace {

constexpr std::uint64_t sectorBytes = 512; // in which the kernel counts, whatever the disk does
/// More than any disk has; a larger number would not fit as bytes.
constexpr std::uint64_t mostSectors = std::numeric_limits<std::int64_t>::max() / sectorBytes;
/// The size that the driver for optical drives tells while there is no medium.
constexpr std::uint64_t noMediumSectors = 0x1FFFFF;

std::uint64_t bytesOf(std::optional<std::uint64_t> sectors)
{
    return sectors && *sectors <= mostSectors ? *sectors * sectorBytes : 0;
}

/// Whether the name is `prefix` and a number.
bool isNumbered(std::string_view name, std::string_view prefix)
{
    return name.starts_with(prefix) && parseNumber(name.substr(prefix.size())).has_value();
}

bool isPassedOver(std::string_view name)
{
    const bool isBootArea = name.starts_with("mmcblk") && (name.find("boot") != std::string_view::npos ||
                                                           name.find("rpmb") != std::string_view::npos);
    return isBootArea || isNumbered(name, "fd");
}

/// "../../devices/pci0000:00/…" as it stands in /sys/class/block.
std::string devicePath(const std::string& sysfs, std::string_view link)
{
    while (link.starts_with("../"))
        link.remove_prefix(3);
    return sysfs + "/" + std::string(link);
}

std::string folderAbove(std::string_view path)
{
    path = path.substr(0, path.rfind('/'));
    return std::string(path.substr(path.rfind('/') + 1));
}

RaidArray readArray(const Folder& device)
{
    const Folder folder = device.folder("md");
    RaidArray array{.level = folder.text("level").value_or(""), .state = folder.text("array_state").value_or("")};
    array.disks = folder.number("raid_disks").value_or(0);
    array.degraded = folder.number("degraded").value_or(0);
    for (const std::string& name : folder.names()) {
        constexpr std::string_view prefix = "dev-";
        if (!name.starts_with(prefix))
            continue;
        array.members.push_back({name.substr(prefix.size()), folder.number((name + "/slot").c_str()), // or "none"
                                 folder.text((name + "/state").c_str()).value_or("")});
    }
    std::ranges::sort(array.members, {}, [](const RaidSlot& member) {
        return std::tuple(member.slot.value_or(std::numeric_limits<std::uint64_t>::max()), member.device);
    });
    return array;
}

void readWhole(const Folder& folder, BlockDevice& device)
{
    device.blockSize = folder.number("queue/logical_block_size").value_or(sectorBytes);
    device.isRemovable = folder.number("removable") == 1;
    device.isSolidState = folder.number("queue/rotational") == 0;
    device.canDiscard = folder.number("queue/discard_max_bytes").value_or(0) > 0;
    if (isNumbered(device.kernelName, "dm-")) {
        device.mapping = Mapping{folder.text("dm/name").value_or(""), folder.text("dm/uuid").value_or("")};
        device.lower = folder.folder("slaves").names();
        std::ranges::sort(device.lower);
    } else if (device.kernelName.starts_with("md") && folder.contains("md")) {
        device.raid = readArray(folder);
        for (const RaidSlot& member : device.raid->members)
            device.lower.push_back(member.device);
    } else if (isNumbered(device.kernelName, "loop")) {
        device.backingFile = folder.text("loop/backing_file").value_or("");
    }
}

/// "sda2" before "sda10" and "sdz" before "sdaa".
auto naturalOrder(const BlockDevice& device)
{
    const std::string_view name = device.kernelName;
    const std::size_t digits = name.find_first_of("0123456789");
    const std::string_view word = name.substr(0, digits);
    const std::string_view rest = digits == std::string_view::npos ? std::string_view() : name.substr(digits);
    return std::tuple(word.size(), word, rest.size(), rest);
}

/// What stands lowest comes first: devices, RAM disks and images, and then what is made of others.
int layerOf(const BlockDevice& device)
{
    if (device.raid || device.mapping)
        return 2;
    return device.backingFile || (device.hardware && device.hardware->road == Road::memory) ? 1 : 0;
}

class Scanner {
public:
    Scanner(const ScanSources& sources, const SystemScan* before, const std::set<std::string, std::less<>>& changed)
        : sources_(sources),
          before_(before),
          changed_(changed),
          hardware_(sources.sysfs),
          block_(sources.sysfs + "/class/block")
    {
        if (!before)
            return;
        for (const BlockDevice& device : before->devices) {
            if (device.raid)
                arrays_.emplace(device.kernelName);
            else if (!changed.contains(device.kernelName))
                unchanged_.emplace(device.kernelName, &device);
        }
    }

    SystemScan scan()
    {
        for (const std::string& name : block_.names()) {
            if (isPassedOver(name))
                continue;
            if (auto device = look(name))
                (device->partition ? partitions_[device->partition->whole] : wholes_).push_back(std::move(*device));
        }
        return {before_ ? before_->platform : scanPlatform(sources_), inOrder()};
    }

private:
    std::optional<BlockDevice> look(const std::string& name)
    {
        if (const auto known = unchanged_.find(name); known != unchanged_.end())
            return *known->second;
        // A device that nobody has told of yet is not complete: udev knows it only when its event has come.
        if (before_ && !changed_.contains(name) && !arrays_.contains(name))
            return std::nullopt;
        return read(name);
    }

    std::optional<BlockDevice> read(const std::string& name)
    {
        const auto link = block_.link(name.c_str());
        const Folder folder = block_.folder(name);
        const std::uint64_t size = bytesOf(folder.number("size"));
        if (size == 0 || !link || folder.number("hidden").value_or(0) != 0)
            return std::nullopt;
        BlockDevice device{.kernelName = name, .name = name, .path = devicePath(sources_.sysfs, *link)};
        std::ranges::replace(device.name, '!', '/');
        device.size = size;
        device.properties = folder.properties("uevent");
        const auto major = parseNumber(valueOf(device.properties, "MAJOR"));
        const auto minor = parseNumber(valueOf(device.properties, "MINOR"));
        if (!major || !minor)
            return std::nullopt; // on its way in or out
        device.major = *major;
        device.minor = *minor;
        device.sequence = parseNumber(valueOf(device.properties, "DISKSEQ"));
        device.isReadOnly = folder.number("ro") == 1;
        if (valueOf(device.properties, "DEVTYPE") == "partition") {
            const auto number = folder.number("partition");
            if (!number)
                return std::nullopt; // as above
            device.partition = Partition{*number, bytesOf(folder.number("start")), folderAbove(device.path)};
        } else {
            readWhole(folder, device);
        }
        if (sources_.udev)
            device.properties.merge(sources_.udev(device)); // the kernel's own word counts
        if (!device.partition && !device.raid && !device.mapping && !device.backingFile && !addHardware(folder, device))
            return std::nullopt;
        return device;
    }

    /// False for a drive without a medium.
    bool addHardware(const Folder& folder, BlockDevice& device)
    {
        device.hardware = hardware_.look(folder, device);
        if (device.hardware->isOptical) {
            const bool knowsMedium = !valueOf(device.properties, "ID_CDROM").empty();
            const bool hasMedium = !valueOf(device.properties, "ID_CDROM_MEDIA").empty();
            if (knowsMedium ? !hasMedium : device.size == noMediumSectors * sectorBytes)
                return false;
        }
        if (sources_.identity)
            sources_.identity(device, *device.hardware);
        return true;
    }

    void append(BlockDevice whole)
    {
        auto parts = partitions_.extract(whole.kernelName);
        askSuperblocks(whole, whole);
        if (parts.empty()) {
            devices_.push_back(std::move(whole));
            return;
        }
        std::ranges::sort(parts.mapped(), {}, [](const BlockDevice& part) { return part.partition->number; });
        for (BlockDevice& part : parts.mapped()) {
            part.blockSize = whole.blockSize;
            askSuperblocks(part, whole);
        }
        devices_.push_back(std::move(whole));
        std::ranges::move(parts.mapped(), std::back_inserter(devices_));
    }

    void askSuperblocks(BlockDevice& device, const BlockDevice& whole)
    {
        // udev may have looked and found nothing: then it knows since when it knows the device.
        constexpr const char* knownSince = "USEC_INITIALIZED";
        if (sources_.superblocks && !unchanged_.contains(device.kernelName) && !device.properties.contains(knownSince))
            device.properties.merge(sources_.superblocks(device, whole));
    }

    std::vector<BlockDevice> inOrder()
    {
        std::ranges::sort(wholes_, {},
                          [](const BlockDevice& device) { return std::tuple(layerOf(device), naturalOrder(device)); });
        for (const auto& [whole, parts] : partitions_) {
            for (const BlockDevice& part : parts)
                wholeOf_.emplace(part.kernelName, whole);
        }
        std::vector<std::string> made;
        for (BlockDevice& whole : wholes_) {
            if (layerOf(whole) < 2) {
                append(std::move(whole));
                continue;
            }
            made.push_back(whole.kernelName);
            made_.emplace(whole.kernelName, std::move(whole));
        }
        for (const std::string& name : made)
            appendMade(name, 0);
        return std::move(devices_);
    }

    /// Appends an array or a mapping behind everything that it lies on, unless it is there already.
    void appendMade(const std::string& name, int level)
    {
        constexpr int deepestLevel = 64; // of the few that the kernel allows
        auto found = made_.extract(name);
        if (found.empty())
            return;
        for (const std::string& lower : found.mapped().lower) {
            const auto whole = wholeOf_.find(lower);
            if (level < deepestLevel)
                appendMade(whole == wholeOf_.end() ? lower : whole->second, level + 1);
        }
        append(std::move(found.mapped()));
    }

    const ScanSources& sources_;
    const SystemScan* before_;
    const std::set<std::string, std::less<>>& changed_;
    std::unordered_map<std::string_view, const BlockDevice*> unchanged_;
    std::unordered_set<std::string_view> arrays_; ///< looked at every time
    HardwareScan hardware_;
    Folder block_;
    std::vector<BlockDevice> wholes_;
    std::unordered_map<std::string, std::vector<BlockDevice>> partitions_; ///< by the kernel name of the whole disk
    std::unordered_map<std::string, std::string> wholeOf_;
    std::unordered_map<std::string, BlockDevice> made_; ///< arrays and mappings that wait for their place
    std::vector<BlockDevice> devices_;
};

} // namespace

SystemScan scanSystem(const ScanSources& sources, const SystemScan* before,
                      const std::set<std::string, std::less<>>& changed)
{
    return Scanner(sources, before, changed).scan();
}

Platform scanPlatform(const ScanSources& sources)
{
    const Folder dmi(sources.sysfs + "/class/dmi/id");
    Platform platform{.manufacturer = dmi.text("sys_vendor").value_or(""),
                      .model = dmi.text("product_name").value_or(""),
                      .serial = dmi.text("product_serial").value_or("")};
    if (const auto board = base::Uuid::parse(dmi.text("product_uuid").value_or("")))
        platform.uuid = board->text();
    else if (const auto id = Folder(sources.etc).text("machine-id"))
        platform.uuid = nameUuid("machine-id:" + *id).text();
    return platform;
}

} // namespace vantorel::machines
