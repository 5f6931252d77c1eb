// SPDX-License-Identifier: GPL-2.0-or-later
#include "Attributes.h"
#include "Typing.h"
#include "ata/AttributeFormat.h"
#include "vantorel/layouts/AtaSmart.h"

#include <algorithm>

namespace vantorel::health {

namespace {

constexpr unsigned preFailFlag = 1;
constexpr std::int64_t valueBytesUsed =
    ATASmartAttributeDefinition::noNormalizedValue | ATASmartAttributeDefinition::noWorstValue;
constexpr std::string_view unknownName = "Unknown_Attribute";

/// How one attribute is named and read.
struct Naming {
    std::string_view name = unknownName;
    NameSource source = NameSource::nothing;
    bool isDefaultName = false;
};

Naming namingOf(std::uint8_t id, const KnownDrive& known, bool isSSD)
{
    using Definition = ATASmartAttributeDefinition;
    Naming naming;
    // What the default row gives to one kind of drive is no name for the other.
    const auto& byDefault = (*known.defaults)[id];
    const std::int64_t otherKind = isSSD ? Definition::hddOnly : Definition::ssdOnly;
    const bool hasDefault = byDefault && byDefault->name && (byDefault->flags & otherKind) == 0;

    const auto& own = (*known.own)[id];
    if (own && own->name) {
        naming.name = *own->name;
        naming.source = NameSource::row;
        naming.isDefaultName = hasDefault && naming.name == *byDefault->name;
    } else if (hasDefault) {
        naming.name = *byDefault->name;
        naming.source = NameSource::defaultRow;
        naming.isDefaultName = true;
    }
    return naming;
}

/// The threshold of an attribute: that of its own slot, or of any slot that carries its number.
std::optional<std::uint8_t> thresholdOf(std::uint8_t id, std::size_t slot,
                                        const std::optional<SmartVendorSpecificThresholds>& limits)
{
    if (!limits)
        return std::nullopt;
    const auto& slots = limits->thresholds;
    if (slots[slot].attributeId == id)
        return slots[slot].ThresholdValue;
    const auto found = std::ranges::find(slots, id, &IOATASmartThresholdAttribute::attributeId);
    return found == slots.end() ? std::nullopt : std::optional(found->ThresholdValue);
}

} // namespace

std::vector<Attribute> ataAttributesOf(const Reading& reading)
{
    if (!reading.known) {
        const KnownDrive known =
            knownDrive({std::string(reading.model), std::string(reading.serial), std::string(reading.firmware)});
        Reading looked = reading;
        looked.known = &known;
        return ataAttributesOf(looked);
    }
    const auto sector = readRecord<SmartVendorSpecificData>(reading.data);
    if (!sector)
        return {};
    const auto limits = readRecord<SmartVendorSpecificThresholds>(reading.thresholds);
    const KnownDrive& known = *reading.known;
    const DriveNames drive{known.row ? known.row->modelfamily : "", reading.model, reading.isSSD};

    std::vector<Attribute> attributes;
    attributes.reserve(smartAttributeSlots);
    for (std::size_t slot = 0; slot < smartAttributeSlots; ++slot) {
        const IOATASmartAttribute& bytes = sector->attributes[slot];
        if (bytes.attributeId == 0)
            continue;
        const Naming naming = namingOf(bytes.attributeId, known, reading.isSSD);
        const ATASmartAttributeDefinition& definition = known.attribute(bytes.attributeId).definition;
        const MeaningFound meaning =
            meaningOf(naming.name, bytes.attributeId, naming.source, naming.isDefaultName, drive);
        attributes.push_back({
            .id = bytes.attributeId,
            .name = std::string(naming.name),
            .nameSource = naming.source,
            .meaning = meaning.row ? meaning.row->meaning : Meaning::unknown,
            .confidence = meaning.confidence,
            .value = typedValue(bytes, definition, meaning.row, drive),
            .current = bytes.current,
            .worst = bytes.worst,
            .threshold = thresholdOf(bytes.attributeId, slot, limits),
            .preFail = (bytes.flag & preFailFlag) != 0,
            .valueIsRaw = (definition.flags & valueBytesUsed) != 0,
        });
    }
    return attributes;
}

} // namespace vantorel::health
