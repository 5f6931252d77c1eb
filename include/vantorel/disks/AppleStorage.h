// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Volume.h"

#include <vector>

namespace vantorel {

/// An APFS container.
class AppleStorage : public Volume {
public:
    using Volume::Volume;

    /// The `mediaUuid` of the physical store, read two registry entries up at construction and never again.
    [[nodiscard]] const std::optional<base::Uuid>& bsdVolumeUUID() const { return bsdVolumeUuid_; }
    /// The physical store. Absent for good when it was not there as the container arrived.
    [[nodiscard]] std::shared_ptr<Volume> bsdVolume() const { return partner(bsdVolume_); }
    /// The volumes in this container, in order of arrival. Those that have gone stay.
    [[nodiscard]] std::vector<std::shared_ptr<Volume>> logicalVolumes() const;

    /// Ties this container to its physical store, both ways. For the registry.
    void linkPhysicalStore(Volume& volume);
    /// Puts a volume into this container and makes it an `apfs` one. For the registry.
    void appendLogicalVolume(Volume& volume);

protected:
    void init(const system::DADiskRef& disk) override;

private:
    std::optional<base::Uuid> bsdVolumeUuid_;
    Volume* bsdVolume_ = nullptr;
    std::vector<Volume*> logicalVolumes_;
};

} // namespace vantorel
