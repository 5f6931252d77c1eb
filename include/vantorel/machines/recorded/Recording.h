// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/layouts/NvmeCommands.h"
#include "vantorel/system/IOReturn.h"
#include "vantorel/system/Machine.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// Something wrong in a file of a recorded machine: where it stands and what it is.
struct Fault {
    std::string file;
    std::string place; ///< "line 12", "drives[0].ata.data", "Root/IOResources"
    std::string fault;

    [[nodiscard]] std::string text() const { return file + ": " + place + ": " + fault; }
    bool operator==(const Fault&) const = default;
};

/// Notes a fault, one of a thousand at most: who writes so many by mistake needs no more to find it.
inline void note(std::vector<Fault>& faults, Fault fault)
{
    constexpr std::size_t most = 1000;
    if (faults.size() < most)
        faults.push_back(std::move(fault));
    else if (faults.size() == most)
        faults.push_back({std::move(fault.file), std::move(fault.place), "this and whatever follows is not told"});
}

/// A recording of which nothing can be used: a missing or unreadable file, or one that is no listing at all.
/// `what()` is "FILE: PLACE: FAULT", or "FILE: FAULT" where the whole file is meant.
class RecordingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    explicit RecordingError(const Fault& fault) : std::runtime_error(fault.text()) {}
};

/// A volume, by the device name of its disk.
struct RecordedVolume {
    std::string disk;
    system::VolumeFacts facts;
    std::uint64_t size = 0; ///< bytes of the file system
    std::uint64_t free = 0; ///< bytes
    bool writable = true;
};

/// What a drive answers. A command without an answer here is one that the drive does not know.
struct RecordedDrive {
    enum class Kind { ata, nvme };

    Kind kind = Kind::ata;
    std::optional<Data> identify;
    std::optional<Data> data;          ///< ATA: SMART data
    std::optional<Data> thresholds;    ///< ATA: SMART thresholds
    std::map<std::uint8_t, Data> logs; ///< by log address or log page
    bool exceeded = false;             ///< ATA: what the drive says of itself in SMART RETURN STATUS
    std::map<std::string, system::IOReturn, std::less<>> failures; ///< by name of the command; see `logCommand`
};

/// By this boolean property an entry declares itself capable of SMART.
[[nodiscard]] constexpr std::string_view capabilityKey(RecordedDrive::Kind kind)
{
    return kind == RecordedDrive::Kind::nvme ? "NVMe SMART Capable" : "SMART Capable";
}

/// The name of the command that reads a log, by its address or page.
[[nodiscard]] inline std::string logCommand(RecordedDrive::Kind kind, std::uint8_t address)
{
    if (kind == RecordedDrive::Kind::nvme && address == nvmeadmin::errorLog)
        return "errorLog";
    if (kind == RecordedDrive::Kind::nvme && address == nvmeadmin::healthLog)
        return "log";
    return "log " + std::to_string(address);
}

/// Beyond the depth of any registry. A damaged listing may go round in circles.
inline constexpr int deepestRegistry = 256;

/// The most arrays and tables inside one another in a property of a listing: a recording of it, which is read to 512
/// levels, has seven around them.
inline constexpr int deepestProperty = 500;

/// One later event: what happens so many seconds after the start.
struct RecordedStep {
    struct Arrival {
        std::vector<system::RegistryEntry> entries; ///< parents before children
    };
    struct Change {
        std::uint64_t entry = 0;
        PropertyTable changes; ///< the keys that take another value; null takes a key away
    };
    struct Removal {
        std::uint64_t entry = 0;
    };

    double seconds = 0;
    std::variant<Arrival, Change, Removal, RecordedVolume> what;
};

/// A recorded machine as it stands in its files.
struct Recording {
    std::vector<system::RegistryEntry> entries;    ///< parents before children
    std::vector<RecordedVolume> volumes;           ///< in the order of mounting
    std::map<std::uint64_t, RecordedDrive> drives; ///< by the entry that declares itself SMART capable
    std::vector<RecordedStep> script;              ///< in order of time
    std::vector<Fault> faults;                     ///< what was passed over while reading
};

} // namespace recorded
} // namespace vantorel
