// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/registry/RegistryTree.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/system/Machine.h"

#include <string>
#include <string_view>

namespace vantorel::system {

/// Whether the entry is media that can be a disk: of the class or, where a listing tells of a class unknown here, with
/// the properties of media.
[[nodiscard]] bool isMedia(const RegistryNode& node);

/// The nearest ancestor that is a block storage device; null when there is none, and then the media is no disk.
[[nodiscard]] const RegistryNode* blockStorageDevice(const RegistryNode& media);

/// The description of a disk, by the rules of the platform's disk service (DADisk.c). `media` stands under `device`;
/// `volume` is null where nothing is known of one.
[[nodiscard]] PropertyTable describeMedia(const RegistryNode& media, const RegistryNode& device,
                                          const VolumeFacts* volume);

/// Whether a change from one table of an entry to another can change the description of media under that entry.
[[nodiscard]] bool describesMediaBelow(const PropertyTable& before, const PropertyTable& after);

/// The path in the plane, such as "IOService:/AppleACPIPlatformExpert/PCI0@0/…".
[[nodiscard]] std::string servicePath(const RegistryNode& node);

} // namespace vantorel::system
