// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntryList.h"
#include "MediaEntries.h"
#include "SystemScan.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantorel::machines {

/// What a look at the system found, by kernel name.
using DeviceIndex = std::unordered_map<std::string_view, const BlockDevice*>;

/// Keys of the media that stand in the list, by kernel name.
using MediaKeys = std::unordered_map<std::string_view, std::string>;

/// The mappings of the device mapper, which may stand on one another: only those that carry no other are told, on the
/// devices at the very bottom.
class Mappings {
public:
    Mappings(const SystemScan& scan, const DeviceIndex& devices);

    /// Whether another mapping stands on this one.
    [[nodiscard]] bool isLayer(const BlockDevice& mapping) const { return layers_.contains(mapping.kernelName); }
    /// The devices below that are no mappings, in order and once each.
    [[nodiscard]] std::vector<const BlockDevice*> bases(const BlockDevice& mapping) const;
    /// Whether it, or a mapping below it, encrypts.
    [[nodiscard]] bool isEncrypted(const BlockDevice& mapping) const;

private:
    template <typename Visit>
    void walkDown(const BlockDevice& mapping, Visit visit) const;

    const DeviceIndex& devices_;
    std::unordered_set<std::string_view> layers_;
};

/// Appends an array as a RAID set on its members; gives the key of its medium, empty when it has no member here.
std::string addRaidSet(const BlockDevice& array, const MediaUse& use, const DeviceIndex& devices,
                       const MediaKeys& media, EntryList& entries);

/// Appends a mapping as a CoreStorage volume on its bases; gives the key of its medium, empty when it has no base here.
std::string addLogicalVolume(const BlockDevice& mapping, const MediaUse& use, const Mappings& mappings,
                             const MediaKeys& media, EntryList& entries);

} // namespace vantorel::machines
