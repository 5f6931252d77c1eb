// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Volume.h"

#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// An Apple RAID set.
class RaidStorage : public Volume {
public:
    using Volume::Volume;

    /// The member UUIDs of the set, in its order, read from the entry above at construction and never again. A text
    /// that is no UUID is left out.
    [[nodiscard]] const std::vector<base::Uuid>& members() const { return members_; }

protected:
    void init(const system::DADiskRef& disk) override;

private:
    std::vector<base::Uuid> members_;
};

} // namespace vantorel
