// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace vantorel {

class Disk;

/// Sees to the end of disks that have left the registry's list.
///
/// Links between disks are strong and are never cleared, and they run both ways: a physical volume and the logical
/// volume on it keep each other alive even when nobody else knows them any more. Now and then the disks that have left
/// are looked through, and those that can be reached from no disk that somebody holds let go of their links. Nobody can
/// see that. It is done each time their number has doubled, so that a removal stays cheap.
class DepartedDisks {
public:
    /// Takes note of a disk that has left the list. That it is still held, or in the list again, does no harm.
    void add(const std::shared_ptr<Disk>& disk);

private:
    void collect();

    static constexpr std::size_t fewest = 32;

    std::vector<std::weak_ptr<Disk>> disks_;
    std::size_t enough_ = fewest;
};

} // namespace vantorel
