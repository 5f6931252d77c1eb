// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <memory>
#include <vector>

namespace vantorel {

class Disk;

/// The disks that are linked to each other, which live and die together.
///
/// Links between disks are strong, are never cleared and run both ways: a physical volume and the logical volume on it
/// know each other. As two references that count they would keep each other alive for ever. So a family owns its
/// disks, a reference to a disk is one to its family, and the links inside it are plain pointers. Every disk starts
/// in a family of its own; a link joins two. No lock: use it on the registry's thread.
class DiskFamily : public std::enable_shared_from_this<DiskFamily> {
public:
    explicit DiskFamily(std::unique_ptr<Disk> disk);
    DiskFamily(const DiskFamily&) = delete;
    DiskFamily& operator=(const DiskFamily&) = delete;
    ~DiskFamily();

    /// Makes both families one. References to disks of either stay valid and from now on keep all of them alive.
    void join(DiskFamily& other);

private:
    std::vector<std::unique_ptr<Disk>> disks_;
    std::shared_ptr<DiskFamily> joined_; ///< the family that took over the disks of this one
};

} // namespace vantorel
