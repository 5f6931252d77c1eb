// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/Disk.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

class AppleStorage;
class CoreStorage;

/// A partition, or any other disk that is not a whole drive.
///
/// The registry links a volume to the logical storage it takes part in before the volume joins its list, or when the
/// later partner arrives; the links stay when the partner goes. Where it is mounted and how much room is left is never
/// stored: each of these questions asks the system anew, on the calling thread, at the cost of a session with the disk
/// service. A volume that cannot be asked looks like an unmounted one.
class Volume : public Disk {
public:
    using Disk::Disk;

    /// `apfs` is set by the registry alone, for a volume of a container; `msdos` never.
    [[nodiscard]] VolumeKind volumeKind() const { return volumeKind_; }
    [[nodiscard]] const std::optional<base::Uuid>& volumeUuid() const { return volumeUuid_; }
    [[nodiscard]] const std::optional<std::string>& volumeName() const { return volumeName_; }
    /// The logical volume that lives on this physical volume.
    [[nodiscard]] const std::shared_ptr<CoreStorage>& coreStorageVolume() const { return coreStorageVolume_; }
    /// The APFS container whose physical store this volume is.
    [[nodiscard]] const std::shared_ptr<AppleStorage>& apfsMedia() const { return apfsMedia_; }

    [[nodiscard]] bool isMounted() const { return mountPoint().has_value(); }
    /// The path of the first mounted location that carries this disk's name.
    [[nodiscard]] std::optional<std::string> mountPoint() const;
    /// Free bytes of the mounted file system; 0 when not mounted or not to be had.
    [[nodiscard]] double freeSpace() const;
    /// Mounted at "/".
    [[nodiscard]] bool isBootVolume() const { return mountPoint() == "/"; }

    void loadDAInfo(const PropertyTable& info) override;

protected:
    void init(const system::DADiskRef& disk) override;

private:
    friend struct DiskLinks;

    VolumeKind volumeKind_ = VolumeKind::unknown;
    std::optional<base::Uuid> volumeUuid_;
    std::optional<std::string> volumeName_;
    std::shared_ptr<CoreStorage> coreStorageVolume_;
    std::shared_ptr<AppleStorage> apfsMedia_;
};

} // namespace vantorel
