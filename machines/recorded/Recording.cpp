// SPDX-License-Identifier: GPL-2.0-or-later
#include "Recording.h"

#include "MachineJson.h"
#include "RegistryListing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace vantorel::recorded {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestListing = 256U << 20U;
constexpr std::size_t largestOther = 64U << 20U;
constexpr const char* machineFile = "machine.json";
constexpr std::array<const char*, 3> listingFiles{"ioreg.plist", "ioreg.xml", "ioreg.txt"};

Data readFile(const fs::path& path, const std::string& name, std::size_t limit)
{
    const auto fail = [&name](const std::string& why) { throw RecordingError(name + ": " + why); };
    std::error_code error;
    if (fs::is_directory(path, error))
        fail(std::generic_category().message(EISDIR));
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file)
        fail(std::generic_category().message(errno));
    Data bytes;
    std::array<std::uint8_t, 65536> chunk;
    for (std::size_t got = 1; got > 0 && bytes.size() <= limit;) {
        got = std::fread(chunk.data(), 1, chunk.size(), file.get());
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(got));
    }
    if (std::ferror(file.get()))
        fail(std::generic_category().message(errno));
    if (bytes.size() > limit)
        fail("larger than " + std::to_string(limit >> 20U) + " MB");
    return bytes;
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
        return readFile(folder / path, name, largestListing);
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

Recording loadFolder(const fs::path& folder, const std::string& jsonName)
{
    Recording recording;
    const FileReader read = readerIn(folder);
    std::error_code error;
    if (!fs::exists(folder / jsonName, error)) {
        recording.entries = readFolderListing(folder, read, recording.faults);
        return recording;
    }
    const Data json = readFile(folder / jsonName, jsonName, largestOther);
    auto entries = readJsonRegistry(json, jsonName, read, recording.faults);
    recording.entries = entries ? *std::move(entries) : readFolderListing(folder, read, recording.faults);
    readMachineJson(json, jsonName, read, recording);
    return recording;
}

} // namespace

Recording loadRecording(const std::string& path)
{
    const fs::path place(path);
    std::error_code error;
    if (fs::is_directory(place, error))
        return loadFolder(place, machineFile);
    if (place.extension() == ".json")
        return loadFolder(place.parent_path(), place.filename().string());
    Recording recording;
    recording.entries = readListing(readFile(place, path, largestListing), path, recording.faults);
    return recording;
}

} // namespace vantorel::recorded
