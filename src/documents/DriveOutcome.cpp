// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveOutcome.h"

#include "DiskTree.h"
#include "DiskUse.h"
#include "SideBySide.h"
#include "Status.h"
#include "vantorel/base/Text.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/SmartError.h"
#include "vantorel/system/Installation.h"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

namespace vantorel {

namespace {

using Kind = DriveOutcome::Kind;

void tellObstacle(DriveOutcome& outcome, std::uint64_t entry)
{
    const auto obstacle = system::machine()->whyNotOpened(entry);
    if (!obstacle)
        return;
    outcome.isExplained = true;
    outcome.error = obstacle->reason;
    outcome.remedy = obstacle->remedy;
    if (obstacle->status == system::kIOReturnNotReady)
        outcome.kind = Kind::asleep;
}

/// The entry of the device that a drive is the medium of, behind the block storage driver; 0 for none.
std::uint64_t deviceOf(const Drive& drive)
{
    system::IOHandle driver;
    system::IOHandle device;
    std::uint64_t entry = 0;
    system::IORegistryEntryGetParentEntry(drive.ioService().get(), system::kIOServicePlane, driver.receive());
    system::IORegistryEntryGetParentEntry(driver.get(), system::kIOServicePlane, device.receive());
    system::IORegistryEntryGetRegistryEntryID(device.get(), entry);
    return entry;
}

DriveOutcome unread(const Drive& drive, bool isNamed)
{
    DriveOutcome outcome;
    outcome.kind = Kind::noSmart;
    outcome.isNamed = isNamed;
    outcome.name = driveName(drive);
    outcome.drive.emplace(drive);
    outcome.error = "It has no SMART data.";
    if (outcome.drive->service == 0)
        tellObstacle(outcome, deviceOf(drive));
    return outcome;
}

/// Where the sets, which lie on several drives, and all else that lies on no disk stand in a tree.
using Roots = std::map<std::string, const DiskNode*, std::less<>>;

std::vector<MountedVolume> volumesOn(const DiskNode& drive, const Roots& roots)
{
    constexpr std::size_t mostDisks = 1000;
    std::vector<MountedVolume> volumes;
    std::vector<const DiskNode*> nodes = {&drive};
    for (std::size_t i = 0; i < std::min(nodes.size(), mostDisks); ++i) {
        const DiskNode& node = *nodes[i];
        const auto volume = volumeOn(*node.disk);
        if (const auto mountPoint = volume ? volume->mountPoint() : std::nullopt)
            volumes.push_back({node.disk->bsdName().value_or("-"), volume->volumeName(), *mountPoint});
        for (const DiskNode& child : node.children)
            nodes.push_back(&child);
        const auto set = node.raidSet ? roots.find(node.raidSet->bsdName().value_or("")) : roots.end();
        if (set != roots.end() && std::ranges::find(nodes, set->second) == nodes.end())
            nodes.push_back(set->second);
    }
    return volumes;
}

} // namespace

int DriveOutcome::status() const
{
    switch (kind) {
    case Kind::noDrive:
        return usageError;
    case Kind::notOpened:
        return driveNotOpened;
    case Kind::failed:
        return readFailed;
    case Kind::noSmart:
        return isNamed ? driveNotOpened : success;
    case Kind::read:
        return statusOf(judged->verdict.level);
    case Kind::asleep:
        break;
    }
    return success;
}

int statusOf(const std::vector<DriveOutcome>& outcomes)
{
    int status = outcomes.empty() ? usageError : success;
    for (const DriveOutcome& outcome : outcomes)
        status |= outcome.status();
    return status;
}

std::shared_ptr<Drive> driveNamed(std::string_view name)
{
    constexpr std::string_view folder = "/dev/";
    const std::string_view bsdName = name.starts_with(folder) ? name.substr(folder.size()) : name;
    if (auto drive = Vantorel::shared().getDrive(bsdName))
        return drive;
    for (const auto& drive : Vantorel::shared().drives()) {
        const std::string_view serial = base::trimmed(drive->serial() ? std::string_view(*drive->serial()) : "");
        if (!serial.empty() && serial == base::trimmed(name))
            return drive;
    }
    return nullptr;
}

std::string driveName(const Drive& drive)
{
    return drive.bsdName().value_or("-");
}

std::vector<DriveOutcome> unreadDrives(const std::vector<std::string>& names)
{
    std::vector<DriveOutcome> outcomes;
    std::vector<std::shared_ptr<Drive>> known;
    for (const auto& drive : names.empty() ? Vantorel::shared().drives() : std::vector<std::shared_ptr<Drive>>())
        outcomes.push_back(unread(*drive, false));
    for (const std::string& name : names) {
        const auto drive = driveNamed(name);
        if (!drive) {
            outcomes.push_back({.isNamed = true, .name = name, .error = "There is no such drive."});
        } else if (std::ranges::find(known, drive) == known.end()) {
            known.push_back(drive);
            outcomes.push_back(unread(*drive, true));
        }
    }
    return outcomes;
}

void findVolumes(std::vector<DriveOutcome>& outcomes)
{
    if (statusOf(outcomes) == success)
        return;
    const std::vector<DiskNode> tree = diskTree(Vantorel::shared());
    Roots roots;
    for (const DiskNode& root : tree)
        roots.try_emplace(root.disk->bsdName().value_or(""), &root);
    for (DriveOutcome& outcome : outcomes) {
        const auto root = roots.find(outcome.name);
        if (outcome.status() != success && root != roots.end())
            outcome.volumes = volumesOn(*root->second, roots);
    }
}

void readDrive(DriveOutcome& outcome) noexcept
try {
    outcome.judged.emplace(SmartController::shared().getSmartData(*outcome.drive));
    outcome.kind = Kind::read;
    outcome.error.clear();
} catch (const SmartOpenError& error) {
    outcome.kind = Kind::notOpened;
    outcome.error = error.errorDescription();
    tellObstacle(outcome, outcome.drive->service);
} catch (const std::exception& error) {
    outcome.kind = Kind::failed;
    outcome.error = error.what();
}

void readDrives(std::vector<DriveOutcome>& drives, const std::function<void(std::size_t, std::size_t)>& onWait)
{
    std::vector<DriveOutcome*> first; // of those that one service answers for
    std::vector<std::pair<DriveOutcome*, const DriveOutcome*>> others;
    for (DriveOutcome& outcome : drives) {
        if (!outcome.drive || outcome.drive->service == 0)
            continue;
        const auto same = std::ranges::find(first, outcome.drive->service,
                                            [](const DriveOutcome* each) { return each->drive->service; });
        if (same == first.end())
            first.push_back(&outcome);
        else
            others.emplace_back(&outcome, *same);
    }
    sideBySide(
        first.size(), [&](std::size_t i) { readDrive(*first[i]); },
        [&](std::size_t done) {
            if (onWait)
                onWait(done, first.size());
        });
    for (const auto& [outcome, answer] : others) {
        outcome->kind = answer->kind;
        outcome->judged = answer->judged;
        outcome->isExplained = answer->isExplained;
        outcome->error = answer->error;
        outcome->remedy = answer->remedy;
    }
}

} // namespace vantorel
