// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Drive.h"

#include <cstdint>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {

/// A drive as the registry knew it at one moment. A `Drive` belongs to the registry's thread and changes while that
/// handles events; this is a value of its own. Take it on the registry's thread and hand it to any other: it stays what
/// it is while the registry lives on, and `SmartController::getSmartData` reads the drive by it.
struct DriveSnapshot {
    /// On the registry's thread.
    explicit DriveSnapshot(const Drive& drive);

    std::string name;                    ///< device name such as `disk0`; empty when it has none
    std::optional<std::string> model;    ///< as the registry knows it, like all that follows
    std::optional<std::string> serial;   ///< untrimmed
    std::optional<std::string> firmware; ///< untrimmed
    std::optional<std::int64_t> size;    ///< bytes
    Disk::DriveInterface interface;      ///< how it is attached
    Disk::DriveKind kind;                ///< what the registry says of it; see `isSSD`

    /// Id of the nearest registry entry above the drive's own that declares itself SMART capable; 0 when there is none,
    /// and the drive has no SMART data then.
    std::uint64_t service = 0;
    /// What kind of commands that entry takes. A drive on USB may be either: where none is capable in the way of the
    /// drive's interface, one that is in the other way counts.
    bool isNvme = false;
    bool isSSD = false; ///< whether it is solid state, as every NVMe drive is
};

} // namespace vantorel
