// SPDX-License-Identifier: GPL-2.0-or-later
#include "SenseData.h"

#include <algorithm>
#include <cstddef>

namespace vantorel::channels {

namespace {

// Response codes: the form, and whether the error is of this command.
constexpr unsigned fixedCurrent = 0x70;
constexpr unsigned fixedDeferred = 0x71;
constexpr unsigned descriptorCurrent = 0x72;
constexpr unsigned descriptorDeferred = 0x73;

// Both forms: a head of eight bytes, the last of which counts what follows.
constexpr std::size_t headSize = 8;

constexpr std::uint8_t ataStatusReturn = 0x09; // a descriptor
constexpr std::size_t ataStatusReturnSize = 14;

// In the fixed form "ATA pass-through information available" says what the fields hold.
constexpr std::uint8_t passThroughCode = 0x00;
constexpr std::uint8_t passThroughQualifier = 0x1D;

std::uint32_t address(std::uint8_t low, std::uint8_t middle, std::uint8_t high)
{
    return low | std::uint32_t{middle} << 8U | std::uint32_t{high} << 16U;
}

/// The registers of the ATA status return descriptor, wherever it stands in the list.
std::optional<AtaRegisters> registersAmong(DataView descriptors)
{
    while (descriptors.size() >= 2) {
        const std::size_t size = std::min(descriptors.size(), std::size_t{descriptors[1]} + 2);
        const DataView one = descriptors.first(size);
        if (one[0] == ataStatusReturn && one.size() >= ataStatusReturnSize)
            return AtaRegisters{one[13], one[3], one[5], address(one[7], one[9], one[11])};
        descriptors = descriptors.subspan(size);
    }
    return std::nullopt;
}

SenseData readDescriptors(DataView bytes)
{
    SenseData sense;
    sense.key = bytes[1] & 0x0FU;
    sense.code = bytes[2];
    sense.qualifier = bytes[3];
    sense.registers = registersAmong(bytes.subspan(headSize));
    return sense;
}

SenseData readFixed(DataView bytes)
{
    const auto at = [&](std::size_t place) { return place < bytes.size() ? bytes[place] : std::uint8_t{0}; };
    SenseData sense;
    sense.key = bytes[2] & 0x0FU;
    sense.code = at(12);
    sense.qualifier = at(13);
    if (bytes.size() > 13 && sense.code == passThroughCode && sense.qualifier == passThroughQualifier)
        sense.registers = AtaRegisters{bytes[4], bytes[3], bytes[6], address(bytes[9], bytes[10], bytes[11])};
    return sense;
}

} // namespace

std::optional<SenseData> readSense(DataView bytes)
{
    if (bytes.size() < headSize)
        return std::nullopt;
    bytes = bytes.first(std::min(bytes.size(), headSize + bytes[7]));
    const unsigned form = bytes[0] & 0x7FU;
    SenseData sense;
    if (form == fixedCurrent || form == fixedDeferred)
        sense = readFixed(bytes);
    else if (form == descriptorCurrent || form == descriptorDeferred)
        sense = readDescriptors(bytes);
    else
        return std::nullopt;
    sense.isDeferred = form == fixedDeferred || form == descriptorDeferred;
    return sense;
}

} // namespace vantorel::channels
