// SPDX-License-Identifier: GPL-2.0-or-later
#include "RecordedMachine.h"

#include "RecordedDrive.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <unordered_map>
#include <utility>

namespace vantorel::recorded {

namespace {

using namespace system;

/// Whether `path` is the folder or lies in it.
bool liesIn(std::string_view path, std::string_view folder)
{
    return path.starts_with(folder) &&
           (path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/');
}

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
    if (!recording.drives.empty()) {
        const auto parents = firstParents(recording);
        for (auto& [id, recorded] : recording.drives) {
            auto drive = std::make_shared<Drive>();
            drive->recorded = std::move(recorded);
            // Ends at the top, and where a damaged listing goes round in circles.
            for (auto step = parents.find(id); step != parents.end() && drive->standsOn.insert(step->first).second;)
                step = parents.find(step->second);
            drives_.emplace(id, std::move(drive));
        }
    }
    entries_ = std::move(recording.entries);
    volumes_ = std::move(recording.volumes);
    script_ = std::move(recording.script);
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
            events_->entryArrived(std::move(entry));
        }
    } else if (auto* const change = std::get_if<RecordedStep::Change>(&step.what)) {
        events_->entryChanged(change->entry, std::move(change->properties));
    } else if (const auto* const removal = std::get_if<RecordedStep::Removal>(&step.what)) {
        for (const auto& [id, drive] : drives_) {
            if (drive->standsOn.contains(removal->entry))
                drive->isPresent = false;
        }
        events_->entryRemoved(removal->entry);
    } else {
        setVolume(std::move(std::get<RecordedVolume>(step.what)));
    }
}

void RecordedMachine::setVolume(RecordedVolume volume)
{
    events_->volumeChanged(volume.disk, volume.facts);
    const std::scoped_lock lock(volumesMutex_);
    const auto known = std::ranges::find(volumes_, volume.disk, &RecordedVolume::disk);
    if (known != volumes_.end())
        *known = std::move(volume);
    else
        volumes_.push_back(std::move(volume));
}

std::optional<std::vector<std::string>> RecordedMachine::mountPoints()
{
    const std::scoped_lock lock(volumesMutex_);
    std::vector<std::string> paths;
    for (const RecordedVolume& volume : volumes_)
        paths.insert(paths.end(), volume.facts.mountPoints.begin(), volume.facts.mountPoints.end());
    return paths;
}

std::optional<FileSystemFacts> RecordedMachine::fileSystem(const std::string& path)
{
    const std::scoped_lock lock(volumesMutex_);
    std::optional<FileSystemFacts> nearest;
    for (const RecordedVolume& volume : volumes_) {
        for (const std::string& mountPoint : volume.facts.mountPoints) {
            if (liesIn(path, mountPoint) && (!nearest || mountPoint.size() > nearest->mountPoint.size()))
                nearest = FileSystemFacts{volume.disk, mountPoint, volume.size, volume.free, volume.writable};
        }
    }
    return nearest;
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
