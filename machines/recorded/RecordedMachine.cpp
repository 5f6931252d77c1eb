// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/RecordedMachine.h"

#include "RecordedDrive.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <unordered_map>
#include <utility>

namespace vantorel::recorded {

namespace {

using namespace system;

/// Every entry of a recording and its first parent.
std::unordered_map<std::uint64_t, std::uint64_t> firstParents(const Recording& recording)
{
    std::unordered_map<std::uint64_t, std::uint64_t> parents;
    const auto note = [&parents](const std::vector<RegistryEntry>& entries) {
        for (const RegistryEntry& entry : entries)
            parents.emplace(entry.id, entry.parents.empty() ? 0 : entry.parents.front());
    };
    note(recording.entries);
    for (const RecordedStep& step : recording.script) {
        if (const auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what))
            note(arrival->entries);
    }
    return parents;
}

} // namespace

RecordedMachine::RecordedMachine(Recording recording, Playback playback) : playback_(playback)
{
    addDrives(recording);
    entries_ = std::move(recording.entries);
    script_ = std::move(recording.script);
    keepChanging();
    for (RecordedVolume& volume : recording.volumes)
        addVolume(std::move(volume));
}

void RecordedMachine::addDrives(Recording& recording)
{
    if (recording.drives.empty())
        return;
    const auto parents = firstParents(recording);
    for (auto& [id, recorded] : recording.drives) {
        const auto drive = std::make_shared<Drive>();
        drive->recorded = std::move(recorded);
        drives_.emplace(id, drive);
        auto step = parents.find(id);
        for (int level = 0; level < deepestRegistry && step != parents.end(); ++level) {
            standingOn_[step->first].push_back(drive.get());
            step = parents.find(step->second);
        }
    }
}

void RecordedMachine::keepChanging()
{
    for (const RecordedStep& step : script_) {
        if (const auto* const change = std::get_if<RecordedStep::Change>(&step.what))
            changing_.try_emplace(change->entry);
    }
    for (const RegistryEntry& entry : entries_) {
        if (const auto found = changing_.find(entry.id); found != changing_.end())
            found->second = entry.properties;
    }
}

RecordedMachine::~RecordedMachine()
{
    {
        const std::scoped_lock lock(endMutex_);
        isEnding_ = true;
    }
    end_.notify_all();
    if (player_.joinable())
        player_.join();
}

void RecordedMachine::start(MachineEvents& events)
{
    events_ = &events;
    for (const RecordedVolume& volume : volumes_)
        events.volumeChanged(volume.disk, volume.facts);
    for (RegistryEntry& entry : std::exchange(entries_, {}))
        events.entryArrived(std::move(entry));
    if (playback_ == Playback::inTime && !script_.empty())
        player_ = std::thread([this] { playInTime(); });
}

void RecordedMachine::playInTime()
{
    const auto begin = std::chrono::steady_clock::now();
    while (nextStep_ < script_.size()) {
        const std::chrono::duration<double> offset(script_[nextStep_].seconds);
        const auto due = begin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(offset);
        {
            std::unique_lock lock(endMutex_);
            if (end_.wait_until(lock, due, [this] { return isEnding_; }))
                return;
        }
        play(script_[nextStep_++]);
    }
}

void RecordedMachine::playUntil(double seconds)
{
    while (nextStep_ < script_.size() && script_[nextStep_].seconds <= seconds)
        play(script_[nextStep_++]);
}

void RecordedMachine::play(RecordedStep& step)
{
    if (auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what)) {
        for (RegistryEntry& entry : arrival->entries) {
            if (const auto drive = drives_.find(entry.id); drive != drives_.end())
                drive->second->isPresent = true;
            if (const auto found = changing_.find(entry.id); found != changing_.end())
                found->second = entry.properties;
            events_->entryArrived(std::move(entry));
        }
    } else if (auto* const changed = std::get_if<RecordedStep::Change>(&step.what)) {
        change(std::move(*changed));
    } else if (const auto* const removal = std::get_if<RecordedStep::Removal>(&step.what)) {
        if (const auto drives = standingOn_.find(removal->entry); drives != standingOn_.end()) {
            for (Drive* const drive : drives->second)
                drive->isPresent = false;
        }
        events_->entryRemoved(removal->entry);
    } else {
        setVolume(std::move(std::get<RecordedVolume>(step.what)));
    }
}

void RecordedMachine::change(RecordedStep::Change step)
{
    PropertyTable& properties = changing_.at(step.entry);
    for (auto& [key, value] : step.changes) {
        if (value.isNull())
            properties.erase(key);
        else
            properties.insert_or_assign(key, std::move(value));
    }
    events_->entryChanged(step.entry, properties);
}

void RecordedMachine::setVolume(RecordedVolume volume)
{
    events_->volumeChanged(volume.disk, volume.facts);
    const std::scoped_lock lock(volumesMutex_);
    addVolume(std::move(volume));
}

/// Puts the volume in the place of the one on the same disk, or behind the others.
void RecordedMachine::addVolume(RecordedVolume volume)
{
    const auto [known, isNew] = volumesByDisk_.try_emplace(volume.disk, volumes_.size());
    const std::size_t index = known->second;
    if (isNew)
        volumes_.emplace_back();
    for (const std::string& mountPoint : volumes_[index].facts.mountPoints)
        mounts_.erase({mountPoint, index});
    for (const std::string& mountPoint : volume.facts.mountPoints)
        mounts_.emplace(mountPoint, index);
    volumes_[index] = std::move(volume);
}

std::optional<std::vector<std::string>> RecordedMachine::mountPoints()
{
    const std::scoped_lock lock(volumesMutex_);
    std::vector<std::string> paths;
    for (const RecordedVolume& volume : volumes_)
        paths.insert(paths.end(), volume.facts.mountPoints.begin(), volume.facts.mountPoints.end());
    return paths;
}

/// The first of the volumes that are mounted there.
const RecordedVolume* RecordedMachine::mountedAt(const std::string& mountPoint) const
{
    const auto found = mounts_.lower_bound({mountPoint, 0});
    return found != mounts_.end() && found->first == mountPoint ? &volumes_[found->second] : nullptr;
}

std::optional<FileSystemFacts> RecordedMachine::fileSystem(const std::string& path)
{
    const std::scoped_lock lock(volumesMutex_);
    // The path and the folders that it lies in, the nearest first, each with and without a "/" behind it.
    for (std::string folder = path; !folder.empty();) {
        if (const RecordedVolume* const volume = mountedAt(folder))
            return FileSystemFacts{volume->disk, folder, volume->size, volume->free, volume->writable};
        if (folder.back() == '/')
            folder.pop_back();
        else
            folder.resize(folder.rfind('/') + 1);
    }
    return std::nullopt;
}

IOReturn RecordedMachine::open(std::uint64_t entry, RecordedDrive::Kind kind, std::shared_ptr<Drive>& drive) const
{
    const auto found = drives_.find(entry);
    if (found == drives_.end() || found->second->recorded.kind != kind)
        return kIOReturnUnsupported;
    if (!found->second->isPresent)
        return kIOReturnNoDevice;
    const auto& failures = found->second->recorded.failures;
    if (const auto failure = failures.find("open"); failure != failures.end())
        return failure->second;
    drive = found->second;
    return kIOReturnSuccess;
}

std::optional<DriveObstacle> RecordedMachine::whyNotOpened(std::uint64_t entry)
{
    const auto found = drives_.find(entry);
    if (found == drives_.end())
        return std::nullopt;
    const auto failure = found->second->recorded.failures.find("open");
    if (failure == found->second->recorded.failures.end())
        return std::nullopt;
    switch (const IOReturn status = failure->second) {
    case kIOReturnNotReady:
        return DriveObstacle{status, "The drive was asleep and was left so when it was recorded.", {}};
    case kIOReturnNotPermitted:
    case kIOReturnNotPrivileged:
        return DriveObstacle{status, "Opening it was not permitted when it was recorded.", {}};
    default:
        return std::nullopt;
    }
}

OpenedChannel<AtaChannel> RecordedMachine::openAta(std::uint64_t entry)
{
    std::shared_ptr<Drive> drive;
    const IOReturn status = open(entry, RecordedDrive::Kind::ata, drive);
    if (!drive)
        return {status, nullptr};
    return {status, makeAtaChannel({drive, &drive->recorded}, [drive] { return drive->isPresent.load(); })};
}

OpenedChannel<NvmeChannel> RecordedMachine::openNvme(std::uint64_t entry)
{
    std::shared_ptr<Drive> drive;
    const IOReturn status = open(entry, RecordedDrive::Kind::nvme, drive);
    if (!drive)
        return {status, nullptr};
    return {status, makeNvmeChannel({drive, &drive->recorded}, [drive] { return drive->isPresent.load(); })};
}

} // namespace vantorel::recorded
