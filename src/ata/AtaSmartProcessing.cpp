// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AtaSmartProcessing.h"

#include "ata/AttributeFormat.h"
#include "ata/SmartDescriptions.h"
#include "vantorel/ata/DriveTables.h"

#include <charconv>

namespace vantorel {

namespace {

using enum ATASmartAttributeState;

/// Bits of an attribute's flag word.
constexpr unsigned preFailFlag = 1;
constexpr unsigned noWorstValueFlag = 4;

SmartValueType typeForAttribute(const ATASmartAttributeDefinition& definition, std::string_view rawName)
{
    const auto contains = [&](std::string_view text) { return rawName.find(text) != std::string_view::npos; };
    switch (definition.format) {
    case ata_attr_raw_format::temp10x:
    case ata_attr_raw_format::tempminmax:
        return SmartValueType::temperature;
    case ata_attr_raw_format::sec2hour:
    case ata_attr_raw_format::min2hour:
    case ata_attr_raw_format::halfmin2hour:
    case ata_attr_raw_format::msec24hour32:
        return SmartValueType::time;
    default:
        break;
    }
    if (contains("GiB") || contains("MiB") || contains("Gigabyte"))
        return SmartValueType::bytes;
    return contains("Perc") ? SmartValueType::percentage : SmartValueType::string;
}

ATASmartAttributeState stateForAttribute(const IOATASmartAttribute& attribute,
                                         const IOATASmartThresholdAttribute& threshold)
{
    if (threshold.attributeId != attribute.attributeId)
        return noThreshold;
    if (attribute.current <= threshold.ThresholdValue)
        return failedNow;
    const bool worstCounts = (attribute.flag & noWorstValueFlag) == 0;
    return worstCounts && attribute.worst <= threshold.ThresholdValue ? failedInPast : ok;
}

/// Two attributes are judged by other rules than their thresholds.
ATASmartAttributeState correctedState(const ATASmartValue& value)
{
    if (value.name == "Unused Reserved Block Count (Total)") {
        long long count = 1;
        const char* const end = value.formattedValue.data() + value.formattedValue.size();
        const auto result = std::from_chars(value.formattedValue.data(), end, count);
        if (result.ec != std::errc() || result.ptr != end)
            count = 1;
        return count > 0 ? ok : failedNow;
    }
    if (value.name == "Raw Read Error Rate")
        return value.current < value.theshold ? failedNow : ok;
    return value.state;
}

ATASmartValue correctValue(ATASmartValue value)
{
    value.state = correctedState(value);
    return value;
}

ATASmartValue smartValue(const IOATASmartAttribute& attribute, const IOATASmartThresholdAttribute& threshold,
                         const KnownDrive& drive, bool isSSD)
{
    static const std::string_view unknownInfo = SmartDescriptions().at("Unknown_Attribute").info;
    const ATASmartAttributeDefinition& definition = drive.attribute(attribute.attributeId).definition;
    const std::string_view rawName = drive.rawName(attribute.attributeId, isSSD);

    const auto described = SmartDescriptions().find(rawName);
    const bool known = described != SmartDescriptions().end();
    return {
        .id = attribute.attributeId,
        .name = known && !described->second.name.empty() ? std::string(described->second.name) : formattedName(rawName),
        .formattedValue = formatSmartValue(attribute, definition, rawName),
        .current = attribute.current,
        .worst = attribute.worst,
        .theshold = threshold.ThresholdValue,
        .type = (attribute.flag & preFailFlag) != 0 ? SmartAttributeType::preFail : SmartAttributeType::oldAge,
        .state = stateForAttribute(attribute, threshold),
        .valueType = typeForAttribute(definition, rawName),
        .info = std::string(known ? described->second.info : unknownInfo),
    };
}

} // namespace

std::vector<ATASmartValue> processATASmartData(const ATASMARTData& smartData, const ATASMARTDataThresholds& thresholds,
                                               const ATADeviceInfo& deviceInfo, bool isSSD)
{
    const KnownDrive drive = knownDrive(deviceInfo);
    const auto attributes = *readRecord<SmartVendorSpecificData>(smartData.vendorSpecific1);
    const auto limits = *readRecord<SmartVendorSpecificThresholds>(thresholds.vendorSpecific1);

    std::vector<ATASmartValue> values;
    for (std::size_t slot = 0; slot < smartAttributeSlots; ++slot) {
        if (attributes.attributes[slot].attributeId != 0)
            values.push_back(
                correctValue(smartValue(attributes.attributes[slot], limits.thresholds[slot], drive, isSSD)));
    }
    return values;
}

} // namespace vantorel
