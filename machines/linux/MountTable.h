// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::machines {

/// One mounted file system of a device, or another one.
struct Mount {
    int id = 0;              ///< as `statx` tells it
    std::uint64_t major = 0; ///< 0 for one without a device, and for file systems that manage several devices
    std::uint64_t minor = 0;
    std::string source;    ///< "/dev/sda2", "tmpfs", …
    std::string target;    ///< where it is mounted
    std::string type;      ///< "ext4"
    bool isWhole = false;  ///< the file system's own root, or a subvolume's, not a folder bound to another place
    bool isHidden = false; ///< something else has been mounted at the same place since
};

/// The mounted file systems of this process, as the kernel tells them now. May be asked by several threads.
class MountTable {
public:
    explicit MountTable(std::string path = "/proc/self/mountinfo");
    ~MountTable();
    MountTable(const MountTable&) = delete;
    MountTable& operator=(const MountTable&) = delete;

    /// All mounts in the order of mounting; null when they cannot be had.
    [[nodiscard]] std::shared_ptr<const std::vector<Mount>> mounts();

private:
    std::string path_;
    std::mutex mutex_;
    int watch_ = -1; ///< the table as a file, which is readable out of band when it has changed
    std::shared_ptr<const std::vector<Mount>> known_;
};

} // namespace vantorel::machines
