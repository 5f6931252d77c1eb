// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Loading.h"

#include "MachineJson.h"
#include "RegistryListing.h"
#include "vantorel/system/WholeFile.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <vector>

namespace vantorel::recorded {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestJson = 64U << 20U;
constexpr const char* machineFile = "machine.json";
constexpr std::array<const char*, 3> listingFiles{"ioreg.plist", "ioreg.xml", "ioreg.txt"};

/// The file; `name` is what it is called in messages.
Data readFile(const fs::path& path, const std::string& name)
{
    try {
        return system::readWholeFile(path, largestFile);
    } catch (const system::FileError& error) {
        throw RecordingError(name + ": " + error.what());
    }
}

/// Reads files beside a machine.json, and none that its name leads elsewhere.
FileReader readerIn(const fs::path& folder)
{
    return [folder](const std::string& name) {
        const fs::path path(name);
        const bool leadsOut = path.is_absolute() || name.find('\0') != std::string::npos ||
                              std::ranges::find(path, fs::path("..")) != path.end();
        if (name.empty() || leadsOut)
            throw RecordingError(name + ": not a file of this machine");
        return readFile(folder / path, name);
    };
}

/// The listing that lies in a folder under one of the usual names.
std::vector<system::RegistryEntry> readFolderListing(const fs::path& folder, const FileReader& read,
                                                     std::vector<Fault>& faults)
{
    for (const char* const name : listingFiles) {
        std::error_code error;
        if (fs::exists(folder / name, error))
            return readListing(read(name), name, faults);
    }
    throw RecordingError(folder.string() + ": neither machine.json names a listing nor is there an ioreg.plist, " +
                         "ioreg.xml or ioreg.txt");
}

Recording loadJson(const fs::path& path, DataView json)
{
    const std::string name = path.filename();
    if (json.size() > largestJson)
        throw RecordingError(name + ": is larger than " + std::to_string(largestJson) + " bytes");
    const fs::path folder = path.parent_path();
    const FileReader read = readerIn(folder);
    return readMachineJson(json, name, read,
                           [&](std::vector<Fault>& faults) { return readFolderListing(folder, read, faults); });
}

} // namespace

Recording loadRecording(const std::string& path)
{
    const fs::path place(path);
    std::error_code error;
    if (!fs::is_directory(place, error))
        return loadRecording(path, readFile(place, place.extension() == ".json" ? place.filename().string() : path));
    if (fs::exists(place / machineFile, error))
        return loadJson(place / machineFile, readFile(place / machineFile, machineFile));
    Recording recording;
    recording.entries = readFolderListing(place, readerIn(place), recording.faults);
    return recording;
}

Recording loadRecording(const std::string& path, DataView bytes)
{
    const auto start = std::ranges::find_if(bytes, [](std::uint8_t byte) { return byte > ' '; });
    if (fs::path(path).extension() == ".json" || (start != bytes.end() && *start == '{'))
        return loadJson(path, bytes);
    Recording recording;
    recording.entries = readListing(bytes, path, recording.faults);
    return recording;
}

} // namespace vantorel::recorded
