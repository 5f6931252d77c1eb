// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"

#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// A partition's part in a RAID set, for a host to keep. The library fills none.
struct RaidMember {
    std::optional<bool> isOnline;
    std::optional<base::Uuid> memberUUID;
    std::optional<base::Uuid> setUUID;

    bool operator==(const RaidMember&) const = default;
};

} // namespace vantorel
