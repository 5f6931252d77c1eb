// SPDX-License-Identifier: GPL-2.0-or-later
#include "MachineJson.h"

#include "EntryCollector.h"
#include "JsonDocument.h"
#include "JsonPlace.h"
#include "RegistryIndex.h"
#include "RegistryListing.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vantorel::recorded {

namespace {

using system::RegistryEntry;

constexpr std::size_t sectorSize = 512;
constexpr std::size_t identifySize = 4096; // of an NVMe controller

/// The names of the commands that can be told to fail.
constexpr std::array<std::string_view, 8> ataCommands{"open", "identify",   "enable", "autosave",
                                                      "data", "thresholds", "status", "offline"};
constexpr std::array<std::string_view, 4> nvmeCommands{"open", "identify", "log", "errorLog"};

/// The entry that is told on its own; absent when it has no id.
std::optional<RegistryEntry> readEntry(const JsonPlace& place)
{
    place.expectKeys({"id", "name", "class", "location", "inheritance", "parents", "properties", "comment"});
    RegistryEntry entry;
    entry.id = place.count("id").value_or(0);
    if (entry.id == 0) {
        place.fault("an entry without its \"id\"");
        return std::nullopt;
    }
    entry.name = place.words("name").value_or("");
    entry.className = place.words("class").value_or("");
    entry.location = place.words("location").value_or("");
    place.each("inheritance", [&](const JsonPlace& name) {
        if (const auto text = name.words())
            entry.inheritance.push_back(*text);
    });
    place.each("parents", [&](const JsonPlace& parent) {
        if (const auto id = parent.count())
            entry.parents.push_back(*id);
    });
    if (place.has("properties"))
        entry.properties = place.at("properties").table();
    return entry;
}

std::vector<RegistryEntry> readEntries(const JsonPlace& parent, std::string_view key)
{
    std::vector<RegistryEntry> entries;
    std::unordered_set<std::uint64_t> ids;
    parent.each(key, [&](const JsonPlace& place) {
        std::optional<RegistryEntry> entry = readEntry(place);
        if (entry && ids.insert(entry->id).second)
            entries.push_back(*std::move(entry));
        else if (entry)
            place.fault("an entry of an id that is told already");
    });
    return entries;
}

class Reader {
public:
    Reader(const std::string& file, const FileReader& read, Recording& recording)
        : file_(file), read_(read), recording_(recording), index_(recording.entries)
    {}

    void readAll(const JsonPlace& root)
    {
        root.expectKeys({"listing", "registry", "entries", "volumes", "drives", "events", "comment"});
        root.each("volumes", [this](const JsonPlace& volume) {
            if (std::optional<RecordedVolume> read = readVolume(volume))
                recording_.volumes.push_back(*std::move(read));
        });
        // In the order of time, wherever they stand: an event names what has arrived by then.
        std::multimap<double, JsonPlace> events;
        root.each("events", [&](const JsonPlace& event) {
            if (const std::optional<double> seconds = timeOf(event))
                events.emplace(*seconds, event);
        });
        for (const auto& [seconds, event] : events)
            readEvent(event, seconds);
        // Drives may belong to disks that only arrive later.
        root.each("drives", [this](const JsonPlace& drive) { readDrive(drive); });
    }

private:
    std::optional<RecordedVolume> readVolume(const JsonPlace& place)
    {
        place.expectKeys({"disk", "kind", "name", "uuid", "mountable", "mountPoint", "mountPoints", "size", "free",
                          "writable", "comment"});
        RecordedVolume volume;
        const auto disk = place.words("disk");
        if (!disk) {
            place.fault("a volume without \"disk\"");
            return std::nullopt;
        }
        volume.disk = *disk;
        volume.facts.kind = place.words("kind");
        volume.facts.name = place.words("name");
        volume.facts.mountable = place.truth("mountable");
        if (const auto text = place.words("uuid")) {
            volume.facts.uuid = base::Uuid::parse(*text);
            if (!volume.facts.uuid)
                place.at("uuid").fault("no UUID");
        }
        if (const auto path = place.words("mountPoint"))
            addMountPoint(place.at("mountPoint"), *path, volume);
        place.each("mountPoints", [&](const JsonPlace& path) {
            if (const auto text = path.words())
                addMountPoint(path, *text, volume);
        });
        volume.size = place.count("size").value_or(0);
        volume.free = place.count("free").value_or(0);
        if (volume.free > volume.size)
            place.at("free").fault("more than \"size\"");
        volume.writable = place.truth("writable").value_or(true);
        return volume;
    }

    static void addMountPoint(const JsonPlace& place, const std::string& path, RecordedVolume& volume)
    {
        if (path.starts_with('/') && path.find('\0') == std::string::npos)
            volume.facts.mountPoints.push_back(path);
        else
            place.fault("no absolute path");
    }

    static std::optional<double> timeOf(const JsonPlace& event)
    {
        const std::optional<double> seconds = event.number("at");
        if (seconds && *seconds >= 0 && *seconds <= 1e9)
            return seconds;
        event.fault("an event without its time in seconds, \"at\"");
        return std::nullopt;
    }

    void readEvent(const JsonPlace& place, double seconds)
    {
        place.expectKeys({"at", "arrive", "under", "change", "properties", "remove", "volume", "comment"});
        RecordedStep step;
        step.seconds = seconds;
        if (place.has("arrive")) {
            if (!readArrival(place, step))
                return;
        } else if (place.has("change")) {
            PropertyTable changes = place.at("properties").table();
            const auto entry = entryNamed(place.at("change"));
            if (!entry)
                return;
            step.what = RecordedStep::Change{*entry, std::move(changes)};
        } else if (place.has("remove")) {
            const auto entry = entryNamed(place.at("remove"));
            if (!entry)
                return;
            step.what = RecordedStep::Removal{*entry};
        } else if (place.has("volume")) {
            std::optional<RecordedVolume> volume = readVolume(place.at("volume"));
            if (!volume)
                return;
            step.what = *std::move(volume);
        } else {
            return place.fault("an event of no kind: \"arrive\", \"change\", \"remove\" or \"volume\"");
        }
        recording_.script.push_back(std::move(step));
    }

    bool readArrival(const JsonPlace& place, RecordedStep& step)
    {
        std::uint64_t parent = 0;
        if (place.has("under")) {
            const auto entry = entryNamed(place.at("under"));
            if (!entry)
                return false;
            parent = *entry;
        }
        if (place.at("arrive").isArray()) {
            arrive({readEntries(place, "arrive")}, step);
            return true;
        }
        EntryCollector collector(nextId_);
        collectEntries(place.at("arrive").table(), parent, file_, place.at("arrive").path(), collector,
                       recording_.faults);
        nextId_ += collector.size();
        if (collector.size() == 0)
            return false;
        arrive({collector.take()}, step);
        return true;
    }

    void arrive(RecordedStep::Arrival arrival, RecordedStep& step)
    {
        index_.add(arrival.entries);
        step.what = std::move(arrival);
    }

    void readDrive(const JsonPlace& place)
    {
        place.expectKeys({"disk", "ata", "nvme", "comment"});
        const bool isNvme = place.has("nvme");
        if (!isNvme && !place.has("ata"))
            return place.fault("a drive with neither \"ata\" nor \"nvme\"");
        const auto media = entryNamed(place.at("disk"));
        if (!media)
            return;
        const auto kind = isNvme ? RecordedDrive::Kind::nvme : RecordedDrive::Kind::ata;
        const std::optional<std::uint64_t> capable = index_.capableFrom(*media, kind);
        if (!capable)
            return place.fault("no entry above the disk is \"" + std::string(capabilityKey(kind)) + "\"");
        RecordedDrive drive = isNvme ? readNvme(place.at("nvme")) : readAta(place.at("ata"));
        if (!recording_.drives.emplace(*capable, std::move(drive)).second)
            place.fault("a second drive for the same disk");
    }

    RecordedDrive readAta(const JsonPlace& place)
    {
        place.expectKeys({"identify", "data", "thresholds", "logs", "exceeded", "failures", "comment"});
        RecordedDrive drive;
        drive.identify = readBytes(place, "identify", sectorSize);
        drive.data = readBytes(place, "data", sectorSize);
        drive.thresholds = readBytes(place, "thresholds", sectorSize);
        drive.exceeded = place.truth("exceeded").value_or(false);
        readLogs(place, drive);
        readFailures(place, ataCommands, drive);
        return drive;
    }

    RecordedDrive readNvme(const JsonPlace& place)
    {
        place.expectKeys({"identify", "log", "errorLog", "logs", "failures", "comment"});
        RecordedDrive drive;
        drive.kind = RecordedDrive::Kind::nvme;
        drive.identify = readBytes(place, "identify", identifySize);
        readLogs(place, drive);
        if (std::optional<Data> log = readBytes(place, "log", sectorSize))
            drive.logs.insert_or_assign(nvmeadmin::healthLog, *std::move(log));
        if (std::optional<Data> errors = readBytes(place, "errorLog", std::nullopt))
            drive.logs.insert_or_assign(nvmeadmin::errorLog, *std::move(errors));
        readFailures(place, nvmeCommands, drive);
        return drive;
    }

    /// The bytes of a file that is named here, or of `{"base64": "…"}`.
    std::optional<Data> readBytes(const JsonPlace& parent, const std::string& key, std::optional<std::size_t> size)
    {
        if (!parent.has(key))
            return std::nullopt;
        const JsonPlace place = parent.at(key);
        std::optional<Data> bytes = place.bytes();
        if (!bytes) {
            const auto name = place.words();
            if (!name)
                return std::nullopt;
            try {
                bytes = read_(*name);
            } catch (const RecordingError& error) {
                place.fault(error.what());
                return std::nullopt;
            }
        }
        // A drive may answer short, so it is read all the same.
        if (size && bytes->size() != *size)
            place.fault(std::to_string(bytes->size()) + " bytes, not " + std::to_string(*size));
        return bytes;
    }

    void readLogs(const JsonPlace& place, RecordedDrive& drive)
    {
        const JsonPlace logs = place.at("logs");
        for (const std::string& key : logs.keys()) {
            const auto address = RegistryIndex::numberFrom(key);
            if (!address || *address > 0xFF)
                logs.at(key).fault("no log address from 0 to 255");
            else if (std::optional<Data> log = readBytes(logs, key, std::nullopt))
                drive.logs.insert_or_assign(static_cast<std::uint8_t>(*address), *std::move(log));
        }
    }

    static void readFailures(const JsonPlace& place, std::span<const std::string_view> commands, RecordedDrive& drive)
    {
        const JsonPlace failures = place.at("failures");
        for (const std::string& key : failures.keys()) {
            const std::string command = commandNamed(key, drive.kind);
            const auto name = failures.words(key);
            const auto status = name ? system::ioReturnNamed(*name) : std::nullopt;
            const bool isKnown = std::ranges::find(commands, command) != commands.end() || command.starts_with("log ");
            if (!isKnown)
                failures.at(key).fault("no command of this name");
            else if (!status || *status == system::kIOReturnSuccess)
                failures.at(key).fault("no status such as \"kIOReturnIOError\"");
            else if (!drive.failures.emplace(command, *status).second)
                failures.at(key).fault("another name of a command that is told already");
        }
    }

    /// The name by which a drive looks for the failure of a command; empty for a log that no drive can have.
    static std::string commandNamed(const std::string& key, RecordedDrive::Kind kind)
    {
        constexpr std::string_view log = "log ";
        if (!key.starts_with(log))
            return key;
        const auto address = RegistryIndex::numberFrom(std::string_view(key).substr(log.size()));
        if (!address || *address > 0xFF)
            return {};
        return logCommand(kind, static_cast<std::uint8_t>(*address));
    }

    /// The id of the entry that is named here by its device name or its id.
    std::optional<std::uint64_t> entryNamed(const JsonPlace& place)
    {
        std::optional<std::uint64_t> entry;
        if (!place.isNumber())
            entry = index_.find(place.words().value_or(""));
        else if (const auto id = place.count(); id && index_.contains(*id))
            entry = id;
        if (!entry)
            place.fault("no entry of this device name or id");
        return entry;
    }

    const std::string& file_;
    const FileReader& read_;
    Recording& recording_;
    RegistryIndex index_;
    std::uint64_t nextId_ = std::uint64_t{1} << 63U;
};

} // namespace

Recording readMachineJson(DataView bytes, const std::string& file, const FileReader& read,
                          const ListingFinder& findListing)
{
    const PropertyValue document = readJsonObject(bytes, file);
    Recording recording;
    const JsonPlace root(&document, std::string(), file, recording.faults);
    if (root.has("entries")) {
        recording.entries = readEntries(root, "entries");
    } else if (root.has("registry")) {
        EntryCollector collector;
        collectEntries(root.at("registry").table(), 0, file, "registry", collector, recording.faults);
        recording.entries = collector.take();
    } else if (root.has("listing")) {
        const std::string name = root.words("listing").value_or("");
        recording.entries = readListing(read(name), name, recording.faults);
    } else {
        recording.entries = findListing(recording.faults);
    }
    Reader(file, read, recording).readAll(root);
    return recording;
}

} // namespace vantorel::recorded
