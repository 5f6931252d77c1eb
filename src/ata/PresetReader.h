// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantorel::ata {

/// What came of a preset text: the definitions, and the pieces that gave none.
struct PresetReading {
    ATASmartAttributeDefinitions definitions{};
    std::vector<std::string> skipped;   ///< options that are no `-v` option, and those that cannot be read
    std::optional<std::string> stopped; ///< the option with an unknown format, which ended the reading
};

[[nodiscard]] PresetReading readPresets(std::string_view presets);

} // namespace vantorel::ata
