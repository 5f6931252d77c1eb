// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Recorder.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/layouts/AtaCommands.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/layouts/NvmeCommands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantorel::recorded {

namespace {

using namespace system;

/// Notes what a machine tells until it is taken.
class Notes final : public MachineEvents {
public:
    void entryArrived(RegistryEntry entry) override
    {
        const std::scoped_lock lock(mutex_);
        const auto [known, isNew] = places_.try_emplace(entry.id, entries_.size());
        if (isNew)
            return entries_.push_back(std::move(entry));
        RegistryEntry& told = entries_[known->second];
        told.properties = std::move(entry.properties);
        for (const std::uint64_t parent : entry.parents) {
            if (std::ranges::find(told.parents, parent) == told.parents.end())
                told.parents.push_back(parent);
        }
    }
    void entryChanged(std::uint64_t id, PropertyTable properties) override
    {
        const std::scoped_lock lock(mutex_);
        if (const auto known = places_.find(id); known != places_.end())
            entries_[known->second].properties = std::move(properties);
    }
    void entryRemoved(std::uint64_t /*id*/) override {} // it was there when the recording began
    void volumeChanged(std::string bsdName, VolumeFacts facts) override
    {
        const std::scoped_lock lock(mutex_);
        const auto known = std::ranges::find(volumes_, bsdName, &RecordedVolume::disk);
        if (known != volumes_.end())
            known->facts = std::move(facts);
        else
            volumes_.push_back({std::move(bsdName), std::move(facts), 0, 0, true});
    }

    std::vector<RegistryEntry> takeEntries()
    {
        const std::scoped_lock lock(mutex_);
        places_.clear();
        return std::exchange(entries_, {});
    }
    std::vector<RecordedVolume> takeVolumes()
    {
        const std::scoped_lock lock(mutex_);
        return std::exchange(volumes_, {});
    }

private:
    std::mutex mutex_;
    std::vector<RegistryEntry> entries_;
    std::unordered_map<std::uint64_t, std::size_t> places_;
    std::vector<RecordedVolume> volumes_;
};

/// The volumes in the order of mounting, those that are not mounted behind them, with what their file systems say.
std::vector<RecordedVolume> inOrder(std::vector<RecordedVolume> volumes, Machine& machine)
{
    std::map<std::string, std::size_t, std::less<>> ranks; // by device name
    std::map<std::string, FileSystemFacts, std::less<>> fileSystems;
    for (const std::string& path : machine.mountPoints().value_or(std::vector<std::string>())) {
        std::optional<FileSystemFacts> facts = machine.fileSystem(path);
        if (!facts)
            continue;
        const std::string name = facts->bsdName;
        ranks.try_emplace(name, ranks.size());
        fileSystems.try_emplace(name, *std::move(facts));
    }
    for (RecordedVolume& volume : volumes) {
        if (const auto facts = fileSystems.find(volume.disk); facts != fileSystems.end()) {
            volume.size = facts->second.size;
            volume.free = facts->second.free;
            volume.writable = facts->second.writable;
        }
    }
    std::ranges::stable_sort(volumes, {}, [&](const RecordedVolume& volume) {
        const auto rank = ranks.find(volume.disk);
        return rank == ranks.end() ? ranks.size() : rank->second;
    });
    return volumes;
}

/// Keeps what a command gave, or that it failed; that it is not known needs no record.
std::optional<Data> kept(IOReturn status, Data bytes, std::size_t received, const std::string& command,
                         RecordedDrive& drive)
{
    if (status == kIOReturnSuccess) {
        bytes.resize(std::min(received, bytes.size()));
        return bytes;
    }
    if (status != kIOReturnUnsupported)
        drive.failures.emplace(command, status);
    return std::nullopt;
}

class AtaReader {
public:
    AtaReader(AtaChannel& channel, RecordedDrive& drive) : channel_(channel), drive_(drive) {}

    void readAll()
    {
        drive_.identify = read("identify", {.command = acs::identifyDevice});
        const AtaResult enabled = channel_.execute(smart(acs::smartEnable));
        static_cast<void>(kept(enabled.status, {}, 0, "enable", drive_));
        drive_.data = read("data", smart(acs::smartReadData));
        drive_.thresholds = read("thresholds", smart(acs::smartReadThresholds));
        readStatus();
        // A log that is asked for and not there would add to the drive's own error log. ATA8-ACS, IDENTIFY DEVICE:
        // word 84 is valid with bits 15 and 14 being 01; bit 0 tells of the error log, bit 1 of self-tests.
        const unsigned features = word(84);
        if ((features & 0xC001U) == 0x4001U)
            readLog(acs::smartErrorLog);
        if ((features & 0xC002U) == 0x4002U)
            readLog(acs::smartSelfTestLog);
    }

private:
    static AtaCommand smart(std::uint8_t feature, std::uint8_t address = 0)
    {
        return {.command = acs::smart, .feature = feature, .lba = acs::smartKey | address};
    }

    std::optional<Data> read(const std::string& name, AtaCommand command)
    {
        Data bytes(acs::sectorSize);
        command.count = 1;
        command.read = bytes;
        const AtaResult result = channel_.execute(command);
        return kept(result.status, std::move(bytes), result.received, name, drive_);
    }

    void readLog(std::uint8_t address)
    {
        if (auto log = read(logCommand(RecordedDrive::Kind::ata, address), smart(acs::smartReadLog, address)))
            drive_.logs.emplace(address, *std::move(log));
    }

    void readStatus()
    {
        const AtaResult result = channel_.execute(smart(acs::smartReturnStatus));
        drive_.exceeded = (result.lba & acs::smartKeyMask) == acs::smartExceeded;
        const bool isTold = drive_.exceeded || (result.lba & acs::smartKeyMask) == acs::smartKey;
        if (result.status != kIOReturnSuccess || !isTold) // some roads to a drive hide what it says
            drive_.failures.emplace("status", result.status == kIOReturnSuccess ? kIOReturnUnsupported : result.status);
    }

    [[nodiscard]] unsigned word(std::size_t number) const
    {
        const auto image = readRecord<std::array<std::uint8_t, acs::sectorSize>>(drive_.identify.value_or(Data()));
        return image ? (*image)[2 * number] | unsigned{(*image)[2 * number + 1]} << 8U : 0;
    }

    AtaChannel& channel_;
    RecordedDrive& drive_;
};

class NvmeReader {
public:
    NvmeReader(NvmeChannel& channel, RecordedDrive& drive) : channel_(channel), drive_(drive) {}

    void readAll()
    {
        drive_.identify =
            read("identify", {.opcode = nvmeadmin::identify, .cdw10to15 = {nvmeadmin::controllerStructure}},
                 sizeof(NVMeControllerData));
        readLog(nvmeadmin::healthLog, sizeof(NVMeSMARTLog));
        const auto controller = readRecord<NVMeControllerData>(drive_.identify.value_or(Data()));
        if (controller) // within the least that every controller can transfer
            readLog(nvmeadmin::errorLog,
                    std::min<std::size_t>((std::size_t{controller->elpe} + 1) * sizeof(NVMeErrorLogPage), 4096));
    }

private:
    std::optional<Data> read(const std::string& name, NvmeCommand command, std::size_t size)
    {
        Data bytes(size);
        command.read = bytes;
        const NvmeResult result = channel_.execute(command);
        return kept(result.status, std::move(bytes), result.received, name, drive_);
    }

    void readLog(std::uint8_t page, std::size_t size)
    {
        const auto dwords = static_cast<std::uint32_t>(size / 4 - 1);
        const NvmeCommand command{
            .opcode = nvmeadmin::getLogPage, .nsid = nvmeadmin::allNamespaces, .cdw10to15 = {dwords << 16U | page}};
        if (auto log = read(logCommand(RecordedDrive::Kind::nvme, page), command, size))
            drive_.logs.emplace(page, *std::move(log));
    }

    NvmeChannel& channel_;
    RecordedDrive& drive_;
};

/// The drive behind an entry, by one kind of channel; absent where the machine has no such channel.
template <typename Reader, typename Channel>
std::optional<RecordedDrive> readDrive(RecordedDrive::Kind kind, const OpenedChannel<Channel>& opened)
{
    RecordedDrive drive;
    drive.kind = kind;
    if (opened.channel)
        Reader(*opened.channel, drive).readAll();
    else if (opened.status != kIOReturnUnsupported)
        drive.failures.emplace("open", opened.status);
    else
        return std::nullopt;
    return drive;
}

bool isCapable(const RegistryEntry& entry, RecordedDrive::Kind kind)
{
    return entry.properties.get<bool>(capabilityKey(kind)) == true;
}

/// The drive behind an entry; absent where there is none.
std::optional<RecordedDrive> readDrive(const RegistryEntry& entry, Machine& machine)
{
    std::optional<RecordedDrive> drive;
    if (isCapable(entry, RecordedDrive::Kind::ata))
        drive = readDrive<AtaReader>(RecordedDrive::Kind::ata, machine.openAta(entry.id));
    if (!drive && isCapable(entry, RecordedDrive::Kind::nvme))
        drive = readDrive<NvmeReader>(RecordedDrive::Kind::nvme, machine.openNvme(entry.id));
    return drive;
}

} // namespace

Recording recordMachine(std::unique_ptr<Machine> machine, const ForEach& forEach)
{
    Notes notes;
    Recording recording;
    machine->start(notes);
    recording.entries = notes.takeEntries();
    recording.volumes = inOrder(notes.takeVolumes(), *machine);
    std::vector<std::pair<const RegistryEntry*, std::optional<RecordedDrive>>> asked;
    for (RegistryEntry& entry : recording.entries) {
        for (auto& [key, value] : machine->currentProperties(entry.id).value_or(PropertyTable()))
            entry.properties.insert_or_assign(key, value);
        if (isCapable(entry, RecordedDrive::Kind::ata) || isCapable(entry, RecordedDrive::Kind::nvme))
            asked.emplace_back(&entry, std::nullopt);
    }
    forEach(asked.size(), [&](std::size_t i) { asked[i].second = readDrive(*asked[i].first, *machine); });
    for (auto& [entry, drive] : asked) {
        if (drive)
            recording.drives.emplace(entry->id, *std::move(drive));
    }
    machine.reset(); // before the notes that it tells
    return recording;
}

} // namespace vantorel::recorded
