// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "JudgedReading.h"
#include "vantorel/base/RawValue.h"
#include "vantorel/disks/Drive.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

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
    std::string name;             ///< its device name, or the name that no drive has
    bool isNamed = false;         ///< whether it was asked for by name
    std::shared_ptr<Drive> drive; ///< none for `noDrive`
    std::optional<JudgedReading> judged;
    bool isExplained = false; ///< whether `error` is the machine's own word on this drive
    std::string error;        ///< why nothing was read, as a sentence
    std::string remedy;       ///< a command that helps, to be shown as it stands; empty when none does

    /// The bits of the exit status (`Status`) that the drive calls for.
    [[nodiscard]] int status() const;
};

/// What a run over these drives ends with; `usageError` when there are none.
[[nodiscard]] int statusOf(const std::vector<DriveOutcome>& outcomes);

/// Reads the drives of these names, or all of them when there are no names, in that order, each once. Drives are read
/// side by side, so that one that hangs holds up no other; a run that takes long tells so on a terminal. To be called
/// on the registry's thread.
[[nodiscard]] std::vector<DriveOutcome> readDrives(const std::vector<std::string>& names);

/// A line on standard error for each drive that could not be read, with the command that helps where there is one.
void complainOfFaults(const std::vector<DriveOutcome>& outcomes);

} // namespace vantorel::host

template <>
inline constexpr std::array<std::string_view, 6> vantorel::rawTexts<vantorel::host::DriveOutcome::Kind> = {
    "read", "asleep", "noSmart", "notOpened", "failed", "noDrive"};
