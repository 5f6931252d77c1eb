// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Bytes.h"
#include "vantorel/base/Public.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The byte images of ATA SMART and IDENTIFY DEVICE (ATA8-ACS; the attribute tables as drives have used them since
/// SFF-8035i). Little-endian, without gaps.
namespace VANTOREL_PUBLIC vantorel {

/// One slot of the attribute table in the data sector.
struct IOATASmartAttribute {
    std::uint8_t attributeId; ///< attribute number, 0 for an empty slot
    le16 flag;                ///< status flags; bit value 1: pre-failure attribute
    std::uint8_t current;     ///< normalised value
    std::uint8_t worst;       ///< worst normalised value
    std::array<std::uint8_t, 6> rawvalue;
    std::uint8_t reserv;
};
static_assert(sizeof(IOATASmartAttribute) == 12);
static_assert(offsetof(IOATASmartAttribute, attributeId) == 0);
static_assert(offsetof(IOATASmartAttribute, flag) == 1);
static_assert(offsetof(IOATASmartAttribute, current) == 3);
static_assert(offsetof(IOATASmartAttribute, worst) == 4);
static_assert(offsetof(IOATASmartAttribute, rawvalue) == 5);
static_assert(offsetof(IOATASmartAttribute, reserv) == 11);

/// One slot of the table in the thresholds sector.
struct IOATASmartThresholdAttribute {
    std::uint8_t attributeId;
    std::uint8_t ThresholdValue; ///< the normalised value at or below which the attribute has failed
    std::array<std::uint8_t, 10> Reserved;
};
static_assert(sizeof(IOATASmartThresholdAttribute) == 12);
static_assert(offsetof(IOATASmartThresholdAttribute, attributeId) == 0);
static_assert(offsetof(IOATASmartThresholdAttribute, ThresholdValue) == 1);
static_assert(offsetof(IOATASmartThresholdAttribute, Reserved) == 2);

/// The slots that a sector holds.
inline constexpr std::size_t smartAttributeSlots = 30;

/// The first 362 bytes of the data sector.
struct SmartVendorSpecificData {
    le16 revision;
    std::array<IOATASmartAttribute, smartAttributeSlots> attributes;
};
static_assert(sizeof(SmartVendorSpecificData) == 362);
static_assert(offsetof(SmartVendorSpecificData, attributes) == 2);

/// The first 362 bytes of the thresholds sector.
struct SmartVendorSpecificThresholds {
    le16 revision;
    std::array<IOATASmartThresholdAttribute, smartAttributeSlots> thresholds;
};
static_assert(sizeof(SmartVendorSpecificThresholds) == 362);
static_assert(offsetof(SmartVendorSpecificThresholds, thresholds) == 2);

/// The data sector, answer to SMART READ DATA.
struct ATASMARTData {
    std::array<std::uint8_t, 362> vendorSpecific1; ///< a `SmartVendorSpecificData`
    std::uint8_t offLineDataCollectionStatus;
    std::uint8_t selfTestExecutionStatus;
    le16 secondsToCompleteOffLineActivity;
    std::uint8_t vendorSpecific2;
    std::uint8_t offLineDataCollectionCapability;
    le16 SMARTCapability;
    std::uint8_t errorLoggingCapability;
    std::uint8_t vendorSpecific3;
    std::uint8_t shortTestPollingInterval;    ///< minutes
    std::uint8_t extendedTestPollingInterval; ///< minutes
    std::array<std::uint8_t, 12> reserved;
    std::array<std::uint8_t, 125> vendorSpecific4;
    std::uint8_t checksum; ///< makes the sum of all 512 bytes 0 modulo 256
};
static_assert(sizeof(ATASMARTData) == 512);
static_assert(offsetof(ATASMARTData, vendorSpecific1) == 0);
static_assert(offsetof(ATASMARTData, offLineDataCollectionStatus) == 362);
static_assert(offsetof(ATASMARTData, selfTestExecutionStatus) == 363);
static_assert(offsetof(ATASMARTData, secondsToCompleteOffLineActivity) == 364);
static_assert(offsetof(ATASMARTData, vendorSpecific2) == 366);
static_assert(offsetof(ATASMARTData, offLineDataCollectionCapability) == 367);
static_assert(offsetof(ATASMARTData, SMARTCapability) == 368);
static_assert(offsetof(ATASMARTData, errorLoggingCapability) == 370);
static_assert(offsetof(ATASMARTData, vendorSpecific3) == 371);
static_assert(offsetof(ATASMARTData, shortTestPollingInterval) == 372);
static_assert(offsetof(ATASMARTData, extendedTestPollingInterval) == 373);
static_assert(offsetof(ATASMARTData, reserved) == 374);
static_assert(offsetof(ATASMARTData, vendorSpecific4) == 386);
static_assert(offsetof(ATASMARTData, checksum) == 511);

/// The thresholds sector, answer to SMART READ DATA THRESHOLDS.
struct ATASMARTDataThresholds {
    std::array<std::uint8_t, 362> vendorSpecific1; ///< a `SmartVendorSpecificThresholds`
    std::array<std::uint8_t, 149> vendorSpecific2;
    std::uint8_t checksum;
};
static_assert(sizeof(ATASMARTDataThresholds) == 512);
static_assert(offsetof(ATASMARTDataThresholds, vendorSpecific1) == 0);
static_assert(offsetof(ATASMARTDataThresholds, vendorSpecific2) == 362);
static_assert(offsetof(ATASMARTDataThresholds, checksum) == 511);

/// One log of the SMART log directory; its index in the directory is the log's address less 1.
struct ATASMARTLogEntry {
    std::uint8_t numberOfSectors;
    std::uint8_t reserved;
};
static_assert(sizeof(ATASMARTLogEntry) == 2);

/// The SMART log directory, log address 0.
struct ATASMARTLogDirectory {
    le16 SMARTLoggingVersion;
    std::array<ATASMARTLogEntry, 255> entries;
};
static_assert(sizeof(ATASMARTLogDirectory) == 512);
static_assert(offsetof(ATASMARTLogDirectory, entries) == 2);

/// IDENTIFY DEVICE data, 256 words. Texts are space-padded, two characters a word, the first in the high byte.
struct ATAIdentifyData {
    std::array<le16, 10> Reserved0;
    std::array<le16, 10> SerialNumber;
    std::array<le16, 3> Reserved1;
    std::array<le16, 4> FirmwareRevision;
    std::array<le16, 20> ModelNumber;
    std::array<le16, 33> Reserved2;
    le16 MajorVersion;
    std::array<le16, 19> Reserved3;
    std::array<le16, 4> MaximumLBA;
    std::array<le16, 2> Reserved4;
    le16 Sectorsize;
    le16 Reserved5;
    std::array<le16, 4> DeviceGUID;
    std::array<le16, 94> Reserved6;
    le16 Features;
    le16 MaxWritesPerAddress;
    std::array<le16, 47> Reserved7;
    le16 IntegrityWord; ///< low byte 0xA5 when the high byte is a checksum of the sector
};
static_assert(sizeof(ATAIdentifyData) == 512);
static_assert(offsetof(ATAIdentifyData, Reserved0) == 2 * 0);
static_assert(offsetof(ATAIdentifyData, SerialNumber) == 2 * 10);
static_assert(offsetof(ATAIdentifyData, Reserved1) == 2 * 20);
static_assert(offsetof(ATAIdentifyData, FirmwareRevision) == 2 * 23);
static_assert(offsetof(ATAIdentifyData, ModelNumber) == 2 * 27);
static_assert(offsetof(ATAIdentifyData, Reserved2) == 2 * 47);
static_assert(offsetof(ATAIdentifyData, MajorVersion) == 2 * 80);
static_assert(offsetof(ATAIdentifyData, Reserved3) == 2 * 81);
static_assert(offsetof(ATAIdentifyData, MaximumLBA) == 2 * 100);
static_assert(offsetof(ATAIdentifyData, Reserved4) == 2 * 104);
static_assert(offsetof(ATAIdentifyData, Sectorsize) == 2 * 106);
static_assert(offsetof(ATAIdentifyData, Reserved5) == 2 * 107);
static_assert(offsetof(ATAIdentifyData, DeviceGUID) == 2 * 108);
static_assert(offsetof(ATAIdentifyData, Reserved6) == 2 * 112);
static_assert(offsetof(ATAIdentifyData, Features) == 2 * 206);
static_assert(offsetof(ATAIdentifyData, MaxWritesPerAddress) == 2 * 207);
static_assert(offsetof(ATAIdentifyData, Reserved7) == 2 * 208);
static_assert(offsetof(ATAIdentifyData, IntegrityWord) == 2 * 255);

} // namespace vantorel
