// SPDX-License-Identifier: GPL-2.0-or-later
#include "SavedReading.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vantorel::host {

namespace {

/// The World Wide Name in IDENTIFY DEVICE data (ACS-3, words 108 to 111); empty where they hold none.
std::string wwnIn(DataView identify)
{
    constexpr std::size_t sector = 512;
    if (identify.size() < sector)
        return {};
    const auto word = [&](std::size_t number) {
        return static_cast<std::uint16_t>(identify[2 * number] | identify[2 * number + 1] << 8);
    };
    constexpr unsigned validAndSupported = 0x4100; // bits 15:14 are 01, bit 8 says that there is a name
    constexpr unsigned mask = 0xC100;
    if ((word(87) & mask) != validAndSupported)
        return {};
    std::uint64_t name = 0;
    for (const std::size_t number : {108U, 109U, 110U, 111U})
        name = name << 16 | word(number);
    return name == 0 ? "" : fmt::format("{:016x}", name);
}

// The head of an image: kind, medium, what the drive says; then the parts, each behind its size in two bytes.
constexpr std::size_t headSize = 3;
constexpr std::size_t largestPart = std::numeric_limits<std::uint16_t>::max();

void append(Data& image, DataView part)
{
    image.push_back(static_cast<std::uint8_t>(part.size() & 0xFF));
    image.push_back(static_cast<std::uint8_t>(part.size() >> 8));
    image.insert(image.end(), part.begin(), part.end());
}

std::optional<DataView> takePart(DataView& image)
{
    if (image.size() < 2)
        return std::nullopt;
    const std::size_t size = image[0] | static_cast<std::size_t>(image[1]) << 8;
    if (image.size() - 2 < size)
        return std::nullopt;
    const DataView part = image.subspan(2, size);
    image = image.subspan(2 + size);
    return part;
}

DataView bytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Seven bits a byte, the lowest first; the highest bit says that more follow.
void appendNumber(Data& bytes, std::size_t number)
{
    for (; number >= 0x80; number >>= 7)
        bytes.push_back(static_cast<std::uint8_t>(number | 0x80));
    bytes.push_back(static_cast<std::uint8_t>(number));
}

std::optional<std::size_t> takeNumber(DataView& bytes)
{
    std::size_t number = 0;
    for (unsigned shift = 0; shift < 28 && !bytes.empty(); shift += 7) {
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        number |= static_cast<std::size_t>(byte & 0x7FU) << shift;
        if (byte < 0x80)
            return number;
    }
    return std::nullopt;
}

} // namespace

DriveIdentity DriveIdentity::of(const health::JudgedReading& judged)
{
    const health::Reading view = judged.view();
    return {std::string(base::trimmed(view.model)), std::string(base::trimmed(view.serial)),
            judged.isNvme() ? "" : wwnIn(view.identify)};
}

SavedReading SavedReading::of(const health::JudgedReading& judged)
{
    const health::Reading view = judged.view();
    return {view.kind,
            view.isSSD,
            view.saysFailing,
            std::string(view.firmware),
            judged.data,
            Data(view.thresholds.begin(), view.thresholds.end()),
            judged.reading.identify};
}

health::Reading SavedReading::view(const DriveIdentity& drive) const
{
    return {.kind = kind,
            .data = data,
            .thresholds = thresholds,
            .identify = identify,
            .model = drive.model,
            .serial = drive.serial,
            .firmware = firmware,
            .isSSD = isSSD,
            .saysFailing = saysFailing};
}

std::optional<Data> SavedReading::image() const
{
    Data image = {kind == health::Reading::Kind::nvme, isSSD,
                  static_cast<std::uint8_t>(saysFailing ? 1 + static_cast<int>(*saysFailing) : 0)};
    for (const DataView part : {bytesOf(firmware), DataView(data), DataView(thresholds), DataView(identify)}) {
        if (part.size() > largestPart)
            return std::nullopt;
        append(image, part);
    }
    return image;
}

std::optional<SavedReading> SavedReading::fromImage(DataView image)
{
    if (image.size() < headSize || image[0] > 1 || image[1] > 1 || image[2] > 2)
        return std::nullopt;
    SavedReading saved;
    saved.kind = image[0] == 1 ? health::Reading::Kind::nvme : health::Reading::Kind::ata;
    saved.isSSD = image[1] == 1;
    if (image[2] != 0)
        saved.saysFailing = image[2] == 2;
    image = image.subspan(headSize);
    std::array<DataView, 4> parts;
    for (DataView& part : parts) {
        const auto taken = takePart(image);
        if (!taken)
            return std::nullopt;
        part = *taken;
    }
    if (!image.empty())
        return std::nullopt;
    saved.firmware.assign(parts[0].begin(), parts[0].end());
    saved.data.assign(parts[1].begin(), parts[1].end());
    saved.thresholds.assign(parts[2].begin(), parts[2].end());
    saved.identify.assign(parts[3].begin(), parts[3].end());
    return saved;
}

Data changesBetween(DataView before, DataView now)
{
    // Two bytes say where the next changed ones are: up to so many equal ones are cheaper to take along.
    constexpr std::size_t gap = 2;
    Data changes;
    std::size_t told = 0; // how far the image is told
    for (std::size_t begin = 0; begin < now.size();) {
        if (before[begin] == now[begin]) {
            ++begin;
            continue;
        }
        std::size_t end = begin + 1;
        for (std::size_t look = end; look < now.size() && look - end <= gap; ++look) {
            if (before[look] != now[look])
                end = look + 1;
        }
        appendNumber(changes, begin - told);
        appendNumber(changes, end - begin);
        changes.insert(changes.end(), now.begin() + static_cast<std::ptrdiff_t>(begin),
                       now.begin() + static_cast<std::ptrdiff_t>(end));
        told = begin = end;
    }
    return changes;
}

bool applyChanges(Data& image, DataView changes)
{
    std::size_t place = 0;
    while (!changes.empty()) {
        const auto skipped = takeNumber(changes);
        const auto count = takeNumber(changes);
        if (!skipped || !count || *skipped > image.size() - place || *count > image.size() - place - *skipped ||
            *count > changes.size())
            return false;
        place += *skipped;
        std::copy_n(changes.begin(), *count, image.begin() + static_cast<std::ptrdiff_t>(place));
        place += *count;
        changes = changes.subspan(*count);
    }
    return true;
}

} // namespace vantorel::host
