// SPDX-License-Identifier: GPL-2.0-or-later
#include "Inspection.h"

#include "vantorel/base/Text.h"
#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/layouts/Nvme.h"

#include <algorithm>
#include <bitset>
#include <numeric>

namespace vantorel::health {

namespace {

constexpr std::size_t sectorSize = 512;
constexpr std::size_t fewestAttributes = 3;

Observation fault(Signal signal, std::string detail = {})
{
    return {.signal = signal, .detail = std::move(detail)};
}

bool isRepeatedByte(DataView bytes)
{
    return std::ranges::all_of(bytes, [&](std::uint8_t byte) { return byte == bytes.front(); });
}

/// The model that IDENTIFY DEVICE data tell: two characters a word, the first in the high byte.
std::string modelOf(const ATAIdentifyData& identify)
{
    std::string model;
    for (const std::uint16_t word : identify.ModelNumber) {
        model += static_cast<char>(word >> 8U);
        model += static_cast<char>(word & 0xFFU);
    }
    return std::string(base::trimmed(model));
}

/// The same model, however its blanks are set.
bool isSameModel(std::string_view one, std::string_view other)
{
    const auto withoutBlanks = [](std::string_view text) {
        std::string rest(text);
        std::erase_if(rest, [](char c) { return c == ' ' || c == '_'; });
        return rest;
    };
    return withoutBlanks(one) == withoutBlanks(other);
}

std::optional<Observation> faultOfAttributes(const SmartVendorSpecificData& sector)
{
    std::bitset<256> seen;
    bool anyValue = false;
    bool sameRaw = true;
    const IOATASmartAttribute* first = nullptr;
    for (const IOATASmartAttribute& attribute : sector.attributes) {
        if (attribute.attributeId == 0)
            continue;
        if (seen[attribute.attributeId])
            return fault(Signal::idsTwice, std::to_string(attribute.attributeId));
        seen.set(attribute.attributeId);
        anyValue |= attribute.current >= 1 && attribute.current <= 253;
        first = first ? first : &attribute;
        sameRaw &= attribute.rawvalue == first->rawvalue;
    }
    if (sector.revision == 0xFFFF)
        return fault(Signal::bytesNotSmart, "its revision is FFFFh");
    if (seen.count() < fewestAttributes)
        return fault(Signal::bytesNotSmart, "it has fewer than 3 attributes");
    if (!anyValue)
        return fault(Signal::bytesNotSmart, "no value lies between 1 and 253");
    if (sameRaw)
        return fault(Signal::bytesNotSmart, "all raw numbers are the same");
    return std::nullopt;
}

std::optional<Observation> faultOfAta(const Reading& reading)
{
    const DataView data = reading.data.first(sectorSize);
    if (std::ranges::equal(data, reading.thresholds.first(std::min(sectorSize, reading.thresholds.size()))))
        return fault(Signal::bytesStale, "data and thresholds are the same bytes");
    if (reading.identify.size() >= sectorSize) {
        if (std::ranges::equal(data, reading.identify.first(sectorSize)))
            return fault(Signal::bytesStale, "data and identity are the same bytes");
        const std::string model = modelOf(*readRecord<ATAIdentifyData>(reading.identify));
        if (!model.empty() && !reading.model.empty() && !isSameModel(model, reading.model))
            return fault(Signal::otherDrive, "it calls itself " + base::toUtf8(model));
    }
    return faultOfAttributes(*readRecord<SmartVendorSpecificData>(data));
}

std::optional<Observation> faultOfNvme(const Reading& reading)
{
    const auto log = *readRecord<NVMeSMARTLog>(reading.data);
    if (log.temperature[0] == 0 && log.temperature[1] == 0 && log.avail_spare == 0 && log.spare_thresh == 0 &&
        log.critical_warning == 0)
        return fault(Signal::logEmpty);
    if (log.percent_used == 255 && log.spare_thresh == 255)
        return fault(Signal::logBroken);
    return std::nullopt;
}

} // namespace

std::optional<Observation> faultOf(const Reading& reading)
{
    if (reading.data.size() < sectorSize)
        return fault(Signal::bytesTooFew);
    const bool isNvme = reading.kind == Reading::Kind::nvme;
    if (isRepeatedByte(reading.data.first(sectorSize)))
        return fault(isNvme && reading.data.front() == 0 ? Signal::logEmpty : Signal::bytesRepeated);
    return isNvme ? faultOfNvme(reading) : faultOfAta(reading);
}

bool sumIsRight(DataView sector)
{
    if (sector.size() < sectorSize)
        return true;
    const auto bytes = sector.first(sectorSize);
    return std::accumulate(bytes.begin(), bytes.end(), 0U) % 256 == 0;
}

bool thresholdsAreForeign(const Reading& reading)
{
    const auto sector = readRecord<SmartVendorSpecificData>(reading.data);
    const auto limits = readRecord<SmartVendorSpecificThresholds>(reading.thresholds);
    if (!sector || !limits)
        return false;
    std::bitset<256> known;
    for (const IOATASmartAttribute& attribute : sector->attributes)
        known.set(attribute.attributeId);
    std::size_t used = 0;
    std::size_t shared = 0;
    for (const IOATASmartThresholdAttribute& limit : limits->thresholds) {
        used += limit.attributeId != 0;
        shared += limit.attributeId != 0 && known[limit.attributeId];
    }
    return 2 * shared < used;
}

} // namespace vantorel::health
