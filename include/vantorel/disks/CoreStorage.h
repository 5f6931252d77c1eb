// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Volume.h"

namespace VANTOREL_PUBLIC vantorel {

/// A logical volume of a CoreStorage group.
class CoreStorage : public Volume {
public:
    using Volume::Volume;

    [[nodiscard]] std::optional<bool> isFusion() const { return isFusion_; }
    [[nodiscard]] std::optional<bool> isEncrypted() const { return isEncrypted_; }
    [[nodiscard]] const std::optional<base::Uuid>& csLogicalVolumeGroupUuid() const { return groupUuid_; }
    [[nodiscard]] const std::optional<base::Uuid>& csLogicalVolumeFamilyUuid() const { return familyUuid_; }
    /// The `mediaUuid` of the physical volume below, read three registry entries up at construction and never again.
    [[nodiscard]] const std::optional<base::Uuid>& logicalVolumeUuid() const { return logicalVolumeUuid_; }
    /// The physical volume below.
    [[nodiscard]] const std::shared_ptr<Volume>& logicalVolume() const { return logicalVolume_; }

    void loadIOInfo(const PropertyTable& info) override;

protected:
    void init(const system::DADiskRef& disk) override;

private:
    friend struct DiskLinks;

    std::optional<bool> isFusion_;
    std::optional<bool> isEncrypted_;
    std::optional<base::Uuid> groupUuid_;
    std::optional<base::Uuid> familyUuid_;
    std::optional<base::Uuid> logicalVolumeUuid_;
    std::shared_ptr<Volume> logicalVolume_;
};

} // namespace vantorel
