// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"
#include "vantorel/layouts/AtaSmart.h"

#include <cstdint>
#include <string>
#include <string_view>

/// Raw attribute bytes as a person reads them. Plain functions of their arguments, the default presets and the host's
/// translations; any thread; nothing here fails.
namespace vantorel {

/// The number that an attribute's bytes form by the definition's byte order, or by its format's where it has none.
[[nodiscard]] std::uint64_t rawNumber(const IOATASmartAttribute& attribute,
                                      const ATASmartAttributeDefinition& definition);

/// The format of a definition: its own, else the default row's for that number, else `raw48`.
[[nodiscard]] ata_attr_raw_format rawFormat(const ATASmartAttributeDefinition& definition, std::uint8_t attributeId);

/// The text of an attribute's raw value: a number built from the raw bytes by the definition's byte order, printed in
/// its format, then fitted to the unit that `rawName` announces (`GiB`, `MiB`, `Gigabyte`, `Perc`, `Temperature`).
[[nodiscard]] std::string formatSmartValue(const IOATASmartAttribute& attribute,
                                           const ATASmartAttributeDefinition& definition, std::string_view rawName);

/// The raw name of an attribute whose definition gives none: the default row's name for its number, or
/// "Unknown_Attribute" for a number without one and for an attribute that only the other kind of drive has.
/// The text lives as long as `defaults`, the default row's definitions.
[[nodiscard]] std::string_view
GetDefaultAttributeName(std::uint8_t id, bool isSSD,
                        const ATASmartAttributeDefinitions& defaults = getDefaultDefinitions());

/// A duration in words: "1 hour 1 minute 1 second". Parts that are 0 are left out; 0 seconds give the empty text. The
/// six unit words go through `localized`, the plural made before the look-up.
[[nodiscard]] std::string formatTime(std::uint64_t seconds);

/// One part of a duration: number, blank and the unit word, with "s" behind it above 1; empty for 0.
[[nodiscard]] std::string formatComponent(std::string_view name, std::uint64_t value);

} // namespace vantorel
