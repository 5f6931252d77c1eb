// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Disk.h"

#include <cstdint>
#include <exception>
#include <memory>

namespace vantorel {

/// What a disk is to be built as. `raidmember` and `unknown` are never found: they belong to the vocabulary.
enum class DiskClass : std::uint8_t {
    drive,
    volume,
    corestorage,
    raidstorage,
    raidmember,
    apfsstorage,
    diskimage,
    unknown,
};

/// Why a disk cannot be classified.
enum class DiskError : std::uint8_t {
    InvalidInfo,  ///< no description, or it does not tell whether the disk is whole
    InvalidType,  ///< no kind of media
    InvalidEntry, ///< no registry properties
};

/// Carries a `DiskError`.
class ClassificationError : public std::exception {
public:
    explicit ClassificationError(DiskError fault) : error(fault) {}
    [[nodiscard]] const char* what() const noexcept override { return "disk cannot be classified"; }

    const DiskError error;
};

/// Sorts a disk by its description and the properties of its media entry. Throws `ClassificationError`.
[[nodiscard]] DiskClass getDiskType(const system::DADiskRef& disk);

/// A new object of the right class for a disk, loaded; nothing for a disk that cannot be classified.
[[nodiscard]] std::shared_ptr<Disk> createDisk(const system::DADiskRef& disk);

} // namespace vantorel
