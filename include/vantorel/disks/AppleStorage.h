// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Volume.h"

#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// An APFS container.
class AppleStorage : public Volume {
public:
    using Volume::Volume;

    /// The `mediaUuid` of the physical store, read two registry entries up at construction and never again.
    [[nodiscard]] const std::optional<base::Uuid>& bsdVolumeUUID() const { return bsdVolumeUuid_; }
    /// The physical store. Absent for good when it was not there as the container arrived.
    [[nodiscard]] const std::shared_ptr<Volume>& bsdVolume() const { return bsdVolume_; }
    /// The volumes in this container, in order of arrival. Those that have gone stay.
    [[nodiscard]] const std::vector<std::shared_ptr<Volume>>& logicalVolumes() const { return logicalVolumes_; }

protected:
    void init(const system::DADiskRef& disk) override;

private:
    friend struct DiskLinks;

    std::optional<base::Uuid> bsdVolumeUuid_;
    std::shared_ptr<Volume> bsdVolume_;
    std::vector<std::shared_ptr<Volume>> logicalVolumes_;
};

} // namespace vantorel
