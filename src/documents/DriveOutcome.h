// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/RawValue.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/smart/DriveSnapshot.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

/// A volume in use.
struct MountedVolume {
    std::string bsdName; ///< the disk's device name
    std::optional<std::string> name;
    std::string mountPoint;

    bool operator==(const MountedVolume&) const = default;
};

/// What asking one drive for its health came to.
struct DriveOutcome {
    enum class Kind : std::uint8_t {
        read,
        asleep,    ///< it sleeps and was left asleep
        noSmart,   ///< it declares no SMART data
        notOpened, ///< it refused, or may not be opened
        failed,    ///< it was opened, and gave nothing that can be used
        noDrive,   ///< there is no drive of that name
    };

    Kind kind = Kind::noDrive;
    bool isNamed = false;               ///< whether it was asked for by name
    bool isExplained = false;           ///< whether `error` is the machine's own word on this drive
    std::string name;                   ///< its device name, or the name that no drive has
    std::optional<DriveSnapshot> drive; ///< none for `noDrive`
    std::optional<health::JudgedReading> judged;
    std::string error;  ///< why nothing was read, as a sentence
    std::string remedy; ///< a command that helps, to be shown as it stands; empty when none does
    /// When the earlier reading was made that the verdict compares with, in milliseconds since 1970.
    std::optional<std::int64_t> comparedTo = {};
    std::vector<MountedVolume> volumes = {}; ///< as `findVolumes` fills it

    /// The bits of the exit status (`Status`) that the drive calls for.
    [[nodiscard]] int status() const;
};

/// What a run over these drives ends with; `usageError` when there are none.
[[nodiscard]] int statusOf(const std::vector<DriveOutcome>& outcomes);

/// The drive of a device name ("disk0", "/dev/disk0") or of a serial number, blanks around it left out; none for none.
/// On the registry's thread.
[[nodiscard]] std::shared_ptr<Drive> driveNamed(std::string_view name);

/// What a drive is called: its device name.
[[nodiscard]] std::string driveName(const Drive& drive);

/// The drives of these names, or all of them when there are no names, in that order, each once; none is read yet. On
/// the registry's thread.
[[nodiscard]] std::vector<DriveOutcome> unreadDrives(const std::vector<std::string>& names);

/// Tells of each drive that is not good, and of each that could not be read, which mounted volumes lie on it: in its
/// partitions, in containers and logical volumes on them, and in the sets that they are members of. On the registry's
/// thread.
/// Of a drive with more than a thousand disks on it only these are looked at.
void findVolumes(std::vector<DriveOutcome>& outcomes);

/// Reads one that has a service. On any thread; blocks it for as long as the drive takes.
void readDrive(DriveOutcome& outcome) noexcept;

/// Reads them. On any thread: drives are read side by side, so that one that hangs holds up no other, and drives that
/// one service answers for, such as the namespaces of an NVMe controller, are one. While it takes long `onWait` is
/// called every now and then, on the calling thread, with how many of how many have been read.
void readDrives(std::vector<DriveOutcome>& drives,
                const std::function<void(std::size_t done, std::size_t all)>& onWait = {});

} // namespace vantorel

template <>
inline constexpr std::array<std::string_view, 6> vantorel::rawTexts<vantorel::DriveOutcome::Kind> = {
    "read", "asleep", "noSmart", "notOpened", "failed", "noDrive"};
