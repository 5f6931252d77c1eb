// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/health/Reading.h"

#include <optional>
#include <string>

namespace vantorel::host {

/// What tells a drive from all others for as long as it lives, wherever it is plugged in. Texts without blanks at their
/// ends; empty for what the drive does not tell.
struct DriveIdentity {
    std::string model;
    std::string serial;
    std::string wwn; ///< World Wide Name, 16 hexadecimal digits

    [[nodiscard]] static DriveIdentity of(const health::JudgedReading& judged);

    /// Whether it tells the drive from others of its model.
    [[nodiscard]] bool isUnique() const { return !serial.empty() || !wwn.empty(); }
};

/// A reading as a history keeps it: all that was read and that a verdict is made of. Model and serial number are the
/// drive's, and are not part of it.
struct SavedReading {
    health::Reading::Kind kind = health::Reading::Kind::ata;
    bool isSSD = false;
    std::optional<bool> saysFailing;
    std::string firmware;
    Data data;
    Data thresholds;
    Data identify;

    bool operator==(const SavedReading&) const = default;

    [[nodiscard]] static SavedReading of(const health::JudgedReading& judged);

    /// As `judge` takes it, in views of this object and of `drive`.
    [[nodiscard]] health::Reading view(const DriveIdentity& drive) const;

    /// All of it in one piece (docs/formats/history.md); absent where a part has more bytes than any drive gives.
    [[nodiscard]] std::optional<Data> image() const;

    /// The other way; absent for bytes that are no image.
    [[nodiscard]] static std::optional<SavedReading> fromImage(DataView image);
};

/// What makes one image of another of the same size; next to nothing for two readings of one drive.
[[nodiscard]] Data changesBetween(DataView before, DataView now);

/// Puts changes into an image; false, and nothing done beyond some of them, for changes that do not fit.
[[nodiscard]] bool applyChanges(Data& image, DataView changes);

} // namespace vantorel::host
